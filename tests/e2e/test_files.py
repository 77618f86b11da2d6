"""Ini files as the agent reads them, log files as Windows programs write
them, in the prefix's C: drive."""
import os

import pytest

from winehost import read_ini, read_log, run, unix_path, wait_for_log, windows_path, write_ini


@pytest.fixture
def folder():
    path = unix_path(rf"C:\zent_e2e_files_{os.getpid()}")
    os.makedirs(path, exist_ok=True)
    yield path
    for name in os.listdir(path):
        os.remove(os.path.join(path, name))
    os.rmdir(path)


def test_ini_file_is_a_profile_file_with_crlf_lines(folder):
    path = os.path.join(folder, "zent_agent.ini")
    write_ini(path, {"ZENTSETTINGS": {"DebugLevel": 5, "TestMode": True}, "Policy": {"DeployedPolicy": "p-7"}})
    with open(path, "rb") as f:
        assert f.read() == b"[ZENTSETTINGS]\r\nDebugLevel=5\r\nTestMode=1\r\n[Policy]\r\nDeployedPolicy=p-7\r\n"
    assert read_ini(path) == {"ZENTSETTINGS": {"DebugLevel": "5", "TestMode": "1"},
                              "Policy": {"DeployedPolicy": "p-7"}}


def test_windows_and_linux_paths_name_the_same_file(folder):
    path = os.path.join(folder, "x.log")
    assert windows_path(path) == rf"C:\zent_e2e_files_{os.getpid()}\x.log"
    assert os.path.samefile(os.path.dirname(unix_path(windows_path(path))), folder)


def test_log_written_by_a_windows_program_is_read_and_waited_for(folder):
    path = os.path.join(folder, "zent_agent.log")
    assert read_log(path) == ""
    run(["cmd", "/c", f"echo first line>>{windows_path(path)}"])
    start = len(read_log(path).encode("cp1252"))
    run(["cmd", "/c", f"echo CmdProcessFn: enters>>{windows_path(path)}"])
    match = wait_for_log(path, r"CmdProcessFn: (\w+)", start=start, timeout=5)
    assert match.group(1) == "enters"
    assert read_log(path, start) == "CmdProcessFn: enters\r\n"


def test_waiting_for_a_line_that_never_comes_times_out(folder):
    with pytest.raises(TimeoutError):
        wait_for_log(os.path.join(folder, "none.log"), "never", timeout=0.5)
