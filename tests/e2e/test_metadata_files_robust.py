"""getFileInfo and getDirectoryListing on paths that are no plain files:
the null and console devices, the agent's own pipe and UNC paths. Each
request is answered, within the time zentctl waits, by a document written
by hand from what Wine's calls say of these paths, and the agent answers
the next request after it."""
import pytest

from agent_host import running_agent
from registry_fixture import request, response

PIPE = b"\\\\.\\pipe\\BIPC_ZENTAGENT_PIPE_7C2D91AE_4F06_4b1d_8E35_A1C06D2F7B44"
UNC_LOCAL = b"\\\\127.0.0.1\\zshare\\x.txt"
UNC_NAMED = b"\\\\zent-nohost\\share"
# zentctl waits this long for the reply; the test's own limit is above it.
REPLY_MS = 60000


@pytest.fixture
def agent():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


def ask(agent, document, request_id):
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=document, timeout_ms=REPLY_MS)
    assert reply.raw[:20] == b"QTNZ" + bytes(4) + request_id.to_bytes(4, "little") + bytes(8)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return f.read()


SPECIAL = [b"NUL", b"CON", PIPE, UNC_LOCAL, UNC_NAMED]


def test_file_info_of_devices_the_agents_pipe_and_unc_paths_ends_without_results(agent):
    document = request(b"fi-special", [(b"%d" % i, b"getFileInfo", path, None) for i, path in enumerate(SPECIAL)])
    assert ask(agent, document, 93) == response(b"fi-special", [])
    # Wine's C runtime refuses each of them in _stat.
    for path in SPECIAL:
        agent.wait_for_log(r"\]\[GetHmdFileInfo:\d+\] _stat result is invalid: file\("
                           + path.decode().replace("\\", r"\\").replace(".", r"\.") + r"\), err=\d+\r\n")


def test_listing_of_devices_the_agents_pipe_and_unc_paths_ends_without_results(agent):
    document = request(b"dl-special",
                       [(b"%d" % i, b"getDirectoryListing", path, None) for i, path in enumerate(SPECIAL)])
    assert ask(agent, document, 94) == response(b"dl-special", [])


def test_agent_answers_the_next_request_after_them(agent):
    both = [(b"a", b"getFileInfo", PIPE, None), (b"b", b"getDirectoryListing", PIPE, None)]
    assert ask(agent, request(b"special-1", both), 95) == response(b"special-1", [])
    ask(agent, request(b"special-2", [(b"c", b"getFileInfo", b"C:\\windows", None)]), 96)
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdFileInfo succeeded: file\(C:\\windows\)\r\n")
