"""The registry of the prefix, through Wine's reg.

Values are written with "reg add" and read back with "reg export": "reg
query" prints in the console's code page (it loses characters beyond it) and
shows REG_QWORD data as "(null)", while an export is exact UTF-16."""
import os
import re
import tempfile

from .paths import windows_path
from .process import run

KINDS = {int: "REG_DWORD", str: "REG_SZ", bytes: "REG_BINARY", list: "REG_MULTI_SZ"}


class RegistryError(Exception):
    pass


def _reg(*args, check=True):
    done = run(["reg", *args])
    if check and done.exit_code != 0:
        raise RegistryError(f"reg {' '.join(args)}: {(done.stdout + done.stderr).strip()}")
    return done.exit_code == 0


def add_key(key):
    """Creates a key, e.g. r"HKLM\\SOFTWARE\\Halvane\\ZentAgent", and its parents."""
    _reg("add", key, "/f")


def set_value(key, name, value, kind=None):
    """Writes a value; name None is the key's default value. The kind follows
    the Python type (int REG_DWORD, str REG_SZ, bytes REG_BINARY, list of str
    REG_MULTI_SZ) unless given, e.g. "REG_EXPAND_SZ" or "REG_QWORD"."""
    kind = kind or KINDS[type(value)]
    if kind == "REG_BINARY":
        data = value.hex()
    elif kind == "REG_MULTI_SZ":
        data = "\\0".join(value)
    else:
        data = str(value)
    target = ["/ve"] if name is None else ["/v", name]
    _reg("add", key, *target, "/t", kind, "/d", data, "/f")


def delete_value(key, name, missing_ok=False):
    """Deletes one value; True when it was there."""
    return _reg("delete", key, "/v", name, "/f", check=not missing_ok)


def delete_key(key, missing_ok=False):
    """Deletes a key with all below it; True when it was there."""
    return _reg("delete", key, "/f", check=not missing_ok)


def key_exists(key):
    return _reg("query", key, check=False)


def _export(key):
    """The exported sections below key: {key path: {name: (kind, value)}},
    or None when the key does not exist."""
    with tempfile.TemporaryDirectory(prefix="zent-reg-") as folder:
        file = os.path.join(folder, "export.reg")
        if not _reg("export", key, windows_path(file), "/y", check=False):
            return None
        with open(file, "rb") as f:
            return parse_reg_file(f.read().decode("utf-16"))


def read_key(key):
    """{name: (kind, value)} of one key, the default value under None; None
    when the key does not exist."""
    sections = _export(key)
    if sections is None:
        return None
    wanted = _long_root(key).lower().rstrip("\\")
    return next((values for path, values in sections.items() if path.lower() == wanted), {})


def read_value(key, name, default=None):
    """The value's data as Python data (see set_value), or default."""
    values = read_key(key) or {}
    return values[name][1] if name in values else default


def subkeys(key):
    """The names of the key's direct subkeys."""
    sections = _export(key) or {}
    prefix = _long_root(key).lower().rstrip("\\") + "\\"
    return sorted(path[len(prefix):] for path in sections
                  if path.lower().startswith(prefix) and "\\" not in path[len(prefix):])


ROOTS = {"HKLM": "HKEY_LOCAL_MACHINE", "HKCU": "HKEY_CURRENT_USER", "HKCR": "HKEY_CLASSES_ROOT",
         "HKU": "HKEY_USERS", "HKCC": "HKEY_CURRENT_CONFIG"}


def _long_root(key):
    root, _, rest = key.partition("\\")
    return ROOTS.get(root.upper(), root) + ("\\" + rest if rest else "")


def _unquote(text, start):
    """The quoted string at text[start] with .reg escapes undone, and the
    index after its closing quote."""
    out, i = [], start + 1
    while text[i] != '"':
        if text[i] == "\\":
            i += 1
            out.append({"n": "\n", "0": "\0"}.get(text[i], text[i]))
        else:
            out.append(text[i])
        i += 1
    return "".join(out), i + 1


def _hex_value(tag, digits):
    data = bytes.fromhex(digits.replace(",", "")) if digits else b""
    if tag == "":
        return "REG_BINARY", data
    kind = int(tag, 16)
    if kind == 2:
        return "REG_EXPAND_SZ", data.decode("utf-16-le").rstrip("\0")
    if kind == 7:
        return "REG_MULTI_SZ", [s for s in data.decode("utf-16-le").split("\0") if s]
    if kind == 0xB:
        return "REG_QWORD", int.from_bytes(data, "little")
    if kind == 4:
        return "REG_DWORD", int.from_bytes(data, "little")
    return f"hex({tag})", data


def parse_reg_file(text):
    """A .reg export as {key path: {name: (kind, value)}}."""
    text = re.sub(r"\\\r?\n\s*", "", text)  # hex data continues on the next line
    sections, values = {}, None
    for line in text.splitlines():
        if line.startswith("[") and line.endswith("]"):
            values = sections.setdefault(line[1:-1], {})
        elif values is not None and (line.startswith('"') or line.startswith("@=")):
            name, at = (None, 1) if line.startswith("@") else _unquote(line, 0)
            data = line[at + 1:]
            if data.startswith('"'):
                values[name] = ("REG_SZ", _unquote(data, 0)[0])
            elif data.startswith("dword:"):
                values[name] = ("REG_DWORD", int(data[6:], 16))
            else:
                match = re.match(r"hex(?:\((\w+)\))?:(.*)$", data)
                if match:
                    values[name] = _hex_value(match.group(1) or "", match.group(2))
    return sections
