"""Helpers of the running processes tests: procchild.exe started under Wine
with an exact command line, the query's request, and FILETIME counts of the
host's clock for a process's start window."""
import subprocess
import time

from winehost import build_file
from winehost.paths import WINE_RUN

# The FILETIME epoch, 1601-01-01, in seconds before the Unix epoch.
FILETIME_EPOCH_OFFSET = 11644473600


def filetime_now():
    """The host's clock as a FILETIME count of 100-nanosecond intervals."""
    return (time.time_ns() // 100) + FILETIME_EPOCH_OFFSET * 10_000_000


def request(request_id, query_id="procs"):
    return (f'<Message><Request><RequestID>{request_id}</RequestID><HostMetaDataQueries>'
            f'<HostMetaDataQuery id="{query_id}" query="getRunningProcesses"/>'
            '</HostMetaDataQueries></Request></Message>').encode()


class ProcChild:
    """procchild.exe running with the command line given, as the system
    stores it, until close(). pid and parent are its id and its launcher's;
    started_after and started_before bound its creation time."""

    def __init__(self, command_line):
        argv = [str(WINE_RUN), build_file("tests/tools/procchild.exe"), "launch", command_line.encode().hex()]
        self.started_after = filetime_now()
        self.process = subprocess.Popen(argv, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)
        self.parent = int(self._expect("parent"))
        self.pid = int(self._expect("pid"))
        self._expect("ready")
        self.started_before = filetime_now()

    def _expect(self, word):
        line = self.process.stdout.readline().decode().strip()
        if not line.startswith(word):
            self.close()
            raise AssertionError(f"procchild: expected {word}, got {line!r}")
        return line[len(word):].strip()

    def blank(self):
        """Has the child set its command line's Length to 0xFFFF and its
        Buffer to null."""
        self.process.stdin.write(b"blank\n")
        self.process.stdin.flush()
        self._expect("blanked")

    def close(self):
        if self.process.stdin and not self.process.stdin.closed:
            self.process.stdin.close()
        self.process.wait(timeout=60)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


def brief_child():
    """Starts a procchild.exe that ends at once, without waiting for it."""
    return subprocess.Popen([str(WINE_RUN), build_file("tests/tools/procchild.exe"), "brief"],
                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
