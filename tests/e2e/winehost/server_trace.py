r"""The wineserver's request trace (wineserver -f -d2, see traced_session),
read for the security descriptors that processes set on files.

Wine 8.0 keeps no file DACL: it maps one to the file's Unix mode bits, so a
DACL read back later is made up from mode and owner. What a process set
reaches the server whole, though, as a set_security_object request on a
handle it opened by name. The trace prints each request and its reply on a
line of their own, prefixed by the thread's id:

    0024: create_file( access=00160000, ..., objattr={...,name=L"\\??\\C:\\f"}, filename="..." )
    0024: create_file() = 0 { handle=0034 }
    0024: set_security_object( handle=0034, security_info=80000004, sd={control=00000004,...,dacl={...}} )
    0024: set_security_object() = 0

Handles belong to a process, threads to a process by init_first_thread's
and new_thread's replies, and a process has the image path new_process
named."""
import dataclasses
import re

REQUEST = re.compile(r"^([0-9a-f]{4,8}): (\w+)\( ?(.*?) ?\)$")
REPLY = re.compile(r"^([0-9a-f]{4,8}): (\w+)\(\) = (\w+)(?: \{ (.*) \})?$")
# The requests read; every other line is skipped before any parsing.
READ = ("create_file", "open_file_object", "close_handle", "set_security_object", "new_process",
        "new_thread", "init_first_thread")
# ntdll's handle for the calling process itself.
CURRENT_PROCESS = "ffffffff"
# A Win32 path reaches the server in the NT namespace.
NT_PREFIX = "\\??\\"
# dump_strW's escapes in an L"..." value.
ESCAPE = re.compile(r"\\(x[0-9a-fA-F]{1,4}|[0-7]{1,3}|.)", re.S)
C_ESCAPES = {"a": "\a", "b": "\b", "t": "\t", "n": "\n", "v": "\v", "f": "\f", "r": "\r", "e": "\x1b"}


@dataclasses.dataclass
class Ace:
    type: str  # "ACCESS_ALLOWED", "ACCESS_DENIED", ...
    flags: int  # 1 object inherit, 2 container inherit, 0x10 inherited, ...
    mask: int
    sid: str  # "S-1-5-18"


@dataclasses.dataclass
class SecuritySet:
    image: str  # the process's image path, "C:\\ZentE2e\\ZentAgent.exe"; None if not traced
    thread: str  # the thread's id as the trace prints it, "0024"
    path: str  # the Win32 path the handle was opened on; None if not traced
    security_info: int  # DACL_SECURITY_INFORMATION 4, PROTECTED_DACL_SECURITY_INFORMATION 0x80000000, ...
    control: int  # the descriptor's control word: SE_DACL_PRESENT 4, SE_DACL_PROTECTED 0x1000, ...
    dacl: list  # [Ace], in order; empty for no DACL or an empty one (the control word tells)
    status: str  # the server's reply: "0", "ACCESS_DENIED", ...


def fields(text):
    """{name: raw value} of a request's arguments or a reply's fields:
    name=value items split at the commas outside braces and quotes."""
    found = {}
    for item in _split(text):
        name, _, value = item.partition("=")
        found[name.strip()] = value
    return found


def _split(text):
    items, depth, quoted, start, i = [], 0, False, 0, 0
    while i < len(text):
        char = text[i]
        if quoted:
            if char == "\\":
                i += 1
            elif char == '"':
                quoted = False
        elif char == '"':
            quoted = True
        elif char == "{":
            depth += 1
        elif char == "}":
            depth -= 1
        elif char == "," and depth == 0:
            items.append(text[start:i])
            start = i + 1
        i += 1
    if text[start:].strip():
        items.append(text[start:])
    return items


def braced(value):
    """The inside of a {...} value."""
    value = value.strip()
    if not (value.startswith("{") and value.endswith("}")):
        raise ValueError(f"not a braced value: {value!r}")
    return value[1:-1]


def unicode_string(value):
    """The text of an L"..." value, with the server's escapes undone: a
    character above 127 as \\x and up to four hexadecimal digits, one below
    32 as a C escape (\\n) or up to three octal digits, a backslash or a
    quote after a backslash."""
    value = value.strip()
    if not (value.startswith('L"') and value.endswith('"')):
        raise ValueError(f"not a unicode string: {value!r}")
    return ESCAPE.sub(_unescape, value[2:-1])


def _unescape(match):
    code = match.group(1)
    if code[0] == "x" and len(code) > 1:
        return chr(int(code[1:], 16))
    if code[0] in "01234567":
        return chr(int(code, 8))
    return C_ESCAPES.get(code, code)


def acl(value):
    """The entries of an ACL value, {{type=...,flags=3,mask=1fffff,sid=S-1-5-18},...}."""
    entries = []
    for item in _split(braced(value)):
        entry = fields(braced(item))
        entries.append(Ace(entry["type"], int(entry["flags"], 16), int(entry["mask"], 16), entry.get("sid")))
    return entries


def win32_path(nt_name):
    """C:\\... for \\??\\C:\\...; any other name as it stands."""
    return nt_name[len(NT_PREFIX):] if nt_name.startswith(NT_PREFIX) else nt_name


@dataclasses.dataclass
class FileCreation:
    image: str  # as in SecuritySet
    thread: str
    path: str  # the Win32 path asked for
    control: int  # the control word of the descriptor the file is created with
    dacl: list  # [Ace], in order
    status: str  # the server's reply


def security_sets(lines):
    """Every set_security_object in the trace's lines, in order, with the
    process and the path of the handle it was made on."""
    return [found for found in _security(lines) if isinstance(found, SecuritySet)]


def file_creations(lines):
    """Every create_file in the trace's lines that gives the new file a
    security descriptor of its own (CreateFileW's security attributes), in
    order, with the process."""
    return [found for found in _security(lines) if isinstance(found, FileCreation)]


def _security(lines):
    """The SecuritySet and FileCreation records of the trace, in order."""
    pending = {}  # thread -> (request name, arguments)
    process_of = {}  # thread -> process id
    images = {}  # process id -> image path
    handles = {}  # (process id, handle) -> Win32 path
    for line in lines:
        if not any(name in line for name in READ):
            continue
        line = line.rstrip("\n")
        request = REQUEST.match(line)
        if request and request.group(2) in READ:
            pending[request.group(1)] = (request.group(2), request.group(3))
            continue
        reply = REPLY.match(line)
        if not reply or pending.get(reply.group(1), ("",))[0] != reply.group(2):
            continue
        thread, name, status, answer = reply.groups()
        arguments = fields(pending.pop(thread)[1])
        answer = fields(answer or "")
        process = process_of.get(thread)
        if name == "init_first_thread" and status == "0":
            process_of[thread] = answer["pid"]
        elif name == "new_thread" and status == "0" and arguments["process"] == CURRENT_PROCESS:
            process_of[answer["tid"]] = process
        elif name == "new_process" and status == "0":
            info = fields(braced(arguments["info"]))
            images[answer["pid"]] = unicode_string(info["imagepath"])
        elif name == "create_file":
            opened = fields(braced(arguments.get("objattr", "{}")))
            descriptor = fields(braced(opened.get("sd", "{}")))
            path = win32_path(unicode_string(opened["name"])) if "name" in opened else None
            if descriptor:
                yield FileCreation(image=images.get(process), thread=thread, path=path,
                                   control=int(descriptor.get("control", "0"), 16),
                                   dacl=acl(descriptor.get("dacl", "{}")), status=status)
            if status == "0" and path is not None:
                handles[(process, answer["handle"])] = path
        elif name == "open_file_object" and status == "0":
            nt_name = arguments.get("filename")
            if nt_name is not None:
                handles[(process, answer["handle"])] = win32_path(unicode_string(nt_name))
        elif name == "close_handle" and status == "0":
            handles.pop((process, arguments["handle"]), None)
        elif name == "set_security_object":
            descriptor = fields(braced(arguments["sd"]))
            yield SecuritySet(image=images.get(process), thread=thread,
                              path=handles.get((process, arguments["handle"])),
                              security_info=int(arguments["security_info"], 16),
                              control=int(descriptor.get("control", "0"), 16),
                              dacl=acl(descriptor.get("dacl", "{}")), status=status)


def read_security_sets(path):
    """security_sets of a trace file, read line by line: a traced session
    writes megabytes a second."""
    with open(path, encoding="utf-8", errors="replace") as trace:
        return security_sets(trace)


def read_file_creations(path):
    """file_creations of a trace file, read line by line."""
    with open(path, encoding="utf-8", errors="replace") as trace:
        return file_creations(trace)
