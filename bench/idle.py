"""The agent idle, measured from outside through /proc: after a 10 s settle,
60 s of the agent process's CPU (all its threads, utime+stime of
/proc/PID/stat) and its private memory (RssAnon+VmSwap of /proc/PID/status,
sampled every second, with the peak), and wineserver's CPU beside it. The
same for the baseline bench/idle_waits_win.exe, which keeps the agent's idle
waits and nothing else, and for wineserver in a window with neither.

--drift-minutes N watches the agent's private memory N minutes more after
its window and reports how far it moved (./zent bench passes 10).

Prints a table with the ratios and the goals: CPU under 0.5 % of a core and
at most twice the baseline's; memory under 20 MB and at most the baseline's
plus 8 MB; within 256 KB after the drift minutes. A goal missed is printed,
not failed; the step fails only when it cannot measure, and says why."""
import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from agent_host import AgentHost  # noqa: E402
from winehost import build_file, end_session, keep_session, windows_path  # noqa: E402
from winehost.linux_process import ProcessNotFound, cpu_ticks, private_kb, windows_process, wineserver  # noqa: E402
from winehost.paths import WINE_RUN  # noqa: E402

SETTLE_S = 10
WINDOW_S = 60
TICKS = os.sysconf("SC_CLK_TCK")
CPU_GOAL_PERCENT = 0.5
CPU_GOAL_RATIO = 2.0
MEMORY_GOAL_KB = 20 * 1024
MEMORY_GOAL_OVER_BASELINE_KB = 8 * 1024
DRIFT_GOAL_KB = 256


# A process not found is a measure that cannot be made, like the others.
MeasureError = ProcessNotFound


def measure(pid, server):
    """Settles, then one window: CPU as percent of a core for the process
    and wineserver, private memory at the end and its peak (KB)."""
    time.sleep(SETTLE_S)
    start = time.monotonic()
    own0 = cpu_ticks(pid) if pid else 0
    server0 = cpu_ticks(server)
    peak = 0
    while time.monotonic() - start < WINDOW_S:
        if pid:
            peak = max(peak, private_kb(pid))
        time.sleep(1)
    elapsed = time.monotonic() - start
    own = (cpu_ticks(pid) - own0) if pid else 0
    served = cpu_ticks(server) - server0
    memory = private_kb(pid) if pid else 0

    def percent(ticks):
        return 100.0 * ticks / TICKS / elapsed

    return {"cpu": percent(own), "server": percent(served), "memory": memory, "peak": max(peak, memory)}


def drift(pid, minutes):
    """Private memory now and after the minutes, KB."""
    before = private_kb(pid)
    time.sleep(minutes * 60)
    return before, private_kb(pid)


def run_baseline(server):
    folder = tempfile.mkdtemp(prefix="zent-idle-")
    process = subprocess.Popen([str(WINE_RUN), build_file("bench/idle_waits_win.exe"), windows_path(folder)],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        ready = process.stdout.readline().strip()
        if ready != "ready":
            raise MeasureError(f"idle_waits_win.exe did not start: {ready!r}")
        return measure(windows_process("idle_waits_win.exe"), server)
    finally:
        process.kill()
        process.wait()
        shutil.rmtree(folder, ignore_errors=True)


def verdict(ok):
    return "met" if ok else "MISSED"


def report(agent, baseline, quiet, drifted):
    print(f"{'idle, 60 s after a 10 s settle':<34}{'CPU %':>8}{'wineserver %':>14}{'private KB':>12}{'peak KB':>10}")
    for label, row in (("agent (ZentAgent.exe)", agent), ("baseline (idle_waits_win.exe)", baseline)):
        print(f"{label:<34}{row['cpu']:>8.3f}{row['server']:>14.3f}{row['memory']:>12}{row['peak']:>10}")
    print(f"{'nothing of ours running':<34}{'':>8}{quiet['server']:>14.3f}")
    cpu_ratio = agent["cpu"] / baseline["cpu"] if baseline["cpu"] > 0 else float("inf")
    over = agent["peak"] - baseline["peak"]
    print(f"ratios: CPU {cpu_ratio:.2f}x the baseline; wineserver "
          f"{agent['server'] / baseline['server'] if baseline['server'] > 0 else float('inf'):.2f}x; "
          f"peak private memory {over:+d} KB over the baseline")
    print(f"goal CPU < {CPU_GOAL_PERCENT} % of a core: {agent['cpu']:.3f} % {verdict(agent['cpu'] < CPU_GOAL_PERCENT)}")
    print(f"goal CPU <= {CPU_GOAL_RATIO:g}x baseline: {cpu_ratio:.2f}x {verdict(cpu_ratio <= CPU_GOAL_RATIO)}")
    print(f"goal memory < 20 MB: peak {agent['peak']} KB {verdict(agent['peak'] < MEMORY_GOAL_KB)}")
    print(f"goal memory <= baseline + 8 MB: {over:+d} KB {verdict(over <= MEMORY_GOAL_OVER_BASELINE_KB)}")
    if drifted is None:
        print("goal memory within 256 KB after 10 idle minutes: not measured (no --drift-minutes)")
    else:
        minutes, before, after = drifted
        print(f"goal memory within {DRIFT_GOAL_KB} KB after {minutes:g} idle minutes: {before} KB -> {after} KB, "
              f"{after - before:+d} KB {verdict(abs(after - before) <= DRIFT_GOAL_KB)}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--drift-minutes", type=float, default=0)
    args = parser.parse_args()
    keep_session()
    try:
        server = wineserver()
        quiet = measure(None, server)
        baseline = run_baseline(server)
        host = AgentHost()
        host.install()
        try:
            if host.start().state != "RUNNING":
                raise MeasureError("the agent did not reach RUNNING")
            pid = windows_process("ZentAgent.exe")
            agent = measure(pid, server)
            drifted = None
            if args.drift_minutes > 0:
                drifted = (args.drift_minutes, *drift(pid, args.drift_minutes))
        finally:
            host.remove()
    except MeasureError as error:
        print(f"idle benchmark: cannot measure: {error}")
        return 1
    finally:
        end_session()
    report(agent, baseline, quiet, drifted)
    return 0


if __name__ == "__main__":
    sys.exit(main())
