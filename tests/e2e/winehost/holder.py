"""A helper program of tests/tools that holds something (a file, a mutex,
sockets) from the moment it prints "held" until its standard input ends."""
import subprocess

from .paths import WINE_RUN, build_file


class Holder:
    def __init__(self, tool, *args):
        self.process = subprocess.Popen([str(WINE_RUN), build_file(tool), *args],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        said = self.process.stdout.readline()
        if said not in (b"held\r\n", b"held\n"):
            self.close()
            raise AssertionError(f"{tool}: {said!r}")

    def close(self):
        self.process.stdin.close()
        self.process.wait(timeout=30)
