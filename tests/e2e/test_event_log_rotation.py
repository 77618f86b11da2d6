"""The main log zent_mpnp rotates at the size the manager's PacketFilterLog
sets, keeping keep-1 older copies, under the running agent. Records carry
data bytes so that their lines have the lengths a test needs; each main log
line is the 22-byte time prefix, then the line."""
import pytest

import agent_host
from driver_records import entry, record
from event_pipeline import (deploy_log_parameters, fresh_event_agent, message, messages, time_prefix,
                            wait_for_messages)

PREFIX = time_prefix(1700000000000000)
# 22 + 91 + 2 * 455 = 1023 bytes in the main log.
LINE_A = "f, 0, 1, , , , , , , , , , , 0, 0, 0, 2001, 0, , 0, 0, 0, 0, , , " + "11" * 455 + \
    ", 0, 0, 1700000000000000\r\n"
# 22 + 91 + 2 * 200 = 513 and 22 + 91 + 2 * 199 = 511: together exactly 1024.
LINE_B = "f, 0, 1, , , , , , , , , , , 0, 0, 0, 2002, 0, , 0, 0, 0, 0, , , " + "22" * 200 + \
    ", 0, 0, 1700000000000000\r\n"
LINE_C = "f, 0, 1, , , , , , , , , , , 0, 0, 0, 2003, 0, , 0, 0, 0, 0, , , " + "33" * 199 + \
    ", 0, 0, 1700000000000000\r\n"
LINE_D = "f, 0, 1, , , , , , , , , , , 0, 0, 0, 2004, 0, , 0, 0, 0, 0, , , , 0, 0, 1700000000000000\r\n"
# Lines of 22 + 91 + 2 * 460 = 1033 bytes: each pass rotates.
LONG_LINES = ["f, 0, 1, , , , , , , , , , , 0, 0, 0, %d, 0, , 0, 0, 0, 0, , , " % (2011 + n) + "44" * 460 +
              ", 0, 0, 1700000000000000\r\n" for n in range(4)]
LOG = r"C:\ZentE2e\zent_mpnp"


def rec(log_id, data_bytes, fill):
    block = record(timeSeconds=1700000000, logId=log_id, dataLength=data_bytes)
    return entry(block, data=bytes([fill]) * data_bytes)


A, B, C, D = rec(2001, 455, 0x11), rec(2002, 200, 0x22), rec(2003, 199, 0x33), rec(2004, 0, 0)
LONG = [rec(2011 + n, 460, 0x44) for n in range(4)]


def main(*lines):
    return b"".join(PREFIX + line.encode("ascii") for line in lines)


def rotation_messages(host, last, times):
    """This test's rotation messages, once the last one came that often."""
    wait_for_messages(host, last, times)
    return [text for _, text in messages(host) if text.startswith("RotateFiles")]


@pytest.fixture(scope="module", autouse=True)
def parameters_go_with_the_agent():
    """The parameters these tests deploy stay in the agent: the next module
    starts a fresh one."""
    yield
    agent_host.running["settings"] = None


def test_main_log_a_byte_short_of_size_stays_and_a_pass_may_grow_it_past():
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1, keep=3, cacheSize=128, logFlushInterval=60000)
    host.wait_for_log(message("SetCacheParameters: s_LogFileSizeKB(1), s_NumberOfOldCopies(2), "
                              "s_LogRecordMapMaxSize(128), s_LogFlushLogInterval(60000)"))
    host.play([A])
    assert host.main_log_names() == ["zent_mpnp"]
    assert host.main_log() == main(LINE_A)
    assert len(host.main_log()) == 1023
    host.play([D])
    assert host.main_log_names() == ["zent_mpnp.1"]
    assert host.main_log(1) == main(LINE_A, LINE_D)
    host.wait_for_log(message(f"mpnp fw/dpi event logfile({LOG}) already exists"))


def test_main_log_of_exactly_size_kb_rotates_and_the_next_write_starts_a_new_one():
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1, keep=3, cacheSize=128, logFlushInterval=60000)
    host.play([B, C])
    assert host.main_log_names() == ["zent_mpnp.1"]
    assert host.main_log(1) == main(LINE_B, LINE_C)
    assert len(host.main_log(1)) == 1024
    host.play([D])
    assert host.main_log_names() == ["zent_mpnp", "zent_mpnp.1"]
    assert host.main_log() == main(LINE_D)


def test_keep_3_keeps_two_older_copies():
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1, keep=3, cacheSize=128, logFlushInterval=60000)
    host.play(LONG)
    assert host.main_log_names() == ["zent_mpnp.1", "zent_mpnp.2"]
    assert host.main_log(1) == main(LONG_LINES[3])
    assert host.main_log(2) == main(LONG_LINES[2])
    assert sorted(host.single_record_files().values()) == sorted(line.encode("ascii") for line in LONG_LINES)
    first = ["RotateFiles for fw.dpi log",
             f"RotateFiles() - renaming {LOG} to {LOG}.1"]
    second = ["RotateFiles for fw.dpi log",
              f"RotateFiles() - renaming {LOG}.1 to {LOG}.2",
              f"RotateFiles() - renaming {LOG} to {LOG}.1"]
    full = ["RotateFiles for fw.dpi log",
            f"RotateFiles() - deleting {LOG}.2",
            f"RotateFiles() - renaming {LOG}.1 to {LOG}.2",
            f"RotateFiles() - renaming {LOG} to {LOG}.1"]
    assert rotation_messages(host, f"RotateFiles() - renaming {LOG} to {LOG}.1", 4) == first + second + full + full


def test_keep_1_deletes_the_main_log_at_each_rotation():
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1, keep=1, cacheSize=128, logFlushInterval=60000)
    host.wait_for_log(message("SetCacheParameters: s_LogFileSizeKB(1), s_NumberOfOldCopies(0), "
                              "s_LogRecordMapMaxSize(128), s_LogFlushLogInterval(60000)"))
    host.play(LONG[:2])
    assert host.main_log_names() == []
    assert sorted(host.single_record_files().values()) == sorted(line.encode("ascii") for line in LONG_LINES[:2])
    expected = ["RotateFiles for fw.dpi log", f"RotateFiles() - deleting {LOG}"] * 2
    assert rotation_messages(host, f"RotateFiles() - deleting {LOG}", 2) == expected


def test_size_and_keep_of_0_leave_what_was_there():
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1, keep=3, cacheSize=128, logFlushInterval=60000)
    deploy_log_parameters(host, size=0, keep=0, cacheSize=5, logFlushInterval=1000)
    host.wait_for_log(message("SetCacheParameters: s_LogFileSizeKB(1), s_NumberOfOldCopies(2), "
                              "s_LogRecordMapMaxSize(5), s_LogFlushLogInterval(1000)"))
    host.play(LONG)
    assert host.main_log_names() == ["zent_mpnp.1", "zent_mpnp.2"]
    assert host.main_log(1) == main(LONG_LINES[3])
    assert host.main_log(2) == main(LONG_LINES[2])
