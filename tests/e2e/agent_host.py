"""The agent installed as a Windows service in the project's Wine prefix,
beside the stand-ins of the suite framework, the driver and the driver's
service, with helpers to drive it and read what it did."""
import itertools
import os
import re
import shutil
import time
from dataclasses import dataclass

import driver_records

from winehost import (build_file, create_service, delete_key, delete_service, query_service, read_value, run,
                      set_value, start_service, stop_service, unix_path, wait_for_state, windows_path, write_ini)

SUITE_KEY = r"HKLM\SOFTWARE\Wow6432Node\Halvane\BrevonNTCorp\CurrentVersion"
SIM_KEY = r"HKLM\SOFTWARE\ZentSim"
INSTALL_DIR = r"C:\ZentE2e"
# The suite's "Application Path"; the agent puts one file per event record
# under its Misc folder, which the suite's installer makes.
SUITE_DIR = r"C:\Program Files\Halvane\Suite"
MISC_DIR = SUITE_DIR + r"\Misc"
SINGLE_RECORD_DIR = MISC_DIR + r"\KLF_IPRODUCT_ZENT"
MAIN_LOG = "zent_mpnp"
SERVICE = "ZentAgent"
DRIVER_SERVICE = "mlfilter"
# What the suite puts in the agent's folder.
AGENT_FILES = ("ZentAgent.exe", "klfAgent_64x.dll", "mli.dll", "mlc.exe")
BUILT = {
    "ZentAgent.exe": "src/mla/apps/zentagent/ZentAgent.exe",
    "klfAgent_64x.dll": "sim/klfagent/klfAgent_64x.dll",
    "mli.dll": "sim/mli/mli.dll",
    "mlc.exe": "sim/mlc/mlc.exe",
    "mlfilter.exe": "sim/mlfilter/mlfilter.exe",
    "HvSock_64x.dll": "sim/hvsock/HvSock_64x.dll",
}
# The suite's transport library, beside the agent when it talks to a server.
TRANSPORT_FILE = "HvSock_64x.dll"
# A line of the debug log file: stamp, prefix, message.
LINE = re.compile(r"^(\d{4}:\d{2}:\d{2}-\d{2}:\d{2}:\d{2}:\d{3}) \[([ 0-9A-F]{4,8})\]\[ZTENG\]\[(\w+):(\d+)\] (.*)$")


@dataclass
class Reply:
    exit_code: int
    stdout: str
    raw: bytes  # the reply's 36 bytes, empty when none came


class AgentHost:
    """One installation of the agent, in a folder of its own."""

    def __init__(self):
        self.dir = unix_path(INSTALL_DIR)
        # Where this test's part of zent_agent.log begins, for an agent that
        # runs on from an earlier test.
        self.log_start = 0

    # --- installation -------------------------------------------------------------

    def install(self, settings=None, files=AGENT_FILES):
        self.remove()
        os.makedirs(os.path.join(self.dir, "config"))
        for name in files:
            self.copy_built(name)
        self.copy_built("mlfilter.exe")
        if settings is not None:
            self.write_settings(settings)
        self.register_suite()
        create_service(DRIVER_SERVICE, INSTALL_DIR + r"\mlfilter.exe")
        create_service(SERVICE, f'"{INSTALL_DIR}\\ZentAgent.exe" -service', display_name="Halvane Zent Service (Agent)")

    def copy_built(self, name):
        shutil.copy(build_file(BUILT[name]), os.path.join(self.dir, name))

    def register_suite(self):
        """The suite's folder and key, and no knob of an earlier test."""
        os.makedirs(unix_path(MISC_DIR))
        set_value(SUITE_KEY, "Application Path", SUITE_DIR)
        delete_key(SIM_KEY, missing_ok=True)

    def write_settings(self, sections):
        write_ini(self.ini, sections)

    def remove(self):
        for name in (SERVICE, DRIVER_SERVICE):
            status = query_service(name)
            if status is None:
                continue
            if status.state != "STOPPED":
                if not status.accepts_stop:
                    # Self-protection keeps the stop control away: the
                    # suite's engineers turn it off over the pipe.
                    self.send("self-protection", "off")
                stop_service(name, check=False)
                wait_until_stopped_or_gone(name)
            delete_service(name, check=False)
        delete_key(SIM_KEY, missing_ok=True)
        shutil.rmtree(self.dir, ignore_errors=True)
        shutil.rmtree(unix_path(SUITE_DIR), ignore_errors=True)

    # --- the service ----------------------------------------------------------------

    def start(self, state="RUNNING", timeout=30):
        start_service(SERVICE)
        return wait_for_state(SERVICE, state, timeout=timeout)

    def status(self):
        return query_service(SERVICE)

    def stop(self):
        stop_service(SERVICE)
        return wait_for_state(SERVICE, "STOPPED", timeout=60)

    # --- the stand-ins' knobs and records ------------------------------------------

    def knob(self, stand_in, name, value):
        set_value(SIM_KEY + "\\" + stand_in, name, value)

    def record(self, stand_in, name, default=None):
        return read_value(SIM_KEY + "\\" + stand_in, name, default)

    def use_server(self, server):
        """Puts the transport library beside the agent and points it at the
        management server's stand-in (sim/zentserver)."""
        shutil.copy(build_file(BUILT[TRANSPORT_FILE]), os.path.join(self.dir, TRANSPORT_FILE))
        self.knob("hvSock", "Server", server.address)

    # --- the driver's event records ------------------------------------------------

    def play_script(self, entries):
        """Writes the entries (driver_records.entry) to a script file of a new
        name, since the stand-in plays a path again only when the file
        changed, and hands it to the stand-in. Returns what wait_for_script
        needs to tell this script's end."""
        before = (self.record("mli", "ScriptsPlayed", 0), self.record("mli", "ScriptDoneQpc", 0))
        os.makedirs(self.path("scripts"), exist_ok=True)
        path = self.path(f"scripts/script_{next(_script_numbers)}_{time.monotonic_ns()}.bin")
        driver_records.write_script(path, entries)
        self.knob("mli", "LogScript", windows_path(path))
        return before

    def wait_for_script(self, before, timeout=60):
        """Waits until the agent has taken the script's last record and come
        back for the next one: it has then written every line of it. The
        stand-in writes its records every 100 ms."""
        played_before, done_before = before
        deadline = time.monotonic() + timeout
        while True:
            played = self.record("mli", "ScriptsPlayed", 0)
            done = self.record("mli", "ScriptDoneQpc", 0)
            first = self.record("mli", "ScriptFirstQpc", 0)
            if played > played_before and done > done_before and done >= first:
                return
            if time.monotonic() > deadline:
                raise AssertionError(f"script not done after {timeout} s: ScriptsPlayed {played}, "
                                     f"ScriptFirstQpc {first}, ScriptDoneQpc {done}, "
                                     f"LogCalls {self.record('mli', 'LogCalls')}, "
                                     f"LogRecordsDelivered {self.record('mli', 'LogRecordsDelivered')}")
            time.sleep(0.1)

    def play(self, entries, timeout=60):
        """Plays a script to its end."""
        self.wait_for_script(self.play_script(entries), timeout)

    def single_record_files(self):
        """{name: content} of the one-record files; their uuid names are
        random, so tests match them to records by content."""
        folder = unix_path(SINGLE_RECORD_DIR)
        if not os.path.isdir(folder):
            return {}
        files = {}
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), "rb") as f:
                files[name] = f.read()
        return files

    def main_log(self, copy=0):
        """The bytes of zent_mpnp, or of its copy zent_mpnp.<copy>; None when
        there is no such file."""
        path = self.path(MAIN_LOG if copy == 0 else f"{MAIN_LOG}.{copy}")
        if not os.path.isfile(path):
            return None
        with open(path, "rb") as f:
            return f.read()

    def main_log_names(self):
        """zent_mpnp and its copies as they stand in the install folder."""
        return sorted(n for n in os.listdir(self.dir) if n == MAIN_LOG or n.startswith(MAIN_LOG + "."))

    def clear_event_files(self):
        """Removes the main log, its copies and the one-record files, between
        passes of an idle agent (it opens the files only during a pass)."""
        for name in self.main_log_names():
            os.remove(self.path(name))
        shutil.rmtree(unix_path(SINGLE_RECORD_DIR), ignore_errors=True)

    # --- the pipe --------------------------------------------------------------------

    def send(self, *args, client="tools/zentctl.exe", data=None, timeout_ms=3000):
        """Runs a zentctl client with `args` after "send" and returns its
        reply; data, when given, goes through standard input."""
        argv = [build_file(client), "send", *args, "--hex", "--timeout", str(timeout_ms)]
        if data is not None:
            argv += ["--data", "-"]
        done = run(argv, input=data, encoding="latin-1")
        return Reply(done.exit_code, done.stdout, reply_bytes(done.stdout))

    def zentctl(self, *args, client="tools/zentctl.exe", data=None):
        argv = [build_file(client), *args]
        if data is not None:
            argv += ["--data", "-"]
        return run(argv, input=data, encoding="latin-1")

    # --- files -------------------------------------------------------------------------

    @property
    def ini(self):
        return os.path.join(self.dir, "config", "zent_agent.ini")

    def path(self, name):
        return os.path.join(self.dir, name)

    def log(self, name="zent_agent.log"):
        with open(self.path(name), "rb") as f:
            return f.read().decode("latin-1")

    def test_log(self):
        """What this test's agent wrote to zent_agent.log."""
        return self.log()[self.log_start:]

    def wait_for_log(self, pattern, name="zent_agent.log", timeout=15):
        """The log is flushed every FlushDebugLogTimer ms; waits for the text
        in this test's part of it."""
        start = self.log_start if name == "zent_agent.log" else 0
        deadline = time.time() + timeout
        while time.time() < deadline:
            if os.path.exists(self.path(name)):
                match = re.search(pattern, self.log(name)[start:])
                if match:
                    return match
            time.sleep(0.2)
        raise AssertionError(f"{pattern!r} not in {name} after {timeout} s:\n{self.log(name)[-3000:]}")


def wait_until_stopped_or_gone(name, timeout=60):
    """After a stop control: a service already marked for deletion goes as
    it stops."""
    deadline = time.monotonic() + timeout
    while (status := query_service(name)) is not None and status.state != "STOPPED":
        if time.monotonic() > deadline:
            raise AssertionError(f"{name} still {status.state} after {timeout} s")
        time.sleep(0.2)


_script_numbers = itertools.count(1)

# The settings of the agent that runs on from one test to the next, if any.
running = {"settings": None}


def running_agent(settings):
    """An agent with these settings, running and accepting stop: the one left
    by an earlier test if it is such, else a fresh one. Tests that use it
    leave it so, or stop it."""
    host = AgentHost()
    status = query_service(SERVICE)
    if running["settings"] != settings or status is None or status.state != "RUNNING" \
            or status.controls_accepted != 5:
        host.install(settings)
        host.start()
        running["settings"] = settings
    host.log_start = len(host.log()) if os.path.exists(host.path("zent_agent.log")) else 0
    return host


def reply_bytes(stdout):
    """The reply's 36 bytes from zentctl's --hex output."""
    hex_digits = []
    for line in stdout.splitlines():
        if line.lower().startswith("hex"):
            hex_digits.append(re.sub(r"[^0-9a-fA-F]", "", line.split(":", 1)[1]))
    return bytes.fromhex("".join(hex_digits))
