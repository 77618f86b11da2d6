"""./zent soak: the agent as a service under Wine for 61 minutes, then its
first status telemetry pass, which comes one hour after the start.

The host is laid out so that each value's outcome is plain: no config.xml
nor config.rbf (a fresh host, ConfigBinStatus 0, written at once), labels
that differ in the ini (PolicyStatus 1, a first mismatch, so not written:
the value set beforehand stays), and the driver's service running
(DriverStatus 4). Every value is set to 9 beforehand.

ZENT_SOAK_WAIT_S shortens the wait. The hour is fixed in the agent, so a
wait under an hour checks only that nothing is written before it.
Exit status 0 when every check holds, 1 otherwise."""
import os
import re
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "e2e"))

from agent_host import LINE, AgentHost  # noqa: E402
from winehost import delete_value, end_session, keep_session, read_value, set_value  # noqa: E402

AGENT_KEY = r"HKLM\SOFTWARE\Halvane\ZentAgent"
VALUES = ("DriverStatus", "ConfigBinStatus", "PolicyStatus")
BEFORE = 9
HOUR_S = 3600
DEFAULT_WAIT_S = 61 * 60
SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 4},
            "Policy": {"DeployedPolicy": "Policy-1", "RequestPolicy": "Policy-2"}}

WRITE = "SetDWordValue: Registry key name: 'HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent'"
ENTERS = "ProcessTelemetryFn: ProcessTelemetryFn: enters"
# The telemetry thread's lines of the first pass, written from the contract
# for the host above: both files missing, one write for DriverStatus before
# the pass's line and one for ConfigBinStatus after it.
FIRST_PASS = [
    "GetFileModifyTime: Get File Info fails",
    "GetFileModifyTime: Get File Info fails",
    "compareConfigBinStatus: ConfigXMLTime: 0, ConfigBinTime: 0",
    "comparePolicyStatus: deployedPolicyInfo: Policy-1, requestPolicyInfo: Policy-2",
    "getDriverStatus: mlfilter stat.dwCurrentState: 4",
    WRITE,
    "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),(PolicyStatusValue,ErrorCount)(1,0),4",
    WRITE,
]
STOP = ["ProcessTelemetryFn: ProcessTelemetryFn: Stop Event Signaled!", "ProcessTelemetryFn: ProcessTelemetryFn: exits"]


def telemetry_thread_lines(log_text):
    """ "Function: message" of every line the telemetry thread wrote, known by
    the thread id of its "enters" line."""
    parsed = [LINE.match(line) for line in log_text.splitlines()]
    parsed = [match for match in parsed if match]
    thread = next((m.group(2) for m in parsed if f"{m.group(3)}: {m.group(5)}" == ENTERS), None)
    return [f"{m.group(3)}: {m.group(5)}" for m in parsed if m.group(2) == thread] if thread else []


def expected(waited_s):
    """(registry values, telemetry thread's lines) after a service that ran
    waited_s seconds and was stopped."""
    if waited_s < HOUR_S:
        return {name: BEFORE for name in VALUES}, [ENTERS] + STOP
    return {"DriverStatus": 4, "ConfigBinStatus": 0, "PolicyStatus": BEFORE}, [ENTERS] + FIRST_PASS + STOP


def check(values, lines, waited_s):
    """The failures, as lines to print; empty when all holds."""
    want_values, want_lines = expected(waited_s)
    failures = []
    for name in VALUES:
        if values.get(name) != want_values[name]:
            failures.append(f"{name} is {values.get(name)!r}, expected {want_values[name]}")
    if lines != want_lines:
        failures.append("the telemetry thread's lines differ:")
        failures += [f"  expected: {line}" for line in want_lines]
        failures += [f"  found:    {line}" for line in lines]
    return failures


def whole_log(agent):
    """zent_agent.log with its older copies before it, oldest first."""
    names = [f"zent_agent{i}.log" for i in range(4, 0, -1)] + ["zent_agent.log"]
    return "".join(agent.log(name) for name in names if os.path.exists(agent.path(name)))


def wait_s():
    text = os.environ.get("ZENT_SOAK_WAIT_S", "")
    if not text:
        return DEFAULT_WAIT_S
    if not re.fullmatch(r"\d+", text) or HOUR_S <= int(text) < DEFAULT_WAIT_S:
        # Within the minute after the hour the pass may or may not have come.
        raise SystemExit(f"ZENT_SOAK_WAIT_S={text}: give whole seconds, under {HOUR_S} or at least {DEFAULT_WAIT_S}")
    return int(text)


def main():
    waited = wait_s()
    keep_session()
    agent = AgentHost()
    try:
        agent.install(SETTINGS)
        for name in VALUES:
            set_value(AGENT_KEY, name, BEFORE)
        if agent.start().state != "RUNNING":
            print("soak: the agent did not reach RUNNING")
            return 1
        agent.wait_for_log(r"\[ProcessTelemetryFn:\d+\] ProcessTelemetryFn: enters\r\n")
        print(f"soak: the agent runs; waiting {waited} s for the telemetry's first pass", flush=True)
        time.sleep(waited)
        values = {name: read_value(AGENT_KEY, name) for name in VALUES}
        agent.stop()
        lines = telemetry_thread_lines(whole_log(agent))
    finally:
        agent.remove()
        for name in VALUES:
            delete_value(AGENT_KEY, name, missing_ok=True)
        end_session()
    failures = check(values, lines, waited)
    checked = "the first pass" if waited >= HOUR_S else "nothing written before the hour (the first pass is not checked)"
    if failures:
        print(f"soak FAILED after {waited} s ({checked}):")
        for line in failures:
            print("  " + line)
        return 1
    print(f"soak passed after {waited} s: {checked}; values {values}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
