"""A crash of the agent, in "-install" and in the service, leaves a full
memory dump zent_agent.dmp in the working directory, the debugger text
"Application crash dump written to <path>" and an error event whose one
string is the path; then the process ends with the exception's code.

The driver library's stand-in crashes on request: its knob CrashIn names
the export that writes through a null pointer. "-install" opens the driver
to load the last rule file (config.rbf is there), so "mli_open" crashes it;
the service's log pump calls mli_get_log on its own thread.

Each dump is a few hundred megabytes: each test deletes it. The second
"-install" crash runs with a dbghelp.dll that has no MiniDumpWriteDump, in a
session whose wineserver traces every request: it must replace the first
dump with an empty file and say nothing; and the trace shows the security
descriptor the dump file is created with (Wine 8.0 keeps no file DACL to
read back).

Wine cannot run the agent with no dbghelp.dll at all: crypt32 reads the
embedded signatures that the agent checks at start through imagehlp.dll,
which imports dbghelp.dll, so a DllOverrides value "" (disabled) ends the
process before its settings are read. The stand-in sim/dbghelp, put beside
the agent and loaded "native" for ZentAgent.exe alone, keeps imagehlp's two
imports and has no dump writer: the agent's pointer to MiniDumpWriteDump is
null, as without the library."""
import os
import shutil
import tempfile

import pytest

import agent_host
import driver_package
import minidump
from agent_host import INSTALL_DIR, SERVICE, AgentHost
from crash_capture import (WINEDEBUG, debugger_output, debugger_texts, event_lines, event_stub_lines, log_thread,
                           matches, wait_for_text)
from winehost import build_file, channel_session, delete_key, run, set_value, start_service, traced_session
from winehost.server_trace import Ace, read_file_creations

DUMP = INSTALL_DIR + "\\zent_agent.dmp"
DUMP_WRITTEN = "Application crash dump written to " + DUMP
ACCESS_VIOLATION = 0xC0000005
MINIDUMP_WITH_FULL_MEMORY = 2
AGENT_IMAGE = INSTALL_DIR + "\\ZentAgent.exe"
MLI = INSTALL_DIR + "\\mli.dll"
# DbgviewLog gives the debugger every log line with its thread id; the file
# loses the lines still buffered when the process dies.
SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 5, "DbgviewLog": 1, "FlushDebugLogTimer": 200}}
# Wine loads the dbghelp.dll beside ZentAgent.exe, not its own, while this
# value is "native".
DLL_OVERRIDES = r"HKCU\Software\Wine\AppDefaults\ZentAgent.exe\DllOverrides"
NO_DUMP_WRITER = "sim/dbghelp/dbghelp.dll"
SE_DACL_PRESENT = 0x0004
SE_DACL_PROTECTED = 0x1000
# The event files' entries: the Administrators, the creator, the system.
FULL_ACCESS = [Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-32-544"),
               Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-3-0"),
               Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-18")]


def install(crash_in):
    agent_host.running["settings"] = None
    host = AgentHost()
    host.install(SETTINGS)
    # The package's driver is read first; the driver is opened right after,
    # to learn the running version, and that is where the crash comes.
    driver_package.prepare_system()
    driver_package.lay_out_package(host.dir)
    with open(host.path("config.rbf"), "wb") as f:
        f.write(b"rules of an earlier deployment")
    host.knob("mli", "CrashIn", crash_in)
    return host


def read_and_delete_dump(host):
    """The parsed dump, or None for an empty file; the file is deleted."""
    path = host.path("zent_agent.dmp")
    try:
        return minidump.read(path) if os.path.getsize(path) > 0 else None
    finally:
        os.remove(path)


@pytest.fixture(scope="module")
def install_crashes():
    """Two "-install" runs that crash in mli_open: the first with Wine's
    dbghelp, the second, in a traced session, with one that has no dump
    writer."""
    host = install("mli_open")
    try:
        with tempfile.TemporaryDirectory(prefix="zent-crash-") as folder:
            debugger = os.path.join(folder, "debugger")
            with debugger_output(debugger):
                first = run([host.path("ZentAgent.exe"), "-install"], env={"WINEDEBUG": WINEDEBUG})
            first_texts = debugger_texts(debugger)
            in_config = os.path.exists(host.path(os.path.join("config", "zent_agent.dmp")))
            first_dump = minidump.read(host.path("zent_agent.dmp"))

            trace = os.path.join(folder, "wineserver.trace")
            shutil.copy(build_file(NO_DUMP_WRITER), host.path("dbghelp.dll"))
            set_value(DLL_OVERRIDES, "dbghelp", "native")
            try:
                with traced_session(trace):
                    with debugger_output(debugger):
                        second = run([host.path("ZentAgent.exe"), "-install"], env={"WINEDEBUG": WINEDEBUG})
                    second_texts = debugger_texts(debugger)
            finally:
                delete_key(DLL_OVERRIDES, missing_ok=True)
            second_size = os.path.getsize(host.path("zent_agent.dmp"))
            os.remove(host.path("zent_agent.dmp"))
            creations = [made for made in read_file_creations(trace) if made.image == AGENT_IMAGE]
        yield {"first": first, "first_texts": first_texts, "first_dump": first_dump, "in_config": in_config,
               "second": second, "second_texts": second_texts, "second_size": second_size, "creations": creations}
    finally:
        host.remove()
        driver_package.clear_system()


def test_a_crash_in_install_ends_the_process_with_the_exception_code(install_crashes):
    assert install_crashes["first"].exit_code_unsigned == ACCESS_VIOLATION


def test_the_dump_is_a_full_memory_dump_in_the_working_directory_not_in_config(install_crashes):
    dump = install_crashes["first_dump"]
    assert (dump.flags, install_crashes["in_config"]) == (MINIDUMP_WITH_FULL_MEMORY, False)
    assert minidump.MEMORY64_LIST_STREAM in dump.streams
    assert len(dump.memory64) > 0


def test_the_dump_holds_the_access_violation_on_the_thread_that_crashed_inside_the_driver_library(install_crashes):
    dump, texts = install_crashes["first_dump"], install_crashes["first_texts"]
    pid = next(pid for pid, text in texts if text == DUMP_WRITTEN)
    crashed = log_thread(texts, pid, "InitService", "InitService -install\n")
    assert (dump.exception.code, dump.exception.thread_id) == (ACCESS_VIOLATION, crashed)
    mli = [module for module in dump.modules if module.name.lower() == MLI.lower()]
    assert len(mli) == 1 and mli[0].holds(dump.exception.address)


def test_the_debugger_gets_the_dump_path_once(install_crashes):
    assert [text for _, text in install_crashes["first_texts"] if text.startswith("Application crash")] == \
        [DUMP_WRITTEN]


def test_the_crash_reports_an_error_event_with_the_dump_path(install_crashes):
    first = install_crashes["first"]
    pid = next(pid for pid, text in install_crashes["first_texts"] if text == DUMP_WRITTEN)
    crashed = log_thread(install_crashes["first_texts"], pid, "InitService", "InitService -install\n")
    lines = event_lines(first.stderr, crashed)
    assert matches(event_stub_lines(DUMP), lines), lines


def test_without_a_dump_writer_a_second_crash_leaves_an_empty_dump_and_no_text_nor_event(install_crashes):
    second = install_crashes["second"]
    assert (second.exit_code_unsigned, install_crashes["second_size"]) == (ACCESS_VIOLATION, 0)
    assert [text for _, text in install_crashes["second_texts"] if text.startswith("Application crash")] == []
    assert event_lines(second.stderr) == []


def test_the_dump_is_created_with_a_protected_dacl_of_three_full_access_entries(install_crashes):
    made = [c for c in install_crashes["creations"] if c.path == DUMP]
    assert [(c.status, c.control, c.dacl) for c in made] == [("0", SE_DACL_PRESENT | SE_DACL_PROTECTED, FULL_ACCESS)]


def test_a_crash_of_the_service_on_the_log_pump_thread(tmp_path):
    host = install("mli_get_log")
    stderr = tmp_path / "services.stderr"
    debugger = tmp_path / "debugger"
    try:
        with channel_session(WINEDEBUG, stderr):
            with debugger_output(debugger):
                start_service(SERVICE)
                # The text comes once the dump is written. Wine 8.0's
                # services.exe does not see the process end: the service
                # stays RUNNING until the session ends.
                pid = wait_for_text(debugger, DUMP_WRITTEN)
            dump = read_and_delete_dump(host)
        texts = debugger_texts(debugger)
        pump = log_thread(texts, pid, "FwDpiServiceFn", "FwDpiServiceFn: enters\n")
        assert (dump.flags, dump.exception.code, dump.exception.thread_id) == \
            (MINIDUMP_WITH_FULL_MEMORY, ACCESS_VIOLATION, pump)
        mli = [module for module in dump.modules if module.name.lower() == MLI.lower()]
        assert len(mli) == 1 and mli[0].holds(dump.exception.address)
        assert len(dump.memory64) > 0
        assert [text for _, text in texts if text.startswith("Application crash")] == [DUMP_WRITTEN]
        lines = event_lines(stderr.read_text("latin-1"), pump)
        assert matches(event_stub_lines(DUMP), lines), lines
    finally:
        host.remove()
        driver_package.clear_system()
