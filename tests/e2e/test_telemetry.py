"""The status telemetry of a running service: its first pass comes an hour
after the start, so a service that runs for less than that writes none of
DriverStatus, ConfigBinStatus and PolicyStatus, and values set beforehand
stay. The host is laid out so that one early pass would show: it writes
DriverStatus always, ConfigBinStatus 0 with no config.xml, and PolicyStatus 0
with two equal labels. The first pass itself is checked by ./zent soak."""
import time

import pytest

from winehost import delete_value, read_value, set_value

AGENT_KEY = r"HKLM\SOFTWARE\Halvane\ZentAgent"
VALUES = ("DriverStatus", "ConfigBinStatus", "PolicyStatus")
SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 4}, "Policy": {"DeployedPolicy": "Policy-1", "RequestPolicy": "Policy-1"}}


def run_service_for(agent, seconds):
    for name in VALUES:
        delete_value(AGENT_KEY, name, missing_ok=True)
    set_value(AGENT_KEY, "DriverStatus", 5)
    set_value(AGENT_KEY, "ConfigBinStatus", 1)
    agent.install(SETTINGS)
    assert agent.start().state == "RUNNING"
    agent.wait_for_log(r"\[ProcessTelemetryFn:\d+\] ProcessTelemetryFn: enters\r\n")
    time.sleep(seconds)
    # The agent answers while the telemetry thread waits.
    assert agent.send("notify").exit_code == 0
    assert agent.stop().state == "STOPPED"
    return {name: read_value(AGENT_KEY, name) for name in VALUES}


def check_nothing_written(agent, values):
    try:
        assert values == {"DriverStatus": 5, "ConfigBinStatus": 1, "PolicyStatus": None}
        log = agent.log()
        assert "Telemetry thread:" not in log
        assert "stat.dwCurrentState" not in log
        assert "ConfigXMLTime" not in log
        assert "deployedPolicyInfo" not in log
        assert "ProcessTelemetryFn: Stop Event Signaled!\r\n" in log
        assert "ProcessTelemetryFn: exits\r\n" in log
    finally:
        for name in VALUES:
            delete_value(AGENT_KEY, name, missing_ok=True)


def test_seconds_of_service_write_no_status_value(agent):
    check_nothing_written(agent, run_service_for(agent, 5))


@pytest.mark.long
def test_minutes_of_service_write_no_status_value(agent):
    check_nothing_written(agent, run_service_for(agent, 180))
