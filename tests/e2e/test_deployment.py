"""ZentAgent.exe -install and -delete as the suite's patch agent runs them:
the exit codes it reads, the agent's service registered, kept, stopped and
deleted, the deployment mutex, the gate on the caller of "-delete", and the
lines of zent_install.log at DebugLevel 5."""
import os
import re
import time

import pytest

from agent_host import INSTALL_DIR, SERVICE
from deployment import SERVICE_KEY, HeldMutex, log_messages
from test_agent_config import rule_file
from winehost import (build_file, create_service, delete_service, query_service, read_key, start_service,
                      stop_service, wait_for_state, windows_path)

# The lines these tests check: the deployment commands and the agent's own
# service. The driver's installer and the check for other agents write theirs
# between them, under their own functions, and have tests of their own.
OWN_FUNCTIONS = {"WinMain", "ServiceInstall", "ServiceDelete", "StopService", "WaitUntilServiceStatus",
                 "DeploymentCriticalSection", "EndDeploymentCriticalSection", "TryToLoadDriverConfig",
                 "verifyParentProcessSignatureAndSigner", "DeinitService"}
RULES = rule_file(b"PacketEngine\n  packetFilter id=\"1\" action=\"1\"\n", 2)
# What the old registration of an earlier version looked like.
OLD_COMMAND = r'"C:\Old Agent\ZentAgent.exe" -service'


@pytest.fixture
def host(deployment_host):
    yield deployment_host


def last_run(host):
    """The lines of OWN_FUNCTIONS that the last run wrote, from its "cmd:"
    line on."""
    text = host.install_log()
    lines = [m for m in log_messages(text[text.rindex("start logging >>>"):]) if m[0] in OWN_FUNCTIONS]
    first = next(i for i, (function, message) in enumerate(lines) if message.startswith("cmd: "))
    return lines[first:]


def ending(argument, code):
    return [("WinMain", f"lpCmdLine({argument}), cmd({argument}), code({code})"),
            ("DeinitService", f"DeinitService {argument}")]


def registration():
    """The agent's service as the control manager keeps it in the registry.
    ObjectName and PreshutdownTimeout are what Wine records for a service
    created without an account and without that setting."""
    return read_key(SERVICE_KEY)


EXPECTED_REGISTRATION = {
    "Description": ("REG_SZ", "Detects Intrusion Prevention rule violations and automates the application of "
                              "virtual patches before official patches become available."),
    "DisplayName": ("REG_SZ", "Halvane Zent Service (Agent)"),
    "ErrorControl": ("REG_DWORD", 1),
    "ImagePath": ("REG_SZ", '"C:\\ZentE2e\\ZentAgent.exe" -service'),
    "ObjectName": ("REG_SZ", "LocalSystem"),
    "PreshutdownTimeout": ("REG_DWORD", 180000),
    "Start": ("REG_DWORD", 2),
    "Type": ("REG_DWORD", 16),
}


def test_install_registers_the_service_and_loads_the_last_rule_file(host):
    with open(host.path("config.rbf"), "wb") as f:
        f.write(RULES)
    done = host.deploy("-install")
    assert done.exit_code == 0
    assert done.stdout == "exit code: 0\r\n"
    assert registration() == EXPECTED_REGISTRATION
    # Registered, not started: the suite starts it.
    assert query_service(SERVICE).state == "STOPPED"
    assert host.record("mli", "LoadedRuleFile") == RULES
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        ("WinMain", "ZentAgent -install"),
        ("ServiceInstall", "Service(ZentAgent) installed successfully"),
        ("TryToLoadDriverConfig", rf"Load {INSTALL_DIR}\config.rbf to driver successfully."),
        *ending("-install", 0)]


def test_install_without_a_rule_file_registers_the_service_only(host):
    assert host.deploy("-install").exit_code == 0
    assert registration() == EXPECTED_REGISTRATION
    assert host.record("mli", "ConfigLoads") is None
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        ("WinMain", "ZentAgent -install"),
        ("ServiceInstall", "Service(ZentAgent) installed successfully"),
        ("TryToLoadDriverConfig", rf"Config file ({INSTALL_DIR}\config.rbf) does not exist or is a directory."),
        *ending("-install", 0)]


def test_an_upgrade_keeps_the_old_registration_and_its_path(host):
    create_service(SERVICE, OLD_COMMAND, start="demand", display_name="Zent Agent of old")
    before = registration()
    os.makedirs(host.path("config.rbf"))
    assert host.deploy("-install").exit_code == 0
    assert registration() == before
    assert registration()["ImagePath"] == ("REG_SZ", OLD_COMMAND)
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        ("WinMain", "ZentAgent -install"),
        ("ServiceInstall", "Service(ZentAgent) already exists. Skip CreateServiceW()."),
        ("TryToLoadDriverConfig", rf"Config file ({INSTALL_DIR}\config.rbf) does not exist or is a directory."),
        *ending("-install", 0)]


def test_a_display_name_taken_by_another_service_gives_1078(host):
    create_service("ZentTwin", OLD_COMMAND, display_name="Halvane Zent Service (Agent)")
    try:
        done = host.deploy("-install")
        assert done.exit_code == 1078
        assert registration() is None
        assert last_run(host) == [
            ("WinMain", "cmd: -install"),
            ("WinMain", "ZentAgent -install"),
            ("ServiceInstall", "Failed to CreateService(ZentAgent) (1078)"),
            ("WinMain", "Unable to install service."),
            *ending("-install", 1078)]
    finally:
        delete_service("ZentTwin", check=False)


def install_and_start(host, self_protection=0):
    assert host.deploy("-install").exit_code == 0
    host.copy_built("mlfilter.exe")
    create_service("mlfilter", INSTALL_DIR + r"\mlfilter.exe")
    host.knob("klfAgent", "SelfProtection", self_protection)
    start_service(SERVICE)
    wait_for_state(SERVICE, "RUNNING", timeout=60)


def test_delete_stops_the_running_agent_and_deletes_its_service(host):
    install_and_start(host)
    done = host.deploy("-delete")
    assert done.exit_code == 0
    assert query_service(SERVICE) is None
    assert registration() is None
    # The agent took the stop control and its process ended.
    assert re.search(r"\[ServiceCtrl_:\d+\] ServiceCtrl_: control\(1\), eventType\(0\)\r\n", host.log())
    assert host.log().endswith("] DeinitService -service\r\n")
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("ServiceDelete", "Service(ZentAgent) deleted successfully"),
        ("WinMain", "ZentAgent -delete finished successfully."),
        *ending("-delete", 0)]


def test_delete_of_a_stopped_agent_deletes_it_at_once(host):
    assert host.deploy("-install").exit_code == 0
    assert host.deploy("-delete").exit_code == 0
    assert query_service(SERVICE) is None
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("StopService", "Service is already stopped or stop pending. Will wait for pending."),
        ("ServiceDelete", "Service(ZentAgent) deleted successfully"),
        ("WinMain", "ZentAgent -delete finished successfully."),
        *ending("-delete", 0)]


def test_delete_without_the_service_exits_with_1060_after_the_success_line(host):
    done = host.deploy("-delete")
    assert done.exit_code == 1060
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("StopService", "OpenService(ZentAgent) failed (1060)"),
        ("WinMain", "Try to stop service, but ZentAgent service does not exist. Keep going further steps."),
        ("ServiceDelete", "OpenService(ZentAgent) failed (1060)"),
        ("WinMain", "Try to delete service, but ZentAgent service does not exist. Keep going further steps."),
        ("WinMain", "ZentAgent -delete finished successfully."),
        *ending("-delete", 1060)]


@pytest.mark.parametrize("parent", ["other_signer", "unsigned"])
def test_delete_from_a_patch_agent_not_signed_by_the_publisher_touches_nothing(host, parent):
    assert host.deploy("-install").exit_code == 0
    before = registration()
    done = host.deploy("-delete", parent=parent)
    assert done.exit_code == -115
    assert done.stdout == "exit code: -115\r\n"
    assert registration() == before
    program = windows_path(build_file(f"sim/patchagent/patchagent_{parent}.exe"))
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("verifyParentProcessSignatureAndSigner", f"{program} does not have valid Halvane sign."),
        ("WinMain", "Parent process is not signed by Halvane. Skip uninstall procedure."),
        *ending("-delete", -115)]


def test_delete_refused_by_self_protection_exits_with_1052_and_keeps_the_agent(host):
    install_and_start(host, self_protection=1)
    done = host.deploy("-delete")
    assert done.exit_code == 1052
    assert query_service(SERVICE).state == "RUNNING"
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("StopService", "Failed to ControlService(SERVICE_CONTROL_STOP)(Error=1052)"),
        ("WinMain", "Unable to stop service."),
        *ending("-delete", 1052)]


def hanging_agent(host, stop_delay_ms):
    """The driver's stand-in registered as "ZentAgent", hanging in its stop."""
    host.copy_built("mlfilter.exe")
    create_service(SERVICE, INSTALL_DIR + r"\mlfilter.exe")
    host.knob(SERVICE, "StopDelayMs", stop_delay_ms)
    start_service(SERVICE)
    wait_for_state(SERVICE, "RUNNING")


@pytest.mark.long
def test_delete_of_an_agent_stuck_in_stop_pending_gives_up_after_its_wait_hint(host):
    hanging_agent(host, 40000)
    stop_service(SERVICE)
    assert query_service(SERVICE).state == "STOP_PENDING"
    done = host.deploy("-delete")
    assert done.exit_code == -1
    assert query_service(SERVICE) is not None
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("StopService", "Service is already stopped or stop pending. Will wait for pending."),
        ("WaitUntilServiceStatus",
         "Service still in 3 (START_PENDING=2, STOP_PENDING=3), it's kinda too long. Something may go wrong."),
        ("WinMain", "Unable to stop service."),
        *ending("-delete", -1)]


@pytest.mark.long
def test_delete_of_an_agent_that_does_not_stop_within_a_minute_gives_minus_1(host):
    hanging_agent(host, 90000)
    done = host.deploy("-delete")
    assert done.exit_code == -1
    assert query_service(SERVICE).state == "STOP_PENDING"
    assert last_run(host) == [
        ("WinMain", "cmd: -delete"),
        ("WinMain", "ZentAgent -delete"),
        ("StopService", "Service still not SERVICE_STOPPED, it's kinda too long. Something may go wrong."),
        ("WinMain", "Unable to stop service."),
        *ending("-delete", -1)]


@pytest.mark.long
def test_a_deployment_waiting_for_the_mutex_gets_minus_1_after_300_seconds(host):
    holder = HeldMutex()
    try:
        done = host.deploy("-install")
    finally:
        holder.release()
    assert done.exit_code == -1
    assert registration() is None
    # The handle is set although the mutex was never owned, so the release
    # at the end fails with ERROR_NOT_OWNER.
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        ("WinMain", "ZentAgent -install"),
        ("DeploymentCriticalSection", "Unable to acquire mutex before timeout."),
        ("EndDeploymentCriticalSection", "Unable to create mutex. Error: 288"),
        *ending("-install", -1)]


def test_a_deployment_that_died_holding_the_mutex_does_not_block_the_next(host):
    holder = HeldMutex()
    try:
        waiting = host.deploy_in_background("-install")
        # A short run writes its log at its end: the run is seen waiting by
        # what it has not done yet.
        time.sleep(5)
        assert waiting.is_alive()
        assert registration() is None
    finally:
        holder.release()
    waiting.join(timeout=120)
    assert waiting.result.exit_code == 0
    assert registration() == EXPECTED_REGISTRATION
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        ("WinMain", "ZentAgent -install"),
        ("ServiceInstall", "Service(ZentAgent) installed successfully"),
        ("TryToLoadDriverConfig", rf"Config file ({INSTALL_DIR}\config.rbf) does not exist or is a directory."),
        *ending("-install", 0)]


def test_a_driver_that_wants_a_reboot_keeps_an_existing_service_and_leaves_the_rules_for_the_reboot(host):
    create_service(SERVICE, OLD_COMMAND, display_name="Zent Agent of old")
    before = registration()
    with open(host.path("config.rbf"), "wb") as f:
        f.write(RULES)
    # No driver running: the package's is installed, and the network
    # configuration says it works after a reboot.
    host.copy_built("mlfilter.exe")
    host.knob("mli", "OpenFails", 1)
    host.knob("netcfg", "DriverServiceProgram", INSTALL_DIR + r"\mlfilter.exe")
    host.knob("netcfg", "RebootRequired", 1)
    done = host.deploy("-install")
    assert done.exit_code == -110
    assert registration() == before
    assert host.record("mli", "ConfigLoads") is None
    assert host.record("mli", "LoadedRuleFile") is None
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        ("WinMain", "ZentAgent -install"),
        ("ServiceInstall", "InstallOrUpdateDriver success, but require reboot."),
        ("ServiceInstall", "Service(ZentAgent) already exists. Skip CreateServiceW()."),
        ("WinMain", "Unable to install service."),
        *ending("-install", -110)]
