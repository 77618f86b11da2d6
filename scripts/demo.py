"""The agent's main job on the simulated suite, driver and server: installed
as a service in the project's Wine prefix, started, talked to over its pipe,
given a manager policy that reaches the driver, and stopped, with what it
wrote to its debug log at each step."""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from agent_host import INSTALL_DIR, SERVICE, AgentHost  # noqa: E402
from winehost import end_session  # noqa: E402


def show_log_since(agent, offset):
    text = agent.log()[offset:]
    for line in text.split("\r\n"):
        if line and "FetchData failed" not in line:
            print("   ", line)
    return offset + len(text)


def show_status(status):
    print(f"    state {status.state}, accepted controls {status.controls_accepted}, "
          f"Win32 exit code {status.win32_exit_code}")


POLICY = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e", "data", "small_policy.xml")
# config.rbf: a 48-byte header (magic, version, rule count, length, digest),
# then one rule a line.
RULE_FILE_HEADER = 48


def deploy_policy(agent, offset):
    print("== zentctl send set-raw-config --data small_policy.xml (a manager policy, command 104)")
    reply = agent.zentctl("send", "set-raw-config", "--data", POLICY, "--timeout", "60000")
    for line in reply.stdout.splitlines():
        print("   ", line)
    print(f"    zentctl exit status {reply.exit_code}; the agent's folder now holds:")
    for name in ("zent_agent.encxml", "config.xml", "config.rbf"):
        path = agent.path(name)
        size = os.path.getsize(path) if os.path.exists(path) else None
        print(f"      {name:18} {'absent' if size is None else f'{size} bytes'}")
    agent.wait_for_log(r"Process Command\(104\)\r\n(.*\r\n)*.*36 bytes were sent\r\n", timeout=30)
    print("    the debug log says:")
    offset = show_log_since(agent, offset)
    held = agent.record("mli", "LoadedRuleFile")
    if held is None:
        print("    the driver holds no rules")
    else:
        print(f"    the driver holds {agent.record('mli', 'LoadedRuleCount')} rules:")
        for rule in held[RULE_FILE_HEADER:].decode("utf-8").splitlines():
            print("      " + rule)
    return offset


def main():
    agent = AgentHost()
    print(f"== Installing ZentAgent.exe in {INSTALL_DIR} with the suite framework, driver and driver service "
          "stand-ins; TestMode on, DebugLevel 4")
    agent.install({"ZENTSETTINGS": {"TestMode": 1, "DebugLevel": 4}})
    try:
        print(f"== sc start {SERVICE}")
        show_status(agent.start())
        agent.wait_for_log(r"ProcessTelemetryFn: enters\r\n")
        offset = show_log_since(agent, 0)

        for command, number in (("notify", 1), ("ping", 101)):
            print(f"== zentctl send {command} --request-id 7")
            reply = agent.zentctl("send", command, "--request-id", "7")
            for line in reply.stdout.splitlines():
                print("   ", line)
            print(f"    zentctl exit status {reply.exit_code}; the debug log says:")
            agent.wait_for_log(rf"Process Command\({number}\)\r\n.*\r\n.*36 bytes were sent\r\n", timeout=10)
            offset = show_log_since(agent, offset)

        offset = deploy_policy(agent, offset)

        print(f"== sc stop {SERVICE}")
        show_status(agent.stop())
        show_log_since(agent, offset)
    finally:
        agent.remove()
        end_session()


if __name__ == "__main__":
    main()
