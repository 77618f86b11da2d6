"""What the driver may do to the pump, under the agent running as a
service: fail reads by the hundred thousand, hand over every length at its
highest, and take 3 s over each flush while records pour in and while the
service stops. Nothing crashes, and every record the driver's stand-in
handed over is in the files or accounted for by a logged loss."""
from driver_records import FLAG_NULL_EXTRA, FLAG_RECORD_DATA_POINTER, KIND_FAILING_CALL, KIND_GENERATOR, entry
from event_faults import FAILED_READ, PREFIX, counted_since, counts, line, main_lines, wait_for_count
from event_pipeline import (EVENT_SETTINGS, deploy_log_parameters, fresh_event_agent, message, messages, stamped,
                            wait_for_messages)


# --- failing reads ---------------------------------------------------------------------------------------

# Level 1 keeps the debug log to the failures, which are level 1 lines
# themselves; no size limit, so that all of them stay in one file.
FAILING_READ_SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 1, "TestMode": 1, "FlushDebugLogTimer": 200,
                                          "LogFileSizeLimit": 0}}


def test_hundred_thousand_failing_reads_are_each_logged_and_the_next_record_is_written(agent):
    agent.install(FAILING_READ_SETTINGS)
    # No idle time-out of the driver's read during the test: its failed
    # read would be logged as well.
    agent.knob("mli", "IdleWaitMs", 600000)
    agent.start()
    before = counts(agent)
    agent.play([entry(stamped(logId=7001), kind=KIND_FAILING_CALL, result=-1, count=100000),
                entry(stamped(logId=7002))], timeout=600)
    assert agent.main_log() == main_lines(7002)
    assert list(agent.single_record_files().values()) == [line(7002)]
    grown = counted_since(agent, before)
    del grown["FlushCalls"]  # the timer's, at its own pace
    assert grown == {"LogRecordsDelivered": 1, "LogFailuresDelivered": 100000, "DroppedByDriver": 0,
                     "ClosedDuringCall": 0}
    wait_for_messages(agent, FAILED_READ, 100000, timeout=60)
    assert [text for _, text in messages(agent)].count(FAILED_READ) == 100000
    assert agent.status().state == "RUNNING"


# --- every length at its highest -------------------------------------------------------------------------

COLUMN4 = bytes(range(1, 9))
COLUMN19 = bytes(range(0x10, 0x20))
END = ", 0, 1700000001654321, 1700000000123456\r\n"


def head(log_id, column22=8, column24="0"):
    """Columns 1 to 24 of the records below: column 4 and 19 at their
    highest lengths, which print 8 and 16 bytes."""
    return (f"f, 0, 1, 01 02 03 04 05 06 07 08, , , , , , , , , , 0, 0, 0, {log_id}, 0, "
            f"101112131415161718191A1B1C1D1E1F, 0, 0, {column22}, 0, {column24}, ")


def highest(log_id, **fields):
    return stamped(logId=log_id, column4Length=0xFFFFFFFF, column4Bytes=COLUMN4, column19Length=0xFFFF,
                   column19Bytes=COLUMN19, **fields)


def test_every_length_at_its_highest_is_written_or_refused_with_its_line():
    host = fresh_event_agent()
    before = counts(host)
    host.play([
        # The most extra bytes the copy holds, under the highest payload
        # length, and the highest data length with its bytes.
        entry(highest(7101, recordFlags=0x02, payloadLength=65535, dataLength=65535),
              extra=b"\xa5" * 65344, data=b"\x5a" * 65535),
        # One extra byte more than the copy holds.
        entry(highest(7102, recordFlags=0x02, payloadLength=65535), extra=b"\xa5" * 65345),
        # The highest payload length with three bytes behind the block.
        entry(highest(7103, recordFlags=0x02, payloadLength=65535), extra=b"\x01\x02\x03"),
        # The highest data length with a null data pointer.
        entry(highest(7104, dataLength=65535, dataPointer=0), data=b"\x5a" * 16, flags=FLAG_RECORD_DATA_POINTER),
        # The most extra bytes announced with a null extra pointer.
        entry(highest(7105, recordFlags=0x02, payloadLength=65535), extra=b"\xa5" * 65344, flags=FLAG_NULL_EXTRA),
    ])
    lines = [head(7101) + "A5" * 65344 + ", " + "5A" * 65535 + END,
             head(7103) + "010203, " + END,
             head(7104, column22=0, column24="") + ", " + END,
             head(7105) + ", " + END]
    assert host.main_log() == b"".join(PREFIX + text.encode("ascii") for text in lines)
    assert sorted(host.single_record_files().values()) == sorted(text.encode("ascii") for text in lines)
    for text in ["log id=7101: payload length 65535, 65344 bytes came",
                 "Refusing log id=7102: 65345 extra bytes",
                 "log id=7103: payload length 65535, 3 bytes came",
                 "log id=7104: 65535 data bytes without a pointer",
                 "log id=7105: payload length 65535, 0 bytes came"]:
        host.wait_for_log(message(text))
    found = [text for _, text in wait_for_messages(host, "WriteLogData returned false")]
    assert found.count("WriteLogData returned false") == 1
    assert found.index("Refusing log id=7102: 65345 extra bytes") + 1 == found.index("WriteLogData returned false")
    assert counted_since(host, before)["LogRecordsDelivered"] == 5
    assert host.status().state == "RUNNING"


# --- slow flushes -------------------------------------------------------------------------------------

# Level 6: each timer pass's start and end.
TIMER_SETTINGS = {"ZENTSETTINGS": {**EVENT_SETTINGS["ZENTSETTINGS"], "DebugLevel": 6}}
BURST = 2000


def test_three_second_flushes_during_a_burst_and_at_stop_lose_nothing(agent):
    agent.install(TIMER_SETTINGS)
    agent.start()
    deploy_log_parameters(agent, size=65536, keep=8, cacheSize=128, logFlushInterval=1000)
    agent.knob("mli", "FlushDelayMs", 3000)
    before = counts(agent)
    agent.play([entry(stamped(logId=8000), kind=KIND_GENERATOR, count=BURST)], timeout=300)
    ids = range(8000, 8000 + BURST)
    assert agent.main_log() == main_lines(*ids)
    assert sorted(agent.single_record_files().values()) == sorted(line(log_id) for log_id in ids)
    # Timer passes began while the burst came in, and the records cached
    # meanwhile waited for none of them.
    texts = [text for _, text in wait_for_messages(agent, "CacheRecord() - added record to cache. "
                                                   "Size of cache is now 1 records", BURST)]
    cached = [n for n, text in enumerate(texts) if text.startswith("CacheRecord()")]
    assert "flushLog: enters" in texts[cached[0]:cached[-1]]

    # Stop while a pass is in mli_flush_logs: the one that starts each
    # second and lasts three.
    wait_for_count(agent, "FlushCalls", agent.record("mli", "FlushCalls", 0) + 1)
    agent.stop()
    found = messages(agent)
    texts = [text for _, text in found]
    assert texts.index("FwDpiServiceFn: Stop Event Signaled!") + 1 == texts.index("Delete Timer Queue for flush log")
    exits = texts.index("FwDpiServiceFn: exits")
    # Every pass that began ended before the pump did.
    assert texts[:exits].count("flushLog: enters") == texts[:exits].count("flushLog: exits")
    assert texts[exits:].count("flushLog: enters") == 0
    assert texts.count("flushLog: enters") == agent.record("mli", "FlushCalls")
    assert counted_since(agent, before)["LogRecordsDelivered"] == BURST
    assert agent.record("mli", "DroppedByDriver", 0) == 0
    assert agent.record("mli", "ClosedDuringCall", 0) == 0
    assert agent.main_log() == main_lines(*ids)
