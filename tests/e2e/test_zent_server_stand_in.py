"""The management server's stand-in on its own: how it tells the agent's
messages apart and what it keeps of them."""
import http.client

import pytest

from zent_server_stand_in import ZentServer, as_bytes, client_request

COMMAND_PATH = "/brevon_zent/command"
# A ClientResponse as the agent pretty-prints it, its document holding bytes
# that are not UTF-8: a service description's narrow copy (b"S\xe9") and a
# low-byte module name (b"\xf3").
NOT_UTF8 = (b'{\n'
            b'    "name": "ClientResponse",\n'
            b'    "response": {\n'
            b'        "type": "UpdateHostMetaData",\n'
            b'        "content": "<Attribute name=\\"description\\" value=\\"S\xe9\\"/>\xf3\\n"\n'
            b'    }\n'
            b'}')


@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


def post(server, body):
    host, port = server.address.split(":")
    connection = http.client.HTTPConnection(host, int(port), timeout=10)
    connection.request("POST", COMMAND_PATH, body)
    answer = connection.getresponse()
    result = answer.status, answer.read()
    connection.close()
    return result


def test_client_response_that_is_not_utf8_is_known_acknowledged_and_kept(server):
    server.script_heartbeats(client_request("<Message/>"))
    server.script_acks(5)
    assert post(server, NOT_UTF8) == (200, b'{"name": "errorCode", "value": 5}')
    (message,) = server.messages("ClientResponse")
    assert message.body == NOT_UTF8
    assert message.response_content() == b'<Attribute name="description" value="S\xe9"/>\xf3\n'
    # The scripted heartbeat reply is still there for the next heartbeat.
    status, body = post(server, b'{"name": "HeartBeat", "policyInfo": "x"}')
    assert body.startswith(b'{"name": "ClientRequest"')


def test_utf8_client_response_reads_as_json(server):
    body = b'{"name": "ClientResponse", "response": {"type": "UpdateHostMetaData", "content": "\xc5\x81\\n"}}'
    assert post(server, body) == (200, b'{"name": "errorCode", "value": 0}')
    (message,) = server.messages("ClientResponse")
    assert message.response_content() == b"\xc5\x81\n"
    assert as_bytes(message.json()["response"]["type"]) == b"UpdateHostMetaData"


def test_body_with_no_name_at_its_front_is_nameless(server):
    assert post(server, b'\xff{"name": "ClientResponse"}')[0] == 200
    assert server.messages()[0].name == ""
