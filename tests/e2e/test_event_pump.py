"""The pump that takes the driver's records out of mli_get_log, and its
flush timer, under the agent running as a service: records flagged not to
be logged, failing reads, the flush timer's interval from the
PacketFilterLog, and a record that arrives while a timer pass runs."""
import time

from driver_records import KIND_FAILING_CALL, RECORD_NOT_LOGGED, RECORD_PAYLOAD, entry
from event_pipeline import (EVENT_SETTINGS, FIRST_TIME, deploy_log_parameters, fresh_event_agent, message, messages,
                            stamped, time_prefix, wait_for_messages)

PREFIX = time_prefix(FIRST_TIME)
# Level 6: the flush timer's own lines.
TIMER_SETTINGS = {"ZENTSETTINGS": {**EVENT_SETTINGS["ZENTSETTINGS"], "DebugLevel": 6}}


def flush_calls(host):
    return host.record("mli", "FlushCalls", 0)


def wait_for_flush_calls(host, count, timeout=20):
    deadline = time.monotonic() + timeout
    while flush_calls(host) < count:
        if time.monotonic() > deadline:
            raise AssertionError(f"FlushCalls {flush_calls(host)}, not {count}, after {timeout} s")
        time.sleep(0.1)


def test_record_flagged_not_to_be_logged_is_formatted_then_written_nowhere():
    host = fresh_event_agent()
    host.play([entry(stamped(logId=4001)),
               # Announces payload that does not come: its formatting says so.
               entry(stamped(logId=4002, eventCode=5, recordFlags=RECORD_NOT_LOGGED | RECORD_PAYLOAD, payloadLength=8)),
               entry(stamped(logId=4003, eventCode=-5, recordFlags=RECORD_NOT_LOGGED)),
               entry(stamped(logId=4004))])
    lines = ["f, 0, 1, , , , , , , , , , , 0, 0, 0, 4001, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n",
             "f, 0, 1, , , , , , , , , , , 0, 0, 0, 4004, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n"]
    assert host.main_log() == b"".join(PREFIX + line.encode("ascii") for line in lines)
    assert sorted(host.single_record_files().values()) == [line.encode("ascii") for line in lines]
    found = [text for _, text in wait_for_messages(host, "WriteLogData returned false", 2)
             if "4002" in text or "4003" in text or text == "WriteLogData returned false"]
    assert found == ["log id=4002: payload length 8, 0 bytes came",
                     "Ignoring log id=4002",
                     "WriteLogData returned false",
                     "Ignoring payload log id=4003",
                     "WriteLogData returned false"]


def test_failing_read_is_logged_and_the_next_record_goes_through():
    host = fresh_event_agent()
    host.play([entry(stamped(logId=4010), kind=KIND_FAILING_CALL, result=-1), entry(stamped(logId=4011))])
    line = "f, 0, 1, , , , , , , , , , , 0, 0, 0, 4011, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n"
    assert host.main_log() == PREFIX + line.encode("ascii")
    assert list(host.single_record_files().values()) == [line.encode("ascii")]
    host.wait_for_log(message("mli_get_log => fails"))
    assert host.record("mli", "LogFailuresDelivered") >= 1


def test_changed_flush_interval_waits_until_mli_get_log_returns(agent):
    agent.install(TIMER_SETTINGS)
    # The pump's call waits this long for a record: the change cannot be
    # taken over before a record comes.
    agent.knob("mli", "IdleWaitMs", 600000)
    agent.start()
    agent.wait_for_log(message("FwDpiServiceFn: enters") + r"(?:.*\r\n)*?.*" + message("log flush interval:60000"))
    # The first pass comes 1000 ms after the start, the next after 60000.
    wait_for_flush_calls(agent, 1)
    deploy_log_parameters(agent, size=1024, keep=8, cacheSize=128, logFlushInterval=1000)
    agent.wait_for_log(message("SetCacheParameters: s_LogFileSizeKB(1024), s_NumberOfOldCopies(7), "
                               "s_LogRecordMapMaxSize(128), s_LogFlushLogInterval(1000)"))
    before = flush_calls(agent)
    time.sleep(3.5)
    assert flush_calls(agent) == before
    assert "log flush interval:1000" not in [text for _, text in messages(agent)]
    agent.play([entry(stamped(logId=4020))])
    wait_for_flush_calls(agent, before + 2)
    found = wait_for_messages(agent, "log flush interval:1000")
    texts = [text for _, text in found]
    at = texts.index("CacheRecord() - added record to cache. Size of cache is now 1 records")
    assert texts.index("log flush interval:1000") > at
    found = wait_for_messages(agent, "flushLog: exits", 1 + sum(1 for _, text in found[:at] if text == "flushLog: exits"))
    assert [text for _, text in found[at:] if text.startswith("flushLog")][:2] == ["flushLog: enters", "flushLog: exits"]


def test_record_arriving_while_the_timer_runs_is_cached_and_written_in_its_turn(agent):
    agent.install(TIMER_SETTINGS)
    agent.start()
    deploy_log_parameters(agent, size=1024, keep=8, cacheSize=128, logFlushInterval=1000)
    # The first record makes the pump take the 1000 ms period over; each
    # pass then spends 2500 ms in mli_flush_logs, so one always runs.
    agent.knob("mli", "FlushDelayMs", 2500)
    agent.play([entry(stamped(logId=4030))])
    wait_for_flush_calls(agent, flush_calls(agent) + 2)
    agent.play([entry(stamped(logId=4031))])
    lines = ["f, 0, 1, , , , , , , , , , , 0, 0, 0, 4030, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n",
             "f, 0, 1, , , , , , , , , , , 0, 0, 0, 4031, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n"]
    assert agent.main_log() == b"".join(PREFIX + line.encode("ascii") for line in lines)
    assert sorted(agent.single_record_files().values()) == [line.encode("ascii") for line in lines]
    # The second record's caching, between a timer pass's start and its end
    # on one pool thread.
    cached = "CacheRecord() - added record to cache. Size of cache is now 1 records"
    wait_for_messages(agent, cached, 2)
    deadline = time.monotonic() + 15
    while not pass_around_second_caching(messages(agent), cached) and time.monotonic() < deadline:
        time.sleep(0.2)
    assert pass_around_second_caching(messages(agent), cached)


def pass_around_second_caching(found, cached):
    """Whether a timer pass's thread logged "flushLog: enters" before the
    second record's caching and its "flushLog: exits" after it."""
    at = [n for n, (_, text) in enumerate(found) if text == cached][1]
    running = set()
    for thread, text in found[:at]:
        if text == "flushLog: enters":
            running.add(thread)
        elif text == "flushLog: exits":
            running.discard(thread)
    return bool(running & {thread for thread, text in found[at:] if text == "flushLog: exits"})
