"""The installed software and environment families on the server's road: a
ClientRequest in a heartbeat's reply carries the "GetHostMetaData" command,
and the agent posts the response document in a ClientResponse, which equals
the document that pipe command 106 gives the same agent for the same
request."""
import json

import pytest

from agent_host import AgentHost
from registry_fixture import request, response
from software_environment import OBJECTS_32, OBJECTS_64, VARIABLE, ask, objects_of, planted_uninstall_keys, result
from zent_server_stand_in import ZentServer, raw


@pytest.fixture(scope="module")
def uninstall_keys():
    with planted_uninstall_keys():
        yield


@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


@pytest.fixture
def agent(uninstall_keys):
    host = AgentHost()
    yield host
    host.remove()


def client_request(document):
    """A ClientRequest reply carrying the request as one query command."""
    text = document[document.index(b"<Message>"):]
    command = text.replace(b"<Request>", b'<Request cmd="GetHostMetaData">', 1)
    return raw(json.dumps({"name": "ClientRequest", "clientUID": "zent-e2e", "request": command.decode()}).encode())


def answer(agent, server, document):
    """Starts an agent in TestMode heartbeating to the server at once, which
    answers with the request; returns the agent's ClientResponse document."""
    server.script_heartbeats(client_request(document))
    server.script_acks(0)
    agent.install({"ZENTSETTINGS": {"DebugLevel": 6, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                    "HeartBeatTimer": 600000, "ConfigEncrypt": 0, "TestMode": 1}})
    agent.use_server(server)
    agent.start()
    (message,) = server.wait_for(1, "ClientResponse", timeout=90)
    assert message.json()["response"]["type"] == "UpdateHostMetaData"
    return message.response_content()


def test_server_query_is_answered_as_command_106_answers(agent, server):
    document = request(b"srv-sw-env", [(b"1", b"getInstalledSoftware", b"", None),
                                       (b"2", b"getEnvironment", b"", None)])
    content = answer(agent, server, document)
    software = result(b"1", b"2", OBJECTS_64 + OBJECTS_32)
    environment = result(b"2", b"1", [(VARIABLE, name, [(b"value", value)]) for name, value in objects_of(content)])
    assert content == response(b"srv-sw-env", [software, environment])
    assert content == ask(agent, document)
    agent.wait_for_log(r"\] ack response errorCode=HANDLER_ERROR_SUCCESS\r\n")
