"""The service's debug log under Wine: its line format, its levels, the
marker, rotation at LogFileSizeLimit, and the settings that turn it off."""
import datetime
import os
import re
import time

from agent_host import LINE


def lines_of(text):
    return [line for line in text.split("\r\n") if line]


def test_lines_have_stamp_thread_function_and_line(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 3}})
    before = datetime.datetime.now() - datetime.timedelta(minutes=1)
    agent.start()
    agent.stop()
    text = agent.log()
    assert text.startswith("\r\nstart logging >>>\r\n")
    body = lines_of(text[len("\r\nstart logging >>>\r\n"):])
    # Two messages have no line end of their own and run into the next line.
    for line in body:
        if "StartService_(mlfilter)" in line:
            continue
        match = LINE.match(line)
        assert match, line
        stamp = datetime.datetime.strptime(match.group(1), "%Y:%m:%d-%H:%M:%S:%f")
        assert stamp >= before
    assert re.search(r"\[InitService:\d+\] zent agent version: 1\.0\.2\.15\r\n", text)


def test_messages_without_line_end_run_into_the_next(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4}})
    agent.start()
    agent.stop()
    assert re.search(r"\[StartService_:\d+\] >>> StartService_\(mlfilter\)\d{4}:\d\d:\d\d-", agent.log())
    assert re.search(r"\[StartService_:\d+\] <<< StartService_\(mlfilter\)\d{4}:\d\d:\d\d-", agent.log())


def test_level_2_keeps_thread_lines_and_drops_progress(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 2}})
    agent.start()
    agent.stop()
    text = agent.log()
    assert "] CmdProcessFn: enters\r\n" in text
    assert "zent agent version" not in text  # level 3
    assert "Initializing Pipe Server" not in text  # level 4


def test_level_0_writes_only_the_marker(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 0}})
    agent.start()
    agent.stop()
    assert agent.log() == "\r\nstart logging >>>\r\n"


def test_log_file_off_writes_no_file(agent):
    agent.install({"ZENTSETTINGS": {"LogFile": 0, "DebugLevel": 6}})
    agent.start()
    agent.stop()
    assert not os.path.exists(agent.path("zent_agent.log"))


def test_rotation_at_the_size_limit_keeps_five_files_at_most(agent):
    # Level 6 logs each idle turn of the pipes, ten lines a second and more.
    agent.install({"ZENTSETTINGS": {"DebugLevel": 6, "LogFileSizeLimit": 4000, "FlushDebugLogTimer": 100}})
    agent.start()
    agent.wait_for_log(r".", name="zent_agent4.log", timeout=60)
    agent.stop()
    names = sorted(n for n in os.listdir(agent.dir) if n.startswith("zent_agent") and n.endswith(".log"))
    assert names == ["zent_agent.log", "zent_agent1.log", "zent_agent2.log", "zent_agent3.log", "zent_agent4.log"]
    for name in names[1:]:
        # A rotated file was cut just after the line that reached the limit
        # (counted in characters before "\n" became "\r\n").
        assert os.path.getsize(agent.path(name)) >= 4000
    # The first file, the only one with the marker, is now the oldest.
    assert agent.log("zent_agent4.log").startswith("\r\nstart logging >>>\r\n")
    for name in names[:-1]:
        assert "start logging" not in agent.log(name)


def test_zero_size_limit_never_rotates(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 6, "LogFileSizeLimit": 0, "FlushDebugLogTimer": 100}})
    agent.start()
    deadline = time.time() + 60
    while os.path.getsize(agent.path("zent_agent.log")) <= 8000 and time.time() < deadline:
        time.sleep(0.2)
    agent.stop()
    assert os.path.getsize(agent.path("zent_agent.log")) > 8000
    assert not os.path.exists(agent.path("zent_agent1.log"))


def test_restart_appends_with_a_new_marker(agent):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 2}})
    agent.start()
    agent.stop()
    first = agent.log()
    agent.start()
    agent.stop()
    text = agent.log()
    assert text.startswith(first)
    assert text[len(first):].startswith("\r\nstart logging >>>\r\n")
