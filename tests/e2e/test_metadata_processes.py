"""getRunningProcesses against the agent running as a service under Wine,
through pipe command 106 and through a server's ClientRequest. The host runs
processes of its own, so the objects of the children these tests start are
compared whole, written by hand; of every other process the owner is
checked, since under Wine every process runs as the prefix's one user.
Every result's hash is recomputed from all of its objects."""
import concurrent.futures
import threading

import pytest

from agent_host import AgentHost, running_agent
from listen_ports import digest, result_of, with_identifier
from running_processes import ProcChild, brief_child, request
from winehost import build_file, read_value, run, windows_path
from zent_server_stand_in import ZentServer, client_request

# Wine's one user and its primary group: every process of the prefix has
# this token.
WINE_USER_SID = "S-1-5-21-0-0-0-1000"
WINE_GROUP_SID = "S-1-5-21-0-0-0-513"
AGENT_SERVICE_KEY = r"HKLM\System\CurrentControlSet\Services\ZentAgent"

# A command line that Windows' own quoting would never make: doubled blanks,
# quotes inside, backslashes, XML's special characters and text beyond ASCII.
EXACT_COMMAND_LINE = 'procchild  "two  blanks" back\\slash\\\\ "quote\\"d" a&b<c>d \u00fcn\u00ef\u20ac'


@pytest.fixture
def agent():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


@pytest.fixture(scope="module")
def wine_user():
    """The owner's name as whoami prints it."""
    done = run(["whoami"])
    assert done.exit_code == 0
    return done.stdout.strip()


@pytest.fixture(scope="module")
def wine_group(wine_user):
    """Wine names the primary group of its one user "None", in the user's
    own domain: the machine's name, as whoami prints it."""
    domain, _ = wine_user.split("\\")
    return domain + "\\None"


def query(agent, request_id):
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=request(request_id))
    assert reply.raw[:20] == b"QTNZ" + bytes(4) + request_id.to_bytes(4, "little") + bytes(8)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return result_of(f.read())


def check_result(result, objects):
    assert [result.get(name) for name in ("commandVersion", "id", "hashAlg")] == ["2", "procs", "SHA1"]
    assert result.get("hash") == digest(objects)
    assert [o.type for o in objects] == ["runningProcess"] * len(objects)


def child_attributes(child, user, group, command_line):
    """The child's whole object as the rules make it, but for created, which
    the caller checks against the child's start window."""
    return [("threads", "1"), ("process", "procchild.exe"), ("pid", str(child.pid)), ("parent", str(child.parent)),
            ("path", windows_path(build_file("tests/tools/procchild.exe"))),
            ("user", user), ("userId", WINE_USER_SID), ("groupId", WINE_GROUP_SID), ("group", group),
            ("created", "<in the start window>"), ("commandLine", command_line)]


def object_of(objects, child):
    (found,) = with_identifier(objects, f"procchild.exe\\{child.pid}")
    return found


def with_created_checked(attributes, child):
    """The attributes with created replaced by a mark once it lies in the
    child's start window."""
    out = []
    for name, value in attributes:
        if name == "created":
            assert child.started_after <= int(value) <= child.started_before, (value, child.started_after,
                                                                             child.started_before)
            value = "<in the start window>"
        out.append((name, value))
    return out


def test_child_object_is_whole_with_its_exact_command_line(agent, wine_user, wine_group):
    with ProcChild(EXACT_COMMAND_LINE) as child:
        result, objects = query(agent, 401)
    check_result(result, objects)
    found = object_of(objects, child)
    assert with_created_checked(found.attributes, child) == child_attributes(child, wine_user, wine_group,
                                                                            EXACT_COMMAND_LINE)
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdRunningProcesses succeeded\r\n")


def test_command_line_of_1500_characters_is_cut_at_1024(agent, wine_user, wine_group):
    command_line = "procchild " + "".join(chr(ord("a") + i % 26) for i in range(1490))
    assert len(command_line) == 1500
    with ProcChild(command_line) as child:
        result, objects = query(agent, 402)
    check_result(result, objects)
    found = object_of(objects, child)
    assert with_created_checked(found.attributes, child) == child_attributes(child, wine_user, wine_group,
                                                                            command_line[:1024])


def test_every_process_is_owned_by_the_wine_user(agent, wine_user, wine_group):
    result, objects = query(agent, 403)
    check_result(result, objects)
    assert len(objects) >= 3
    for o in objects:
        owner = [(name, value) for name, value in o.attributes if name in ("user", "userId", "groupId", "group")]
        assert owner == [("user", wine_user), ("userId", WINE_USER_SID), ("groupId", WINE_GROUP_SID),
                         ("group", wine_group)], o.identifier


def test_agents_command_line_is_its_image_path(agent):
    result, objects = query(agent, 404)
    check_result(result, objects)
    image_path = read_value(AGENT_SERVICE_KEY, "ImagePath")
    assert image_path == '"C:\\ZentE2e\\ZentAgent.exe" -service'
    agents = [o for o in objects if dict(o.attributes)["process"] == "ZentAgent.exe"]
    assert len(agents) == 1
    attributes = dict(agents[0].attributes)
    assert attributes["commandLine"] == image_path
    assert attributes["path"] == "C:\\ZentE2e\\ZentAgent.exe"
    assert agents[0].identifier == f"ZentAgent.exe\\{attributes['pid']}"


def test_gone_child_is_gone_from_the_next_answer(agent):
    with ProcChild("procchild gone") as child:
        _, objects = query(agent, 405)
        assert len(with_identifier(objects, f"procchild.exe\\{child.pid}")) == 1
    result, objects = query(agent, 406)
    check_result(result, objects)
    assert with_identifier(objects, f"procchild.exe\\{child.pid}") == []


# --- robustness ------------------------------------------------------------------------------


def test_child_with_a_rewritten_command_line_keeps_the_rest(agent, wine_user, wine_group):
    with ProcChild("procchild blank me") as child:
        child.blank()
        result, objects = query(agent, 407)
    check_result(result, objects)
    found = object_of(objects, child)
    expected = [pair for pair in child_attributes(child, wine_user, wine_group, "") if pair[0] != "commandLine"]
    assert with_created_checked(found.attributes, child) == expected


def test_children_ending_during_the_walk_are_tolerated(agent):
    stop = threading.Event()

    def churn():
        while not stop.is_set():
            brief_child().wait(timeout=60)

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        churners = [pool.submit(churn) for _ in range(2)]
        try:
            for round_number in range(10):
                result, objects = query(agent, 410 + round_number)
                check_result(result, objects)
        finally:
            stop.set()
        for churner in churners:
            churner.result()
    assert agent.status().state == "RUNNING"


# --- from the server -------------------------------------------------------------------------


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


def server_document(request_id):
    return request(request_id).decode().replace("<Request>", '<Request cmd="GetHostMetaData">', 1)


def test_server_query_is_answered_with_the_child(fresh_agent, server, wine_user, wine_group):
    server.script_heartbeats(client_request(server_document("srv-procs")))
    server.script_acks(0)
    fresh_agent.install({"ZENTSETTINGS": {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                          "HeartBeatTimer": 600000, "ConfigEncrypt": 0}})
    with ProcChild(EXACT_COMMAND_LINE) as child:
        fresh_agent.use_server(server)
        fresh_agent.start()
        (response,) = server.wait_for(1, "ClientResponse", timeout=90)
    assert response.json()["response"]["type"] == "UpdateHostMetaData"
    content = response.response_content()
    assert b"<RequestID>srv-procs</RequestID>" in content
    result, objects = result_of(content)
    check_result(result, objects)
    found = object_of(objects, child)
    assert with_created_checked(found.attributes, child) == child_attributes(child, wine_user, wine_group,
                                                                            EXACT_COMMAND_LINE)


@pytest.mark.long
def test_pipe_and_server_queries_at_once_for_200_rounds(fresh_agent, server):
    rounds = 200
    server.script_heartbeats(*[client_request(server_document(f"srv-{n}")) for n in range(rounds)])
    server.script_acks(*[0] * rounds)
    fresh_agent.install({"ZENTSETTINGS": {"DebugLevel": 3, "TestMode": 1, "FlushDebugLogTimer": 200,
                                          "FirstHeartBeat": 600000, "HeartBeatTimer": 600000,
                                          "ConfigEncrypt": 0}})
    fresh_agent.use_server(server)
    fresh_agent.start()
    for n in range(rounds):
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            notified = pool.submit(fresh_agent.send, "notify")
            result, objects = query(fresh_agent, 1000 + n)
            assert notified.result().exit_code == 0
        check_result(result, objects)
        server.wait_for(n + 1, "ClientResponse", timeout=90)
    responses = server.messages("ClientResponse")
    assert len(responses) == rounds
    for n, response in enumerate(responses):
        content = response.response_content()
        assert f"<RequestID>srv-{n}</RequestID>".encode() in content
        check_result(*result_of(content))
    assert fresh_agent.status().state == "RUNNING"
