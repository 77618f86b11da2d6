"""The agent's main job on the simulated suite, driver and server: installed
by the suite's patch agent with "ZentAgent.exe -install" (the filter driver
through the network configuration, the service registered) in the project's
Wine prefix, started, heartbeating to the
management server's stand-in, given a policy and a host metadata query by
that server, talked to over its pipe, given a manager policy through the pipe
that reaches the driver too, and removed with "-delete", with the messages on
the wire and what the agent wrote to its debug log at each step."""
import datetime
import json
import os
import re
import sys
import time

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tests", "e2e"))

from agent_host import DRIVER_SERVICE, INSTALL_DIR, LINE, MISC_DIR, SERVICE, SINGLE_RECORD_DIR  # noqa: E402
from deployment import DeploymentHost  # noqa: E402
from driver_records import (ICMP, RECORD_NOT_LOGGED, SYN, TCP, UDP, KIND_GENERATOR, entry, ethernet, icmp,  # noqa: E402
                            ipv4, ipv6, record, tcp, udp)
from event_pipeline import log_parameters_policy  # noqa: E402
from winehost import unix_path  # noqa: E402
from winehost import delete_key, end_session, query_service, read_ini, read_key, set_value, write_ini  # noqa: E402
from zent_server_stand_in import ZentServer, client_request  # noqa: E402

import demo_direct  # noqa: E402
import demo_host_queries as host_queries  # noqa: E402

POLICY = os.path.join(here, "..", "tests", "e2e", "data", "small_policy.xml")
# config.rbf: a 48-byte header (magic, version, rule count, length, digest),
# then one rule a line.
RULE_FILE_HEADER = 48
# Where the agent records when its policy files changed, for the suite.
AGENT_KEY = r"HKLM\SOFTWARE\Halvane\ZentAgent"
# Quick heartbeats: the first one a second after the start, then one every
# three seconds.
SETTINGS = {"TestMode": 1, "DebugLevel": 4, "FlushDebugLogTimer": 200,
            "FirstHeartBeat": 1000, "HeartBeatTimer": 3000, "DisableScheduleHeartBeat": 0}
SERVER_POLICY_LABEL = "Demo policy 1 (from the server)"


# --- printing ----------------------------------------------------------------------

def heading(text):
    print()
    print("== " + text)


def show_text(text, indent=6):
    for line in text.replace("\r\n", "\n").rstrip("\n").split("\n"):
        print(" " * indent + line)


def show_json(body, indent=6):
    """A JSON body indented, or as it stands when it is no JSON."""
    try:
        show_text(json.dumps(json.loads(body), indent=4, ensure_ascii=False), indent)
    except ValueError:
        show_text(body.decode("latin-1"), indent)


def show_message(message, what):
    print(f"    {what}: POST {message.path}, description \"{message.description.decode('latin-1')}\"")
    print("    body, as it came:")
    show_text(message.body.decode("latin-1"))
    if message.name != "ClientResponse":
        print("    the same, indented:")
        show_json(message.body)
    print("    the server answered:")
    show_text(message.answer.decode("latin-1"))


class Log:
    """The part of the debug log not shown yet. Lines of the heartbeat thread
    can be left out where they would only interleave with another story."""

    def __init__(self, agent):
        self.agent = agent
        self.offset = 0
        self.heartbeat_thread = None

    def wait_for(self, pattern, timeout=30):
        self.agent.log_start = self.offset
        return self.agent.wait_for_log(pattern, timeout=timeout)

    def show(self, heartbeat_thread=True):
        text = self.agent.log()[self.offset:]
        self.offset += len(text)
        left_out = 0
        for line in text.split("\r\n"):
            if not line or "FetchData failed" in line:
                continue
            match = LINE.match(line)
            if match and match.group(3) == "ProcessNotifyFn" and self.heartbeat_thread is None:
                self.heartbeat_thread = match.group(2)
            if not heartbeat_thread and match and match.group(2) == self.heartbeat_thread:
                left_out += 1
                continue
            print("   ", line)
        if left_out:
            print(f"    ({left_out} lines of the heartbeat thread left out: the heartbeats every "
                  f"{SETTINGS['HeartBeatTimer']} ms go on meanwhile)")


# --- the server's documents ----------------------------------------------------------

def deployment_document():
    """The manager policy inside a "SendSecurityConfiguration" command. The
    command element is the policy's own Request: the processor hands the
    translator <Message><Request cmd=...>...</Request></Message>, and the
    translator reads the policy from Message/Request/SecurityConfiguration."""
    with open(POLICY, encoding="utf-8") as f:
        policy = f.read()
    start = policy.index("<SecurityConfiguration>")
    end = policy.index("</SecurityConfiguration>") + len("</SecurityConfiguration>")
    return ('<Message>\n  <Request cmd="SendSecurityConfiguration">\n    '
            + policy[start:end] + "\n  </Request>\n</Message>\n")




def show_reply(reply):
    value = json.loads(reply.body)
    print("    the reply, indented (its request is XML in a JSON string):")
    show_json(reply.body)
    print("    its request, as XML:")
    show_text(value["request"])


# --- what the server saw ---------------------------------------------------------------

def heartbeat_answered_with(server, reply, timeout=60):
    """The heartbeat whose answer was this reply, once it has come."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        for index, message in enumerate(server.messages()):
            if message.answer == reply.body:
                return index, message
        time.sleep(0.2)
    raise AssertionError(f"no heartbeat took the reply after {timeout} s")


def message_after(server, index, name, timeout=30):
    """The first message of that name after the index-th message."""
    deadline = time.monotonic() + timeout
    while time.monotonic() < deadline:
        for message in server.messages()[index + 1:]:
            if message.name == name:
                return message
        time.sleep(0.2)
    raise AssertionError(f"no {name} after message {index} in {timeout} s")


def show_files(agent, names):
    for name in names:
        path = agent.path(name)
        size = os.path.getsize(path) if os.path.exists(path) else None
        print(f"      {name:26} {'absent' if size is None else f'{size} bytes'}")


def show_driver_rules(agent):
    held = agent.record("mli", "LoadedRuleFile")
    if held is None:
        print("    the driver holds no rules")
        return
    print(f"    the driver holds {agent.record('mli', 'LoadedRuleCount')} rules:")
    for rule in held[RULE_FILE_HEADER:].decode("utf-8").splitlines():
        print("      " + rule)


def show_policy_state(agent):
    policy = read_ini(agent.ini).get("Policy", {})
    print("    zent_agent.ini, section Policy:")
    for key in ("RequestPolicy", "DeployedPolicy"):
        print(f"      {key} = {policy.get(key, '(absent)')}")
    times = read_key(AGENT_KEY) or {}
    print(f"    {AGENT_KEY}:")
    for name in ("RawConfigTime", "ConfigXmlTime", "ConfigBinTime"):
        if name in times:
            seconds = times[name][1]
            stamp = datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime("%H:%M:%S UTC")
            print(f"      {name:14} {seconds} ({stamp})")
        else:
            print(f"      {name:14} absent")


# --- the steps -----------------------------------------------------------------------

def first_heartbeat(server, log):
    heading(f"The first heartbeat, {SETTINGS['FirstHeartBeat']} ms after the start (long form)")
    [message] = server.wait_for(1, "HeartBeat", timeout=30)
    show_message(message, "the server received")
    print("    (with nothing scripted the server only acknowledges; the agent treats that as no work)")
    log.wait_for(r"getClientRequestXml invalid response type: 0\r\n")
    print("    the debug log says:")
    log.show()


def server_deployment(agent, server, log):
    heading("The server deploys a policy: a ClientRequest with a SendSecurityConfiguration command")
    reply = client_request(deployment_document(), client_uid="zent-demo", info=SERVER_POLICY_LABEL)
    server.script_heartbeats(reply)
    print(f"    scripted as the answer to the next heartbeat (every {SETTINGS['HeartBeatTimer']} ms);")
    show_reply(reply)
    index, carrier = heartbeat_answered_with(server, reply)
    print("    it went out as the answer to this heartbeat:")
    show_text(carrier.body.decode("latin-1"))
    # A deployment signals the notify event: the next heartbeat comes at once.
    following = message_after(server, index, "HeartBeat", timeout=60)
    log.wait_for(r"process xml command\(0\): SendSecurityConfiguration\r\n(.*\r\n)*?"
                 r".*talkToZentServer for heartbeat succeeded\r\n", timeout=60)
    print("    the debug log says:")
    log.show()
    print("    the agent's folder now holds (TestMode keeps the per-command files; notify_request.xml")
    print("    went when the next heartbeat's reply came, as every cycle clears it):")
    show_files(agent, ("notify_request.xml", "notify_request0.xml", "notify_requesttemp0.xml",
                       "zent_agent.encxml", "config.xml", "config.rbf"))
    show_driver_rules(agent)
    show_policy_state(agent)
    heading("The next heartbeat: short form now, policyInfo is the label of the deployed policy")
    show_message(following, "the server received")


def register_program():
    """What the agent's installer leaves in the host's list of programs."""
    heading("The agent registered in the host's list of installed programs, as its installer does")
    values = {"DisplayName": "Halvane Zent Agent", "DisplayVersion": "1.4.2", "Publisher": "Halvane",
              "InstallLocation": INSTALL_DIR, "InstallDate": "20261122", "EstimatedSize": 2048,
              "UninstallString": INSTALL_DIR + r"\ZentAgent.exe -delete"}
    for name, value in values.items():
        set_value(host_queries.UNINSTALL_KEY, name, value)
    print(f"    {host_queries.UNINSTALL_KEY}: " + ", ".join(f"{k} {v}" for k, v in values.items()))


def server_query(agent, server, log):
    register_program()
    heading("The server asks about the host: a ClientRequest with a GetHostMetaData command")
    reply = client_request(host_queries.queries("demo-request-42", INSTALL_DIR), client_uid="zent-demo")
    server.script_heartbeats(reply)
    print("    scripted as the answer to the next heartbeat;")
    show_reply(reply)
    index, _ = heartbeat_answered_with(server, reply)
    response = message_after(server, index, "ClientResponse", timeout=60)
    log.wait_for(r"ack response errorCode=")
    heading("The agent's ClientResponse, posted in the same cycle")
    print(f"    POST {response.path}, {len(response.body)} bytes, name \"ClientResponse\", "
          f"type \"{response.json()['response']['type']}\"")
    print("    the server answered:")
    show_text(response.answer.decode("latin-1"))
    content = host_queries.client_response_content(response)
    print("    its content, the result document, result by result (in the order of the ids):")
    host_queries.show_results(content)
    print("    the debug log says:")
    log.show()

    heading("Something changes on the host: a value added under the agent's registry key")
    set_value(AGENT_KEY, "DemoNote", "asked twice")
    print(f"    reg add {AGENT_KEY} /v DemoNote /d \"asked twice\"")

    heading("The same questions through the pipe: zentctl send get-metadata (command 106, TestMode)")
    reply, document = host_queries.pipe_query(agent, "demo-request-43", INSTALL_DIR)
    print(f"    zentctl exit status {reply.exit_code}; the agent's answer is in meta_response.xml, "
          f"{len(document)} bytes")
    print("    what the server would learn from the digests, against the first answer:")
    host_queries.compare(content, document)
    print("    (besides the registry value, the processes now include the zentctl of this question, and the")
    print("    agent's folder holds the request file command 106 wrote)")
    log.wait_for(r"Process Command\(106\)\r\n(.*\r\n)*?.*36 bytes were sent\r\n", timeout=10)
    log.show(heartbeat_thread=False)


def pipe_commands(agent, log):
    for command, number in (("notify", 1), ("ping", 101)):
        heading(f"zentctl send {command} --request-id 7")
        reply = agent.zentctl("send", command, "--request-id", "7")
        show_text(reply.stdout, 4)
        print(f"    zentctl exit status {reply.exit_code}; the debug log says:")
        log.wait_for(rf"Process Command\({number}\)\r\n(.*\r\n)*?.*36 bytes were sent\r\n", timeout=10)
        if command == "notify":
            log.wait_for(r"notify received: notfiy event\r\n(.*\r\n)*?.*talkToZentServer for heartbeat succeeded\r\n")
        log.show(heartbeat_thread=command == "notify")
    print("    (the notify command made the agent send a heartbeat at once)")


def pipe_deployment(agent, log):
    heading("zentctl send set-raw-config --data small_policy.xml (a manager policy, command 104)")
    reply = agent.zentctl("send", "set-raw-config", "--data", POLICY, "--timeout", "60000")
    show_text(reply.stdout, 4)
    print(f"    zentctl exit status {reply.exit_code}; the agent's folder now holds:")
    show_files(agent, ("zent_agent.encxml", "config.xml", "config.rbf"))
    log.wait_for(r"Process Command\(104\)\r\n(.*\r\n)*?.*36 bytes were sent\r\n", timeout=30)
    print("    the debug log says:")
    log.show(heartbeat_thread=False)
    show_driver_rules(agent)
    show_policy_state(agent)
    print("    (command 104 leaves the policy labels and the registry times as they were: only a deployment")
    print("    by a multi-command document publishes a label)")


# --- the live settings file ----------------------------------------------------------

def save_setting(agent, key, value):
    """Saves zent_agent.ini with one key of ZENTSETTINGS changed, the way an
    editor does: the whole file written anew beside it and renamed into
    place. The agent's own Policy section stays as it is."""
    sections = read_ini(agent.ini)
    sections["ZENTSETTINGS"][key] = value
    staged = agent.path("zent_agent.ini.new")
    write_ini(staged, sections)
    os.replace(staged, agent.ini)


def ping(agent, log):
    reply = agent.zentctl("send", "ping", "--request-id", "8")
    show_text(reply.stdout, 4)
    print(f"    zentctl exit status {reply.exit_code}; the debug log says:")
    log.wait_for(r"Process Command\(101\)\r\n(.*\r\n)*?.*36 bytes were sent\r\n", timeout=10)
    log.show(heartbeat_thread=False)


def live_test_mode(agent, log):
    """TestMode switched off and on again in zent_agent.ini while the agent
    runs: the configuration watcher reloads the settings on the save, and the
    next command meets the other command set. No restart."""
    for value, what in ((0, "production commands only: 101 is unknown now"),
                        (1, "the test commands are back: 101 is answered")):
        heading(f"zent_agent.ini saved with TestMode={value} while the agent runs ({what})")
        save_setting(agent, "TestMode", value)
        log.wait_for(r"Reload Config Settings\.\r\n", timeout=15)
        print("    the debug log says:")
        log.show(heartbeat_thread=False)
        print("    zentctl send ping --request-id 8")
        ping(agent, log)


# --- the driver's events ---------------------------------------------------------------

# The event log's parameters for the demo: the main log rotates at 1 KB, three
# files are kept, at most 16 records wait in the cache, the timer runs every
# two seconds.
EVENT_LOG_PARAMETERS = {"size": 1, "keep": 3, "cacheSize": 16, "logFlushInterval": 2000}
HOST_MAC, GATEWAY_MAC = "00:0c:29:3a:4b:5c", "00:50:56:c0:00:08"


def demo_records():
    """Five events as the driver would report them: a TCP SYN to port 80, an
    IPv6 UDP datagram, an ARP frame, an ICMP echo and a record flagged not to
    be logged."""
    now = int(time.time())
    stamp = {"timeSeconds": now, "timeMicroseconds": 250000, "secondSeconds": now, "secondMicroseconds": 750000}
    return [
        ("a TCP SYN with DF to port 80", record(
            ethernet(HOST_MAC, GATEWAY_MAC, 0x0800), ipv4(TCP, "192.168.56.10", "93.184.216.34", 60, df=True),
            tcp(49733, 80, SYN), eventCode=3, logId=501, column14Value=2, trailerValue=7, **stamp)),
        ("an IPv6 UDP datagram to port 53", record(
            ethernet(HOST_MAC, GATEWAY_MAC, 0x86DD), ipv6(UDP, "fe80::20c:29ff:fe3a:4b5c", "2001:db8::53"),
            udp(51000, 53), eventCode=4, logId=502, **stamp)),
        ("an ARP frame", record(ethernet(GATEWAY_MAC, "ff:ff:ff:ff:ff:ff", 0x0806), eventCode=5, logId=503, **stamp)),
        ("an ICMP echo request", record(
            ipv4(ICMP, "192.168.56.10", "192.168.56.1", 84), icmp(8, 0), eventCode=6, logId=504, **stamp)),
        ("a record flagged not to be logged", record(
            ipv4(UDP, "192.168.56.10", "192.168.56.255"), udp(137, 137), eventCode=7, logId=505,
            recordFlags=RECORD_NOT_LOGGED, **stamp)),
    ]


def show_event_files(agent):
    folder = unix_path(SINGLE_RECORD_DIR)
    names = sorted(os.listdir(folder), key=lambda n: os.path.getmtime(os.path.join(folder, n))) \
        if os.path.isdir(folder) else []
    print(f"    {SINGLE_RECORD_DIR}: {len(names)} files, one record each")
    for name in names[-6:]:
        with open(os.path.join(folder, name), "rb") as f:
            print(f"      {name}: {f.read().decode('latin-1').rstrip()}")
    for name in agent.main_log_names():
        text = agent.main_log(0 if name == "zent_mpnp" else int(name.rsplit(".", 1)[1])).decode("latin-1")
        lines = text.splitlines()
        print(f"    {name}: {len(text)} bytes, {len(lines)} lines; the last:")
        print("      " + lines[-1] if lines else "      (empty)")


def event_pipeline(agent, log):
    heading("The driver's events: policy log parameters " +
            ", ".join(f"{k}={v}" for k, v in EVENT_LOG_PARAMETERS.items()) + " (PacketFilterLog, command 104)")
    reply = agent.zentctl("send", "set-raw-config", "--timeout", "60000",
                          data=log_parameters_policy(**EVENT_LOG_PARAMETERS).decode("latin-1"))
    print(f"    zentctl exit status {reply.exit_code}")
    log.wait_for(r"SetCacheParameters: .*\r\n")
    log.show(heartbeat_thread=False)

    records = demo_records()
    heading("The driver reports five events (its stand-in plays them from a script)")
    for what, _ in records:
        print("      " + what)
    agent.play([entry(block) for _, block in records])
    log.wait_for(r"Ignoring log id=505\r\n")
    print("    the debug log says:")
    log.show(heartbeat_thread=False)
    show_event_files(agent)
    print("    (the flagged record was formatted and dropped: no file, no line)")

    heading("A burst of 12 generated SYNs: the main log passes 1 KB and rotates")
    burst = record(ethernet(HOST_MAC, GATEWAY_MAC, 0x0800), ipv4(TCP, "192.168.56.10", "10.0.0.9", 60, df=True),
                   tcp(50000, 443, SYN), eventCode=3, logId=600,
                   timeSeconds=int(time.time()), secondSeconds=int(time.time()))
    agent.play([entry(burst, kind=KIND_GENERATOR, count=12)])
    log.wait_for(r"RotateFiles\(\) - renaming .*\r\n")
    log.show(heartbeat_thread=False)
    show_event_files(agent)

    heading("The suite's Misc folder goes away: a record waits in the cache for the timer")
    misc, aside = unix_path(MISC_DIR), unix_path(MISC_DIR) + ".aside"
    os.rename(misc, aside)
    flushes = agent.record("mli", "FlushCalls", 0)
    agent.play([entry(record(ipv4(TCP, "192.168.56.10", "10.0.0.10", 40), tcp(50001, 22, SYN), eventCode=3,
                             logId=700, timeSeconds=int(time.time()), secondSeconds=int(time.time())))])
    log.wait_for(r"WriteLogData returned false\r\n")
    log.show(heartbeat_thread=False)
    os.rename(aside, misc)
    print("    Misc is back; the flush timer (every 2,000 ms) tells the driver to flush and writes the cache:")
    log.wait_for(r"WriteRawData to fw.dpi log: .*, 700, .*\r\n", timeout=15)
    log.show(heartbeat_thread=False)
    print(f"    the driver's stand-in counted mli_flush_logs calls: {flushes} before, "
          f"{agent.record('mli', 'FlushCalls', 0)} now")
    show_event_files(agent)


def summary(server):
    heading("What the management server received")
    for message in server.messages():
        if message.name == "HeartBeat":
            form = "long " if b'"hostType"' in message.body else "short"
            policy = re.search(rb'"policyInfo": "(.*)"}$', message.body)
            label = policy.group(1).decode("latin-1") if policy else "?"
            what = f"HeartBeat, {form} form, policyInfo \"{label}\""
        else:
            what = message.name or "(no name)"
        print(f"      {what:70} answered {message.answer[:60].decode('latin-1')}")


def show_install_log(agent, start):
    """What the deployment command wrote to zent_install.log."""
    for line in agent.install_log()[start:].split("\r\n"):
        if LINE.match(line):
            print("   ", line)


def show_services():
    for name in (SERVICE, DRIVER_SERVICE):
        status = query_service(name)
        print(f"    service {name}: " + ("not registered" if status is None else status.state))


def install(agent):
    """The suite's installer lays out the agent's folder with its driver
    package; its patch agent runs "-install": no driver runs yet, so the
    package's is installed as a network component, and the service is
    registered."""
    heading(f"The agent's folder {INSTALL_DIR}: ZentAgent.exe, the suite framework, driver access library, rule "
            "compiler and transport stand-ins, and the driver package infsys\\Win7Release")
    print("    settings: " + ", ".join(f"{k} {v}" for k, v in SETTINGS.items()))
    delete_key(AGENT_KEY, missing_ok=True)
    agent.lay_out({"ZENTSETTINGS": {**SETTINGS, "DebugLevel": 3}})
    agent.copy_built("mlfilter.exe")
    agent.knob("mli", "OpenFails", 1)
    agent.knob("netcfg", "DriverServiceProgram", INSTALL_DIR + r"\mlfilter.exe")
    heading("patchagent.exe runs ZentAgent.exe -install")
    done = agent.deploy("-install")
    print(f"    exit code {done.exit_code}")
    show_install_log(agent, 0)
    print(f"    the network configuration's journal: {len(agent.record('netcfg', 'Journal').splitlines())} calls, "
          f"component installed: {agent.record('netcfg', 'Installed')}")
    show_services()
    # From here on the driver runs, and the agent's service is started as
    # the suite would start it.
    agent.knob("mli", "OpenFails", 0)
    agent.write_settings({"ZENTSETTINGS": SETTINGS})


def delete(agent):
    """The patch agent removes the agent and its driver with "-delete"."""
    heading("patchagent.exe runs ZentAgent.exe -delete")
    start = len(agent.install_log())
    done = agent.deploy("-delete")
    print(f"    exit code {done.exit_code}")
    show_install_log(agent, start)
    show_services()


def main():
    server = ZentServer().start()
    agent = DeploymentHost()
    log = Log(agent)
    try:
        heading(f"Management server stand-in listening on {server.address}")
        install(agent)
        agent.use_server(server)
        print(f"    the transport HvSock_64x.dll posts to http://{server.address}/brevon_zent/command")
        heading(f"sc start {SERVICE}")
        status = agent.start()
        print(f"    state {status.state}, accepted controls {status.controls_accepted}, "
              f"Win32 exit code {status.win32_exit_code}")
        log.wait_for(r"ProcessTelemetryFn: enters\r\n")
        log.show()

        first_heartbeat(server, log)
        server_deployment(agent, server, log)
        server_query(agent, server, log)
        pipe_commands(agent, log)
        pipe_deployment(agent, log)
        live_test_mode(agent, log)
        demo_direct.direct_exchange(agent)
        log.wait_for(r"Process Command\(102\)\r\n(.*\r\n)*?.*36 bytes were sent\r\n", timeout=10)
        print("    the debug log says:")
        log.show(heartbeat_thread=False)
        event_pipeline(agent, log)

        delete(agent)
        log.show()
        summary(server)
    finally:
        agent.remove()
        delete_key(host_queries.UNINSTALL_KEY, missing_ok=True)
        end_session()
        server.stop()


if __name__ == "__main__":
    main()
