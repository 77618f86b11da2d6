"""ZentAgent.exe -service under Wine's service control manager: start,
status, accepted controls, self-protection, the two ways to stop, and the
start-up failures the suite reads from the service's exit code."""
import re

from agent_host import DRIVER_SERVICE, SERVICE
from winehost import delete_service, query_service, read_ini, stop_service, wait_for_state

THREADS = ("CmdProcessFn", "FwDpiServiceFn", "ProcessNotifyFn", "ProcessLogFileFn", "ProcessMonitorConfigFn",
           "ProcessTelemetryFn")


def test_started_service_runs_and_accepts_stop_and_shutdown(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 2}})
    status = agent.start()
    assert status.state == "RUNNING"
    assert status.controls_accepted == 5  # SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN
    assert status.win32_exit_code == 0
    for thread in THREADS:
        agent.wait_for_log(rf"\[{thread}:\d+\] {thread}: enters\r\n")


def test_suite_says_self_protection_is_on_so_stop_is_not_accepted(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.knob("klfAgent", "SelfProtection", 1)
    status = agent.start()
    assert status.controls_accepted == 4  # SERVICE_ACCEPT_SHUTDOWN alone
    # The suite's answer is backed up in the ini.
    assert read_ini(agent.ini)["SelfProtection"]["Service"] == "1"


def test_suite_says_self_protection_is_off_and_the_backup_follows(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}, "SelfProtection": {"Service": 1}})
    agent.knob("klfAgent", "SelfProtection", 0)
    assert agent.start().controls_accepted == 5
    assert read_ini(agent.ini)["SelfProtection"]["Service"] == "0"


def test_suite_call_fails_so_the_ini_backup_decides(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}, "SelfProtection": {"Service": 1}})
    agent.knob("klfAgent", "SystemCallFails", 5)
    assert agent.start().controls_accepted == 4
    agent.wait_for_log(r"KLF System call retruned error: 5\r\n")


def test_suite_answers_malformed_json_so_the_ini_backup_decides(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}, "SelfProtection": {"Service": 1}})
    agent.knob("klfAgent", "Response", '{"system_call_result": ')
    assert agent.start().controls_accepted == 4
    agent.wait_for_log(r"Unable to parse response, rapidjosn parsing error: \d+\r\n")


def test_suite_call_fails_and_no_backup_means_no_self_protection(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.knob("klfAgent", "SystemCallFails", 5)
    assert agent.start().controls_accepted == 5


def test_stop_through_the_control_manager_ends_every_thread(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 2}})
    agent.start()
    status = agent.stop()
    assert status.win32_exit_code == 0
    log = agent.log()
    for thread in THREADS:
        assert re.search(rf"\[{thread}:\d+\] {thread}: exits\r\n", log), thread
    # The driver handle is given back.
    assert agent.record("mli", "Opened") == 1
    assert agent.record("mli", "Closed") == 1


def test_stop_through_pipe_command_3(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 2}})
    agent.start()
    reply = agent.send("stop", "--request-id", "33")
    assert reply.exit_code == 0
    assert reply.raw[:20] == b"QTNZ" + bytes.fromhex("00000000" "21000000" "00000000" "00000000")
    status = wait_for_state(SERVICE, "STOPPED", timeout=60)
    assert status.win32_exit_code == 0
    log = agent.log()
    for thread in THREADS:
        assert re.search(rf"\[{thread}:\d+\] {thread}: exits\r\n", log), thread


def test_missing_driver_service_stops_with_201512003(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    delete_service(DRIVER_SERVICE)
    status = agent.start(state="STOPPED")
    assert status.win32_exit_code == 201512003
    assert re.search(r"\] OpenService\(mlfilter\) failed \(1060\)\r\n", agent.log())
    assert re.search(r"\] StartDriverService: returned status of 1060 - shutting down\r\n", agent.log())


def test_driver_service_that_fails_to_start_stops_the_agent_with_201512003(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.knob("mlfilter", "StartFails", 1058)
    status = agent.start(state="STOPPED")
    assert status.win32_exit_code == 201512003


def test_driver_service_already_running_is_not_started_again(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.start()
    agent.stop()
    # mlfilter kept running across the agent's stop.
    agent.start()
    assert agent.record("mlfilter", "Started") == 1
    agent.wait_for_log(r"\] Cannot start the service\(mlfilter\) because it is already running\r\n")


def test_failing_driver_open_stops_with_minus_one(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.knob("mli", "OpenFails", 1)
    status = agent.start(state="STOPPED")
    assert status.win32_exit_code == 0xFFFFFFFF
    assert "] Can't talk to driver.\r\nIs it loaded? Are you root?\r\n" in agent.log()


def test_failing_event_registration_stops_with_minus_one_and_closes_the_driver(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.knob("mli", "RegisterEventFails", 31)
    status = agent.start(state="STOPPED")
    assert status.win32_exit_code == 0xFFFFFFFF
    assert "] mli_register_event(): register event refused by driver\r\n" in agent.log()
    assert agent.record("mli", "Closed") == 1


def test_self_protection_makes_the_control_manager_refuse_stop(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    agent.knob("klfAgent", "SelfProtection", 1)
    agent.start()
    assert stop_service(SERVICE, check=False) is False
    assert query_service(SERVICE).state == "RUNNING"
