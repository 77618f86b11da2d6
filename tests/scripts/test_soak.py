"""./zent soak's checks, without the hour: which values and which lines of
the telemetry thread it expects after a wait, read from log text written by
hand."""
import os
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
sys.path.insert(0, os.path.join(ROOT, "tests", "soak"))

import soak  # noqa: E402

WRITE = "SetDWordValue: Registry key name: 'HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent'"
LOG_AFTER_THE_HOUR = "\r\n".join([
    "2026:01:02-10:00:00:001 [  2C][ZTENG][ProcessTelemetryFn:12] ProcessTelemetryFn: enters",
    "2026:01:02-10:00:00:002 [  1C][ZTENG][ProcessNotifyFn:40] ProcessNotifyFn: enters",
    "2026:01:02-11:00:00:003 [  2C][ZTENG][GetFileModifyTime:15] Get File Info fails",
    "2026:01:02-11:00:00:003 [  2C][ZTENG][GetFileModifyTime:15] Get File Info fails",
    "2026:01:02-11:00:00:004 [  1C][ZTENG][GetFileModifyTime:15] Get File Info fails",
    "2026:01:02-11:00:00:004 [  2C][ZTENG][compareConfigBinStatus:70] ConfigXMLTime: 0, ConfigBinTime: 0",
    "2026:01:02-11:00:00:005 [  2C][ZTENG][comparePolicyStatus:80] "
    "deployedPolicyInfo: Policy-1, requestPolicyInfo: Policy-2",
    "2026:01:02-11:00:00:006 [  2C][ZTENG][getDriverStatus:90] mlfilter stat.dwCurrentState: 4",
    "2026:01:02-11:00:00:007 [  2C][ZTENG][SetDWordValue:173] Registry key name: "
    "'HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent'",
    "2026:01:02-11:00:00:008 [  2C][ZTENG][ProcessTelemetryFn:40] Telemetry thread: "
    "(ConfigBinStatusValue,ErrorCount):(0,0),(PolicyStatusValue,ErrorCount)(1,0),4",
    "2026:01:02-11:00:00:009 [  2C][ZTENG][SetDWordValue:173] Registry key name: "
    "'HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent'",
    "2026:01:02-11:01:00:000 [  2C][ZTENG][ProcessTelemetryFn:60] ProcessTelemetryFn: Stop Event Signaled!",
    "2026:01:02-11:01:00:001 [  2C][ZTENG][ProcessTelemetryFn:61] ProcessTelemetryFn: exits",
    "",
])
LOG_BEFORE_THE_HOUR = "\r\n".join([
    "2026:01:02-10:00:00:001 [  2C][ZTENG][ProcessTelemetryFn:12] ProcessTelemetryFn: enters",
    "2026:01:02-10:00:05:000 [  2C][ZTENG][ProcessTelemetryFn:60] ProcessTelemetryFn: Stop Event Signaled!",
    "2026:01:02-10:00:05:001 [  2C][ZTENG][ProcessTelemetryFn:61] ProcessTelemetryFn: exits",
    "",
])
AFTER_THE_HOUR = {"DriverStatus": 4, "ConfigBinStatus": 0, "PolicyStatus": 9}
UNTOUCHED = {"DriverStatus": 9, "ConfigBinStatus": 9, "PolicyStatus": 9}


def test_only_the_telemetry_threads_lines_are_taken():
    assert soak.telemetry_thread_lines(LOG_AFTER_THE_HOUR) == [
        "ProcessTelemetryFn: ProcessTelemetryFn: enters",
        "GetFileModifyTime: Get File Info fails",
        "GetFileModifyTime: Get File Info fails",
        "compareConfigBinStatus: ConfigXMLTime: 0, ConfigBinTime: 0",
        "comparePolicyStatus: deployedPolicyInfo: Policy-1, requestPolicyInfo: Policy-2",
        "getDriverStatus: mlfilter stat.dwCurrentState: 4",
        WRITE,
        "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
        "(PolicyStatusValue,ErrorCount)(1,0),4",
        WRITE,
        "ProcessTelemetryFn: ProcessTelemetryFn: Stop Event Signaled!",
        "ProcessTelemetryFn: ProcessTelemetryFn: exits",
    ]


def test_first_pass_after_61_minutes_passes():
    lines = soak.telemetry_thread_lines(LOG_AFTER_THE_HOUR)
    assert soak.check(AFTER_THE_HOUR, lines, 61 * 60) == []


def test_first_pass_that_wrote_the_first_policy_mismatch_fails():
    lines = soak.telemetry_thread_lines(LOG_AFTER_THE_HOUR)
    assert soak.check(dict(AFTER_THE_HOUR, PolicyStatus=1), lines, 61 * 60) == [
        "PolicyStatus is 1, expected 9"]


def test_no_pass_after_61_minutes_fails():
    lines = soak.telemetry_thread_lines(LOG_BEFORE_THE_HOUR)
    failures = soak.check(UNTOUCHED, lines, 61 * 60)
    assert failures[:3] == ["DriverStatus is 9, expected 4", "ConfigBinStatus is 9, expected 0",
                            "the telemetry thread's lines differ:"]


def test_short_wait_expects_nothing_written():
    lines = soak.telemetry_thread_lines(LOG_BEFORE_THE_HOUR)
    assert soak.check(UNTOUCHED, lines, 30) == []


def test_short_wait_with_a_pass_fails():
    lines = soak.telemetry_thread_lines(LOG_AFTER_THE_HOUR)
    failures = soak.check(AFTER_THE_HOUR, lines, 30)
    assert failures[:2] == ["DriverStatus is 4, expected 9", "ConfigBinStatus is 0, expected 9"]
    assert failures[2] == "the telemetry thread's lines differ:"


def test_a_log_without_the_telemetry_thread_gives_no_lines():
    assert soak.telemetry_thread_lines("2026:01:02-10:00:00:001 [  1C][ZTENG][CmdProcessFn:1] CmdProcessFn: enters\r\n") == []
