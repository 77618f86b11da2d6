"""What the event pipeline's tests share: the agent's settings, the manager
policy that sets the event log's parameters, the main log's time prefix, and
the debug log's messages."""
import os
import re
import struct
import time

from agent_host import LINE, MISC_DIR, SIM_KEY, running_agent
from driver_records import record
from winehost import delete_value, unix_path

# TestMode: pipe command 104 deploys a manager policy. Level 4 shows each
# record's way through the cache.
EVENT_SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1, "FlushDebugLogTimer": 200}}
POLICY = os.path.join(os.path.dirname(__file__), "data", "small_policy.xml")
DEPLOY_TIMEOUT_MS = 60000
# The two time stamps most test records carry: the first one, in
# microseconds, ends each line and gives the main log its local time.
STAMPS = {"timeSeconds": 1700000000, "timeMicroseconds": 123456, "secondSeconds": 1700000001,
          "secondMicroseconds": 654321}
FIRST_TIME = 1700000000123456
# The stand-in's knobs a test may turn; a fresh test starts without them.
DRIVER_KNOBS = ("IdleWaitMs", "FlushDelayMs", "FlushFails")


def fresh_event_agent(settings=EVENT_SETTINGS):
    """The running agent with no event files, the suite's Misc folder in
    place and the driver's knobs at their defaults."""
    host = running_agent(settings)
    host.clear_event_files()
    os.makedirs(unix_path(MISC_DIR), exist_ok=True)
    for knob in DRIVER_KNOBS:
        delete_value(SIM_KEY + r"\mli", knob, missing_ok=True)
    return host


def stamped(*parts, **fields):
    """driver_records.record with STAMPS, unless the fields give others."""
    return record(*parts, **{**STAMPS, **fields})


def log_parameters_policy(**attributes):
    """The small manager policy with a PacketFilterLog element carrying
    these attributes (size, keep, cacheSize, logFlushInterval)."""
    with open(POLICY, "rb") as f:
        policy = f.read().decode("utf-8")
    element = "<PacketFilterLog" + "".join(f' {name}="{value}"' for name, value in attributes.items()) + "/>"
    return policy.replace("</Features>", "</Features>\n        <LogConfiguration>" + element + "</LogConfiguration>",
                          1).encode("utf-8")


def deploy_log_parameters(host, **attributes):
    """Deploys them through pipe command 104; the policy must be taken."""
    reply = host.send("set-raw-config", data=log_parameters_policy(**attributes), timeout_ms=DEPLOY_TIMEOUT_MS)
    result = struct.unpack_from("<I", reply.raw, 12)[0] if len(reply.raw) == 36 else None
    assert result == 0, f"policy not taken: {reply.stdout}"


def message(text):
    """A regular expression for one whole debug log line with this message:
    the prefix "[thread][ZTENG][function:line] ", the text exactly, CRLF."""
    return r"\[[ 0-9A-F]{4,8}\]\[ZTENG\]\[\w+:\d+\] " + re.escape(text) + r"\r\n"


def messages(host):
    """(thread id, message) of each line of this test's part of the debug log."""
    found = []
    for line in host.test_log().split("\r\n"):
        match = LINE.match(line)
        if match:
            found.append((match.group(2).strip(), match.group(5)))
    return found


def wait_for_messages(host, text, times=1, timeout=15):
    """Waits until this test's part of the debug log holds the message that
    often (the agent flushes it every FlushDebugLogTimer ms); returns all of
    the part's (thread id, message)."""
    deadline = time.monotonic() + timeout
    while True:
        found = messages(host)
        if sum(1 for _, m in found if m == text) >= times:
            return found
        if time.monotonic() > deadline:
            raise AssertionError(f"{text!r} not {times} times in the debug log after {timeout} s:\n"
                                 + host.test_log()[-3000:])
        time.sleep(0.1)


def time_prefix(first_time):
    """The main log's "%Y/%m/%d, %H:%M:%S, ": the local date and time of the
    record's first stamp, given in microseconds."""
    return time.strftime("%Y/%m/%d, %H:%M:%S, ", time.localtime(first_time // 1000000)).encode("ascii")
