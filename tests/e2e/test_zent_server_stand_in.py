"""The management server's stand-in on its own: how it tells the agent's
messages apart and what it keeps of them."""
import http.client
import json

import pytest

import socket
import urllib.request

from zent_server_stand_in import DirectListener, RawReply, ZentServer, as_bytes, client_request, http_reply

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


# --- the direct path's raw listener ------------------------------------------------------------

@pytest.fixture
def listener():
    listener = DirectListener().start()
    yield listener
    listener.stop()


def exchange(listener, request):
    """A client as the agent is: send, shut the send side, read to the end."""
    with socket.create_connection(("127.0.0.1", listener.port)) as s:
        s.sendall(request)
        s.shutdown(socket.SHUT_WR)
        answer = b""
        try:
            while chunk := s.recv(65536):
                answer += chunk
        except ConnectionResetError:
            answer += b"<reset>"
        return answer


def test_direct_listener_records_bytes_as_they_came_and_answers_in_pieces(listener):
    listener.script(RawReply(b"HTTP/1.1 200 OK\r\n\r\n{}", pieces=[3, 4], gap=0.01), RawReply(b"second"))
    assert exchange(listener, b"POST / HTTP/1.1\r\n\r\nnot parsed\x00\xff") == b"HTTP/1.1 200 OK\r\n\r\n{}"
    assert exchange(listener, b"") == b"second"
    first, second = listener.wait_for(2)
    assert first.received == b"POST / HTTP/1.1\r\n\r\nnot parsed\x00\xff"
    assert first.shut and second.shut
    assert first.sent == 21
    assert second.received == b""


def test_direct_listener_resets_after_its_reply(listener):
    listener.script(RawReply(b"whole", end="reset"))
    assert exchange(listener, b"x") in (b"whole<reset>", b"whole", b"<reset>")
    (connection,) = listener.wait_for(1)
    assert connection.sent == 5


def test_direct_listener_without_script_closes_at_once(listener):
    assert exchange(listener, b"x") == b""


def test_direct_listener_sends_filler_behind_its_data(listener):
    listener.script(RawReply(b"head", filler=3000000))
    answer = exchange(listener, b"x")
    assert len(answer) == 3000004
    assert answer[:4 + 21] == b"head" + b"zent-stand-in-filler "


def test_direct_listener_that_never_reads_holds_the_connection(listener):
    listener.script(RawReply(end="never-read", hold=0.5))
    with socket.create_connection(("127.0.0.1", listener.port)) as s:
        s.sendall(b"unread")
        s.shutdown(socket.SHUT_WR)
        # Closed with the request unread: an RST, as from any such peer.
        with pytest.raises(ConnectionResetError):
            s.recv(10)
    (connection,) = listener.wait_for(1)
    assert connection.received == b"" and not connection.shut


def test_direct_listener_control_interface(listener):
    control = listener.serve_control()
    base = f"http://127.0.0.1:{control}/control/"
    replies = json.dumps([{"json": {"name": "n"}}, {"text": "raw", "end": "reset"}]).encode()
    with urllib.request.urlopen(urllib.request.Request(base + "replies", data=replies)) as answer:
        assert answer.status == 200
    assert exchange(listener, b"req") == http_reply(b'{"name": "n"}')
    listener.wait_for(1)
    with urllib.request.urlopen(base + "connections") as answer:
        connections = json.loads(answer.read())
    assert connections == [{"received": "req", "chunks": 1, "shut": True, "sent": len(http_reply(b'{"name": "n"}')),
                            "send_error": "", "done": True}]
    urllib.request.urlopen(urllib.request.Request(base + "reset", data=b""))
    assert listener.connections == [] and listener.replies == []
