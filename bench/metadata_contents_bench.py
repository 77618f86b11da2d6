"""getFileContents: searching files by regular expression, against the same
calls bare, and against grep and ripgrep on the same tree.

Trees of seeded LF log lines, one line in 1,000 holding what the three
patterns look for: a literal, an anchored alternation with intervals, and an
IPv4-like pattern. Two layouts, files of 10 KB and files of 1,000,000 bytes,
each at two sizes for the time per byte. bench/metadata_contents_bench.exe
answers 1,000 queries per request in process and runs the bare loop;
`LC_ALL=C grep -E -r -c` and `rg -c -j1` search the same tree. Medians of
five interleaved rounds; ratios with PASS or FAIL against the goals.

The full trees are 1 GB (100,000 files of 10 KB; 1,000 of 1,000,000
bytes) and 256 MB. ZENT_BENCH_CONTENTS_MB sets the larger size (default
256 here, the smaller being a quarter of it), since a 1 GB tree searched
five times by four programs for three patterns takes most of an hour on a
shared two-core machine; 1024 gives the full figures."""
import os
import random
import re
import shutil
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "e2e"))

from winehost import build_file, end_session, keep_session, windows_path  # noqa: E402
from winehost.paths import REPO_ROOT, WINE_RUN  # noqa: E402

TITLE = "getFileContents: searching files by regular expression"

PATTERNS = [
    ("literal", "zentmark", 3.0),
    ("anchored", "^(ERROR|FATAL) [0-9]{4}-[0-9]{2}-[0-9]{2}", 5.0),
    ("ipv4", "([0-9]{1,3}\\.){3}[0-9]{1,3}", 5.0),
]
MARKED = b"ERROR 2026-11-22 login refused for zentmark from 192.168.10.77 after 3 tries\n"
WORDS = [b"worker", b"request", b"served", b"queue", b"cache", b"session", b"upload", b"render", b"index",
         b"shard", b"token", b"route"]
ROUNDS = 5


def normal_lines(rng, count):
    """Lines of about 100 bytes that none of the patterns finds."""
    lines = []
    for _ in range(count):
        words = b" ".join(rng.choice(WORDS) for _ in range(rng.randint(6, 10)))
        line = b"INFO 2026/11/22 node-%d %s took %d ms" % (rng.randint(0, 99), words, rng.randint(1, 999))
        lines.append((line + b" " + b"x" * 100)[:99] + b"\n")
    return lines


def make_tree(folder, files, file_size, seed):
    """`files` files of exactly `file_size` bytes; every 1,000th line, counted
    across the tree, is the marked line."""
    if os.path.exists(os.path.join(folder, ".done")):
        return
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    rng = random.Random(seed)
    pool = normal_lines(rng, 4096)
    number = 0
    for index in range(files):
        chunks, size = [], 0
        while size < file_size:
            number += 1
            line = MARKED if number % 1000 == 0 else pool[rng.randrange(len(pool))]
            chunks.append(line)
            size += len(line)
        data = b"".join(chunks)[:file_size - 1] + b"\n"
        with open(os.path.join(folder, "f%06d.log" % index), "wb") as f:
            f.write(data)
    open(os.path.join(folder, ".done"), "w").close()


def timed(argv):
    start = time.perf_counter()
    done = subprocess.run(argv, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env={**os.environ, "LC_ALL": "C"})
    return time.perf_counter() - start, done.stdout


def total(output):
    return sum(int(line.rsplit(b":", 1)[1]) for line in output.splitlines() if line.strip())


def line_tool_medians(folder, pattern):
    """grep's and ripgrep's medians, interleaved, and their totals."""
    grep = ["grep", "-E", "-r", "-c", "--exclude=.done", pattern, folder]
    rg = ["rg", "-c", "-j1", "--no-ignore", "--hidden", "-g", "!.done", pattern, folder]
    times = {"grep": [], "rg": []}
    totals = {}
    for _ in range(ROUNDS):
        for name, argv in (("grep", grep), ("rg", rg)):
            seconds, out = timed(argv)
            times[name].append(seconds)
            totals[name] = total(out)
    return {name: statistics.median(t) for name, t in times.items()}, totals


def agent_medians(folder):
    argv = [str(WINE_RUN), build_file("bench/metadata_contents_bench.exe"), windows_path(folder)]
    for name, pattern, _ in PATTERNS:
        argv += [name, pattern]
    done = subprocess.run(argv, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    results = {}
    for line in done.stdout.splitlines():
        fields = line.split()
        if fields[:1] == ["RESULT"]:
            results[fields[1]] = dict(files=int(fields[2]), bytes=int(fields[3]), query=float(fields[4]),
                                      bare=float(fields[5]), query_lines=int(fields[6]), bare_lines=int(fields[7]))
    if len(results) != len(PATTERNS):
        raise SystemExit(f"metadata_contents_bench.exe: {done.stdout}")
    return results


def verdict(ratio, goal):
    return "PASS" if ratio <= goal else "FAIL"


def run():
    big_mb = int(os.environ.get("ZENT_BENCH_CONTENTS_MB", "256"))
    root = os.path.join(REPO_ROOT, "build", "bench-contents")
    layouts = []
    for label, file_size in (("10 KB files", 10000), ("1,000,000-byte files", 1000000)):
        for mb in (big_mb // 4, big_mb):
            files = max(1, mb * 1000000 // file_size)
            layouts.append((label, file_size, mb, os.path.join(root, f"{file_size}x{files}")))
            make_tree(layouts[-1][3], files, file_size, seed=file_size * 7 + files)
    keep_session()
    try:
        per_byte = {}
        print(f"{'tree, pattern':<44}{'query s':>9}{'bare s':>9}{'grep s':>9}{'rg s':>9}"
              f"{'lines':>8}  ratios and goals")
        for label, file_size, mb, folder in layouts:
            agent = agent_medians(folder)
            for name, pattern, grep_goal in PATTERNS:
                a = agent[name]
                tools, totals = line_tool_medians(folder, pattern)
                same = a["query_lines"] == a["bare_lines"] == totals["grep"] == totals["rg"]
                vs_bare = a["query"] / a["bare"]
                vs_grep = a["query"] / tools["grep"]
                vs_rg = a["query"] / tools["rg"]
                print(f"{label + ', ' + str(mb) + ' MB, ' + name:<44}{a['query']:>9.3f}{a['bare']:>9.3f}"
                      f"{tools['grep']:>9.3f}{tools['rg']:>9.3f}{a['query_lines']:>8}  "
                      f"bare {vs_bare:.2f} (<= 1.3 {verdict(vs_bare, 1.3)}), "
                      f"grep {vs_grep:.2f} (<= {grep_goal:g} {verdict(vs_grep, grep_goal)}), rg {vs_rg:.2f}, "
                      f"lines {'equal PASS' if same else 'DIFFER FAIL ' + str(totals)}")
                per_byte[(label, name, mb)] = a["query"] / a["bytes"]
        print("time per byte, larger tree against the smaller (goal within 25%):")
        for label, _, _, _ in layouts[::2]:
            for name, _, _ in PATTERNS:
                small, big = per_byte[(label, name, big_mb // 4)], per_byte[(label, name, big_mb)]
                ratio = big / small
                print(f"  {label}, {name}: {small * 1e9:.2f} ns/byte at {big_mb // 4} MB, {big * 1e9:.2f} at "
                      f"{big_mb} MB, ratio {ratio:.2f} {'PASS' if 0.75 <= ratio <= 1.25 else 'FAIL'}")
    finally:
        end_session()
