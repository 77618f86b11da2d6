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
end of the test run."""
import atexit
import os
import subprocess
import tempfile
import time

from .paths import WINE_RUN, windows_path

# The first session may create the prefix, which takes a minute or more.
READY_TIMEOUT = 600

_keeper = None


def keep_session():
    """Starts the keeper unless it is running; run() calls this."""
    global _keeper
    if _keeper is not None and _keeper.poll() is None:
        return
    with tempfile.TemporaryDirectory(prefix="zent-session-") as folder:
        ready = os.path.join(folder, "ready")
        _keeper = subprocess.Popen([str(WINE_RUN), "cmd", "/k", f"type nul > {windows_path(ready)}"],
                                   stdin=subprocess.PIPE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + READY_TIMEOUT
        while not os.path.exists(ready):
            if _keeper.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("the Wine session did not start")
            time.sleep(0.05)


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


atexit.register(end_session)
