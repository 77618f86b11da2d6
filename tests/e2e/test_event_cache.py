"""The record cache under the running agent: while the suite's Misc folder
is gone no one-record file can be made, so records stay in the cache up to
the PacketFilterLog's cacheSize, and each record beyond it pushes out the
oldest; once the folder is back, the next timer pass writes the rest, in
their order, to both files."""
import os
import re
import shutil
import time

import pytest

import agent_host
from agent_host import MISC_DIR
from driver_records import entry
from event_pipeline import (FIRST_TIME, deploy_log_parameters, fresh_event_agent, message, stamped, time_prefix,
                            wait_for_messages)
from winehost import unix_path

PREFIX = time_prefix(FIRST_TIME)
KEPT = ["f, 0, 1, , , , , , , , , , , 0, 0, 0, 3004, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n",
        "f, 0, 1, , , , , , , , , , , 0, 0, 0, 3005, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n",
        "f, 0, 1, , , , , , , , , , , 0, 0, 0, 3006, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n",
        "f, 0, 1, , , , , , , , , , , 0, 0, 0, 3007, 0, , 0, 0, 0, 0, , , , 0, 1700000001654321, 1700000000123456\r\n"]
TOO_BIG = "FlushBufferedData() - cache is too big, flushing oldest (N msec) record."
REMOVED = "FlushBufferedData() - Remove the oldest record from cache. Size of cache is now 4 records."


def added(size):
    return f"CacheRecord() - added record to cache. Size of cache is now {size} records"


@pytest.fixture(scope="module", autouse=True)
def parameters_go_with_the_agent():
    yield
    agent_host.running["settings"] = None


def wait_for_lines(host, count, timeout=15):
    """The main log once it holds count whole lines (the timer writes them)."""
    deadline = time.monotonic() + timeout
    while True:
        log = host.main_log() or b""
        if log.count(b"\r\n") >= count and len(host.single_record_files()) >= count:
            return log
        if time.monotonic() > deadline:
            raise AssertionError(f"the main log after {timeout} s: {log!r}")
        time.sleep(0.1)


def test_cache_without_its_folder_drops_the_oldest_beyond_cache_size_then_writes_the_rest_in_order():
    host = fresh_event_agent()
    deploy_log_parameters(host, size=1024, keep=8, cacheSize=4, logFlushInterval=1000)
    shutil.rmtree(unix_path(MISC_DIR))
    host.play([entry(stamped(logId=3001 + n)) for n in range(7)])
    assert host.main_log() is None
    assert host.single_record_files() == {}
    found = wait_for_messages(host, REMOVED, 3)
    cache = [re.sub(r"\(\d+ msec\)", "(N msec)", text) for _, text in found
             if text.startswith(("CacheRecord()", "FlushBufferedData()"))]
    assert cache == [added(1), added(2), added(3), added(4),
                     added(5), TOO_BIG, REMOVED,
                     added(5), TOO_BIG, REMOVED,
                     added(5), TOO_BIG, REMOVED]
    host.wait_for_log(message("CreateDirectory for VX fw/dpi event log fails: error=3"))

    os.makedirs(unix_path(MISC_DIR))
    assert wait_for_lines(host, 4) == b"".join(PREFIX + line.encode("ascii") for line in KEPT)
    assert sorted(host.single_record_files().values()) == [line.encode("ascii") for line in KEPT]
