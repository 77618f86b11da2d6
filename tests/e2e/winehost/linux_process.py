"""The Linux side of the prefix's Windows processes, read from /proc: which
process runs a program of this prefix, its CPU time over all its threads and
its private memory. Other checkouts on the machine run the same programs in
prefixes of their own, so a process counts only with this prefix's
WINEPREFIX in its environment."""
import os
import time

from .paths import PREFIX


class ProcessNotFound(RuntimeError):
    pass


def cpu_ticks(pid):
    """utime+stime of every thread of the process, in clock ticks."""
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    # Fields after the name, counted from 3 (state): utime is 14, stime 15.
    return int(fields[11]) + int(fields[12])


def private_kb(pid):
    """RssAnon + VmSwap in KB."""
    values = {}
    with open(f"/proc/{pid}/status") as f:
        for line in f:
            name, _, rest = line.partition(":")
            if name in ("RssAnon", "VmSwap"):
                values[name] = int(rest.split()[0])
    if "RssAnon" not in values:
        raise ProcessNotFound(f"/proc/{pid}/status has no RssAnon")
    return values["RssAnon"] + values.get("VmSwap", 0)


def prefix_of(pid):
    """The WINEPREFIX a process runs in, resolved; None when unknown."""
    try:
        with open(f"/proc/{pid}/environ", "rb") as f:
            for entry in f.read().split(b"\0"):
                if entry.startswith(b"WINEPREFIX="):
                    return os.path.realpath(entry[len(b"WINEPREFIX="):].decode())
    except OSError:
        pass
    return None


def _pids():
    return [int(name) for name in os.listdir("/proc") if name.isdigit()]


def _ours(pid):
    return prefix_of(pid) == os.path.realpath(PREFIX)


def windows_process(exe_name, timeout=30):
    """The Linux PID of this prefix's process whose program is exe_name: its
    comm is the program's name (cut to 15 characters) and its maps hold that
    file."""
    deadline = time.monotonic() + timeout
    while True:
        for pid in _pids():
            try:
                with open(f"/proc/{pid}/comm") as f:
                    if f.read().strip().lower() != exe_name.lower()[:15]:
                        continue
                with open(f"/proc/{pid}/maps") as f:
                    if any(line.rstrip().lower().endswith("/" + exe_name.lower()) for line in f) and _ours(pid):
                        return pid
            except OSError:
                continue
        if time.monotonic() >= deadline:
            raise ProcessNotFound(f"no process {exe_name} of the prefix {PREFIX} found in /proc after {timeout} s")
        time.sleep(0.5)


def wineserver():
    """The Linux PID of this prefix's wineserver."""
    for pid in _pids():
        try:
            with open(f"/proc/{pid}/comm") as f:
                if not f.read().strip().startswith("wineserver"):
                    continue
        except OSError:
            continue
        if _ours(pid):
            return pid
    raise ProcessNotFound(f"no wineserver of the prefix {PREFIX} in /proc")
