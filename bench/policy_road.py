"""The whole road of a 10,000-filter manager policy through the running
agent under Wine: pipe send, translation, encryption, the rule compiler and
the load into the driver. Prints each stage's time and share; asserts
nothing.

Stages, each the median of RUNS deployments with command 104:
- pipe send: zentctl's round trip of ping (101) carrying the same bytes,
  which the agent reads whole and answers at once;
- translation and encryption: from "command size=..." (the handler has the
  message) to "PrepAndLaunchRedirectedChild" (config.xml written), with
  ConfigEncrypt on; translation alone is the same span with it off, and
  encryption is the difference;
- compiler: "PrepAndLaunchRedirectedChild" to "WaitForSingleObject result"
  (mlc.exe ran, decrypting what the agent encrypted);
- load: from there to "config has been loaded" (the pipe drained, the file
  read and handed to the driver's stand-in).
The debug log's stamps have millisecond resolution."""
import datetime
import os
import re
import statistics
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from agent_host import AgentHost  # noqa: E402
from winehost import build_file, end_session, keep_session, run, windows_path  # noqa: E402

FILTERS = int(os.environ.get("ZENT_ROAD_FILTERS", "10000"))
RUNS = 3
STAMP = r"(\d{4}:\d{2}:\d{2}-\d{2}:\d{2}:\d{2}:\d{3}) \[[ 0-9A-F]+\]\[ZTENG\]\[\w+:\d+\] "
MARKS = ("command size=36, data size=", "PrepAndLaunchRedirectedChild: ", "WaitForSingleObject result=",
         "config has been loaded: ")


def reply_limit_ms():
    """How long zentctl waits for one reply: it grows with the policy, a
    minute and a tenth of a second per filter (a 10,000-filter send took 55 s
    on a slow two-core machine, so this leaves it nearly twenty times
    that)."""
    return 60000 + 100 * FILTERS


def stamp(text):
    return datetime.datetime.strptime(text, "%Y:%m:%d-%H:%M:%S:%f")


def deploy(agent, policy_path):
    """Sends the policy once; the times of the marks in the log, in ms from
    the first."""
    start = len(agent.log())
    done = run([build_file("tools/zentctl.exe"), "send", "set-raw-config", "--data", windows_path(policy_path),
                "--timeout", str(reply_limit_ms())], timeout=None)
    if done.exit_code != 0 or "Result:     0" not in done.stdout:
        time.sleep(2)
        lines = [line for line in agent.log()[start:].split("\r\n") if "] FetchData" not in line]
        raise SystemExit(f"deployment failed ({done.exit_code}): {done.stdout}\n" + "\n".join(lines[-40:]))
    agent.log_start = start
    agent.wait_for_log(r"config has been loaded: ")
    text = agent.log()[start:]
    times = [stamp(re.search(STAMP + re.escape(mark), text).group(1)) for mark in MARKS]
    return [(t - times[0]).total_seconds() * 1000 for t in times]


def pipe_send(policy_path):
    done = run([build_file("tools/zentctl.exe"), "send", "ping", "--data", windows_path(policy_path), "--count",
                str(RUNS), "--timeout", str(reply_limit_ms())], timeout=None)
    return float(re.search(r"Median:\s+([\d.]+) us", done.stdout).group(1)) / 1000


def road(encrypt, policy_path):
    agent = AgentHost()
    agent.install({"ZENTSETTINGS": {"TestMode": 1, "DebugLevel": 4, "ConfigEncrypt": int(encrypt)}})
    try:
        agent.start()
        send = pipe_send(policy_path)
        marks = [deploy(agent, policy_path) for _ in range(RUNS)]
        size = os.path.getsize(agent.path("config.xml"))
        rules = agent.record("mli", "LoadedRuleCount")
    finally:
        agent.remove()
    return send, [statistics.median(m[i] for m in marks) for i in range(len(MARKS))], size, rules


def main():
    keep_session()
    folder = tempfile.mkdtemp(prefix="zent_road_")
    policy_path = os.path.join(folder, "policy.xml")
    done = run([build_file("bench/write_generated_policy.exe"), windows_path(policy_path), str(FILTERS)],
               timeout=None)
    if done.exit_code != 0:
        raise SystemExit(f"write_generated_policy failed: {done.stdout}{done.stderr}")
    try:
        send, encrypted, size, rules = road(True, policy_path)
        _, clear, clear_size, _ = road(False, policy_path)
    finally:
        end_session()
    translation = clear[1] - clear[0]
    encryption = max(encrypted[1] - encrypted[0] - translation, 0.0)
    stages = {
        "pipe send (ping, same bytes)": send,
        "translation": translation,
        "encryption": encryption,
        "compiler (mlc.exe)": encrypted[2] - encrypted[1],
        "load (read output, file, driver)": encrypted[3] - encrypted[2],
    }
    total = sum(stages.values())
    print(f"policy: {FILTERS} filters of each family, {os.path.getsize(policy_path)} bytes; "
          f"config.xml {size} bytes encrypted, {clear_size} in clear; {rules} rules loaded")
    print(f"{'stage, median of ' + str(RUNS):<36}{'ms':>10}{'share':>8}")
    for label, ms in stages.items():
        print(f"{label:<36}{ms:>10.0f}{ms / total:>8.1%}")
    print(f"{'whole road':<36}{total:>10.0f}")


if __name__ == "__main__":
    main()
