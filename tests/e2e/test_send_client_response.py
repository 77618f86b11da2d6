"""sendClientResponse against the management server's stand-in, through the
real transport library: the ClientResponse message byte for byte, and its
retry rules for each HeartBeatRetryMax."""
import os
import re

import pytest

from agent_host import INSTALL_DIR, AgentHost
from winehost import build_file, run, windows_path
from zent_server_stand_in import ZentServer

CONTENT = b'<HostMetaDataQueryResult commandVersion="1" id="7">\n<a>"x"\\y</a>\n</HostMetaDataQueryResult>\n'
# The message as the server must see it: pretty-printed, 4 blanks, the
# document escaped as one JSON string.
EXPECTED = (b'{\n'
            b'    "name": "ClientResponse",\n'
            b'    "response": {\n'
            b'        "type": "UpdateHostMetaData",\n'
            b'        "content": "<HostMetaDataQueryResult commandVersion=\\"1\\" id=\\"7\\">\\n'
            b'<a>\\"x\\"\\\\y</a>\\n</HostMetaDataQueryResult>\\n"\n'
            b'    }\n'
            b'}')
PAUSE = "sendClientResponse failed & retrying, now sleep 2000 ms"


@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


@pytest.fixture
def folder(server):
    """The suite's folder with the framework and the transport, pointed at
    the stand-in; no service runs."""
    host = AgentHost()
    host.install()
    host.use_server(server)
    with open(host.path("content.xml"), "wb") as f:
        f.write(CONTENT)
    yield host
    host.remove()


def send(folder, retry_max, response_type=1):
    done = run([build_file("tests/server/send_client_response.exe"), INSTALL_DIR, str(retry_max),
                str(response_type), windows_path(folder.path("content.xml"))], timeout=60)
    lines = done.stdout.replace("\r\n", "\n")
    assert lines.rstrip().endswith(f"result={0 if done.exit_code else 1}"), lines
    return done.exit_code == 0, lines


def responses(server):
    return [m for m in server.messages() if m.name == "ClientResponse"]


def test_message_is_the_pretty_printed_client_response_with_the_bare_description(folder, server):
    accepted, _ = send(folder, 1)
    assert accepted
    [message] = responses(server)
    assert message.body == EXPECTED
    assert message.path == "/brevon_zent/command"
    # An empty description reaches the library as the prefix alone.
    assert message.description == b"Zent+"
    assert folder.record("hvSock", "LastDescription") == "Zent+"


def test_retry_max_1_pipe_closed_then_accepted_makes_two_attempts_and_two_pauses(folder, server):
    server.script_acks(-1002, 0)
    accepted, log = send(folder, 1)
    assert accepted
    assert [m.body for m in responses(server)] == [EXPECTED, EXPECTED]
    assert log.count(PAUSE) == 2
    assert "ack response errorCode=HANDLER_ERROR_PIPE_CLOSED" in log
    assert "ack response errorCode=HANDLER_ERROR_SUCCESS" in log


def test_retry_max_1_accepted_at_once_makes_one_attempt_and_no_pause(folder, server):
    server.script_acks(0)
    accepted, log = send(folder, 1)
    assert accepted
    assert len(responses(server)) == 1
    assert PAUSE not in log


def test_retry_max_minus_1_sends_nothing_and_fails(folder, server):
    accepted, log = send(folder, -1)
    assert not accepted
    assert responses(server) == []
    assert folder.record("hvSock", "Calls", 0) == 0


def test_retry_max_0_pipe_closed_makes_one_attempt_one_pause_and_fails(folder, server):
    server.script_acks(-1002)
    accepted, log = send(folder, 0)
    assert not accepted
    assert len(responses(server)) == 1
    assert log.count(PAUSE) == 1


def test_once_pipe_closed_every_attempt_is_made_even_after_acceptance(folder, server):
    server.script_acks(-1002, 0, 0)
    accepted, log = send(folder, 2)
    assert accepted
    assert len(responses(server)) == 3
    assert log.count(PAUSE) == 3


def test_other_error_code_is_final(folder, server):
    server.script_acks(-1, 0)
    accepted, log = send(folder, 3)
    assert not accepted
    assert len(responses(server)) == 1
    assert re.search(r"\[checkAckResponse:\d+\] ack response errorCode=-1\n", log)
    assert PAUSE not in log


def test_transport_failure_ends_the_attempts(folder, server):
    folder.knob("hvSock", "FailCount", 1)
    accepted, log = send(folder, 3)
    assert not accepted
    assert responses(server) == []
    assert "talkToZentServer for sendClientResponse(responseType=1) failed" in log
    assert "g_pfnHvSendHttpToBRVNServer2 failed, responseCode(-1)" in log


def test_response_type_other_than_1_is_refused_without_a_word(folder, server):
    accepted, log = send(folder, 1, response_type=2)
    assert not accepted
    assert responses(server) == []
    assert "sendClientResponse" not in log.replace("result=", "")


def test_transport_options_and_arguments_are_those_of_the_agent(folder, server):
    send(folder, 1)
    assert folder.record("hvSock", "LastCommandPath") == "brevon_zent/command"
    assert folder.record("hvSock", "LastFlags") == 0
    assert folder.record("hvSock", "LastOptions") == "0,3,0"
    assert folder.record("hvSock", "LastReserved") == "null"
    assert folder.record("hvSock", "LastResponseFile") == INSTALL_DIR + "\\hvsock_response"
    # Out of TestMode the exchange file goes.
    assert not os.path.exists(folder.path("hvsock_response"))
