"""./zent bench's runner: every step runs to its end however long it takes,
a failing step is reported with why and its last lines, the steps after it
still run, and only failures make the run fail."""
import io
import os
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
sys.path.insert(0, os.path.join(ROOT, "bench"))

import run as bench_run  # noqa: E402


def python(code):
    return [sys.executable, "-c", code]


def test_a_slow_step_runs_to_its_end_and_a_failure_does_not_stop_the_others():
    out = io.StringIO()
    failed = bench_run.run_steps([
        ("slow", python("import time; print('starting', flush=True); time.sleep(4); print('finished')")),
        ("failing", python("import sys\nfor i in range(20): print('line', i)\nsys.exit(3)")),
        ("missing", ["/nonexistent/bench_program"]),
        ("after", python("print('still ran')")),
    ], out)
    text = out.getvalue()
    assert failed == ["failing", "missing"]
    assert "== slow\nstarting\nfinished\n-- slow: done in " in text
    assert "-- failing: FAILED (exit status 3) after " in text
    # The last fifteen lines of the failing step come again under its verdict.
    verdict = text[text.index("-- failing: FAILED"):text.index("== missing")]
    assert [line for line in verdict.splitlines()[1:]] == [f"   | line {i}" for i in range(5, 20)]
    assert "-- missing: FAILED (did not start) after " in text
    assert "== after\nstill ran\n-- after: done in " in text


def test_the_run_fails_only_when_a_step_failed(monkeypatch, capsys):
    monkeypatch.setattr(bench_run, "steps", lambda root, win, native: [("ok", python("pass"))])
    monkeypatch.setattr(sys, "argv", ["run.py", ROOT, "win", "native"])
    assert bench_run.main() == 0
    assert capsys.readouterr().out.endswith("== every benchmark step ran to its end\n")
    monkeypatch.setattr(bench_run, "steps", lambda root, win, native: [("ok", python("pass")),
                                                                       ("bad", python("raise SystemExit(1)"))])
    assert bench_run.main() == 1
    assert capsys.readouterr().out.endswith("== 1 benchmark step(s) failed: bad\n")
