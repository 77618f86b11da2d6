"""Small tmpfs file systems mounted over folders of the Wine prefix, so
that the agent's writes there meet a full disk (Wine reports
ERROR_DISK_FULL, 112). The tests run as root; every mount is undone, also
when a test fails."""
import contextlib
import errno
import os
import subprocess

PAGE = 4096


@contextlib.contextmanager
def mounted_tmpfs(folder, size):
    """Mounts a tmpfs of size bytes (rounded up to whole pages) on folder,
    which is created if missing; unmounts it when the block ends. What the
    folder held before stays hidden under the mount meanwhile."""
    os.makedirs(folder, exist_ok=True)
    pages = (size + PAGE - 1) // PAGE
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={pages * PAGE}", "tmpfs", folder], check=True)
    try:
        yield folder
    finally:
        # A process of the prefix may still hold a file there: a lazy
        # unmount lets it go once that file is closed.
        if subprocess.run(["umount", folder]).returncode != 0:
            subprocess.run(["umount", "-l", folder], check=True)


def fill(folder, name="filler"):
    """Writes a file into folder until its file system is full; returns its
    path. Every page of the file system is then in use."""
    path = os.path.join(folder, name)
    chunk = b"\0" * PAGE
    with open(path, "ab", buffering=0) as f:
        while True:
            try:
                f.write(chunk)
            except OSError as error:
                if error.errno != errno.ENOSPC:
                    raise
                break
    return path


def page_sized(text, size=PAGE):
    """text padded with blanks to size bytes, ending in CRLF: a main log or
    copy that fills its pages exactly, so that no byte can be added to it
    on a full file system."""
    if len(text) + 2 > size:
        raise ValueError(f"{len(text)} bytes do not fit in {size}")
    return text + b" " * (size - len(text) - 2) + b"\r\n"
