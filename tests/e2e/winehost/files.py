"""Files the agent reads and writes: its ini file (a Windows profile file)
and its logs (8-bit text in the ANSI code page). Paths are Linux paths or
Windows paths of the prefix."""
import re
import time

from .paths import unix_path


def write_ini(path, sections, encoding="cp1252"):
    """Writes {section: {key: value}} as a profile file with CRLF lines, as
    GetPrivateProfileString reads it; True and False become 1 and 0."""
    lines = []
    for section, keys in sections.items():
        lines.append(f"[{section}]")
        lines += [f"{key}={int(value) if isinstance(value, bool) else value}" for key, value in keys.items()]
    with open(unix_path(path), "w", encoding=encoding, newline="\r\n") as f:
        f.write("\n".join(lines) + "\n")


def read_ini(path, encoding="cp1252"):
    """{section: {key: value}} of a profile file, values as text."""
    sections, current = {}, None
    with open(unix_path(path), encoding=encoding) as f:
        for line in f.read().splitlines():
            line = line.strip()
            if line.startswith("[") and line.endswith("]"):
                current = sections.setdefault(line[1:-1], {})
            elif current is not None and "=" in line and not line.startswith(";"):
                key, _, value = line.partition("=")
                current[key.strip()] = value.strip()
    return sections


def read_log(path, start=0, encoding="cp1252"):
    """The log's text from byte offset start; "" when there is no such file."""
    try:
        with open(unix_path(path), "rb") as f:
            f.seek(start)
            return f.read().decode(encoding, errors="replace")
    except FileNotFoundError:
        return ""


def wait_for_log(path, pattern, start=0, timeout=30):
    """Polls the log from byte offset start until the regular expression
    matches and returns the match; TimeoutError with the text otherwise."""
    deadline = time.monotonic() + timeout
    while True:
        text = read_log(path, start)
        match = re.search(pattern, text, re.M)
        if match:
            return match
        if time.monotonic() > deadline:
            raise TimeoutError(f"no {pattern!r} in {path} after {timeout} s; it holds:\n{text[-2000:]}")
        time.sleep(0.2)
