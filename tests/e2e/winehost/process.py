"""Windows programs under Wine, with their whole 32-bit exit code.

Wine hands a Windows process's exit code to Linux cut to 8 bits (201512003
arrives as 67, -1 as 255). So every program runs under exitcode.exe, which
launches it with CreateProcess and writes GetExitCodeProcess to a file.

Under load Wine now and then fails to start a process at all (CreateProcess
reports error 1359, or the launcher itself does not come up). No result file
then means the program never ran, and the start is tried again."""
import dataclasses
import os
import subprocess
import tempfile
import time

from .paths import WINE_RUN, build_file, windows_path
from .session import keep_session


@dataclasses.dataclass
class WindowsRun:
    exit_code: int  # signed, as the suite reads it: -1, not 4294967295
    stdout: str
    stderr: str

    @property
    def exit_code_unsigned(self):
        return self.exit_code & 0xFFFFFFFF


def signed32(value):
    value &= 0xFFFFFFFF
    return value - (1 << 32) if value & 0x80000000 else value


def run(args, *, input=None, env=None, timeout=120, encoding="utf-8"):
    """Runs a Windows program in the project's prefix and returns a WindowsRun.

    args[0] is a program Windows finds ("reg", "cmd") or a Linux path to an
    executable, which is translated; the other arguments go as they are (use
    windows_path for files). input is bytes or text for standard input; env
    adds variables; output is decoded with encoding (Wine's own programs print
    in the console's code page)."""
    keep_session()
    program = args[0]
    if os.path.isabs(program) and os.path.exists(program):
        program = windows_path(program)
    if isinstance(input, str):
        input = input.encode(encoding)
    for attempt in range(START_ATTEMPTS):
        code, stdout, stderr, status = _run_once(program, args, input, env, timeout, encoding)
        if code is not None:
            return WindowsRun(signed32(code), stdout, stderr)
        time.sleep(0.5 * (attempt + 1))
    raise RuntimeError(f"{args[0]} did not run (exit status {status}): {stderr}")


# Starts of one program before giving up on Wine.
START_ATTEMPTS = 3


def _run_once(program, args, input, env, timeout, encoding):
    """One start under exitcode.exe: (exit code or None if the program never
    ran, stdout, stderr, the launcher's Linux exit status).

    The streams are files, not pipes: a process that the program starts (the
    session's services.exe when the program happens to start the session) can
    inherit them and keep them open long after the program has ended, and a
    pipe would then hold the caller until its time-out."""
    with tempfile.TemporaryDirectory(prefix="zent-exitcode-") as folder:
        result = os.path.join(folder, "exit_code")
        command = [str(WINE_RUN), build_file("tests/tools/exitcode.exe"), windows_path(result), program,
                   *[str(a) for a in args[1:]]]
        streams = [open(os.path.join(folder, name), "w+b") for name in ("stdin", "stdout", "stderr")]
        try:
            if input is not None:
                streams[0].write(input)
                streams[0].seek(0)
            done = subprocess.run(command, stdin=streams[0] if input is not None else subprocess.DEVNULL,
                                  stdout=streams[1], stderr=streams[2], timeout=timeout,
                                  env={**os.environ, **(env or {})})
            stdout, stderr = (_read_back(stream, encoding) for stream in streams[1:])
        finally:
            for stream in streams:
                stream.close()
        try:
            with open(result) as f:
                return int(f.read()), stdout, stderr, done.returncode
        except (OSError, ValueError):
            return None, stdout, stderr, done.returncode


def _read_back(stream, encoding):
    stream.seek(0)
    return stream.read().decode(encoding, errors="replace")
