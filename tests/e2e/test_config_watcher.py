"""The live zent_agent.ini, end to end: one agent runs as a service for the
whole file, talking to the management server's stand-in, while the tests
edit its ini and check when each setting takes effect: TestMode at the next
command, DebugLevel, DbgviewLog and LogFileSizeLimit at the next line,
LogFile at the reload, FlushDebugLogTimer at the log thread's next wait,
DeployedPolicy at the next heartbeat, HeartBeatTimer and
DisableScheduleHeartBeat after the next cycle, HeartBeatRetryMax at the next
client response, ConfigEncrypt at the next deployment; FirstHeartBeat and
SelfProtection only at start, RequestPolicy never. Then the folder's edge
cases, files that are no profile at all, storms of saves, and a stop amid
one. The tests run in this order and each leaves the settings as the next
one expects them."""
import os
import random
import shutil
import threading
import time

import pytest

import agent_host
from agent_host import LINE, SERVICE
from crash_capture import LOG_LINE, debugger_output, debugger_texts
from test_agent_config import data, reply_head
from test_multi_command import deployment
from watched_agent import start_watched
from winehost import query_service, read_ini, wait_for_state
from zent_server_stand_in import ZentServer, client_request

SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 5, "FlushDebugLogTimer": 200, "TestMode": 1, "FirstHeartBeat": 0,
                             "HeartBeatTimer": 600000, "DisableScheduleHeartBeat": 1, "ConfigEncrypt": 1},
            "Policy": {"DeployedPolicy": "Start policy"}}
PROCESS_PING = r"\[CmdProcessFn:\d+\] Process Command\(101\)\r\n"
NO_QUERY = '<Message>\n<Request cmd="GetHostMetaData"/>\n</Message>'


def query(request_id):
    return (f'<Message><Request cmd="GetHostMetaData"><RequestID>{request_id}</RequestID><HostMetaDataQueries>'
            '<HostMetaDataQuery id="2" query="NoSuchFamily" arg1="x"/></HostMetaDataQueries></Request></Message>')


@pytest.fixture(scope="module")
def server():
    server = ZentServer().start()
    yield server
    server.stop()


@pytest.fixture(scope="module")
def module_agent(server):
    agent_host.running["settings"] = None
    watched = start_watched(SETTINGS, server)
    server.wait_for(1, "HeartBeat")
    yield watched
    watched.host.remove()


@pytest.fixture
def watched(module_agent):
    """The module's agent; this test reads the log from here on."""
    module_agent.host.log_start = len(module_agent.host.log())
    return module_agent


def ping(host, request_id):
    """Command 101's reply head: answered 0 in the test set, 1 outside it."""
    return host.send("ping", "--request-id", str(request_id)).raw[:20]


def heartbeat_after(server, host, count):
    """The heartbeat that a notify command brings, after `count` of them."""
    assert host.send("notify").exit_code == 0
    return server.wait_for(count + 1, "HeartBeat")[-1]


# --- when each setting takes effect -------------------------------------------------------

def test_test_mode_switches_the_command_set_at_the_next_command(watched):
    host = watched.host
    assert ping(host, 31) == reply_head(31, 0)
    watched.save(TestMode=0)
    assert ping(host, 32) == reply_head(32, 1)
    host.wait_for_log(r"\[PipeCmdUnknown:\d+\] Unknown Command\(101\) , reset!\r\n")
    watched.save(TestMode=1)
    assert ping(host, 33) == reply_head(33, 0)


def test_debug_level_applies_from_the_next_line(watched):
    host = watched.host
    watched.save(DebugLevel=6)
    host.wait_for_log(r"\[CmdProcessFn:\d+\] FetchData failed: error=")
    # The reload's own line is written under the old level.
    watched.save(DebugLevel=1)
    mark = len(host.log())
    assert ping(host, 34) == reply_head(34, 0)
    time.sleep(1)
    later = host.log()[mark:]
    assert "Process Command(101)" not in later and "FetchData failed" not in later, later
    watched.save(announced=False, DebugLevel=5)
    host.log_start = len(host.log())
    assert ping(host, 35) == reply_head(35, 0)
    host.wait_for_log(PROCESS_PING)
    assert "FetchData failed" not in host.test_log()


def test_debugger_output_follows_dbgview_log_from_the_next_line(watched, tmp_path):
    host = watched.host
    path = str(tmp_path / "debugger.bin")

    def pings_taken():
        return [text for _, text in debugger_texts(path)
                for match in [LOG_LINE.match(text)]
                if match and match.group(2) == "CmdProcessFn" and match.group(4) == "Process Command(101)\n"]

    with debugger_output(path):
        assert ping(host, 36) == reply_head(36, 0)
        host.wait_for_log(PROCESS_PING)
        assert pings_taken() == []
        watched.save(DbgviewLog=1)
        assert ping(host, 37) == reply_head(37, 0)
        deadline = time.monotonic() + 10
        while not pings_taken() and time.monotonic() < deadline:
            time.sleep(0.2)
        # No time stamp in the debugger's copy.
        assert len(pings_taken()) == 1
        watched.save(DbgviewLog=0)
        assert ping(host, 38) == reply_head(38, 0)
        time.sleep(1)
        assert len(pings_taken()) == 1


def test_deployed_policy_goes_with_the_next_heartbeat_and_a_deleted_ini_gives_the_defaults(watched, server):
    host = watched.host
    watched.settings["Policy"]["DeployedPolicy"] = "Edited label"
    watched.save_sections()
    count = len(server.messages("HeartBeat"))
    assert heartbeat_after(server, host, count).body.endswith(b'"policyInfo": "Edited label"}')

    before = watched.reloads()
    os.remove(host.ini)
    watched.wait_for_reloads(before + 1)
    # The defaults: no test set, no label.
    assert ping(host, 39) == reply_head(39, 1)
    assert heartbeat_after(server, host, count + 1).body.endswith(b'"policyInfo": ""}')

    watched.save_sections()
    assert ping(host, 40) == reply_head(40, 0)
    assert heartbeat_after(server, host, count + 2).body.endswith(b'"policyInfo": "Edited label"}')


def test_heartbeat_schedule_changes_after_the_next_cycle_and_first_heartbeat_only_at_start(watched, server):
    host = watched.host
    count = len(server.messages("HeartBeat"))
    # The heartbeat thread waits without a time-out; that wait keeps it.
    watched.save(DisableScheduleHeartBeat=0, HeartBeatTimer=1000, FirstHeartBeat=500)
    time.sleep(3)
    assert len(server.messages("HeartBeat")) == count
    assert host.send("notify").exit_code == 0
    found = server.wait_for(count + 3, "HeartBeat", timeout=20)
    assert found[-1].received - found[-2].received >= 0.9

    # Just after a cycle, while the thread waits its 1,000 ms: that wait
    # keeps its time-out, one more cycle comes, and the wait after it has
    # none.
    server.wait_for(len(server.messages("HeartBeat")) + 1, "HeartBeat")
    time.sleep(0.2)
    at_save = len(server.messages("HeartBeat"))
    watched.save(DisableScheduleHeartBeat=1, HeartBeatTimer=600000, FirstHeartBeat=0)
    time.sleep(2)
    settled = len(server.messages("HeartBeat"))
    assert settled == at_save + 1
    time.sleep(3)
    assert len(server.messages("HeartBeat")) == settled


def test_heartbeat_retry_max_applies_to_the_next_client_response(watched, server):
    host = watched.host
    count = len(server.messages("HeartBeat"))
    watched.save(HeartBeatRetryMax=-1)
    server.script_heartbeats(client_request(query("srv-1")))
    heartbeat_after(server, host, count)
    # A negative count sends nothing.
    host.wait_for_log(r"\[ParseMultiCmdXml:\d+\] send client response failed\r\n")
    assert server.messages("ClientResponse") == []

    watched.save(HeartBeatRetryMax=1)
    server.script_heartbeats(client_request(query("srv-2")))
    heartbeat_after(server, host, count + 1)
    [response] = server.wait_for(1, "ClientResponse")
    assert "<RequestID>srv-2</RequestID>" in response.json()["response"]["content"]
    time.sleep(1)
    assert len(server.messages("ClientResponse")) == 1


def test_config_encrypt_applies_to_the_next_deployment(watched):
    host = watched.host
    policy = data("small_policy.xml")
    reply = host.send("set-raw-config", "--request-id", "51", data=policy, timeout_ms=60000)
    assert reply.raw[:20] == reply_head(51, 0)
    with open(host.path("config.xml"), "rb") as f:
        assert f.read(8) == b"Salted__"
    watched.save(ConfigEncrypt=0)
    reply = host.send("set-raw-config", "--request-id", "52", data=policy, timeout_ms=60000)
    assert reply.raw[:20] == reply_head(52, 0)
    with open(host.path("config.xml"), "rb") as f:
        assert f.read(1) == b"<"
    watched.save(ConfigEncrypt=1)


def test_the_agents_own_ini_writes_reload_and_request_policy_is_never_loaded(watched, server):
    host = watched.host
    count = len(server.messages("HeartBeat"))
    server.script_heartbeats(client_request(NO_QUERY, info="Asked policy"))
    before = watched.reloads()
    heartbeat_after(server, host, count)
    host.wait_for_log(r"\[getClientRequestXml:\d+\] write request policy info successfully\.\r\n")
    # The agent's write of the ini is a change of the folder like any other.
    host.wait_for_log(r"(?s)\[getClientRequestXml:\d+\] write policy info in ini\.\.\.\r\n"
                      r".*\[ReloadConfigSettings:\d+\] Reload Config Settings\.\r\n")
    assert watched.reloads() > before
    assert read_ini(host.ini)["Policy"]["RequestPolicy"] == "Asked policy"

    # The label in the ini is edited; the one the server asked for stays in
    # memory and is what the next deployment records.
    watched.settings["Policy"] = {"DeployedPolicy": "Edited label", "RequestPolicy": "Edited in the ini"}
    watched.settings["ZENTSETTINGS"]["ConfigEncrypt"] = 0
    watched.save_sections()
    server.script_heartbeats(client_request(deployment().decode()))
    heartbeat_after(server, host, count + 1)
    host.wait_for_log(r"\[getClientRequestXml:\d+\] No policy info in the request\.\r\n")
    deadline = time.monotonic() + 60
    while read_ini(host.ini).get("Policy", {}).get("DeployedPolicy") != "Asked policy" \
            and time.monotonic() < deadline:
        time.sleep(0.2)
    assert read_ini(host.ini)["Policy"]["DeployedPolicy"] == "Asked policy"
    watched.wait_for_reloads(None)
    assert heartbeat_after(server, host, count + 2).body.endswith(b'"policyInfo": "Asked policy"}')
    watched.settings["Policy"] = {"DeployedPolicy": "Asked policy"}
    watched.settings["ZENTSETTINGS"]["ConfigEncrypt"] = 1
    watched.save_sections()


def test_self_protection_is_read_only_at_start(watched):
    watched.settings["SelfProtection"] = {"Service": 1}
    watched.save_sections()
    assert query_service(SERVICE).controls_accepted == 5
    del watched.settings["SelfProtection"]
    watched.save_sections()


def test_log_file_off_closes_the_log_and_on_reopens_it_with_the_marker(watched):
    host = watched.host
    log_path = host.path("zent_agent.log")
    real = os.path.realpath(log_path)
    assert real in watched.open_files()
    # The reload's own line is written before the log closes.
    watched.save(LogFile=0)
    assert real not in watched.open_files()
    with open(log_path, "rb") as f:
        closed = f.read()
    assert closed.endswith(b"] Reload Config Settings.\r\n")
    assert ping(host, 61) == reply_head(61, 0)
    time.sleep(1)
    with open(log_path, "rb") as f:
        assert f.read() == closed

    watched.save(announced=False, LogFile=1)
    assert ping(host, 62) == reply_head(62, 0)
    host.wait_for_log(PROCESS_PING)
    with open(log_path, "rb") as f:
        reopened = f.read()
    marker = b"\r\nstart logging >>>\r\n"
    assert reopened[:len(closed) + len(marker)] == closed + marker
    first = reopened[len(closed) + len(marker):].split(b"\r\n", 1)[0].decode("latin-1")
    assert LINE.match(first), first
    assert real in watched.open_files()


def test_flush_timer_at_the_log_threads_next_wait_and_size_limit_at_the_next_line(watched):
    host = watched.host
    watched.save(FlushDebugLogTimer=600000)
    # The 200 ms wait in progress ends; the next one lasts ten minutes, and
    # lines stay in the stream's buffer.
    time.sleep(0.5)
    mark = len(host.log())
    assert ping(host, 71) == reply_head(71, 0)
    time.sleep(2)
    assert "Process Command(101)" not in host.log()[mark:]

    # A limit under the file's size: the next line asks for rotation, which
    # wakes the log thread, and its next wait takes 200 ms.
    watched.save(announced=False, FlushDebugLogTimer=200, LogFileSizeLimit=1)
    assert not os.path.exists(host.path("zent_agent1.log"))
    assert ping(host, 72) == reply_head(72, 0)
    deadline = time.monotonic() + 10
    while not os.path.exists(host.path("zent_agent1.log")) and time.monotonic() < deadline:
        time.sleep(0.1)
    assert os.path.exists(host.path("zent_agent1.log"))
    # Every line asks for rotation now, until the limit is off again; the
    # lines of the wait before may have gone with the oldest file.
    watched.save(announced=False, LogFileSizeLimit=0)
    # Flushed again at 200 ms.
    host.log_start = 0
    mark = len(host.log())
    assert ping(host, 73) == reply_head(73, 0)
    host.log_start = mark
    host.wait_for_log(PROCESS_PING, timeout=5)
    for name in ("zent_agent1.log", "zent_agent2.log", "zent_agent3.log", "zent_agent4.log"):
        if os.path.exists(host.path(name)):
            os.remove(host.path(name))


# --- the folder -------------------------------------------------------------------------

def test_which_changes_of_the_folder_reload(watched):
    host = watched.host
    config = os.path.dirname(host.ini)
    os.makedirs(os.path.join(config, "sub"))
    time.sleep(1)
    before = watched.reloads()
    # A subfolder and its files are not watched.
    inner = os.path.join(config, "sub", "inner.ini")
    with open(inner, "wb") as f:
        f.write(b"[ZENTSETTINGS]\r\nTestMode=0\r\n")
    with open(inner, "ab") as f:
        f.write(b"DebugLevel=1\r\n")
    os.rename(inner, inner + ".old")
    os.remove(inner + ".old")
    time.sleep(1.5)
    assert watched.reloads() == before
    assert ping(host, 81) == reply_head(81, 0)

    # Any file of the folder: a new one with its bytes is a name change and
    # a last-write change, and the settings are read twice.
    with open(os.path.join(config, "notes.txt"), "wb") as f:
        f.write(b"not the settings\r\n")
    watched.wait_for_reloads(before + 2)
    time.sleep(1)
    assert watched.reloads() == before + 2
    os.remove(os.path.join(config, "notes.txt"))
    shutil.rmtree(os.path.join(config, "sub"))

    # A half-written file is read as it stands: no TestMode yet.
    before = watched.reloads()
    with open(host.ini, "wb") as f:
        f.write(b"[ZENTSETTINGS]\r\nDebugLevel=5\r\nFlushDebugLogTimer=200\r\n")
        f.flush()
        watched.wait_for_reloads(before + 1)
        assert ping(host, 82) == reply_head(82, 1)
        before = watched.reloads()
        f.write(b"TestMode=1\r\n")
    watched.wait_for_reloads(before + 1)
    assert ping(host, 83) == reply_head(83, 0)
    watched.save_sections()


def storm(watched, saves, seconds):
    """Saves that switch TestMode, evenly over the time; the last one turns
    it on."""
    for i in range(saves):
        watched.settings["ZENTSETTINGS"]["TestMode"] = (saves - 1 - i) % 2 == 0
        staged = watched.host.path("zent_agent.ini.new")
        with open(staged, "w", newline="\r\n") as f:
            f.write("[ZENTSETTINGS]\n" + "".join(f"{k}={int(v)}\n" for k, v in
                                                 watched.settings["ZENTSETTINGS"].items()))
        os.replace(staged, watched.host.ini)
        time.sleep(seconds / saves)
    watched.settings["ZENTSETTINGS"]["TestMode"] = 1


def quiet_afterwards(watched, seconds=10):
    """CPU seconds of the agent's process over the next `seconds`."""
    start = watched.cpu_seconds()
    time.sleep(seconds)
    return watched.cpu_seconds() - start


def test_files_that_are_no_profile_and_a_deleted_folder_leave_the_agent_answering(watched):
    host = watched.host
    memory = watched.private_memory()
    rng = random.Random(14)
    contents = [b"", bytes(rng.getrandbits(8) for _ in range(1 << 20)),
                b"[ZENTSETTINGS]\r\n" + b"x" * 100000 + b"\r\nTestMode=1\r\n"]
    for i, content in enumerate(contents):
        before = watched.reloads()
        with open(host.ini, "wb") as f:
            f.write(content)
        watched.wait_for_reloads(before + 1)
        # Answered: in the test set only when the file says so.
        expected = 0 if content.endswith(b"TestMode=1\r\n") else 1
        assert ping(host, 90 + i) == reply_head(90 + i, expected)

    storm(watched, 200, 2)
    watched.wait_for_reloads(None)
    # The last save wins.
    assert ping(host, 94) == reply_head(94, 0)

    assert watched.private_memory() < memory + 4 * 1024 * 1024
    deleted_and_recreated(watched, 95)


def deleted_and_recreated(watched, request_id):
    """The config folder deleted with the ini in it, and made again. Under
    Wine the ini's deletion is the watch's last news: the settings fall back
    to the defaults (no test set), and the folder made again under the same
    name is not watched; waiting on the dead watch costs nothing. A restart
    watches the new folder."""
    host = watched.host
    config = os.path.dirname(host.ini)
    before = watched.reloads()
    shutil.rmtree(config)
    watched.wait_for_reloads(before + 1)
    os.makedirs(config)
    watched.save_sections(announced=False)
    assert watched.reloads() == before + 1
    assert ping(host, request_id) == reply_head(request_id, 1)
    assert quiet_afterwards(watched) < 1.0
    assert query_service(SERVICE).state == "RUNNING"
    host.stop()
    host.start()
    assert ping(host, request_id + 1) == reply_head(request_id + 1, 0)
    before = watched.reloads()
    watched.save(TestMode=0)
    assert ping(host, request_id + 2) == reply_head(request_id + 2, 1)
    watched.save(TestMode=1)
    assert watched.reloads() >= before + 2


@pytest.mark.long
def test_each_disturbance_is_followed_by_ten_quiet_seconds(watched):
    host = watched.host
    memory = watched.private_memory()
    rng = random.Random(15)
    for content in (b"", bytes(rng.getrandbits(8) for _ in range(1 << 20)),
                    b"[ZENTSETTINGS]\r\n" + b"y" * 100000 + b"\r\n"):
        with open(host.ini, "wb") as f:
            f.write(content)
        time.sleep(1)
        assert ping(host, 96)[:4] == b"QTNZ"
        assert quiet_afterwards(watched) < 1.0
    storm(watched, 1000, 10)
    watched.wait_for_reloads(None)
    assert ping(host, 97) == reply_head(97, 0)
    assert quiet_afterwards(watched) < 1.0
    assert watched.private_memory() < memory + 4 * 1024 * 1024
    deleted_and_recreated(watched, 110)


def test_a_stop_amid_a_storm_of_saves_ends_stopped_with_code_0(watched):
    stop = threading.Event()

    def saves():
        while not stop.is_set():
            storm(watched, 20, 0.2)

    saver = threading.Thread(target=saves)
    saver.start()
    try:
        time.sleep(1)
        status = watched.host.stop()
    finally:
        stop.set()
        saver.join()
    assert status.state == "STOPPED"
    assert status.win32_exit_code == 0
    assert wait_for_state(SERVICE, "STOPPED").win32_exit_code == 0
