"""The event files' folders taken away or blocked while the agent runs as
a service: the single-record folder deleted (made again at the next
write), a file in its place (records wait in the cache), the install folder
deleted (main log lines lost, each logged, until it is back), a directory
in the place of a main log copy (the rotation stops there, nothing is
lost), and the main log held by a reader that does not share it for
writing (its lines are lost, logged; the single-record files still come)."""
import os
import shutil

import pytest

import agent_host
from agent_host import INSTALL_DIR, SINGLE_RECORD_DIR, AgentHost
from driver_records import entry
from event_faults import PREFIX, counted_since, counts, line, main_lines, quiet_agent, thread_messages, written
from event_pipeline import EVENT_SETTINGS, deploy_log_parameters, fresh_event_agent, stamped, wait_for_messages
from winehost import unix_path, wait_for_log, windows_path
from winehost.holder import Holder

LOG = INSTALL_DIR + r"\zent_mpnp"
ADDED_1 = "CacheRecord() - added record to cache. Size of cache is now 1 records"


def test_single_record_folder_deleted_live_is_made_again_at_the_next_write(quiet_agent):
    host = fresh_event_agent()
    before = counts(host)
    host.play([entry(stamped(logId=6001))])
    shutil.rmtree(unix_path(SINGLE_RECORD_DIR))
    host.play([entry(stamped(logId=6002))])
    assert list(host.single_record_files().values()) == [line(6002)]
    assert host.main_log() == main_lines(6001, 6002)
    wait_for_messages(host, written(line(6002)))
    assert thread_messages(host, ADDED_1) == [ADDED_1, written(line(6001)),
                                              ADDED_1, rf"mpnp fw/dpi event logfile({LOG}) already exists",
                                              written(line(6002))]
    assert counted_since(host, before)["LogRecordsDelivered"] == 2


def test_file_in_place_of_the_single_record_folder_keeps_records_cached_until_it_goes(quiet_agent):
    host = fresh_event_agent()
    folder = unix_path(SINGLE_RECORD_DIR)
    shutil.rmtree(folder, ignore_errors=True)
    with open(folder, "wb") as f:
        f.write(b"not a folder")
    try:
        before = counts(host)
        host.play([entry(stamped(logId=6101)), entry(stamped(logId=6102))])
        # The folder's name is taken, which CreateDirectory reports as the
        # folder being there; the file under it cannot be made.
        wait_for_messages(host, "WriteLogData returned false", 2)
        assert thread_messages(host, ADDED_1) == [
            ADDED_1,
            "CreateFile for VX fw/dpi event log fails: error=3",
            "WriteLogData returned false",
            "CacheRecord() - added record to cache. Size of cache is now 2 records",
            "CreateFile for VX fw/dpi event log fails: error=3",
            "CreateFile for VX fw/dpi event log fails: error=3",
            "WriteLogData returned false"]
        assert host.main_log() is None
        with open(folder, "rb") as f:
            assert f.read() == b"not a folder"
    finally:
        os.remove(folder)
    host.play([entry(stamped(logId=6103))])
    assert sorted(host.single_record_files().values()) == [line(6101), line(6102), line(6103)]
    assert host.main_log() == main_lines(6101, 6102, 6103)
    assert counted_since(host, before)["LogRecordsDelivered"] == 3


class HeldFile(Holder):
    """hold_file.exe keeping a file open for reading, sharing it for
    reading only, until close()."""

    def __init__(self, path):
        super().__init__("tests/tools/hold_file.exe", windows_path(path))


def test_main_log_held_without_write_sharing_loses_its_lines_and_the_single_record_files_still_come(quiet_agent):
    host = fresh_event_agent()
    host.play([entry(stamped(logId=6301))])
    held = HeldFile(host.path("zent_mpnp"))
    try:
        before = counts(host)
        host.play([entry(stamped(logId=6302)), entry(stamped(logId=6303))])
        wait_for_messages(host, written(line(6303)))
        assert [text for text in thread_messages(host, ADDED_1)] == [
            ADDED_1, written(line(6301)),
            ADDED_1, rf"mpnp fw/dpi event logfile({LOG}) already exists",
            "CreateFile for mpnp fw/dpi event log fails: error=32", written(line(6302)),
            ADDED_1, rf"mpnp fw/dpi event logfile({LOG}) already exists",
            "CreateFile for mpnp fw/dpi event log fails: error=32", written(line(6303))]
    finally:
        held.close()
    assert host.main_log() == main_lines(6301)
    assert sorted(host.single_record_files().values()) == [line(6301), line(6302), line(6303)]
    host.play([entry(stamped(logId=6304))])
    assert host.main_log() == main_lines(6301, 6304)
    assert counted_since(host, before)["LogRecordsDelivered"] == 3


# --- the install folder deleted ------------------------------------------------------------------------

@pytest.fixture
def agent_with_outside_debug_log(tmp_path):
    """A fresh agent whose debug log is a link to a file outside its
    folder, so that it can be read while the folder is gone."""
    agent_host.running["settings"] = None
    host = AgentHost()
    host.install(EVENT_SETTINGS)
    debug_log = tmp_path / "zent_agent.log"
    debug_log.touch()
    os.symlink(debug_log, host.path("zent_agent.log"))
    host.start()
    try:
        yield host, debug_log
    finally:
        host.remove()


def test_install_folder_deleted_live_loses_main_log_lines_until_it_is_back(agent_with_outside_debug_log):
    host, debug_log = agent_with_outside_debug_log
    before = counts(host)
    host.play([entry(stamped(logId=6401))])
    shutil.rmtree(host.dir)
    # Scripts go to the install folder's "scripts", which would bring the
    # folder back: this one is written beside the debug log.
    install_dir, host.dir = host.dir, str(debug_log.parent)
    try:
        host.play([entry(stamped(logId=6402))])
    finally:
        host.dir = install_dir
    # The debug log is flushed every FlushDebugLogTimer ms.
    wait_for_log(debug_log, r"\] CreateFile for mpnp fw/dpi event log fails: error=3\r$", timeout=15)
    assert not os.path.exists(host.dir)

    os.makedirs(host.dir)
    os.symlink(debug_log, host.path("zent_agent.log"))
    host.play([entry(stamped(logId=6403))])
    assert host.main_log() == main_lines(6403)
    assert sorted(host.single_record_files().values()) == [line(6401), line(6402), line(6403)]
    assert counted_since(host, before)["LogRecordsDelivered"] == 3


def test_directory_in_place_of_a_copy_stops_the_rotation_and_loses_nothing(quiet_agent):
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1, keep=3, cacheSize=128, logFlushInterval=3600000)
    os.makedirs(host.path("zent_mpnp.2"))
    try:
        # 22 + 91 + 2 * 460 = 1033 bytes in the main log: each pass rotates.
        lines = [(b"f, 0, 1, , , , , , , , , , , 0, 0, 0, %d, 0, , 0, 0, 0, 0, , , " % log_id + b"44" * 460
                  + b", 0, 1700000001654321, 1700000000123456\r\n") for log_id in (6201, 6202, 6203)]
        before = counts(host)
        host.play([entry(stamped(logId=log_id, dataLength=460), data=b"\x44" * 460) for log_id in (6201, 6202, 6203)])
        assert host.main_log(1) == PREFIX + lines[0]
        assert host.main_log() == PREFIX + lines[1] + PREFIX + lines[2]
        assert os.listdir(host.path("zent_mpnp.2")) == []
        assert sorted(host.single_record_files().values()) == sorted(lines)
        failed = rf"RotateFiles() - fail to rename {LOG}.1 to {LOG}.2. error=183"
        wait_for_messages(host, failed, 2)
        assert [text for text in thread_messages(host, ADDED_1) if text.startswith("RotateFiles")] == [
            "RotateFiles for fw.dpi log",
            rf"RotateFiles() - renaming {LOG} to {LOG}.1",
            "RotateFiles for fw.dpi log",
            rf"RotateFiles() - renaming {LOG}.1 to {LOG}.2",
            failed,
            "RotateFiles for fw.dpi log",
            rf"RotateFiles() - renaming {LOG}.1 to {LOG}.2",
            failed]
        assert counted_since(host, before)["LogRecordsDelivered"] == 3
    finally:
        os.rmdir(host.path("zent_mpnp.2"))
        # The size and copies deployed here stay with the agent.
        agent_host.running["settings"] = None
