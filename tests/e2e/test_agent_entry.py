"""ZentAgent.exe's entry: one exact argument chooses the command, the suite
framework must be up for any command to run, and the exit code is what the
suite's patch agent reads."""
import os
import re
import shutil
import subprocess

import pytest

from agent_host import SUITE_KEY
from winehost import build_file, delete_key, run


def agent_run(agent, *args):
    return run([agent.path("ZentAgent.exe"), *args])


@pytest.mark.parametrize("argument", ["-Install", "-install ", "-DELETE", "-Service", "-service ", "service", ""])
def test_any_argument_but_the_three_commands_is_invalid_and_exits_with_0(agent, argument):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    done = agent_run(agent, *([argument] if argument else []))
    assert done.exit_code == 0
    text = agent.log("zent_install.log")
    # The command line's whole tail is the argument: a blank in it brings the
    # quotes the caller put around it.
    tail = f'"{argument}"' if " " in argument else argument
    assert re.search(r"\[WinMain:\d+\] invalid parameter " + re.escape(tail) + r"\r\n", text), text
    assert re.search(r"\[DeinitService:\d+\] DeinitService ", text)
    # Only the service writes zent_agent.log.
    assert not os.path.exists(agent.path("zent_agent.log"))


def test_service_argument_outside_the_control_manager_exits_with_0(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    done = agent_run(agent, "-service")
    assert done.exit_code == 0
    assert re.search(r"\[WinMain:\d+\] Failed to StartServiceCtrlDispatcher \[1063\]!\r\n", agent.log())


def test_without_the_suites_key_nothing_runs(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    delete_key(SUITE_KEY)
    assert agent_run(agent, "-install").exit_code == -1
    assert not os.path.exists(agent.path("zent_install.log"))


def test_without_the_framework_library_nothing_runs(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    os.remove(agent.path("klfAgent_64x.dll"))
    assert agent_run(agent, "-install").exit_code == -1


def test_unsigned_framework_library_is_not_loaded(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    library = agent.path("klfAgent_64x.dll")
    subprocess.run(["osslsigncode", "remove-signature", "-in", library, "-out", library + ".unsigned"],
                   check=True, capture_output=True)
    os.replace(library + ".unsigned", library)
    assert agent_run(agent, "-install").exit_code == -1
    assert agent.record("klfAgent", "SystemCalls") is None


def test_framework_without_its_fourth_entry_point_stops_the_program(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    shutil.copy(build_file("sim/klfagent/klfAgent_64x_missing_verify.dll"), agent.path("klfAgent_64x.dll"))
    assert agent_run(agent, "-install").exit_code == -1


def test_a_deployment_run_and_the_service_write_different_logs_at_once(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    agent.start()
    assert agent_run(agent, "-status").exit_code == 0
    agent.wait_for_log(r"\] ProcessTelemetryFn: enters\r\n")
    assert "invalid parameter" not in agent.log()
    assert re.search(r"\] invalid parameter -status\r\n", agent.log("zent_install.log"))
    assert "ProcessTelemetryFn" not in agent.log("zent_install.log")
