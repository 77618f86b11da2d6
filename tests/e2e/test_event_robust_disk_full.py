"""The event files on a full disk, under the agent running as a service: a
write that meets a full disk deletes the oldest main log copy and is tried
once more; a record whose single-record file could not be written stays in
the cache and is written once there is room; a main log line that could
not be written is lost with its logged failure. The full disks are small
tmpfs file systems mounted over the agent's folders."""
import os
import re

import pytest

import agent_host
from agent_host import AGENT_FILES, BUILT, INSTALL_DIR, SINGLE_RECORD_DIR, AgentHost
from driver_records import entry
from event_faults import (PREFIX, QUIET_INTERVAL_MS, counted_since, counts, line, main_lines, quiet_agent,
                         thread_messages, written)
from event_pipeline import EVENT_SETTINGS, deploy_log_parameters, fresh_event_agent, stamped, wait_for_messages
from tmpfs import PAGE, fill, mounted_tmpfs, page_sized
from winehost import build_file, unix_path

LOG = INSTALL_DIR + r"\zent_mpnp"
ADDED_1 = "CacheRecord() - added record to cache. Size of cache is now 1 records"
ADDED_2 = "CacheRecord() - added record to cache. Size of cache is now 2 records"
DISK_FULL = "WriteFile logfile fails: error=28"
REMOVE_OLDEST = "Remove Oldest Zent_mpnp File"


def write_file(path, content):
    with open(path, "wb") as f:
        f.write(content)


def test_full_single_record_folder_deletes_the_oldest_copy_and_keeps_the_record_until_there_is_room(quiet_agent):
    host = fresh_event_agent()
    write_file(host.path("zent_mpnp.1"), b"copy one\r\n")
    write_file(host.path("zent_mpnp.2"), b"copy two\r\n")
    folder = unix_path(SINGLE_RECORD_DIR)
    before = counts(host)
    with mounted_tmpfs(folder, 16 * PAGE):
        filler = fill(folder)
        host.play([entry(stamped(logId=5001))])
        # The file was made, its line found no room: it stays, empty, and
        # deleting a main log copy gave the single-record folder nothing.
        wait_for_messages(host, "WriteLogData returned false")
        assert thread_messages(host, ADDED_1) == [
            ADDED_1,
            DISK_FULL,
            REMOVE_OLDEST,
            r"RemoveOldestZentmpnpFile() - deleting C:\ZentE2e\zent_mpnp.2",
            DISK_FULL,
            "WriteLogData returned false"]
        assert host.main_log_names() == ["zent_mpnp.1"]
        assert sorted(host.single_record_files().values()) == [b"", bytes(os.path.getsize(filler))]

        os.remove(filler)
        host.play([entry(stamped(logId=5002))])
        files = host.single_record_files()
        assert sorted(files.values()) == [b"", line(5001), line(5002)]
        assert host.main_log() == main_lines(5001, 5002)
        assert host.main_log(1) == b"copy one\r\n"
        wait_for_messages(host, written(line(5002)))
        messages = thread_messages(host, ADDED_1)
        assert messages[messages.index(ADDED_2):] == [
            ADDED_2,
            written(line(5001)),
            written(line(5002))]
    assert counted_since(host, before) == {"LogRecordsDelivered": 2, "LogFailuresDelivered": 0, "DroppedByDriver": 0,
                                           "FlushCalls": 0, "ClosedDuringCall": 0}


def test_full_single_record_folder_fills_the_cache_and_drops_the_oldest_past_its_bound(quiet_agent):
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1024, keep=8, cacheSize=2, logFlushInterval=QUIET_INTERVAL_MS)
    folder = unix_path(SINGLE_RECORD_DIR)
    before = counts(host)
    try:
        with mounted_tmpfs(folder, 16 * PAGE):
            filler = fill(folder)
            host.play([entry(stamped(logId=log_id)) for log_id in (5201, 5202, 5203)])
            wait_for_messages(host, "WriteLogData returned false", 3)
            # No main log nor copy to delete: each try fails once, and leaves
            # an empty file behind.
            failed_try = [DISK_FULL, REMOVE_OLDEST]
            messages = [re.sub(r"\(\d+ msec\)", "(N msec)", text) for text in thread_messages(host, ADDED_1)]
            assert messages == [
                ADDED_1, *failed_try, "WriteLogData returned false",
                ADDED_2, *failed_try, *failed_try, "WriteLogData returned false",
                "CacheRecord() - added record to cache. Size of cache is now 3 records", *failed_try * 3,
                "FlushBufferedData() - cache is too big, flushing oldest (N msec) record.", *failed_try,
                "FlushBufferedData() - Remove the oldest record from cache. Size of cache is now 2 records.",
                "WriteLogData returned false"]
            assert sorted(host.single_record_files().values()) == [b""] * 7 + [bytes(os.path.getsize(filler))]
            assert host.main_log_names() == []

            os.remove(filler)
            host.play([entry(stamped(logId=5204))])
            assert sorted(host.single_record_files().values()) == [b""] * 7 + [line(5202), line(5203), line(5204)]
            assert host.main_log() == main_lines(5202, 5203, 5204)
        # 5201 is the one logged as pushed out.
        assert counted_since(host, before)["LogRecordsDelivered"] == 4
    finally:
        # The cache's bound stays with the agent.
        agent_host.running["settings"] = None


# --- the install folder on a full disk ----------------------------------------------------------------

def install_size():
    """What the agent's folder holds before it writes anything: its
    programs, in whole pages, and a margin for its settings and whatever
    the service writes while it starts."""
    files = [build_file(BUILT[name]) for name in (*AGENT_FILES, "mlfilter.exe")]
    pages = sum((os.path.getsize(path) + PAGE - 1) // PAGE for path in files)
    return (pages + 64) * PAGE


@pytest.fixture
def agent_on_full_disk(tmp_path):
    """A fresh agent whose install folder is a tmpfs just big enough for
    it. Its debug log is kept on the ordinary disk (a link to a file in
    tmp_path), so that the lines telling of the full disk can be read; so
    is the folder of the stand-in's scripts, which the test writes while
    the disk is full."""
    agent_host.running["settings"] = None
    host = AgentHost()
    with mounted_tmpfs(host.dir, install_size()):
        try:
            host.install(EVENT_SETTINGS)
            debug_log = tmp_path / "zent_agent.log"
            debug_log.touch()
            os.symlink(debug_log, host.path("zent_agent.log"))
            (tmp_path / "scripts").mkdir()
            os.symlink(tmp_path / "scripts", host.path("scripts"))
            host.start()
            yield host
        finally:
            host.remove()


def test_full_install_folder_deletes_the_oldest_copy_then_loses_the_line_that_still_finds_no_room(
        agent_on_full_disk):
    host = agent_on_full_disk
    old_log = page_sized(b"old main log line")
    write_file(host.path("zent_mpnp"), old_log)
    write_file(host.path("zent_mpnp.1"), page_sized(b"copy one"))
    before = counts(host)
    filler = fill(host.dir)

    # The line needs a page that only the deleted copy frees: it goes in on
    # the retry, and the write still reports the full disk.
    host.play([entry(stamped(logId=5101))])
    wait_for_messages(host, written(line(5101)))
    first = thread_messages(host, ADDED_1)
    assert first == [ADDED_1,
                     r"mpnp fw/dpi event logfile(C:\ZentE2e\zent_mpnp) already exists",
                     DISK_FULL,
                     REMOVE_OLDEST,
                     r"RemoveOldestZentmpnpFile() - deleting C:\ZentE2e\zent_mpnp.1",
                     "Write mpnp log fail",
                     written(line(5101))]
    assert host.main_log_names() == ["zent_mpnp"]
    assert host.main_log() == old_log + PREFIX + line(5101)

    # A line longer than what is left of that page: its head fills the page,
    # the only file left to delete is the main log itself, which the agent
    # holds open, and the rest of the line is lost.
    long_block = stamped(logId=5102, dataLength=2100)
    long_line = (b"f, 0, 1, , , , , , , , , , , 0, 0, 0, 5102, 0, , 0, 0, 0, 0, , , " + b"77" * 2100
                 + b", 0, 1700000001654321, 1700000000123456\r\n")
    host.play([entry(long_block, data=b"\x77" * 2100)])
    wait_for_messages(host, written(long_line))
    second = thread_messages(host, ADDED_1)[len(first):]
    assert second == [ADDED_1,
                      r"mpnp fw/dpi event logfile(C:\ZentE2e\zent_mpnp) already exists",
                      DISK_FULL,
                      REMOVE_OLDEST,
                      r"RemoveOldestZentmpnpFile() - deleting C:\ZentE2e\zent_mpnp",
                      r"RemoveOldestZentmpnpFile() - fail to delete C:\ZentE2e\zent_mpnp. error=32",
                      "Write mpnp log fail",
                      written(long_line)]
    head = 2 * PAGE - len(old_log) - len(PREFIX + line(5101))
    assert host.main_log() == old_log + PREFIX + line(5101) + (PREFIX + long_line)[:head]

    # With room again the main log is opened anew and takes the next line.
    os.remove(filler)
    host.play([entry(stamped(logId=5103))])
    assert host.main_log() == old_log + PREFIX + line(5101) + (PREFIX + long_line)[:head] + PREFIX + line(5103)
    assert sorted(host.single_record_files().values()) == sorted([line(5101), long_line, line(5103)])
    assert counted_since(host, before)["LogRecordsDelivered"] == 3
