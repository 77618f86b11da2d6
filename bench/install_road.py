"""The deployment commands under Wine, as the suite's patch agent runs them:
a fresh "-install" (no driver, no service), a driver upgrade (an older driver
running) and a "-delete" (agent and driver installed), each timed as a whole
process run from the patch agent's start to its end, against
bench/install_bare_win.cpp (the same system calls, in the same order,
without the debug log, the settings and any check) run the same way, and an
empty program. Prints medians of RUNS runs, interleaved, the ratio to the
bare program (goal <= 1.5x), the same ratio over the empty program's floor,
and the agent's stages from its debug log's stamps (millisecond
resolution); asserts nothing about time."""
import datetime
import os
import shutil
import statistics
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from agent_host import INSTALL_DIR, LINE  # noqa: E402
from deployment import AGENT_EXE, PATCH_AGENTS, DeploymentHost  # noqa: E402
from winehost import build_file, end_session, run  # noqa: E402

RUNS = int(os.environ.get("ZENT_BENCH_INSTALL_RUNS", "10"))
GOAL = 1.5
OLDER_DRIVER = "5.0.9.3"
# What each scenario's agent run is cut into, by the first line of each
# stage; the last stage ends at the run's last line.
STAGES = {
    "install": [("start-up, from the log's first line", None), ("other agents", "cmd: "), ("driver", "ZentAgent -install"),
                ("service", "Service(ZentAgent)"), ("rules, end", "Config file ")],
    "upgrade": [("start-up, from the log's first line", None), ("other agents", "cmd: "), ("driver", "ZentAgent -install"),
                ("old driver removed", "uninstall driver in folder"),
                ("INF store", "Searching oem#.inf files"), ("new driver", "install driver in folder"),
                ("service", "Service(ZentAgent)"), ("rules, end", "Config file ")],
    "delete": [("start-up, from the log's first line", None), ("caller's signature", "ZentAgent -delete"), ("stop", "Service is already"),
               ("driver removed", "driver uninstalled."), ("service deleted, end", "Service(ZentAgent) deleted")],
}


def prepare(host, scenario):
    """The host as the scenario starts from: nothing installed, no driver
    running; for an upgrade an older driver running and its component in
    place; for a delete the agent and its driver installed by -install."""
    host.lay_out()
    host.copy_built("mlfilter.exe")
    host.knob("netcfg", "DriverServiceProgram", INSTALL_DIR + r"\mlfilter.exe")
    if scenario == "upgrade":
        host.knob("mli", "OpenFails", 0)
        host.knob("mli", "Version", OLDER_DRIVER)
        host.knob("netcfg", "Installed", 1)
    else:
        host.knob("mli", "OpenFails", 1)
    if scenario == "delete":
        done = host.deploy("-install", timeout=None)
        if done.exit_code != 0:
            raise SystemExit(f"-install before -delete failed: {done.exit_code}\n{host.install_log()[-3000:]}")
    shutil.copy(build_file("bench/install_bare.exe"), host.path("install_bare.exe"))
    shutil.copy(build_file("bench/empty_program.exe"), host.path("empty_program.exe"))


def timed(program, argument):
    """Seconds of one patch agent run of program with argument."""
    start = time.perf_counter()
    done = run([build_file(PATCH_AGENTS["signed"]), program, argument], timeout=None)
    seconds = time.perf_counter() - start
    return seconds, done.exit_code


def agent_argument(scenario):
    return "-delete" if scenario == "delete" else "-install"


def stamp(text):
    return datetime.datetime.strptime(text, "%Y:%m:%d-%H:%M:%S:%f")


def stages(text, marks):
    """Milliseconds of each stage of the run's log text."""
    lines = [m for m in map(LINE.match, text.split("\r\n")) if m]
    starts = []
    for name, mark in marks:
        if mark is None:
            starts.append((name, stamp(lines[0].group(1))))
            continue
        found = next((m for m in lines if m.group(5).startswith(mark)), None)
        if found is not None:
            starts.append((name, stamp(found.group(1))))
    end = stamp(lines[-1].group(1))
    result = {}
    for (name, begin), following in zip(starts, starts[1:] + [(None, end)]):
        result[name] = (following[1] - begin).total_seconds() * 1000
    return result


def main():
    host = DeploymentHost()
    figures = {}
    try:
        for scenario in ("install", "upgrade", "delete"):
            agent, bare, empty, stage_runs = [], [], [], []
            for _ in range(RUNS):
                for kind in ("agent", "bare", "empty"):
                    prepare(host, scenario)
                    if kind == "agent":
                        seconds, code = timed(AGENT_EXE, agent_argument(scenario))
                        if code != 0:
                            raise SystemExit(f"{scenario}: the agent exited with {code}\n"
                                             f"{host.install_log()[-3000:]}")
                        text = host.install_log()
                        stage_runs.append(stages(text[text.rindex("start logging >>>"):], STAGES[scenario]))
                        agent.append(seconds)
                    elif kind == "bare":
                        seconds, code = timed(INSTALL_DIR + r"\install_bare.exe", scenario)
                        if code != 0:
                            raise SystemExit(f"{scenario}: the bare program exited with {code}")
                        bare.append(seconds)
                    else:
                        empty.append(timed(INSTALL_DIR + r"\empty_program.exe", "")[0])
            figures[scenario] = (statistics.median(agent), statistics.median(bare), statistics.median(empty),
                                 {name: statistics.median(run[name] for run in stage_runs if name in run)
                                  for name, _ in STAGES[scenario] if all(name in run for run in stage_runs)})
    finally:
        host.remove()
        end_session()
    report(figures)


def report(figures):
    print(f"Deployment commands, process runs through the patch agent, medians of {RUNS}:")
    print(f"{'run':10} {'agent':>9} {'bare':>9} {'empty':>9} {'agent/bare':>11} {'over floor':>11}  goal")
    for scenario, (agent, bare, empty, _) in figures.items():
        ratio = agent / bare
        floor = (agent - empty) / (bare - empty) if bare > empty else float("inf")
        verdict = "PASS" if ratio <= GOAL else "FAIL"
        print(f"{scenario:10} {agent * 1000:7.0f}ms {bare * 1000:7.0f}ms {empty * 1000:7.0f}ms "
              f"{ratio:10.2f}x {floor:10.2f}x  <= {GOAL}x {verdict}")
    print()
    print("The agent's stages from its log's stamps (medians, ms):")
    for scenario, (_, _, _, parts) in figures.items():
        print(f"  {scenario}: " + ", ".join(f"{name} {ms:.0f}" for name, ms in parts.items()))


if __name__ == "__main__":
    main()
