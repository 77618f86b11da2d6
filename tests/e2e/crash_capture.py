"""What the crash tests read of a crashed agent: the debugger's texts (a
debug monitor, tests/tools/dbwin.exe, in the prefix), the log lines among
them with their thread ids, and Wine's event log stubs in a standard error.

Wine 8.0's event log calls are stubs: OpenEventLogW gives the made-up handle
CAFE4242 and reports itself on the advapi FIXME channel, as ReportEventW
and CloseEventLog do; ReportEventW also writes each of its strings to the
eventlog ERR channel. Every line begins with the calling thread's id."""
import contextlib
import re
import time

from winehost import keep_session, windows_path
from winehost.holder import Holder

# The channels of the event log stubs, and nothing else.
WINEDEBUG = "-all,fixme+advapi,err+eventlog"
# A log line as the debugger gets it: no time stamp, the prefix, the message.
LOG_LINE = re.compile(r"^\[([ 0-9A-F]{4,8})\]\[ZTENG\]\[(\w+):(\d+)\] (.*)$", re.S)
WINE_LINE = re.compile(r"^([0-9a-f]{4,8}):(\w+:\w+:.*)$")
# The ReportEventW stub prints the strings' address, which no test knows.
STRINGS_ADDRESS = "[0-9A-F]{16}"


@contextlib.contextmanager
def debugger_output(path):
    """A debug monitor listening in the kept session for the block; it
    writes what it takes to path (read it with debugger_texts)."""
    keep_session()
    monitor = Holder("tests/tools/dbwin.exe", windows_path(path))
    try:
        yield
    finally:
        monitor.close()


def debugger_texts(path):
    """[(process id, text)] in the order the monitor took them."""
    with open(path, "rb") as f:
        records = f.read().decode("latin-1").split("\0")[:-1]
    texts = []
    for record in records:
        pid, _, text = record.partition("\t")
        texts.append((int(pid), text))
    return texts


def wait_for_text(path, text, timeout=60):
    """The process id that handed over exactly this text, once it has."""
    deadline = time.monotonic() + timeout
    while True:
        for pid, taken in debugger_texts(path):
            if taken == text:
                return pid
        if time.monotonic() > deadline:
            raise AssertionError(f"{text!r} not among the debugger's texts after {timeout} s: "
                                 f"{debugger_texts(path)[-20:]}")
        time.sleep(0.2)


def log_thread(texts, pid, function, message):
    """The thread id in the prefix of the debugger's copy of that process's
    log line: function's message (with its closing line feed)."""
    ids = {int(match.group(1), 16) for taken_pid, text in texts if taken_pid == pid
           for match in [LOG_LINE.match(text)]
           if match and match.group(2) == function and match.group(4) == message}
    assert len(ids) == 1, f"{function}: {message!r} from process {pid}: thread ids {ids}"
    return ids.pop()


# The lines of the event log's stubs among a thread's others.
EVENT_STUBS = ("fixme:advapi:OpenEventLogW ", "fixme:advapi:ReportEventW ", "fixme:advapi:CloseEventLog ",
               "err:eventlog:")


def event_lines(stderr, thread_id=None):
    """The event log stubs' lines in a standard error, of one thread or of
    all, without the thread's prefix."""
    lines = []
    for line in stderr.splitlines():
        match = WINE_LINE.match(line)
        if match and (thread_id is None or int(match.group(1), 16) == thread_id) \
                and match.group(2).startswith(EVENT_STUBS):
            lines.append(match.group(2))
    return lines


def event_stub_lines(dump_path):
    """The lines of one crash's event, as the event log stubs print them,
    as regular expressions; the dump path as the agent passes it."""
    quoted = dump_path.replace("\\", "\\\\")
    return [re.escape('fixme:advapi:OpenEventLogW ((null),L"ZentCrashEvent") stub'),
            re.escape("fixme:advapi:ReportEventW (00000000CAFE4242,0x0001,0x0000,0x00000000,0000000000000000,"
                      "0x0001,0x00000000,") + STRINGS_ADDRESS + re.escape(",0000000000000000): stub"),
            re.escape(f'err:eventlog:ReportEventW L"{quoted}"'),
            re.escape("fixme:advapi:CloseEventLog (00000000CAFE4242) stub")]


def matches(patterns, lines):
    return len(patterns) == len(lines) and all(re.fullmatch(p, line) for p, line in zip(patterns, lines))
