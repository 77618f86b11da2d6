"""The "getServices" query family end to end: the agent as a service, asked
by the management server's stand-in in a ClientRequest and through pipe
command 106. The prefix's own services vary, so the services the tests
register are compared object by object, written by hand from the query's
rules; the order of all objects is the system's, as svcconfig.exe lists it;
every hash is recomputed here over all objects of its result."""
import hashlib
import json
import re
import time

import pytest

from agent_host import AgentHost, INSTALL_DIR, SIM_KEY
from winehost import build_file, query_service, run, set_value, start_service, stop_service
from zent_server_stand_in import ZentServer, client_request

SVCCONFIG = "tests/tools/svcconfig.exe"
MLFILTER = INSTALL_DIR + r"\mlfilter.exe"
STATE_FRIENDLY = ["unknown", "stopped", "starting", "stopping", "running", "continuePending", "pausePending",
                  "paused"]

# State 1 is a service left stopped; 2 to 7 are the driver service's
# stand-in, registered under a name of each, reporting that state.
SERVICES = [
    {"name": "ZentSvcState1", "displayName": "Zent State 1", "binaryPath": MLFILTER, "startName": "LocalSystem",
     "loadOrderGroup": "ZentGroup", "description": "Zent probe"},
    *({"name": f"ZentSvcState{n}", "displayName": f"Zent State {n}", "binaryPath": MLFILTER,
       "startName": "LocalSystem"} for n in range(2, 8)),
    {"name": "ZentSvcAuto", "displayName": "Zent Auto", "binaryPath": MLFILTER, "startName": "LocalSystem",
     "startType": 2, "description": "\u03a9mega"},
    {"name": "ZentSvcDisabled", "binaryPath": r"C:\Zent Probe\disabled.exe", "startName": "LocalSystem",
     "startType": 4, "loadOrderGroup": "ZentGroup"},
]
NAMES = [s["name"] for s in SERVICES]

REQUEST = ('<Message><Request cmd="GetHostMetaData"><RequestID>svc-1</RequestID><HostMetaDataQueries>'
           '<HostMetaDataQuery id="d" query="getServices" arg1="detailed"/>'
           '<HostMetaDataQuery id="n" query="getServices" arg1="Detailed" arg2="DETAILED"/>'
           '<HostMetaDataQuery id="a2" query="getServices" arg1="x" arg2="detailed"/>'
           '</HostMetaDataQueries></Request></Message>')


def svcconfig(*args, data=None):
    done = run([build_file(SVCCONFIG), *args], input=data)
    return done.exit_code, done.stdout


def system_order():
    code, out = svcconfig("list")
    assert code == 0, out
    return [name.encode() for name in json.loads(out)]


def wait_for_current_state(name, state, timeout=30):
    deadline = time.monotonic() + timeout
    while True:
        status = query_service(name)
        if status is not None and status.current_state == state:
            return status
        assert time.monotonic() < deadline, f"{name}: {status}"
        time.sleep(0.2)


def remove_service(name):
    status = query_service(name)
    if status is None:
        return
    if status.current_state != 1:
        stop_service(name, check=False)
        deadline = time.monotonic() + 10
        while (status := query_service(name)) is not None and status.current_state != 1:
            if time.monotonic() > deadline:
                run(["taskkill", "/F", "/PID", str(status.process_id)])
                break
            time.sleep(0.2)
    svcconfig("delete", name)


@pytest.fixture(scope="module")
def world():
    """The agent in TestMode, heartbeating to the server's stand-in, which
    answers the first heartbeat with the services query; the tests'
    services registered before it starts, states 2 to 7 running."""
    server = ZentServer().start()
    host = AgentHost()
    host.install({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                   "HeartBeatTimer": 600000, "ConfigEncrypt": 0}})
    host.use_server(server)
    for name in NAMES:
        remove_service(name)
    for service in SERVICES:
        code, out = svcconfig("create", data=json.dumps(service))
        assert code == 0, out
    for n in range(2, 8):
        set_value(SIM_KEY + f"\\ZentSvcState{n}", "ReportState", n)
        start_service(f"ZentSvcState{n}", check=False)
    pids = {f"ZentSvcState{n}": wait_for_current_state(f"ZentSvcState{n}", n).process_id for n in range(2, 8)}
    server.script_heartbeats(client_request(REQUEST))
    server.script_acks(0)
    host.start()
    pids["ZentAgent"] = host.status().process_id
    (response,) = server.wait_for(1, "ClientResponse", timeout=90)
    yield {"host": host, "server": server, "pids": pids, "client_response": response}
    for name in NAMES:
        remove_service(name)
    host.remove()
    server.stop()


# --- reading a response ----------------------------------------------------------------------

# tinyxml2's escapes; the document may hold bytes that are neither UTF-8
# nor allowed in XML (a description's narrow copy can end in 0x03), so it is
# read as the printer writes it, not by an XML parser.
ENTITIES = {b"&amp;": b"&", b"&lt;": b"<", b"&gt;": b">", b"&quot;": b'"', b"&apos;": b"'"}
TAG = re.compile(rb'<(HostMetaDataQueryResult|HostMetaData|Attribute) ([^>]*?)/?>')
PAIR = re.compile(rb'(\w+)="([^"]*)"')


def unescape(value):
    return re.sub(rb"&\w+;", lambda m: ENTITIES[m.group(0)], value)


def results(document):
    """{id: (result attributes, [(type, identifier, [(name, value)])])}, all
    texts as the bytes they stand for."""
    out = {}
    for tag, body in TAG.findall(document):
        pairs = [(name, unescape(value)) for name, value in PAIR.findall(body)]
        if tag == b"HostMetaDataQueryResult":
            attributes = {name.decode(): value.decode() for name, value in pairs}
            objects = []
            out[attributes["id"]] = (attributes, objects)
        elif tag == b"HostMetaData":
            objects.append((dict(pairs)[b"type"], dict(pairs)[b"identifier"], []))
        else:
            objects[-1][2].append((dict(pairs)[b"name"], dict(pairs)[b"value"]))
    return out


def digest(objects):
    sha1 = hashlib.sha1()
    for kind, identifier, attributes in objects:
        sha1.update(kind + identifier)
        for name, value in attributes:
            sha1.update(name + value)
    return ":".join(f"{b:02X}" for b in sha1.digest())


def by_identifier(objects):
    return {identifier: attributes for _, identifier, attributes in objects}


# --- what the tests' services must look like ---------------------------------------------------

def expected(name, detailed, pids):
    """The object of one of the tests' services, from its registration."""
    service = next(s for s in SERVICES if s["name"] == name)
    state = int(name[-1]) if name.startswith("ZentSvcState") else 1
    start_type = service.get("startType", 3)
    attributes = [(b"displayName", service.get("displayName", "").encode()),
                  (b"running", b"false" if state == 1 else b"true")]
    if detailed:
        attributes += [(b"processId", str(pids.get(name, 0)).encode()), (b"state", str(state).encode()),
                       (b"stateFriendly", STATE_FRIENDLY[state].encode())]
    attributes += [(b"binaryPathName", service["binaryPath"].encode()), (b"startType", str(start_type).encode()),
                   (b"serviceType", b"16"), (b"serviceStartName", b"LocalSystem")]
    if detailed:
        attributes.append((b"startTypeFriendly", [b"boot", b"system", b"automatic", b"manual",
                                                  b"disabled"][start_type]))
        if "loadOrderGroup" in service:
            attributes.append((b"loadOrderGroup", service["loadOrderGroup"].encode()))
        # The description's UTF-16 bytes up to the first zero byte; Wine
        # hands back no dependencies and no failure actions.
        if "description" in service:
            attributes.append((b"description", service["description"].encode("utf-16-le").split(b"\0")[0]))
    return attributes


# The attributes written out for three of them, as a check on expected().
def test_expected_objects_read_as_written():
    pids = {"ZentSvcState4": 321}
    assert expected("ZentSvcState4", True, pids) == [
        (b"displayName", b"Zent State 4"), (b"running", b"true"), (b"processId", b"321"), (b"state", b"4"),
        (b"stateFriendly", b"running"), (b"binaryPathName", b"C:\\ZentE2e\\mlfilter.exe"), (b"startType", b"3"),
        (b"serviceType", b"16"), (b"serviceStartName", b"LocalSystem"), (b"startTypeFriendly", b"manual")]
    assert expected("ZentSvcAuto", True, pids)[-2:] == [(b"startTypeFriendly", b"automatic"),
                                                       (b"description", b"\xa9\x03m")]
    assert expected("ZentSvcState1", False, pids) == [
        (b"displayName", b"Zent State 1"), (b"running", b"false"), (b"binaryPathName", b"C:\\ZentE2e\\mlfilter.exe"),
        (b"startType", b"3"), (b"serviceType", b"16"), (b"serviceStartName", b"LocalSystem")]


def check_document(document, world):
    found = results(document)
    assert sorted(found) == ["a2", "d", "n"]
    order = system_order()
    for query_id, detailed in (("d", True), ("n", False), ("a2", True)):
        attributes, objects = found[query_id]
        assert list(attributes) == ["commandVersion", "id", "hashAlg", "hash"]
        assert attributes["commandVersion"] == "3" and attributes["id"] == query_id
        assert attributes["hash"] == digest(objects)
        assert [identifier for _, identifier, _ in objects] == order
        assert all(kind == b"service" for kind, _, _ in objects)
        services = by_identifier(objects)
        for name in NAMES:
            assert services[name.encode()] == expected(name, detailed, world["pids"]), name
        if not detailed:
            assert all(len(a) <= 6 for a in services.values())


def test_server_query_answers_with_every_service_in_the_systems_order(world):
    message = world["client_response"].json()
    assert message["name"] == "ClientResponse"
    assert message["response"]["type"] == "UpdateHostMetaData"
    check_document(world["client_response"].response_content(), world)
    world["host"].wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdServices succeeded\r\n")


def test_pipe_query_answers_with_every_service_in_the_systems_order(world):
    host = world["host"]
    reply = host.send("get-metadata", "--request-id", "90", data=REQUEST.encode())
    assert reply.raw[:16] == b"QTNZ" + bytes(4) + (90).to_bytes(4, "little") + bytes(4)
    with open(host.path("meta_response.xml"), "rb") as f:
        check_document(f.read(), world)


def test_agents_own_service_is_running_with_its_pid(world):
    host = world["host"]
    host.send("get-metadata", "--request-id", "91", data=REQUEST.encode())
    with open(host.path("meta_response.xml"), "rb") as f:
        found = results(f.read())
    own = by_identifier(found["d"][1])[b"ZentAgent"]
    pid = world["pids"]["ZentAgent"]
    assert pid != 0
    assert own[:8] == [(b"displayName", b"Halvane Zent Service (Agent)"), (b"running", b"true"),
                       (b"processId", str(pid).encode()), (b"state", b"4"), (b"stateFriendly", b"running"),
                       (b"binaryPathName", f'"{INSTALL_DIR}\\ZentAgent.exe" -service'.encode()),
                       (b"startType", b"3"), (b"serviceType", b"16")]
    assert [name for name, _ in own[8:]] == [b"serviceStartName", b"startTypeFriendly"]
    assert own[9] == (b"startTypeFriendly", b"manual")
    assert by_identifier(found["n"][1])[b"ZentAgent"][:2] == [(b"displayName", b"Halvane Zent Service (Agent)"),
                                                              (b"running", b"true")]


def test_services_registered_later_come_after_the_others(world):
    order = system_order()
    # Wine lists the services it loaded at the session's start by name, and
    # those registered since after them in the order they came.
    mine = [name.encode() for name in NAMES]
    assert [name for name in order if name in mine] == mine
