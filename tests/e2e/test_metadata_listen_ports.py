"""getListenPorts against the agent running as a service under Wine, through
pipe command 106 and through a server's ClientRequest. The host has sockets
of its own, so the objects of the sockets these tests hold are compared one
by one, written by hand: Wine gives no owner module names, no creation time
and no owner for IPv6 TCP listeners, so those attributes never show here.
Every result's hash is recomputed from all of its objects."""
import socket

import pytest

from agent_host import AgentHost, running_agent
from listen_ports import SockHolder, digest, order_key, request, result_of, with_identifier
from zent_server_stand_in import ZentServer, client_request

# Ports whose order low byte first differs from their numeric order:
# 0x7A01 (stored 01 7A) comes before 0x7902 (stored 02 79).
PORT_7A01 = 0x7A01
PORT_7902 = 0x7902
# Two UDP sockets sharing this address make two rows of one key.
SHARED_UDP_PORT = 0x7803


def short_form(protocol, address, port, version):
    return [("protocol", protocol), ("port", str(port)), ("localAddress", address), ("ipVersion", version)]


def with_pid(pid, protocol, address, port, version):
    return [("processId", str(pid))] + short_form(protocol, address, port, version)


def detailed_objects(held):
    """The attributes of each of sockholder's sockets in a detailed answer,
    by identifier. Wine's tables have no creation time, so no row has
    created, and no owner for IPv6 TCP listeners."""
    tcp6_port, udp4_port, udp6_port = held.ports[2:]
    return {
        f"tcp/127.0.0.1/{PORT_7A01}": with_pid(held.pid, "tcp", "127.0.0.1", PORT_7A01, "4"),
        f"tcp/127.0.0.1/{PORT_7902}": with_pid(held.pid, "tcp", "127.0.0.1", PORT_7902, "4"),
        f"tcp6/::1/{tcp6_port}": short_form("tcp", "::1", tcp6_port, "6"),
        f"udp/127.0.0.1/{udp4_port}": with_pid(held.pid, "udp", "127.0.0.1", udp4_port, "4"),
        f"udp6/::1/{udp6_port}": with_pid(held.pid, "udp", "::1", udp6_port, "6"),
    }


@pytest.fixture
def agent():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


@pytest.fixture(scope="module")
def held():
    with SockHolder(f"tcp4:127.0.0.1:{PORT_7902}", f"tcp4:127.0.0.1:{PORT_7A01}", "tcp6:::1:0",
                    "udp4:127.0.0.1:0", "udp6:::1:0") as holder:
        yield holder


def query(agent, request_id, arg1="", arg2=""):
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=request("lp-1", arg1, arg2))
    assert reply.raw[:20] == b"QTNZ" + bytes(4) + request_id.to_bytes(4, "little") + bytes(8)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return result_of(f.read())


def check_result(result, objects):
    assert [result.get(name) for name in ("commandVersion", "id", "hashAlg")] == ["2", "ports", "SHA1"]
    assert result.get("hash") == digest(objects)
    assert [o.type for o in objects] == ["listenPort"] * len(objects)


def test_short_query_gives_ipv4_rows_four_attributes_and_udp6_rows_the_owner(agent, held):
    result, objects = query(agent, 301)
    check_result(result, objects)
    tcp6_port, udp4_port, udp6_port = held.ports[2:]
    assert [o.attributes for o in with_identifier(objects, f"tcp/127.0.0.1/{PORT_7A01}")] == [
        short_form("tcp", "127.0.0.1", PORT_7A01, "4")]
    assert [o.attributes for o in with_identifier(objects, f"tcp/127.0.0.1/{PORT_7902}")] == [
        short_form("tcp", "127.0.0.1", PORT_7902, "4")]
    # IPv6 tables always come with owners; Wine tells none for TCP listeners.
    assert [o.attributes for o in with_identifier(objects, f"tcp6/::1/{tcp6_port}")] == [
        short_form("tcp", "::1", tcp6_port, "6")]
    assert [o.attributes for o in with_identifier(objects, f"udp/127.0.0.1/{udp4_port}")] == [
        short_form("udp", "127.0.0.1", udp4_port, "4")]
    assert [o.attributes for o in with_identifier(objects, f"udp6/::1/{udp6_port}")] == [
        with_pid(held.pid, "udp", "::1", udp6_port, "6")]
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdListenPorts succeeded\r\n")


@pytest.mark.parametrize("arg1,arg2", [("detailed", ""), ("", "detailed")])
def test_detailed_query_gives_ipv4_rows_their_owner(agent, held, arg1, arg2):
    result, objects = query(agent, 302, arg1, arg2)
    check_result(result, objects)
    for identifier, attributes in detailed_objects(held).items():
        assert [o.attributes for o in with_identifier(objects, identifier)] == [attributes], identifier


def test_detail_flag_is_read_exactly(agent, held):
    _, objects = query(agent, 303, "Detailed", "detailed ")
    assert [o.attributes for o in with_identifier(objects, f"tcp/127.0.0.1/{PORT_7A01}")] == [
        short_form("tcp", "127.0.0.1", PORT_7A01, "4")]


@pytest.mark.parametrize("arg1", ["", "detailed"])
def test_rows_come_in_the_order_of_the_stored_record(agent, held, arg1):
    _, objects = query(agent, 304, arg1)
    # Low byte first: 0x7A01 before 0x7902, though 31233 > 30978.
    identifiers = [o.identifier for o in objects]
    assert identifiers.index(f"tcp/127.0.0.1/{PORT_7A01}") < identifiers.index(f"tcp/127.0.0.1/{PORT_7902}")
    # TCP before UDP, IPv4 before IPv6, and each table in the record's order,
    # whatever order Wine's tables have.
    keys = [order_key(o) for o in objects]
    assert keys == sorted(keys)


def test_sockets_of_linux_processes_have_no_owner(agent, held):
    tcp = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    try:
        tcp.bind(("127.0.0.1", 0))
        tcp.listen()
        udp.bind(("127.0.0.1", 0))
        _, objects = query(agent, 305, "detailed")
        tcp_port, udp_port = tcp.getsockname()[1], udp.getsockname()[1]
        assert [o.attributes for o in with_identifier(objects, f"tcp/127.0.0.1/{tcp_port}")] == [
            short_form("tcp", "127.0.0.1", tcp_port, "4")]
        assert [o.attributes for o in with_identifier(objects, f"udp/127.0.0.1/{udp_port}")] == [
            short_form("udp", "127.0.0.1", udp_port, "4")]
    finally:
        tcp.close()
        udp.close()


def test_rows_of_equal_keys_stay_twice(agent):
    with SockHolder(f"udp4:127.0.0.1:{SHARED_UDP_PORT}", f"udp4:127.0.0.1:{SHARED_UDP_PORT}", reuse=True) as holder:
        result, objects = query(agent, 306, "detailed")
        check_result(result, objects)
        assert [o.attributes for o in with_identifier(objects, f"udp/127.0.0.1/{SHARED_UDP_PORT}")] == [
            with_pid(holder.pid, "udp", "127.0.0.1", SHARED_UDP_PORT, "4")] * 2


def test_closed_sockets_are_gone_from_the_next_answer(agent):
    with SockHolder("tcp4:127.0.0.1:0") as holder:
        port = holder.ports[0]
        _, objects = query(agent, 307)
        assert len(with_identifier(objects, f"tcp/127.0.0.1/{port}")) == 1
    result, objects = query(agent, 308)
    check_result(result, objects)
    assert with_identifier(objects, f"tcp/127.0.0.1/{port}") == []


# --- from the server ---------------------------------------------------------------------


@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


@pytest.fixture
def fresh_agent():
    host = AgentHost()
    yield host
    host.remove()


def test_server_query_is_answered_with_the_sockets(fresh_agent, server, held):
    document = request("srv-lp", "detailed").decode().replace("<Request>", '<Request cmd="GetHostMetaData">', 1)
    server.script_heartbeats(client_request(document))
    server.script_acks(0)
    fresh_agent.install({"ZENTSETTINGS": {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                          "HeartBeatTimer": 600000, "ConfigEncrypt": 0}})
    fresh_agent.use_server(server)
    fresh_agent.start()
    (response,) = server.wait_for(1, "ClientResponse", timeout=90)
    message = response.json()
    assert message["response"]["type"] == "UpdateHostMetaData"
    content = response.response_content()
    assert b"<RequestID>srv-lp</RequestID>" in content
    result, objects = result_of(content)
    check_result(result, objects)
    for identifier, attributes in detailed_objects(held).items():
        assert [o.attributes for o in with_identifier(objects, identifier)] == [attributes], identifier
    keys = [order_key(o) for o in objects]
    assert keys == sorted(keys)
