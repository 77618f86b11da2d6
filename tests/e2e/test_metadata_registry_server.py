"""The registry query families on the server's road: a ClientRequest in a
heartbeat's reply carries the "GetHostMetaData" command, and the agent posts
the response document back in a ClientResponse. The document byte for byte,
written by hand; arguments the registry cannot name get no result and a
line in the log."""
import json

import pytest

from agent_host import AgentHost
from registry_fixture import BASE, KEYS, TREE, VALUES, reg_import, remove_keys, request, response, result
from zent_server_stand_in import ZentServer, raw


@pytest.fixture(scope="module")
def keys():
    remove_keys()
    reg_import(KEYS)
    yield
    remove_keys()


@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


@pytest.fixture
def agent(keys):
    host = AgentHost()
    yield host
    host.remove()


def command(document):
    """The multi-command document of one query command around a request."""
    text = document[document.index(b"<Message>"):]
    return text.replace(b"<Request>", b'<Request cmd="GetHostMetaData">', 1)


def client_request_bytes(document):
    """A ClientRequest reply whose request holds the bytes as they stand, be
    they UTF-8 or not."""
    value = {"name": "ClientRequest", "clientUID": "zent-e2e",
             "request": command(document).decode("utf-8", "surrogateescape")}
    return raw(json.dumps(value, ensure_ascii=False).encode("utf-8", "surrogateescape"))


def answer(agent, server, document):
    """Starts an agent heartbeating to the server at once, which answers with
    the request; returns the document of the agent's ClientResponse."""
    server.script_heartbeats(client_request_bytes(document))
    server.script_acks(0)
    agent.install({"ZENTSETTINGS": {"DebugLevel": 6, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                    "HeartBeatTimer": 600000, "ConfigEncrypt": 0}})
    agent.use_server(server)
    agent.start()
    (message,) = server.wait_for(1, "ClientResponse", timeout=90)
    assert message.json()["response"]["type"] == "UpdateHostMetaData"
    return message.response_content()


def test_server_query_is_answered_with_the_registry_results(agent, server):
    document = request(b"srv-reg", [
        (b"1", b"getRegistryValue", VALUES, b"BinOdd"),
        (b"2", b"getRegistryValue", VALUES, b"Unicode"),
        (b"3", b"getRegistryKey", TREE, None),
        (b"4", b"getRegistryValue", VALUES, b"Absent"),
    ])
    expected = response(b"srv-reg", [
        result(b"1", b"registryValue", VALUES + b"\\BinOdd", [(b"type", b"3"), (b"value", b"c3a90041f09f9880efbfbd")]),
        result(b"2", b"registryValue", VALUES + b"\\Unicode",
               [(b"type", b"1"), (b"value", "Z\u00fcrich \u0141\u00f3d\u017a".encode())]),
        result(b"3", b"registryKey", TREE, [(b"subkeys", b'"Alpha","Beta","Q"k"'),
                                            (b"valuenames", b'"@","n1","v"x"')]),
    ])
    assert answer(agent, server, document) == expected
    agent.wait_for_log(r"\] ack response errorCode=HANDLER_ERROR_SUCCESS\r\n")


def test_arguments_the_registry_cannot_name_have_no_result_and_are_logged(agent, server):
    long_path = b"HKLM\\" + b"k" * 100000
    document = request(b"srv-bad", [
        (b"1", b"getRegistryKey", b"HKLM\\" + BASE.encode() + b"\\Tr\xffee", None),
        (b"2", b"getRegistryValue", VALUES, b"S\xc3z"),
        (b"3", b"getRegistryKey", long_path, None),
        (b"4", b"getRegistryValue", long_path, b"x"),
        (b"5", b"getRegistryKey", b"HKPD\\Global", None),
        (b"6", b"getRegistryValue", b"HKPD\\Global", b"x"),
        (b"7", b"getRegistryKey", b"HKDD\\Config Manager", None),
        (b"8", b"getRegistryValue", b"HKDD\\Config Manager", b"x"),
    ])
    assert answer(agent, server, document) == response(b"srv-bad", [])
    log = agent.log()
    # Bytes that are not UTF-8 name nothing: ERROR_NO_UNICODE_TRANSLATION.
    assert ("] Can't open registry key 'HKLM\\" + BASE + "\\Tr\xffee', err=1113\r\n") in log
    assert ("] Can't read value of '" + VALUES.decode() + "\\S\xc3z', err=1113\r\n") in log
    # A path longer than any key name: Wine's RegOpenKeyExW says
    # ERROR_INVALID_PARAMETER, for the key query and the value query.
    assert log.count("] Can't open registry key 'HKEY_LOCAL_MACHINE\\" + "k" * 100000 + "', err=87\r\n") == 2
    # Neither root is walked as keys (Wine would open keys under both).
    assert "] Can't open registry key 'HKEY_PERFORMANCE_DATA\\Global', err=1010\r\n" in log
    assert "] Can't open registry key 'HKEY_DYN_DATA\\Config Manager', err=1010\r\n" in log
    assert " succeeded: key(" not in log
