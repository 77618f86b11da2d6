"""The prefix's Wine session, kept for the whole test run.

Wine ends every service, services.exe with them, once the last ordinary
process of the prefix has exited; the next program starts a new session, in
which every service is stopped and has never run (Win32 exit code 1077).
The program that starts a session also hands its Linux standard streams to
the session's own processes (wineserver, services.exe, explorer.exe), so a
caller reading its output to the end waits until the session is over.

So the first helper that runs a program starts a keeper, a cmd.exe that
waits on its standard input, with no output for the session to inherit, and
waits until the session is up. The session lasts until end_session() or the
end of the test run.

traced_session() runs one session under a wineserver that writes every
request of every process to a file (server_trace.py reads it).
channel_session() runs one session whose keeper has Wine's debug channels
set and its standard error in a file, which the session's services, started
from it, write to as well."""
import atexit
import contextlib
import glob
import os
import subprocess
import tempfile
import time

from .paths import PREFIX, WINE_RUN, windows_path

# The first session may create the prefix, which takes a minute or more.
READY_TIMEOUT = 600

_keeper = None


def keep_session(env=None, stderr=subprocess.DEVNULL):
    """Starts the keeper unless it is running; run() calls this. env adds
    variables to the keeper's, stderr is its standard error."""
    global _keeper
    if _keeper is not None and _keeper.poll() is None:
        return
    with tempfile.TemporaryDirectory(prefix="zent-session-") as folder:
        ready = os.path.join(folder, "ready")
        _keeper = subprocess.Popen([str(WINE_RUN), "cmd", "/k", f"type nul > {windows_path(ready)}"],
                                   stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=stderr,
                                   env={**os.environ, **(env or {})})
        deadline = time.monotonic() + READY_TIMEOUT
        while not os.path.exists(ready):
            if _keeper.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("the Wine session did not start")
            time.sleep(0.05)


def restart_session():
    """Ends the kept session and waits until its wineserver has exited, so
    that the next program starts a new session, whose services.exe reads the
    registry afresh (it builds its services' environment once)."""
    end_session()
    _wineserver("-w")


def end_session():
    """Lets the keeper go; the session ends when nothing else runs."""
    global _keeper
    if _keeper is not None:
        _keeper.stdin.close()
        try:
            _keeper.wait(timeout=30)
        except subprocess.TimeoutExpired:
            _keeper.kill()
        _keeper = None


@contextlib.contextmanager
def traced_session(trace_path):
    """A session of its own whose wineserver (wineserver -f -d2) writes each
    request and reply of every process to trace_path: the kept session ends
    and its server exits first, and at the end the traced server is stopped,
    so that the next program starts an ordinary session."""
    end_session()
    _wineserver("-w")
    with open(trace_path, "wb") as trace:
        server = subprocess.Popen(["wineserver", "-f", "-d2"], env=_wine_environment(), stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, stderr=trace)
    try:
        _wait_for_server_socket(server)
        yield
    finally:
        end_session()
        _wineserver("-k")
        server.wait(timeout=SERVER_EXIT_TIMEOUT)


SERVER_EXIT_TIMEOUT = 60


@contextlib.contextmanager
def channel_session(winedebug, stderr_path):
    """A session of its own whose keeper runs with WINEDEBUG=winedebug and
    its standard error in stderr_path; the session's services.exe, started
    from the keeper, hands both to the services. The session ends before
    and after, so that the next program starts an ordinary one."""
    restart_session()
    with open(stderr_path, "wb") as stderr:
        keep_session(env={"WINEDEBUG": winedebug}, stderr=stderr)
    try:
        yield
    finally:
        restart_session()


def _wine_environment():
    return {**os.environ, "WINEPREFIX": str(PREFIX)}


def _wineserver(option):
    subprocess.run(["wineserver", option], env=_wine_environment(), stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=SERVER_EXIT_TIMEOUT)


def _wait_for_server_socket(server):
    """Waits until the server listens, so that the first program finds it
    rather than starting a server of its own. The socket is in a folder of
    /tmp named after the prefix's device and inode: /tmp/.wine-UID/ upstream,
    a random /tmp/wine-XXXXXX/ in Debian's build."""
    stat = os.stat(PREFIX)
    name = f"server-{stat.st_dev:x}-{stat.st_ino:x}"
    deadline = time.monotonic() + READY_TIMEOUT
    while not (glob.glob(f"/tmp/.wine-{os.getuid()}/{name}/socket") or glob.glob(f"/tmp/wine-*/{name}/socket")):
        if server.poll() is not None or time.monotonic() > deadline:
            raise RuntimeError(f"the traced wineserver did not start (exit status {server.poll()})")
        time.sleep(0.05)


def _end_of_run():
    """The run's session ends with it, and its server is waited for: the next
    run (the next test file) then starts a session of its own instead of
    joining one whose services are still being shut down."""
    kept = _keeper is not None
    end_session()
    if kept:
        try:
            _wineserver("-w")
        except subprocess.TimeoutExpired:
            pass


atexit.register(_end_of_run)
