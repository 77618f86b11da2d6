"""The direct HTTP path end to end: pipe command 102 through zentctl to the
running agent (TestMode on), which posts one heartbeat over plain TCP to a
raw listener of the test (sim/zentserver's DirectListener) and acts on the
reply. The requests byte for byte as the listener received them, the debug
log's lines, the exchange files, a metadata result posted back on a second
connection, a deployment, and a peer that misbehaves in every way the
exchange can see."""
import json
import os
import time

import pytest

from agent_host import INSTALL_DIR, SERVICE, running_agent
from deployment import log_messages
from test_agent_config import data, reply_head, rule_file
from test_multi_command import clear_registry_times, decrypt, deployment, registry_times
from winehost import delete_key, query_service, read_ini
from zent_server_stand_in import DirectListener, RawReply, http_reply

# DebugLevel 6 for the JSON lines of the reply.
# A log that does not rotate under the long reply's 64 MiB line.
SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200, "LogFileSizeLimit": 1073741824},
            "Policy": {"DeployedPolicy": "earlier policy"}}
SIM_KEY = r"HKLM\SOFTWARE\ZentSim"
# The functions of the path, whose lines the tests follow; other threads
# write lines of their own between them.
DIRECT = ("PipeCmdHttp", "httpsPost", "processHttpResponse", "putJasonToFile", "PostBackMetaData", "checkXmlCmdType")
REQUEST_XML = INSTALL_DIR + r"\http_request.xml"
RESPONSE_XML = INSTALL_DIR + r"\http_response.xml"
SMALL_RULES = rule_file(data("small_policy_rules.txt"), 7)
TIMEOUT_MS = 90000


def request_bytes(machine_digits, body):
    """A request of the path, written out from its header format."""
    return (b"POST /Zent/isapiClientZent.dll HTTP/1.1\r\n"
            b"Host: HOSTNAME:8080\r\n"
            b"BRVN-AGENT-GUID: 00000000-0000-0000-0000-0000000000" + machine_digits + b"\r\n"
            b"Content-Length: " + str(len(body)).encode() + b"\r\n"
            b"\r\n" + body)


HEARTBEAT_07 = (b"POST /Zent/isapiClientZent.dll HTTP/1.1\r\n"
                b"Host: HOSTNAME:8080\r\n"
                b"BRVN-AGENT-GUID: 00000000-0000-0000-0000-000000000007\r\n"
                b"Content-Length: 21\r\n"
                b"\r\n"
                b'{"name": "HeartBeat"}')


def client_request_text(request, name="ClientRequest", client_uid="zent-e2e"):
    return json.dumps({"name": name, "clientUID": client_uid, "request": request})


def query_document(request_id):
    """A metadata query over several lines; no family it names exists, so
    the result is the shell with the request's id."""
    return ('<Message>\n<Request cmd="GetHostMetaData">\n<RequestID>' + request_id + '</RequestID>\n'
            '<HostMetaDataQueries><HostMetaDataQuery id="2" query="NoSuchFamily"/></HostMetaDataQueries>\n'
            '</Request>\n</Message>\n')


def query_result(request_id):
    return ('<Message>\n'
            '    <Response cmd="GetHostMetaData" code="0">\n'
            '        <HostMetaDataQueryResults/>\n'
            '        <RequestID>' + request_id + '</RequestID>\n'
            '    </Response>\n'
            '</Message>\n')


def post_back(machine_digits, result_document):
    """The UpdateHostMetaData request for a result document that holds no
    characters to escape but quotes and line feeds."""
    body = ('{\n'
            '    "name": "UpdateHostMetaData",\n'
            '    "metaData": "' + result_document.replace('"', '\\"').replace("\n", "\\n") + '"\n'
            '}').encode()
    return request_bytes(machine_digits, body)


def logged(text):
    """A message as the log file holds it: written in text mode, every "\\n"
    a "\\r\\n", and a message of several lines joined by log_messages."""
    return text.replace("\n", "\r\n")


@pytest.fixture(scope="module")
def host():
    return running_agent(SETTINGS)


@pytest.fixture
def agent(host):
    """The module's agent, with no exchange files, knobs or registry times
    of an earlier test."""
    for name in ("http_request.xml", "http_response.xml", "config.xml", "config.rbf", "zent_agent.encxml"):
        if os.path.exists(host.path(name)):
            os.remove(host.path(name))
    for stand_in in ("mli", "mlc"):
        delete_key(SIM_KEY + "\\" + stand_in, missing_ok=True)
    clear_registry_times()
    host.log_start = len(host.log())
    return host


@pytest.fixture
def listener():
    listener = DirectListener().start()
    yield listener
    listener.stop()


def http(agent, destination, request_id=61):
    """Sends 102 with the destination (None: no data) and returns the reply's
    Result, after checking its head."""
    args = ["http"] if destination is None else ["http", destination]
    reply = agent.send(*args, "--request-id", str(request_id), timeout_ms=TIMEOUT_MS)
    assert len(reply.raw) == 36, reply.stdout
    assert reply.raw[:12] == reply_head(request_id, 0)[:12]
    return int.from_bytes(reply.raw[12:16], "little")


def direct_lines(agent, mark, last):
    """The path's (function, message) lines written since mark, once the
    line `last` has been flushed."""
    deadline = time.monotonic() + 15
    while True:
        found = [m for m in log_messages(agent.log()[mark:]) if m[0] in DIRECT]
        if last in found:
            return found
        if time.monotonic() > deadline:
            raise AssertionError(f"{last} not logged; the path's lines: {found}")
        time.sleep(0.2)


def exchange(agent, listener, machine_id, reply, request_id=61):
    """One 102 against the listener; (Result, the path's lines)."""
    mark = len(agent.log())
    listener.script(*reply) if isinstance(reply, tuple) else listener.script(reply)
    result = http(agent, f"{listener.address}:{machine_id}", request_id)
    return result, mark


def assert_still_works(agent):
    """A working command after the exchange, and no crash."""
    assert agent.send("ping", "--request-id", "99").raw[:20] == reply_head(99, 0)
    assert query_service(SERVICE).state == "RUNNING"
    assert not os.path.exists(agent.path("zent_agent.dmp"))


def read(agent, name):
    with open(agent.path(name), "rb") as f:
        return f.read()


# --- the first request, and a command the path does not know --------------------------------

def test_heartbeat_request_exactly_then_unknown_cmd(agent, listener):
    document = '<Message><Request cmd="NoSuchCommand"/></Message>'
    body = client_request_text(document)
    reply = http_reply(body)
    result, mark = exchange(agent, listener, 7, RawReply(reply))
    assert result == 1
    (connection,) = listener.wait_for(1)
    assert connection.received == HEARTBEAT_07
    assert connection.shut
    port = listener.port
    assert direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed")) == [
        ("PipeCmdHttp", f"destination=127.0.0.1:{port}:7"),
        ("PipeCmdHttp", f"taregt=127.0.0.1, port={port}, machineId=7"),
        ("httpsPost", logged(f"Request(length={len(HEARTBEAT_07)}):\n" + HEARTBEAT_07.decode())),
        ("httpsPost", f"Total bytes Sent: {len(HEARTBEAT_07)}"),
        ("httpsPost", "Connection closed"),
        ("httpsPost", f"Total bytes Received: {len(reply)}"),
        ("httpsPost", logged(f"Response(length={len(reply)}):\n" + reply.decode())),
        ("putJasonToFile", "Json content:\r\n" + body),
        ("putJasonToFile", "Json members=>\r\nname: ClientRequest\r\nclientUID: zent-e2e\r\nrequest: " + document),
        ("processHttpResponse", "xml file is invalid"),
        ("PipeCmdHttp", "processHttpResponse failed"),
    ]
    assert read(agent, "http_request.xml") == document.encode()
    assert not os.path.exists(agent.path("http_response.xml"))


# --- a metadata query, posted back on a second connection -------------------------------------

def test_query_is_posted_back_and_result_follows_the_post(agent, listener):
    document = query_document("direct-44")
    # Text around the object, braces in the headers, a status code that
    # plays no part.
    reply = (b"HTTP/1.1 404 Not Found\r\nX-Brace: {}\r\n\r\nleading text " +
             client_request_text(document).encode() + b" trailing text")
    result, mark = exchange(agent, listener, 300, (RawReply(reply), RawReply(http_reply(b'{"ok": 1}'))))
    assert result == 0
    heartbeat, post = listener.wait_for(2)
    # Machine id 300 keeps its low 8 bits: 44.
    assert heartbeat.received == request_bytes(b"44", b'{"name": "HeartBeat"}')
    result_document = query_result("direct-44")
    assert post.received == post_back(b"44", result_document)
    assert post.received.endswith(
        b'\r\n\r\n{\n'
        b'    "name": "UpdateHostMetaData",\n'
        b'    "metaData": "<Message>\\n    <Response cmd=\\"GetHostMetaData\\" code=\\"0\\">\\n'
        b'        <HostMetaDataQueryResults/>\\n        <RequestID>direct-44</RequestID>\\n    </Response>\\n'
        b'</Message>\\n"\n'
        b'}')
    assert post.shut
    # Text mode for the request, as the result file is written.
    assert read(agent, "http_request.xml") == document.replace("\n", "\r\n").encode()
    assert read(agent, "http_response.xml") == result_document.encode()
    lines = direct_lines(agent, mark, ("httpsPost", logged(f"Request(length={len(post.received)}):\n" +
                                                          post.received.decode())))
    assert ("checkXmlCmdType", "GetHostMetaData command received") in lines
    assert lines[1] == ("PipeCmdHttp", f"taregt=127.0.0.1, port={listener.port}, machineId=44")

    # Both files stay until the next reply is processed.
    mark = len(agent.log())
    listener.script(RawReply(http_reply(client_request_text('<Message><Request cmd="Other"/></Message>'))))
    assert http(agent, f"{listener.address}:1") == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))
    # destination, target, the request, sent, closed, received, the response; then:
    assert lines[7:9] == [("processHttpResponse", f"previous RequestXmlPath({REQUEST_XML}) is removed."),
                            ("processHttpResponse", f"previous ResponseXmlPath({RESPONSE_XML}) is removed.")]
    assert not os.path.exists(agent.path("http_response.xml"))


def test_reset_after_a_whole_reply_is_success(agent, listener):
    reply = http_reply(client_request_text(query_document("reset-1")))
    result, mark = exchange(agent, listener, 1, (RawReply(reply, end="reset"), RawReply(http_reply(b"{}"))))
    assert result == 0
    lines = direct_lines(agent, mark, ("httpsPost", f"Total bytes Received: {len(reply)}"))
    # Wine reports the reset after the last byte as the end of the stream,
    # Windows as a failed recv; either keeps the whole reply.
    assert ("httpsPost", "recv failed with error: 10054") in lines or ("httpsPost", "Connection closed") in lines
    assert len(listener.wait_for(2)) == 2
    assert_still_works(agent)


def test_refused_post_back_answers_1(agent, listener):
    reply = http_reply(client_request_text(query_document("refused")))
    result, mark = exchange(agent, listener, 2, RawReply(reply, then_refuse=True))
    assert result == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))
    assert lines[-2:] == [("httpsPost", "connect failed with error: 10061"),
                          ("PipeCmdHttp", "processHttpResponse failed")]
    assert_still_works(agent)


# --- a deployment ------------------------------------------------------------------------------

def test_deployment_reaches_the_driver_without_the_heartbeats_bookkeeping(agent, listener):
    document = deployment().decode()
    ini_before = read_ini(INSTALL_DIR + r"\config\zent_agent.ini")
    result, mark = exchange(agent, listener, 5, RawReply(http_reply(client_request_text(document))))
    assert result == 0
    assert agent.record("mli", "LoadedRuleFile") == SMALL_RULES
    assert read(agent, "config.rbf") == SMALL_RULES
    request_file = read(agent, "http_request.xml")
    assert request_file == document.replace("\n", "\r\n").encode()
    # The whole document, encrypted as ConfigEncrypt says by default.
    assert decrypt(read(agent, "zent_agent.encxml")) == request_file
    assert read(agent, "config.xml")[:8] == b"Salted__"
    assert registry_times() == {"RawConfigTime": None, "ConfigXmlTime": None, "ConfigBinTime": None}
    assert read_ini(INSTALL_DIR + r"\config\zent_agent.ini") == ini_before
    lines = direct_lines(agent, mark, ("checkXmlCmdType", "SendSecurityConfiguration command received"))
    assert ("PipeCmdHttp", "processHttpResponse failed") not in lines
    assert_still_works(agent)
    assert "notify received: notfiy event" not in agent.log()[mark:]
    assert "DeployedPolicy" not in agent.log()[mark:]


def test_failed_compilation_and_driver_load_answer_1(agent, listener):
    reply = http_reply(client_request_text(deployment().decode()))
    agent.knob("mlc", "ExitCode", 9)
    assert exchange(agent, listener, 5, RawReply(reply))[0] == 1
    assert agent.record("mli", "LoadedRuleFile") is None
    delete_key(SIM_KEY + r"\mlc", missing_ok=True)
    agent.knob("mli", "LoadConfigFails", 31)
    assert exchange(agent, listener, 5, RawReply(reply))[0] == 1
    assert agent.record("mli", "LoadedRuleFile") is None
    delete_key(SIM_KEY + r"\mli", missing_ok=True)
    # And the next one goes through.
    assert exchange(agent, listener, 5, RawReply(reply))[0] == 0
    assert agent.record("mli", "LoadedRuleFile") == SMALL_RULES
    assert_still_works(agent)


def test_failing_steps_of_a_reply_answer_1(agent, listener):
    # The request file cannot be written: a folder stands in its place.
    os.mkdir(agent.path("http_request.xml"))
    try:
        query = RawReply(http_reply(client_request_text(query_document("no-file"))))
        result, mark = exchange(agent, listener, 6, query)
        assert result == 1
        assert direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))[-2:] == [
            ("putJasonToFile", f"can't open {REQUEST_XML}"), ("PipeCmdHttp", "processHttpResponse failed")]
    finally:
        os.rmdir(agent.path("http_request.xml"))

    # A query the engine refuses (no RequestID): nothing is posted back.
    refused = '<Message><Request cmd="GetHostMetaData"><HostMetaDataQueries/></Request></Message>'
    result, mark = exchange(agent, listener, 6, RawReply(http_reply(client_request_text(refused))))
    assert result == 1
    listener.wait_for(2)
    assert len(listener.connections) == 2
    assert not os.path.exists(agent.path("http_response.xml"))

    # A translation that fails: nothing stored, nothing loaded.
    bad = deployment().replace(b"<AgentConfiguration>",
                               b'<AgentConfiguration><LogConfiguration logInspectionSyslogClip="abc"/>', 1)
    result, mark = exchange(agent, listener, 6, RawReply(http_reply(client_request_text(bad.decode()))))
    assert result == 1
    assert not os.path.exists(agent.path("zent_agent.encxml"))
    assert agent.record("mli", "LoadedRuleFile") is None
    assert_still_works(agent)


# --- destinations that name no exchange ----------------------------------------------------------

def test_destinations_refused_before_any_connection(agent, listener):
    port = listener.port
    rows = [("1.2.3.4:80", "cannot find 2 seperators(:) in the destinatioin string"),
            (":80:1", "cannot find target address in the destinatioin string"),
            (f"127.0.0.1:{port}:", "invalid port or machine id in the destination string"),
            ("127.0.0.1::7", "invalid port or machine id in the destination string"),
            (f"127.0.0.1:x{port}:7", "invalid port or machine id in the destination string"),
            (f"127.0.0.1:{port}:2147483648", "invalid port or machine id in the destination string")]
    for destination, message in rows:
        mark = len(agent.log())
        assert http(agent, destination) == 1, destination
        assert direct_lines(agent, mark, ("PipeCmdHttp", message)) == [
            ("PipeCmdHttp", f"destination={destination}"), ("PipeCmdHttp", message)]
    assert listener.connections == []
    assert_still_works(agent)


def test_no_data_and_host_names_fail_at_the_connect(agent, listener):
    mark = len(agent.log())
    assert http(agent, None) == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "httpsPost failed"))
    assert lines[:2] == [("PipeCmdHttp", "destination="), ("PipeCmdHttp", "taregt=, port=36, machineId=0")]
    assert lines[2][0] == "httpsPost" and lines[2][1].startswith("connect failed with error: ")
    assert len(lines) == 4

    mark = len(agent.log())
    assert http(agent, f"localhost:{listener.port}:1") == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "httpsPost failed"))
    assert lines[2][1].startswith("connect failed with error: ")
    assert listener.connections == []
    assert_still_works(agent)


# --- replies the path refuses ----------------------------------------------------------------------

REFUSED_REPLIES = [
    (b"", 'cannot find "r.n.r.n"'),
    (b"{}}", 'cannot find "r.n.r.n"'),
    (b'HTTP/1.1 200 OK\r\n{"name": "a", "clientUID": "b", "request": "<Message/>"}', 'cannot find "r.n.r.n"'),
    (b"HTTP/1.1 200 OK\r\n\r\nno object", 'cannot find leading "{"'),
    (b"HTTP/1.1 200 OK\r\n\r\n{ no end", 'cannot find "}"'),
    (http_reply(b'{"name": }'), "putJasonToFile json parsing error: 3"),
    (http_reply(b'{"name": "a", "request": "<Message/>"}'), "cannot find member name/clientUID/request"),
    (http_reply(b'{"name": "a", "clientUID": 7, "request": "<Message/>"}'), "name/clientUID/request is not string"),
]


def test_refused_replies_answer_1_and_the_next_exchange_works(agent, listener):
    for reply, message in REFUSED_REPLIES:
        result, mark = exchange(agent, listener, 3, RawReply(reply))
        assert result == 1, reply
        lines = direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))
        assert lines[-2:] == [("putJasonToFile", message), ("PipeCmdHttp", "processHttpResponse failed")], reply

    result, mark = exchange(agent, listener, 3, RawReply(http_reply(client_request_text(""))))
    assert result == 1
    assert direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))[-3:] == [
        ("putJasonToFile", "Json members=>\r\nname: ClientRequest\r\nclientUID: zent-e2e\r\nrequest: "),
        ("putJasonToFile", "xml content is null"),
        ("PipeCmdHttp", "processHttpResponse failed")]

    for document, message in (("not xml", "XML LoadFile failed"), ("<Message/>", "cannot find Tag Message.Request"),
                              ('<Message><Request/></Message>', "cannot find Attribute cmd")):
        result, mark = exchange(agent, listener, 3, RawReply(http_reply(client_request_text(document))))
        assert result == 1
        assert direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))[-3:] == [
            ("checkXmlCmdType", message), ("processHttpResponse", "xml file is invalid"),
            ("PipeCmdHttp", "processHttpResponse failed")]

    # The working command: a query posted back.
    result, _ = exchange(agent, listener, 3, (RawReply(http_reply(client_request_text(query_document("after")))),
                                              RawReply(http_reply(b"{}"))))
    assert result == 0
    assert_still_works(agent)


def test_reply_in_pieces_with_a_delay(agent, listener):
    reply = http_reply(client_request_text(query_document("pieces")))
    result, mark = exchange(agent, listener, 4, (RawReply(reply, delay=0.5, pieces=[1, 17, 100], gap=0.2),
                                                 RawReply(http_reply(b"{}"))))
    assert result == 0
    assert ("httpsPost", f"Total bytes Received: {len(reply)}") in direct_lines(
        agent, mark, ("httpsPost", f"Total bytes Received: {len(reply)}"))


# --- peers that hold the exchange ------------------------------------------------------------------

def test_peer_silent_after_its_reply_ends_after_30_seconds_keeping_the_reply(agent, listener):
    reply = http_reply(client_request_text(query_document("silent")))
    result, mark = exchange(agent, listener, 8, (RawReply(reply, end="open", hold=60), RawReply(http_reply(b"{}"))))
    # The failed recv keeps what came: the query runs and is posted back.
    assert result == 0
    lines = direct_lines(agent, mark, ("httpsPost", f"Total bytes Received: {len(reply)}"))
    assert lines[4:6] == [("httpsPost", "recv failed with error: 10060"),
                          ("httpsPost", f"Total bytes Received: {len(reply)}")]
    # The post-back was read whole before its answer went out.
    post = listener.connections[1]
    assert post.shut and post.received == post_back(b"08", query_result("silent"))
    assert_still_works(agent)


@pytest.mark.long
def test_silent_peer_ends_after_30_seconds(agent, listener):
    result, mark = exchange(agent, listener, 8, RawReply(end="open", hold=60))
    assert result == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))
    assert lines[4:] == [("httpsPost", "recv failed with error: 10060"),
                         ("httpsPost", "Total bytes Received: 0"),
                         ("httpsPost", "Response(length=0):\r\n"),
                         ("putJasonToFile", 'cannot find "r.n.r.n"'),
                         ("PipeCmdHttp", "processHttpResponse failed")]
    assert_still_works(agent)


@pytest.mark.long
def test_peer_that_never_reads_ends_after_30_seconds(agent, listener):
    result, mark = exchange(agent, listener, 8, RawReply(end="never-read", hold=60))
    assert result == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))
    assert ("httpsPost", "recv failed with error: 10060") in lines
    assert_still_works(agent)


def test_hundred_megabyte_reply_is_cut_at_64_mib(agent, listener):
    head = b"HTTP/1.1 200 OK\r\n\r\n" + b'{"name": "n", "clientUID": "u", "request": "'
    result, mark = exchange(agent, listener, 9, RawReply(head, filler=100 * 1024 * 1024 - len(head)))
    assert result == 1
    lines = direct_lines(agent, mark, ("PipeCmdHttp", "processHttpResponse failed"))
    assert ("httpsPost", "recv failed with error: 10040") in lines
    assert ("httpsPost", "Total bytes Received: 67108864") in lines
    assert lines[-2:] == [("putJasonToFile", 'cannot find "}"'), ("PipeCmdHttp", "processHttpResponse failed")]
    (connection,) = listener.wait_for(1)
    assert connection.sent < 100 * 1024 * 1024
    assert_still_works(agent)
