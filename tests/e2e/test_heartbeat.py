"""The heartbeat loop and the server transport, end to end: the agent runs
as a service and talks through the real transport library to the management
server's stand-in. Messages are compared byte for byte with what the agent
must send on this host; waits are driven by short timer settings."""
import os
import platform
import re
import shutil
import socket
import struct
import time

import pytest

from agent_host import BUILT, SERVICE, TRANSPORT_FILE
from winehost import build_file, query_service, read_ini, read_key
from zent_server_stand_in import ZentServer, ack, client_request, filler, json_reply, raw

DOCUMENT = '<Message>\n<Request cmd="GetHostMetaData"/>\n</Message>'


@pytest.fixture
def server():
    server = ZentServer().start()
    yield server
    server.stop()


def serve(agent, server, policy=None, **settings):
    """Installs and starts the agent with the transport pointed at server."""
    values = {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0}
    values.update(settings)
    sections = {"ZENTSETTINGS": values}
    if policy is not None:
        sections["Policy"] = policy
    agent.install(sections)
    agent.use_server(server)
    started = time.monotonic()
    agent.start()
    return started


def heartbeats(server):
    return server.messages("HeartBeat")


# --- the host's own values, found without the agent --------------------------------

def product_version(path):
    """The product version of a PE file, from its VS_FIXEDFILEINFO."""
    with open(path, "rb") as f:
        data = f.read()
    at = data.index(struct.pack("<I", 0xFEEF04BD))
    ms, ls = struct.unpack_from("<II", data, at + 16)
    return f"{ms >> 16}.{ms & 0xFFFF}.{ls >> 16}.{ls & 0xFFFF}"


SUITES = {"Small Business": 0x1, "Enterprise": 0x2, "BackOffice": 0x4, "Terminal Server": 0x10,
          "EmbeddedNT": 0x40, "DataCenter": 0x80, "Personal": 0x200, "Blade": 0x400}
PRODUCT_TYPES = {"WinNT": 1, "LanmanNT": 2, "ServerNT": 3}


def host_type():
    """"Windows;major;minor;build;service pack;architecture;suites;product
    type" as the system's registry describes the Windows that Wine plays."""
    current = read_key(r"HKLM\Software\Microsoft\Windows NT\CurrentVersion")
    major, minor = current["CurrentVersion"][1].split(".")
    build = current["CurrentBuildNumber"][1]
    service_pack = current.get("CSDVersion", ("", ""))[1]
    options = read_key(r"HKLM\System\CurrentControlSet\Control\ProductOptions")
    suites = sum(SUITES.get(name, 0) for name in options.get("ProductSuite", ("", []))[1] or [])
    product = PRODUCT_TYPES[options["ProductType"][1]]
    arch = {"x86_64": "x86_64", "AMD64": "x86_64"}.get(platform.machine(), "unknown")
    return f"Windows;{int(major)};{int(minor)};{int(build)};{service_pack};{arch};{suites};{product}"


def netbios_name():
    return socket.gethostname().split(".")[0].upper()[:15]


def long_form(policy=""):
    version = product_version(build_file(BUILT["ZentAgent.exe"]))
    return ('{"name": "HeartBeat", "hostType": "%s", "mlaInstallerVersion": "%s", "mlaVersion": "(12.0.0.1026)", '
            '"hostname": "%s", "policyInfo": "%s"}' % (host_type(), version, netbios_name(), policy)).encode()


# --- the messages ------------------------------------------------------------------

def test_long_form_is_byte_for_byte_with_this_hosts_values(agent, server):
    serve(agent, server)
    [message] = server.wait_for(1, "HeartBeat")
    assert message.body == long_form()
    assert message.path == "/brevon_zent/command"
    assert message.description == b"Zent+Heartbeat_with_basic_Info+"


def test_long_form_reports_the_deployed_policy_of_the_ini(agent, server):
    serve(agent, server, policy={"DeployedPolicy": "Office policy v7"})
    [message] = server.wait_for(1, "HeartBeat")
    assert message.body == long_form("Office policy v7")
    assert message.description == b"Zent+Heartbeat_with_basic_Info+Office policy v7"


def test_transport_gets_the_agents_arguments(agent, server):
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"talkToZentServer for heartbeat succeeded\r\n")
    assert agent.record("hvSock", "LastCommandPath") == "brevon_zent/command"
    assert agent.record("hvSock", "LastFlags") == 0
    assert agent.record("hvSock", "LastOptions") == "0,3,0"
    assert agent.record("hvSock", "LastReserved") == "null"
    assert agent.record("hvSock", "LastResponseFile") == r"C:\ZentE2e\hvsock_response"


# --- the waits ---------------------------------------------------------------------

def test_first_heartbeat_of_zero_is_sent_at_once(agent, server):
    serve(agent, server, FirstHeartBeat=0)
    server.wait_for(1, "HeartBeat", timeout=10)
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] notify received: heartbeat\r\n")


def test_schedule_disabled_sends_one_heartbeat_after_first_heartbeat_then_none(agent, server):
    started = serve(agent, server, FirstHeartBeat=2000, HeartBeatTimer=1000, DisableScheduleHeartBeat=1)
    [first] = server.wait_for(1, "HeartBeat")
    assert first.received - started >= 1.9
    time.sleep(4)
    assert len(heartbeats(server)) == 1


def test_schedule_enabled_repeats_every_heartbeat_timer(agent, server):
    serve(agent, server, FirstHeartBeat=0, HeartBeatTimer=1500, DisableScheduleHeartBeat=0)
    found = server.wait_for(3, "HeartBeat")
    gaps = [b.received - a.received for a, b in zip(found, found[1:])]
    assert all(gap >= 1.4 for gap in gaps), gaps
    assert all(m.body == long_form() for m in found)


def test_notify_command_sends_a_heartbeat(agent, server):
    serve(agent, server, FirstHeartBeat=600000)
    time.sleep(1)
    assert heartbeats(server) == []
    assert agent.send("notify").exit_code == 0
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] notify received: notfiy event\r\n")


@pytest.mark.long
def test_rapid_heartbeat_leads_to_a_cycle_after_its_wait_then_falls_back(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, rapid=5000), ack(0))
    serve(agent, server, DebugLevel=6, HeartBeatTimer=600000, DisableScheduleHeartBeat=1)
    first, second = server.wait_for(2, "HeartBeat", timeout=20)
    assert second.received - first.received >= 4.9
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] RapidHeartBeat\(5000\)\r\n")
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] notify received: rapidHeartbeat\r\n")
    # The second reply asks for nothing, and the schedule is disabled.
    time.sleep(6)
    assert len(heartbeats(server)) == 2


def test_rapid_heartbeat_then_schedule_falls_back_to_heartbeat_timer(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, rapid=1000))
    serve(agent, server, HeartBeatTimer=3000, DisableScheduleHeartBeat=0)
    first, second, third = server.wait_for(3, "HeartBeat", timeout=20)
    assert 0.9 <= second.received - first.received < 2.9
    assert third.received - second.received >= 2.9
    agent.wait_for_log(r"(?s)notify received: rapidHeartbeat\r\n.*notify received: heartbeat\r\n")


def test_rapid_heartbeat_longer_than_heartbeat_timer_is_clamped(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, rapid=60000))
    serve(agent, server, DebugLevel=6, HeartBeatTimer=2000, DisableScheduleHeartBeat=1)
    first, second = server.wait_for(2, "HeartBeat", timeout=15)
    assert 1.9 <= second.received - first.received < 30
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] incorrect setting of rapidHeartbeat\(60000\)\r\n")
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] RapidHeartBeat\(2000\)\r\n")


def test_negative_rapid_heartbeat_is_clamped_as_a_large_unsigned_value(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, rapid=-1))
    serve(agent, server, HeartBeatTimer=2000, DisableScheduleHeartBeat=1)
    server.wait_for(2, "HeartBeat", timeout=15)
    agent.wait_for_log(r"\[ProcessNotifyFn:\d+\] incorrect setting of rapidHeartbeat\(-1\)\r\n")


def test_plain_acknowledgement_keeps_the_long_form(agent, server):
    server.script_heartbeats(ack(0))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[getClientRequestXml:\d+\] getClientRequestXml invalid response type: 0\r\n")
    agent.wait_for_log(r"\[ProcessNotify:\d+\] processClientRequest not successful\r\n")
    agent.send("notify")
    first, second = server.wait_for(2, "HeartBeat")
    assert second.body == long_form()
    assert second.description == b"Zent+Heartbeat_with_basic_Info+"


def test_stop_during_a_cycle_takes_effect_at_its_end(agent, server):
    server.script_heartbeats(ack(0, delay=3))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.stop()
    log = agent.log()
    done = log.index("talkToZentServer for heartbeat succeeded")
    stopped = log.index("ProcessNotifyFn: Stop Event Signaled")
    assert done < log.index("processClientRequest not successful") < stopped


# --- the transport -------------------------------------------------------------------

def test_missing_library_fails_then_the_next_call_loads_it(agent, server):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0}})
    agent.knob("hvSock", "Server", server.address)
    agent.start()
    agent.wait_for_log(r"\[talkToZentServer:\d+\] cannot load HvSock_64x\.dll\r\n")
    agent.wait_for_log(r"\[ProcessNotify:\d+\] talkToZentServer for heartbeat failed\r\n")
    shutil.copy(build_file(BUILT[TRANSPORT_FILE]), agent.path(TRANSPORT_FILE))
    agent.send("notify")
    [message] = server.wait_for(1, "HeartBeat")
    assert message.body == long_form()


def test_library_by_another_publisher_is_refused(agent, server):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0}})
    agent.knob("hvSock", "Server", server.address)
    shutil.copy(build_file("sim/signing/probe_library_other_signer.dll"), agent.path(TRANSPORT_FILE))
    agent.start()
    agent.wait_for_log(r"\[talkToZentServer:\d+\] cannot load HvSock_64x\.dll\r\n")
    assert agent.record("klfAgent", "LastVerification") == "signed by Untrusted Test Publisher"
    assert heartbeats(server) == []


def test_test_mode_keeps_the_response_file(agent, server):
    server.script_heartbeats(ack(0))
    serve(agent, server, TestMode=1)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"processClientRequest not successful\r\n")
    with open(agent.path("hvsock_response"), "rb") as f:
        assert f.read() == b'{"name": "errorCode", "value": 0}'


def test_production_deletes_the_response_file(agent, server):
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"processClientRequest not successful\r\n")
    assert not os.path.exists(agent.path("hvsock_response"))


def test_library_failure_leaves_the_response_file_as_it_was(agent, server):
    server.script_heartbeats(ack(5))
    serve(agent, server, TestMode=1)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"processClientRequest not successful\r\n")
    agent.knob("hvSock", "FailCount", 1)
    agent.send("notify")
    agent.wait_for_log(r"\[talkToZentServer:\d+\] g_pfnHvSendHttpToBRVNServer2 failed, responseCode\(-1\)\r\n")
    with open(agent.path("hvsock_response"), "rb") as f:
        assert f.read() == b'{"name": "errorCode", "value": 5}'


def test_empty_response_body_is_an_empty_reply(agent, server):
    server.script_heartbeats(raw(b""))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"g_pfnHvSendHttpToBRVNServer2 succeeded, responseCode\(200\)\r\n"
                       r".*talkToZentServer for heartbeat succeeded\r\n"
                       r".*\[getClientRequestXml:\d+\] getClientRequestXml json parsing error: 1\r\n")


# --- the client request ----------------------------------------------------------------

def test_client_request_document_and_policy_label_are_stored(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, info="Office policy v7"))
    serve(agent, server, TestMode=1)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[getClientRequestXml:\d+\] write request policy info successfully\.\r\n")
    # Written in text mode: each line feed becomes CR LF.
    with open(agent.path("notify_request.xml"), "rb") as f:
        assert f.read() == DOCUMENT.replace("\n", "\r\n").encode()
    assert read_ini(agent.ini)["Policy"]["RequestPolicy"] == "Office policy v7"
    log = agent.test_log()
    assert re.search(r"\[checkServerResponseType:\d+\] client request received\r\n", log)
    assert re.search(r"\[getClientRequestXml:\d+\] start write request policy info: Office policy v7\r\n", log)
    # The document was walked (its one query failed on its own): heartbeats
    # turn short.
    agent.send("notify")
    assert server.wait_for(2, "HeartBeat")[1].body == b'{"name": "HeartBeat", "policyInfo": ""}'


def test_production_deletes_the_request_document(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, info="P"))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[ParseQueryMetaXml:\d+\] LoadRequestXMlFile failed, return code: -1\r\n")
    deadline = time.monotonic() + 15
    while os.path.exists(agent.path("notify_request.xml")) and time.monotonic() < deadline:
        time.sleep(0.2)
    assert not os.path.exists(agent.path("notify_request.xml"))


def test_unreadable_command_document_keeps_the_long_form(agent, server):
    server.script_heartbeats(client_request("<Message><Request cmd="))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[ParseMultiCmdXml:\d+\] XML LoadFile failed\r\n(?:.*\r\n)*?"
                       r".*\[processClientRequest:\d+\] ParseMultiCmdXml fails\r\n")
    agent.send("notify")
    assert server.wait_for(2, "HeartBeat")[1].body == long_form()


def test_an_old_request_document_is_removed_first(agent, server):
    server.script_heartbeats(ack(0))
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0}})
    with open(agent.path("notify_request.xml"), "wb") as f:
        f.write(b"<old/>")
    agent.use_server(server)
    agent.start()
    agent.wait_for_log(r"\[processClientRequest:\d+\] previous RequestXmlPath\(C:\\ZentE2e\\notify_request\.xml\) "
                       r"is removed\.\r\n")
    assert not os.path.exists(agent.path("notify_request.xml"))


def test_request_without_info_keeps_the_earlier_request_policy(agent, server):
    server.script_heartbeats(client_request(DOCUMENT))
    serve(agent, server, policy={"RequestPolicy": "Earlier policy"})
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[getClientRequestXml:\d+\] No policy info in the request\.\r\n")
    assert read_ini(agent.ini)["Policy"]["RequestPolicy"] == "Earlier policy"


def test_info_that_is_not_utf8_is_refused_and_the_service_goes_on(agent, server):
    body = b'{"name": "ClientRequest", "clientUID": "u1", "request": "<Message/>", "info": "caf\xe9"}'
    server.script_heartbeats(raw(body))
    serve(agent, server, policy={"RequestPolicy": "Earlier policy"})
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[getClientRequestXml:\d+\] policy info of the request is not valid UTF-8, request "
                       r"refused\r\n.*\[processClientRequest:\d+\] xml command is invalid\r\n"
                       r".*\[ProcessNotify:\d+\] processClientRequest not successful\r\n")
    assert read_ini(agent.ini)["Policy"]["RequestPolicy"] == "Earlier policy"
    assert query_service(SERVICE).state == "RUNNING"
    agent.send("notify")
    server.wait_for(2, "HeartBeat")


def test_empty_request_fails_but_its_rapid_heartbeat_counts(agent, server):
    server.script_heartbeats(client_request("", rapid=1500))
    serve(agent, server, HeartBeatTimer=600000, DisableScheduleHeartBeat=1)
    server.wait_for(2, "HeartBeat", timeout=15)
    agent.wait_for_log(r"\[getClientRequestXml:\d+\] xml content is null\r\n")
    agent.wait_for_log(r"notify received: rapidHeartbeat\r\n")


def test_zero_byte_cuts_the_document(agent, server):
    server.script_heartbeats(client_request("<Message/>\u0000<tail/>"))
    serve(agent, server, TestMode=1)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"No policy info in the request\.\r\n")
    with open(agent.path("notify_request.xml"), "rb") as f:
        assert f.read() == b"<Message/>"


def test_reply_with_a_byte_order_mark_is_accepted(agent, server):
    server.script_heartbeats(raw(b'\xef\xbb\xbf{"name": "ClientRequest", "clientUID": "u", "request": "<Message/>"}'))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[checkServerResponseType:\d+\] client request received\r\n")


def test_client_uid_as_a_number_is_no_client_request(agent, server):
    server.script_heartbeats(json_reply({"name": "ClientRequest", "clientUID": 7, "request": "<Message/>"}))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"\[getClientRequestXml:\d+\] getClientRequestXml invalid response type: 2\r\n")


# --- robustness -------------------------------------------------------------------------

@pytest.mark.parametrize("reply,logged", [
    (raw(b"\x00\xff garbage \x13\x37"), r"getClientRequestXml json parsing error: \d+"),
    (raw(b'{"name": "ClientRequest", "clientUID": '), r"getClientRequestXml json parsing error: \d+"),
    (filler(50 * 1024 * 1024), r"getClientRequestXml json parsing error: \d+"),
    (raw(b""), r"getClientRequestXml json parsing error: 1"),
    (raw(b"error", status=500), r"g_pfnHvSendHttpToBRVNServer2 failed, responseCode\(500\)"),
], ids=["garbage", "malformed-json", "50MB", "empty", "http-500"])
def test_bad_reply_is_logged_and_the_next_heartbeat_works(agent, server, reply, logged):
    server.script_heartbeats(reply)
    serve(agent, server)
    server.wait_for(1, "HeartBeat", timeout=30)
    agent.wait_for_log(logged + r"\r\n", timeout=60)
    agent.wait_for_log(r"ProcessNotify:\d+\] (processClientRequest not successful|talkToZentServer for heartbeat "
                       r"failed)\r\n", timeout=60)
    assert query_service(SERVICE).state == "RUNNING"
    agent.send("notify")
    assert server.wait_for(2, "HeartBeat")[1].body == long_form()


@pytest.mark.long
def test_reply_after_a_long_delay_is_processed(agent, server):
    server.script_heartbeats(client_request(DOCUMENT, info="Late policy", delay=8))
    serve(agent, server)
    server.wait_for(1, "HeartBeat")
    agent.wait_for_log(r"write request policy info successfully\.\r\n", timeout=30)
    assert read_ini(agent.ini)["Policy"]["RequestPolicy"] == "Late policy"


def test_reply_later_than_the_transport_waits_is_a_failure_and_the_next_heartbeat_works(agent, server):
    server.script_heartbeats(ack(0, delay=6))
    agent_settings = {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0}
    agent.install({"ZENTSETTINGS": agent_settings})
    agent.use_server(server)
    agent.knob("hvSock", "ReceiveTimeoutMs", 2000)
    agent.start()
    agent.wait_for_log(r"g_pfnHvSendHttpToBRVNServer2 failed, responseCode\(-1\)\r\n.*"
                       r"talkToZentServer for heartbeat failed\r\n", timeout=20)
    assert agent.record("hvSock", "LastFailure") == "no answer in time"
    agent.send("notify")
    server.wait_for(2, "HeartBeat")
    agent.wait_for_log(r"(?s)heartbeat failed\r\n.*talkToZentServer for heartbeat succeeded\r\n")


def test_transport_failing_ten_times_in_a_row_then_working(agent, server):
    agent.install({"ZENTSETTINGS": {"DebugLevel": 4, "FlushDebugLogTimer": 200, "FirstHeartBeat": 0,
                                    "HeartBeatTimer": 300, "DisableScheduleHeartBeat": 0}})
    agent.use_server(server)
    agent.knob("hvSock", "FailCount", 10)
    agent.start()
    server.wait_for(1, "HeartBeat", timeout=30)
    agent.wait_for_log(r"talkToZentServer for heartbeat succeeded\r\n")
    log = agent.test_log()
    before = log[:log.index("talkToZentServer for heartbeat succeeded")]
    assert len(re.findall(r"\[ProcessNotify:\d+\] talkToZentServer for heartbeat failed\r\n", before)) == 10
    assert len(re.findall(r"g_pfnHvSendHttpToBRVNServer2 failed, responseCode\(-1\)\r\n", before)) == 10
    assert agent.record("hvSock", "Failures") == 10
    assert query_service(SERVICE).state == "RUNNING"
