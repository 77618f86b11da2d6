"""getFileContents on the server's road: a ClientRequest in a heartbeat's
reply carries the "GetHostMetaData" command, and the content of the agent's
ClientResponse is the document that pipe command 106 writes for the same
queries, written here by hand."""
import pytest

from agent_host import AgentHost, running_agent
from file_contents_fixture import contents, crlf_lines, request, response, win, write
from test_metadata_registry import ask
from test_metadata_registry_server import answer, server  # noqa: F401 (the server fixture)

QUERIES = [
    (b"1", win("server_lines.txt"), b"^(GET|POST) ", None),
    (b"2", win("server_lines.txt"), None, b"0x40"),
    (b"3", win("server_lines.txt"), b"(a)\\1", None),
    (b"4", win("server_absent.txt"), None, None),
]
ALL = crlf_lines(b"GET /a 200", b"PUT /b 201", b"POST /c 500")
EXPECTED = response(b"srv-fc", [
    contents(b"1", win("server_lines.txt"), crlf_lines(b"GET /a 200", b"POST /c 500"), b"^(GET|POST) "),
    contents(b"2", win("server_lines.txt"), ALL, b""),
])


LINES = b"GET /a 200\r\nPUT /b 201\nPOST /c 500\n"


@pytest.fixture
def fresh_agent():
    host = AgentHost()
    yield host
    host.remove()


def test_server_query_is_answered_with_the_106_document(fresh_agent, server):
    # The agent's installation makes the prefix; the file goes in before it
    # starts, which answer() does.
    fresh_agent.install({})
    write("server_lines.txt", LINES)
    assert answer(fresh_agent, server, request(b"srv-fc", QUERIES)) == EXPECTED
    fresh_agent.wait_for_log(r"\] ack response errorCode=HANDLER_ERROR_SUCCESS\r\n")


def test_pipe_command_106_writes_the_same_document():
    agent = running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})
    write("server_lines.txt", LINES)
    assert ask(agent, request(b"srv-fc", QUERIES)) == EXPECTED
