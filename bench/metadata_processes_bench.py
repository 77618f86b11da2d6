"""getRunningProcesses: the running processes and their owners, against the same calls bare."""
import os
import pathlib
import subprocess

TITLE = "getRunningProcesses: the running processes and their owners"

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD_WIN = pathlib.Path(os.environ.get("ZENT_BUILD_WIN", ROOT / "build" / "win"))


def run():
    """metadata_processes_bench.exe with 25, 50 and 100 children of its own:
    the query in process (debug log on) against a bare Toolhelp walk with the
    same calls per process, goal 1.5, and the LookupAccountSidW calls per
    SID."""
    program = BUILD_WIN / "bench" / "metadata_processes_bench.exe"
    for children in (25, 50, 100):
        done = subprocess.run([str(ROOT / "cmake" / "wine-run"), str(program), str(children)],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        print(done.stdout.decode("utf-8", "replace").replace("\r\n", "\n"), end="", flush=True)
