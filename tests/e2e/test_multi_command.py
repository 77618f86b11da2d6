"""The multi-command processor end to end: documents of the server's work by
pipe command 107 and in heartbeat replies from the management server's
stand-in. A deployment's files, registry times, policy labels and the
driver's rules at each step; a query's result posted back to the server."""
import hashlib
import os
import subprocess
import time
import xml.etree.ElementTree as ElementTree

import pytest

from agent_host import AgentHost, INSTALL_DIR, running
from test_agent_config import PASS_PHRASE, TIMEOUT_MS, data, fresh, loaded, put, read, reply_head, rule_file
from winehost import delete_key, read_ini, read_value
from zent_server_stand_in import ZentServer, ack, client_request

AGENT_KEY = r"HKLM\SOFTWARE\Halvane\ZentAgent"
TIMES = ("RawConfigTime", "ConfigXmlTime", "ConfigBinTime")
IN_CLEAR = {"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1, "ConfigEncrypt": 0, "FlushDebugLogTimer": 200},
            "Policy": {"DeployedPolicy": "earlier policy"}}
ENCRYPTED = {"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1, "FlushDebugLogTimer": 200}}
SMALL_RULES = rule_file(data("small_policy_rules.txt"), 7)


def deployment(policy=None):
    """A multi-command document whose one command deploys the manager policy:
    the policy's own Request element, named as a command."""
    text = (policy or data("small_policy.xml")).decode()
    text = text[text.index("<Message>"):]
    return text.replace("<Request>", '<Request cmd="SendSecurityConfiguration">', 1).encode()


def query(request_id="q-1"):
    return (f'<Message><Request cmd="GetHostMetaData"><RequestID>{request_id}</RequestID><HostMetaDataQueries>'
            '<HostMetaDataQuery id="2" query="NoSuchFamily" arg1="x"/>'
            '<HostMetaDataQuery id="10" query="NoSuchFamilyEither"/>'
            '</HostMetaDataQueries></Request></Message>').encode()


def decrypt(blob):
    """The encrypted form opened with OpenSSL's own tool."""
    assert blob[:8] == b"Salted__"
    key = hashlib.pbkdf2_hmac("sha512", PASS_PHRASE, blob[8:24], 1000, 48)
    return subprocess.run(["openssl", "enc", "-d", "-aes-256-cbc", "-K", key[:32].hex(), "-iv", key[32:].hex()],
                          input=blob[24:], capture_output=True, check=True).stdout


def registry_times():
    return {name: read_value(AGENT_KEY, name) for name in TIMES}


def clear_registry_times():
    delete_key(AGENT_KEY, missing_ok=True)


def modify_time(host, name):
    return int(os.stat(host.path(name)).st_mtime) & 0xFFFFFFFF


def same_element(a, b):
    """Two XML elements alike in name, attributes, children and text."""
    return (a.tag == b.tag and a.attrib == b.attrib and (a.text or "").strip() == (b.text or "").strip()
            and len(a) == len(b) and all(same_element(x, y) for x, y in zip(a, b)))


@pytest.fixture
def in_clear():
    host = fresh(IN_CLEAR)
    for name in os.listdir(host.dir):
        if name.startswith("multicommand"):
            os.remove(host.path(name))
    clear_registry_times()
    return host


@pytest.fixture
def encrypted():
    host = fresh(ENCRYPTED)
    clear_registry_times()
    return host


def multi(host, document, request_id=71):
    return host.send("107", "--request-id", str(request_id), data=document, timeout_ms=TIMEOUT_MS)


# --- by pipe -------------------------------------------------------------------------------

def test_deployment_by_pipe_reaches_the_driver(in_clear):
    reply = multi(in_clear, deployment())
    assert len(reply.raw) == 36
    assert reply.raw[:20] == reply_head(71, 0)
    assert loaded(in_clear) == SMALL_RULES
    assert read(in_clear, "config.rbf") == SMALL_RULES
    # In clear, the raw policy is the command file: the one command in a
    # Message of its own, as the printer indents it.
    raw_policy = read(in_clear, "zent_agent.encxml")
    assert raw_policy == read(in_clear, "multicommand0.xml")
    assert raw_policy.startswith(b'<Message>\r\n    <Request cmd="SendSecurityConfiguration">\r\n'
                                 b'        <SecurityConfiguration>\r\n') or \
        raw_policy.startswith(b'<Message>\n    <Request cmd="SendSecurityConfiguration">\n'
                              b'        <SecurityConfiguration>\n')
    sent = ElementTree.fromstring(deployment()).find("Request")
    assert same_element(ElementTree.fromstring(raw_policy).find("Request"), sent)
    # config.xml is a byte-for-byte copy of the result file.
    assert read(in_clear, "config.xml") == read(in_clear, "multicommandtemp0.xml")
    assert read(in_clear, "config.xml").startswith(b"<fset>")


def test_deployment_records_the_three_file_times(in_clear):
    multi(in_clear, deployment())
    assert registry_times() == {"RawConfigTime": modify_time(in_clear, "zent_agent.encxml"),
                                "ConfigXmlTime": modify_time(in_clear, "config.xml"),
                                "ConfigBinTime": modify_time(in_clear, "config.rbf")}
    assert abs(registry_times()["ConfigBinTime"] - time.time()) < 120


def test_deployment_by_pipe_with_no_request_policy_empties_the_deployed_policy():
    # A fresh service: no request from the server since its start.
    running["settings"] = None
    in_clear = fresh(IN_CLEAR)
    assert read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]["DeployedPolicy"] == "earlier policy"
    multi(in_clear, deployment())
    in_clear.wait_for_log(r"\] CompileAndSendConfig succeeded\r\n")
    in_clear.wait_for_log(r"\] start write depolyed policy info: \r\n")
    assert read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]["DeployedPolicy"] == ""


def test_deployment_logs_its_steps_under_the_processor(in_clear):
    multi(in_clear, deployment())
    in_clear.wait_for_log(r"\[ParseMultiCmdXml:\d+\] process xml command\(0\): SendSecurityConfiguration\r\n"
                          r"(?:.*\r\n)*?.*\[ParseMultiCmdXml:\d+\] successfully converted Manager Config XML to "
                          r"Agent Config XML\r\n"
                          r"(?:.*\r\n)*?.*\[ParseMultiCmdXml:\d+\] CompileAndSendConfig succeeded\r\n"
                          r"(?:.*\r\n)*?.*\[ParseMultiCmdXml:\d+\] write policy info in ini\.\.\.\r\n")


def test_encrypted_raw_policy_is_the_wrapped_single_command(encrypted):
    document = deployment().replace(b"</Message>", b'<Other cmd="NoSuchCommand"/></Message>')
    reply = multi(encrypted, document)
    assert reply.raw[:20] == reply_head(71, 0)
    raw_policy = decrypt(read(encrypted, "zent_agent.encxml"))
    assert raw_policy == read(encrypted, "multicommand0.xml")
    root = ElementTree.fromstring(raw_policy)
    assert [child.tag for child in root] == ["Request"]
    assert read(encrypted, "config.xml")[:8] == b"Salted__"
    assert loaded(encrypted) == SMALL_RULES
    encrypted.wait_for_log(r"\] unknown xml command\(1\): NoSuchCommand\r\n")


def test_failed_translation_touches_nothing_and_answers_0(in_clear):
    for name in ("zent_agent.encxml", "config.xml", "config.rbf"):
        put(in_clear, name, b"old " + name.encode())
    label = read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]["DeployedPolicy"]
    # A number the strict reading refuses: the translation fails.
    bad = deployment().replace(b"<AgentConfiguration>",
                               b'<AgentConfiguration><LogConfiguration logInspectionSyslogClip="abc"/>', 1)
    reply = multi(in_clear, bad)
    # The walk itself succeeded.
    assert reply.raw[:20] == reply_head(71, 0)
    for name in ("zent_agent.encxml", "config.xml", "config.rbf"):
        assert read(in_clear, name) == b"old " + name.encode()
    assert registry_times() == {name: None for name in TIMES}
    assert loaded(in_clear) is None
    assert read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]["DeployedPolicy"] == label
    assert os.path.exists(in_clear.path("multicommand0.xml"))
    in_clear.wait_for_log(r"\] LogConfiguration: bad number in attribute\(logInspectionSyslogClip\), value\(abc\)")


def test_failed_compilation_leaves_new_documents_and_the_old_label(in_clear):
    put(in_clear, "zent_agent.encxml", b"old raw")
    put(in_clear, "config.xml", b"old xml")
    label = read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]["DeployedPolicy"]
    in_clear.knob("mlc", "ExitCode", 9)
    reply = multi(in_clear, deployment())
    assert reply.raw[:20] == reply_head(71, 0)
    assert read(in_clear, "zent_agent.encxml") == read(in_clear, "multicommand0.xml")
    assert read(in_clear, "config.xml") == read(in_clear, "multicommandtemp0.xml")
    assert loaded(in_clear) is None
    times = registry_times()
    assert times["RawConfigTime"] == modify_time(in_clear, "zent_agent.encxml")
    assert times["ConfigXmlTime"] == modify_time(in_clear, "config.xml")
    # Written whatever the compiler did: 0 for a rule file that is not there.
    expected_bin = modify_time(in_clear, "config.rbf") if os.path.exists(in_clear.path("config.rbf")) else 0
    assert times["ConfigBinTime"] == expected_bin
    in_clear.wait_for_log(r"\] CompileAndSendConfig failed\r\n")
    assert read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]["DeployedPolicy"] == label


def test_document_without_request_answers_0_and_stays_on_disk(in_clear):
    document = b"<Message><Other cmd=\"SendSecurityConfiguration\"/></Message>"
    reply = multi(in_clear, document)
    assert reply.raw[:20] == reply_head(71, 0)
    assert not os.path.exists(in_clear.path("multicommand0.xml"))
    # Text mode: the client's line ends become CR LF; this one has none.
    assert read(in_clear, "multicommand.xml") == document


def test_malformed_document_answers_1(in_clear):
    reply = multi(in_clear, b"<Message><Request cmd=")
    assert reply.raw[:20] == reply_head(71, 1)
    in_clear.wait_for_log(r"\] XML LoadFile failed\r\n")


def test_query_by_pipe_runs_and_its_files_stay_in_test_mode(in_clear):
    reply = multi(in_clear, query("pipe-7"))
    assert reply.raw[:20] == reply_head(71, 0)
    result = read(in_clear, "multicommandtemp0.xml")
    assert b"<RequestID>pipe-7</RequestID>" in result
    assert os.path.exists(in_clear.path("multicommand0.xml"))
    in_clear.wait_for_log(r"\] MetaData Result is ready to be posted back to Zent Server\r\n")


def test_earlier_command_files_are_swept(in_clear):
    multi(in_clear, query("first").replace(b"</Message>", b'<Other cmd="Second"/></Message>'))
    assert os.path.exists(in_clear.path("multicommand1.xml"))
    multi(in_clear, b"<Message/>")
    for name in ("multicommand0.xml", "multicommandtemp0.xml", "multicommand1.xml"):
        assert not os.path.exists(in_clear.path(name))


# --- from the server ---------------------------------------------------------------------------

@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


def managed(server, **settings):
    """An agent heartbeating to the server's stand-in at once, in clear."""
    values = {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0, "HeartBeatTimer": 600000,
              "ConfigEncrypt": 0}
    values.update(settings)
    host = AgentHost()
    host.install({"ZENTSETTINGS": values, "Policy": {"DeployedPolicy": "earlier policy"}})
    host.use_server(server)
    clear_registry_times()
    return host


@pytest.fixture
def agent():
    host = AgentHost()
    yield host
    host.remove()


def test_server_deployment_reaches_the_driver_and_the_next_heartbeat_tells(agent, server):
    server.script_heartbeats(client_request(deployment().decode(), info="Policy A"))
    host = managed(server)
    host.start()
    first, second = server.wait_for(2, "HeartBeat", timeout=90)
    assert first.json()["policyInfo"] == "earlier policy"
    assert "hostType" in first.json()
    # The notify event after the deployment: the next heartbeat comes at
    # once, in the short form, with the new label.
    assert second.body == b'{"name": "HeartBeat", "policyInfo": "Policy A"}'
    assert second.received - first.received < 60
    assert loaded(host) == SMALL_RULES
    ini = read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]
    assert ini["RequestPolicy"] == "Policy A"
    assert ini["DeployedPolicy"] == "Policy A"
    assert registry_times()["ConfigBinTime"] == modify_time(host, "config.rbf")
    # Production: the per-command files and the request are gone.
    for name in ("notify_request.xml", "notify_request0.xml", "notify_requesttemp0.xml"):
        assert not os.path.exists(host.path(name))


def test_server_deployment_that_fails_keeps_the_label_for_later(agent, server):
    server.script_heartbeats(client_request(deployment().decode(), info="Policy B"))
    host = managed(server, TestMode=1, HeartBeatTimer=3000, DisableScheduleHeartBeat=0)
    host.knob("mlc", "ExitCode", 9)
    host.start()
    first, second = server.wait_for(2, "HeartBeat", timeout=90)
    # The document was walked: the short form, but the label of what runs.
    assert second.body == b'{"name": "HeartBeat", "policyInfo": "earlier policy"}'
    ini = read_ini(INSTALL_DIR + r"\config\zent_agent.ini")["Policy"]
    assert ini["RequestPolicy"] == "Policy B"
    assert ini["DeployedPolicy"] == "earlier policy"
    # TestMode keeps the request and the command's files.
    for name in ("notify_request.xml", "notify_request0.xml", "notify_requesttemp0.xml"):
        assert os.path.exists(host.path(name))


def test_server_query_is_answered_with_a_client_response(agent, server):
    server.script_heartbeats(client_request(query("srv-42").decode()))
    server.script_acks(0)
    host = managed(server)
    host.start()
    (response,) = server.wait_for(1, "ClientResponse", timeout=90)
    message = response.json()
    assert message["name"] == "ClientResponse"
    assert message["response"]["type"] == "UpdateHostMetaData"
    # The queries name no family: the shell with the request's id, the
    # queries left out as unknown.
    content = message["response"]["content"].replace("\r\n", "\n")
    assert content == ("<Message>\n"
                       "    <Response cmd=\"GetHostMetaData\" code=\"0\">\n"
                       "        <HostMetaDataQueryResults/>\n"
                       "        <RequestID>srv-42</RequestID>\n"
                       "    </Response>\n"
                       "</Message>\n")
    host.wait_for_log(r"\] ack response errorCode=HANDLER_ERROR_SUCCESS\r\n")
