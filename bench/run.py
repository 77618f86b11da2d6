"""./zent bench's runner: every step of the benchmarks in turn. A step has no
time limit of the runner's; one that fails is reported with its exit status
and the last lines it printed, and the others still run. The exit status is
1 when a step failed, 0 otherwise.

    run.py ROOT WIN_TREE BENCH_NATIVE_TREE"""
import os
import subprocess
import sys
import time

# Lines of a failed step's output shown again in the summary.
TAIL_LINES = 15


def steps(root, win, native):
    """(title, argv) of every step, in the order they run."""
    wine = os.path.join(root, "cmake", "wine-run")
    python = "/usr/bin/python3"

    def bench(name):
        return os.path.join(root, "bench", name)

    return [
        ("policy translation, native", [f"{native}/bench/policy_translation_bench"]),
        ("policy translation, under Wine", [wine, f"{win}/bench/policy_translation_bench.exe"]),
        ("event record formatting, native", [f"{native}/bench/event_format_bench"]),
        ("event record formatting, under Wine", [wine, f"{win}/bench/event_format_bench.exe"]),
        ("service records made into objects, native", [f"{native}/bench/service_objects_bench"]),
        ("listening ports rows against tinyxml2 building the same document, native",
         [f"{native}/bench/listen_port_rows_bench"]),
        ("host queries against the same Win32 calls bare, under Wine", [wine, f"{win}/bench/metadata_bench.exe"]),
        ("host queries about files and processes, under Wine", [python, bench("metadata_queries.py")]),
        ("pipe round trips, under Wine", [python, bench("pipe_round_trip.py")]),
        ("a 10,000-filter policy from the pipe to the driver, under Wine", [python, bench("policy_road.py")]),
        ("driver event records to the event log files, under Wine", [python, bench("event_throughput.py")]),
        ("Corvel's product code among 0/1,000/10,000 installed programs, under Wine",
         [wine, f"{win}/bench/uninstall_search_bench.exe"]),
        ("the INF store searched for the driver's copy among 0/300/3,000 oemN.inf, under Wine",
         [wine, f"{win}/bench/oem_files_bench.exe"]),
        ("-install and -delete as whole runs against the same system calls bare, under Wine",
         [python, bench("install_road.py")]),
        ("httpsPost taking 1/8/32 MB replies against a bare Winsock loop, under Wine",
         [wine, f"{win}/bench/https_post_bench.exe"]),
        ("the settings loader on 1 KB/1 MB/10 MB ini files against the bare profile calls, under Wine",
         [wine, f"{win}/bench/settings_loader_bench.exe"]),
        ("the agent idle against its waits alone, and its memory over 10 idle minutes, under Wine",
         [python, bench("idle.py"), "--drift-minutes", "10"]),
    ]


def run_steps(steps, out=sys.stdout):
    """Runs each step to its end, whatever it takes; returns the failed
    steps' titles."""
    failed = []
    for title, argv in steps:
        print(f"== {title}", file=out, flush=True)
        start = time.monotonic()
        tail = []
        try:
            process = subprocess.Popen(argv, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        except OSError as error:
            status, tail = None, [f"cannot start {argv[0]}: {error}"]
        else:
            for raw in process.stdout:
                line = raw.decode("utf-8", errors="replace")
                out.write(line)
                out.flush()
                tail = (tail + [line.rstrip("\n")])[-TAIL_LINES:]
            status = process.wait()
        seconds = time.monotonic() - start
        if status == 0:
            print(f"-- {title}: done in {seconds:.1f} s", file=out, flush=True)
        else:
            failed.append(title)
            why = "did not start" if status is None else f"exit status {status}"
            print(f"-- {title}: FAILED ({why}) after {seconds:.1f} s; its last lines:", file=out)
            for line in tail:
                print(f"   | {line}", file=out)
            out.flush()
    return failed


def main():
    root, win, native = sys.argv[1:4]
    os.environ["ZENT_BUILD_WIN"] = win
    os.environ["PYTHONDONTWRITEBYTECODE"] = "1"
    failed = run_steps(steps(root, win, native))
    if failed:
        print(f"== {len(failed)} benchmark step(s) failed: " + "; ".join(failed))
        return 1
    print("== every benchmark step ran to its end")
    return 0


if __name__ == "__main__":
    sys.exit(main())
