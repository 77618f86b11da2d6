"""tests/e2e/run_file.sh: each end-to-end file runs in a Wine prefix that no
other running file has, the first free one of <prefix>-e2e-1 to -N; a file
that finds none free waits for one; pytest's exit status is the file's."""
import os
import subprocess
import time

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
RUN_FILE = os.path.join(ROOT, "tests", "e2e", "run_file.sh")

# Stands in for Python: records the prefix it was given and its arguments,
# then holds its prefix until the test writes the exit status to release.
FAKE_PYTHON = """#!/bin/sh
for last; do :; done
echo "$ZENT_WINEPREFIX" >"$last.prefix.tmp" && mv "$last.prefix.tmp" "$last.prefix"
echo "$@" >"$last.args"
while [ ! -e "$last.release" ]; do sleep 0.05; done
exit "$(cat "$last.release")"
"""


class Runs:
    def __init__(self, tmp_path, **env):
        self.folder = tmp_path
        self.python = tmp_path / "python"
        self.python.write_text(FAKE_PYTHON)
        self.python.chmod(0o755)
        self.env = {k: v for k, v in os.environ.items() if k not in ("ZENT_TEST_RESULTS", "ZENT_E2E_PREFIXES")}
        self.env.update(ZENT_WINEPREFIX=str(tmp_path / "pfx"), **env)
        self.processes = {}

    def start(self, name):
        test_file = self.folder / f"test_{name}.py"
        self.processes[name] = subprocess.Popen([RUN_FILE, str(self.python), f"e2e_{name}", str(test_file)],
                                                env=self.env)
        return test_file

    def prefix(self, name, timeout=30):
        path = self.folder / f"test_{name}.py.prefix"
        deadline = time.monotonic() + timeout
        while not path.exists():
            assert time.monotonic() < deadline, f"{name} never ran"
            time.sleep(0.05)
        return path.read_text().strip()

    def started(self, name):
        return (self.folder / f"test_{name}.py.prefix").exists()

    def end(self, name, status=0):
        (self.folder / f"test_{name}.py.release").write_text(str(status))
        return self.processes.pop(name).wait(timeout=30)

    def end_all(self):
        for name in list(self.processes):
            self.end(name)


def test_two_files_at_once_get_the_two_prefixes_and_pytest_its_arguments(tmp_path):
    runs = Runs(tmp_path)
    try:
        first = runs.start("a")
        first_prefix = runs.prefix("a")
        runs.start("b")
        assert first_prefix == f"{tmp_path}/pfx-e2e-1"
        assert runs.prefix("b") == f"{tmp_path}/pfx-e2e-2"
        assert (tmp_path / "test_a.py.args").read_text() == f"-m pytest -q -p no:cacheprovider {first}\n"
    finally:
        runs.end_all()


def test_the_results_go_to_a_file_named_after_the_test(tmp_path):
    runs = Runs(tmp_path, ZENT_TEST_RESULTS=str(tmp_path / "results"))
    try:
        test_file = runs.start("a")
        runs.prefix("a")
        assert (tmp_path / "test_a.py.args").read_text() == (
            f"-m pytest -q -p no:cacheprovider --junitxml={tmp_path}/results/e2e/e2e_a.xml {test_file}\n")
    finally:
        runs.end_all()


def test_a_file_finding_no_free_prefix_waits_and_takes_the_one_freed(tmp_path):
    runs = Runs(tmp_path)
    try:
        runs.start("a")
        runs.prefix("a")
        runs.start("b")
        runs.prefix("b")
        runs.start("c")
        time.sleep(2)
        assert not runs.started("c")
        assert runs.end("b") == 0
        assert runs.prefix("c") == f"{tmp_path}/pfx-e2e-2"
    finally:
        runs.end_all()


def test_one_prefix_makes_the_files_run_one_after_the_other(tmp_path):
    runs = Runs(tmp_path, ZENT_E2E_PREFIXES="1")
    try:
        runs.start("a")
        assert runs.prefix("a") == f"{tmp_path}/pfx-e2e-1"
        runs.start("b")
        time.sleep(2)
        assert not runs.started("b")
        runs.end("a")
        assert runs.prefix("b") == f"{tmp_path}/pfx-e2e-1"
    finally:
        runs.end_all()


def test_pytests_exit_status_is_the_files(tmp_path):
    runs = Runs(tmp_path)
    runs.start("a")
    runs.prefix("a")
    assert runs.end("a", 1) == 1
    runs.start("b")
    assert runs.prefix("b") == f"{tmp_path}/pfx-e2e-1"
    assert runs.end("b", 0) == 0
