"""Round trips of ping (101) and notify (1) on the agent's pipe, 200 each on
one connection, against the same client's round trips with a bare pipe
server that answers at once. Prints median and 95th percentile in
microseconds and their ratios to the baseline; asserts nothing."""
import os
import re
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from agent_host import AgentHost  # noqa: E402
from winehost import build_file, end_session, keep_session, run  # noqa: E402
from winehost.paths import WINE_RUN  # noqa: E402

CALLS = 200


def round_trip(*args):
    done = run([build_file("tools/zentctl.exe"), "send", *args, "--count", str(CALLS), "--timeout", "10000"],
               timeout=None)
    if done.exit_code != 0:
        raise SystemExit(f"zentctl failed ({done.exit_code}): {done.stdout}")
    median = float(re.search(r"Median:\s+([\d.]+) us", done.stdout).group(1))
    p95 = float(re.search(r"95th percentile:\s+([\d.]+) us", done.stdout).group(1))
    return median, p95


def main():
    keep_session()
    name = f"ZentBenchBare{os.getpid()}"
    server = subprocess.Popen([str(WINE_RUN), build_file("bench/bare_pipe_server.exe"), name],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    server.stdout.readline()
    try:
        baseline = round_trip("ping", "--pipe", name)
    finally:
        server.kill()

    agent = AgentHost()
    agent.install({"ZENTSETTINGS": {"TestMode": 1, "DebugLevel": 3}})
    try:
        agent.start()
        results = {"bare pipe (baseline)": baseline, "agent ping": round_trip("ping"),
                   "agent notify": round_trip("notify")}
    finally:
        agent.remove()
        end_session()

    print(f"{'round trip, ' + str(CALLS) + ' calls':<24}{'median us':>12}{'p95 us':>12}{'x median':>10}{'x p95':>8}")
    for label, (median, p95) in results.items():
        print(f"{label:<24}{median:>12.1f}{p95:>12.1f}{median / baseline[0]:>10.2f}{p95 / baseline[1]:>8.2f}")


if __name__ == "__main__":
    main()
