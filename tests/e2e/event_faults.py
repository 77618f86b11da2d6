"""What the event pipeline's robustness tests share: the plain record's
line, the stand-in's counts of what it handed over, the debug log's lines of
one thread, and an agent whose flush timer stays out of the way."""
import time

import pytest

import agent_host
from driver_records import entry
from event_pipeline import FIRST_TIME, deploy_log_parameters, fresh_event_agent, messages, stamped, time_prefix

PREFIX = time_prefix(FIRST_TIME)
# The stand-in's counts of what went to the agent.
COUNTS = ("LogRecordsDelivered", "LogFailuresDelivered", "DroppedByDriver", "FlushCalls", "ClosedDuringCall")
FAILED_READ = "mli_get_log => fails"
# A flush timer period that no test outlasts: a timer pass would otherwise
# retry cached records at a moment of its own.
QUIET_INTERVAL_MS = 3600000


def line(log_id):
    """The single-record file's line of stamped(logId=log_id): no layer, no
    payload, no data."""
    return (f"f, 0, 1, , , , , , , , , , , 0, 0, 0, {log_id}, 0, , 0, 0, 0, 0, , , , 0, "
            "1700000001654321, 1700000000123456\r\n").encode("ascii")


def main_lines(*log_ids):
    """The main log's lines of those records, in that order."""
    return b"".join(PREFIX + line(log_id) for log_id in log_ids)


def counts(host):
    """The stand-in's records of what it handed to the agent."""
    return {name: host.record("mli", name, 0) for name in COUNTS}


def counted_since(host, before):
    """How much each count grew since `before` (a counts() result)."""
    now = counts(host)
    return {name: now[name] - before[name] for name in COUNTS}


def thread_messages(host, anchor):
    """The messages of this test's debug log part that came from the thread
    which logged `anchor` first, in their order from there on; without the
    failed reads that the driver's idle time-out brings now and then."""
    found = messages(host)
    at = [n for n, (_, text) in enumerate(found) if text == anchor]
    assert at, f"{anchor!r} not in the debug log"
    thread = found[at[0]][0]
    return [text for tid, text in found[at[0]:] if tid == thread and text != FAILED_READ]


def written(single_record_line):
    """WriteRecord's last message for a line. The debug log is a text
    stream: the line's own CRLF becomes CR CR LF, and the message's LF one
    more CRLF, so the message ends in a CR and an empty line follows."""
    return "WriteRawData to fw.dpi log: " + single_record_line.decode("ascii")[:-2] + "\r"


def wait_for_count(host, name, value, timeout=30):
    deadline = time.monotonic() + timeout
    while host.record("mli", name, 0) < value:
        if time.monotonic() > deadline:
            raise AssertionError(f"{name} {host.record('mli', name, 0)}, not {value}, after {timeout} s")
        time.sleep(0.1)


def quiet_event_agent():
    """A fresh running agent with its flush timer set to QUIET_INTERVAL_MS:
    the pump takes a new period over when a record comes, and the new
    timer's first pass follows 1000 ms later; after that, only records
    start passes."""
    agent_host.running["settings"] = None
    host = fresh_event_agent()
    # The start's timer makes its first pass 1000 ms after the start; it
    # must be counted before the pass of the new timer is waited for.
    wait_for_count(host, "FlushCalls", 1)
    deploy_log_parameters(host, size=1024, keep=8, cacheSize=128, logFlushInterval=QUIET_INTERVAL_MS)
    flushes = host.record("mli", "FlushCalls", 0)
    host.play([entry(stamped(logId=1))])
    wait_for_count(host, "FlushCalls", flushes + 1)
    host.clear_event_files()
    return host


@pytest.fixture(scope="module")
def quiet_agent():
    """quiet_event_agent for a module's tests; the period goes with the
    agent at the module's end."""
    quiet_event_agent()
    yield
    agent_host.running["settings"] = None
