"""getFileInfo and getDirectoryListing on the server's road: a ClientRequest
in a heartbeat's reply carries the "GetHostMetaData" command, and the agent
posts the response document back in a ClientResponse. Its content is the
document that pipe command 106 writes for the same queries, byte for byte,
the ANSI byte of a listed name included; both are written by hand."""
import os

import pytest

from agent_host import AgentHost, running_agent
from file_queries import INFO_DIR, LIST_DIR, file_info, fresh_folder, listing, queries, times, write
from registry_fixture import request, response
from test_metadata_registry_server import client_request_bytes, server  # noqa: F401 (the server fixture)
from winehost import unix_path

# Reading a file (its version resource is looked for) moves its access time
# unless that is later than its change time, which os.utime sets to now:
# hence an access time in the future.
ACCESS = 2000000000
MODIFIED = 1600000000
FOLDER = LIST_DIR + r"\server"
FILE = INFO_DIR + r"\server.txt"

DOCUMENT = request(b"srv-files", queries(
    (b"1", b"getFileInfo", FILE.encode()),
    (b"2", b"getDirectoryListing", FOLDER.encode()),
    (b"3", b"getFileInfo", (INFO_DIR + r"\absent.txt").encode()),
))
EXPECTED = response(b"srv-files", [
    file_info(b"1", FILE.encode(), times(ACCESS, MODIFIED) + [(b"size", b"6"), (b"mode", b"0100666")]),
    # "café.txt" comes in the ANSI code page: one byte E9.
    listing(b"2", FOLDER.encode(), b"caf\xe9.txt|z.txt|"),
])


@pytest.fixture(scope="module")
def files():
    os.makedirs(unix_path(INFO_DIR), exist_ok=True)
    write(FILE, b"server", (ACCESS, MODIFIED))
    folder = fresh_folder(FOLDER)
    for name in ("z.txt", "caf\u00e9.txt"):
        with open(os.path.join(folder, name), "wb") as f:
            f.write(b"x")


@pytest.fixture
def host(files):
    host = AgentHost()
    yield host
    host.remove()


def test_server_query_is_answered_with_the_file_results(host, server):
    server.script_heartbeats(client_request_bytes(DOCUMENT))
    server.script_acks(0)
    host.install({"ZENTSETTINGS": {"DebugLevel": 6, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                   "HeartBeatTimer": 600000, "ConfigEncrypt": 0}})
    host.use_server(server)
    host.start()
    (message,) = server.wait_for(1, "ClientResponse", timeout=90)
    assert message.json()["response"]["type"] == "UpdateHostMetaData"
    assert message.response_content() == EXPECTED


def test_pipe_command_106_writes_the_same_document(files):
    agent = running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})
    reply = agent.send("get-metadata", "--request-id", "92", data=DOCUMENT)
    assert reply.raw[:20] == b"QTNZ" + bytes(4) + (92).to_bytes(4, "little") + bytes(8)
    with open(agent.path("meta_response.xml"), "rb") as f:
        assert f.read() == EXPECTED
