"""The uninstall keys for the installed software tests, made by
winehost.set_value, with the objects they are listed as; the environment
document's objects read back; and result documents of any number of
objects, written in tinyxml2's indented form with each hash recomputed by
hashlib.

The prefix's own uninstall keys are exported first and put back after, so
that the tests see only the subkeys they make."""
import contextlib
import os
import re
import struct
import tempfile

from registry_fixture import digest, printed
from winehost import add_key, delete_key, key_exists, run, set_value, windows_path

UNINSTALL = r"HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall"
UNINSTALL_32 = r"HKLM\Software\WOW6432node\Microsoft\Windows\CurrentVersion\Uninstall"
# How the agent's log lines name the first key.
UNINSTALL_LONG = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall"

# Wine enumerates subkeys by their names folded to lower case, Windows folded
# to upper case: the names here are letters only, so that both orders are the
# one of the objects below, whatever the case of each name and whichever
# order the subkeys were made in.
UNINSTALL_EXE = ("UninstallString", r"C:\Program Files\Probe\uninstall.exe", None)

# Made in this order, which is not the enumeration order.
SUBKEYS_64 = {
    "Gamma": [("DisplayName", "Gamma Tool", None), UNINSTALL_EXE,
              ("DisplayVersion", "3.1 beta", None), ("InstallDate", "20240131", None),
              ("Publisher", "Halvane & Co", None), ("InstallLocation", r"C:\Program Files\Gamma", None),
              ("ParentKeyName", "ZentSuite", None), ("EstimatedSize", 1000, None)],
    "Shared": [("DisplayName", "Shared 64", None), UNINSTALL_EXE],
    "alpha": [("DisplayName", "alpha", None), UNINSTALL_EXE,
              # 0x0A0B0C0D: top byte, next byte, low 16 bits.
              ("Version", 0x0A0B0C0D, None), ("InstallDate", "2024013", None),
              ("EstimatedSize", "1000", "REG_SZ")],
    "Hidden": [("SystemComponent", 0, None), ("DisplayName", "Hidden", None), UNINSTALL_EXE],
    "NoUninstall": [("DisplayName", "No uninstall string", None)],
    "NoName": [UNINSTALL_EXE],
    "Beta": [("DisplayName", "Z\u00fcrich \u0141\u00f3d\u017a", None), UNINSTALL_EXE,
             ("VersionMajor", 5, None), ("InstallDate", 20240131, None), ("InstallLocation", "", None),
             ("Publisher", "", None)],
    "Delta": [("DisplayName", "Delta", None), UNINSTALL_EXE, ("VersionMajor", 5, None), ("VersionMinor", 12, None),
              ("InstallDate", b"\x20\x24", None), ("EstimatedSize", 0xFFFFFFFF, None)],
    "Epsilon": [("DisplayName", "Epsilon", None), UNINSTALL_EXE,
                ("DisplayVersion", r"%SystemRoot%\v2", "REG_EXPAND_SZ"),
                ("InstallDate", "19991231", "REG_EXPAND_SZ"), ("VersionMajor", 9, None)],
}
# Wine's `reg add` stores a REG_DWORD_BIG_ENDIAN number little-endian, as a
# REG_DWORD: 0x03D73401 is stored 01 34 D7 03, 20240131 in big-endian order.
SUBKEYS_32 = {
    "Zeta": [("DisplayName", "Zeta 32", None), UNINSTALL_EXE, ("Publisher", "Halvane", None),
             ("InstallDate", 0x03D73401, "REG_DWORD_BIG_ENDIAN")],
    "Shared": [("DisplayName", "Shared 32", None), UNINSTALL_EXE, ("Version", 0x01000002, "REG_DWORD_BIG_ENDIAN")],
}

SOFTWARE = b"installedSoftware"
OBJECTS_64 = [
    (SOFTWARE, b"alpha", [(b"name", b"alpha"), (b"version", b"10.11.3085"), (b"installedDate", b"2024013")]),
    (SOFTWARE, b"Beta", [(b"name", "Z\u00fcrich \u0141\u00f3d\u017a".encode()), (b"version", b"5"),
                         (b"installedDate", b"20240131"), (b"manufacturer", b"")]),
    (SOFTWARE, b"Delta", [(b"name", b"Delta"), (b"version", b"5.12"), (b"size", b"-1024")]),
    (SOFTWARE, b"Epsilon", [(b"name", b"Epsilon"), (b"version", b"C:\\windows\\v2"),
                            (b"installedDate", b"1999-12-31")]),
    (SOFTWARE, b"Gamma", [(b"name", b"Gamma Tool"), (b"version", b"3.1 beta"), (b"installedDate", b"2024-01-31"),
                          (b"manufacturer", b"Halvane & Co"), (b"installLocation", b"C:\\Program Files\\Gamma"),
                          (b"parent", b"ZentSuite"), (b"size", b"1024000")]),
    (SOFTWARE, b"Shared", [(b"name", b"Shared 64")]),
]
OBJECTS_32 = [
    # A big-endian Version is taken as stored.
    (SOFTWARE, b"Shared", [(b"name", b"Shared 32"), (b"version", b"1.0.2")]),
    (SOFTWARE, b"Zeta", [(b"name", b"Zeta 32"), (b"installedDate", b"20240131"), (b"manufacturer", b"Halvane")]),
]

VARIABLE = b"environmentVariable"
OBJECT = re.compile(rb'                    <HostMetaData type="environmentVariable" identifier="([^"]*)">\n'
                    rb"                        <Attributes>\n"
                    rb'                            <Attribute name="value" value="([^"]*)"/>\n'
                    rb"                        </Attributes>\n"
                    rb"                    </HostMetaData>\n")
UNESCAPES = [(b"&lt;", b"<"), (b"&gt;", b">"), (b"&quot;", b'"'), (b"&apos;", b"'"), (b"&amp;", b"&")]


class SavedKeys:
    """The keys as they stood, exported to .reg files; restore() deletes
    what the tests made and imports them again."""

    def __init__(self, *keys):
        self.folder = tempfile.TemporaryDirectory(prefix="zent-uninstall-")
        self.saved = {}
        for number, key in enumerate(keys):
            path = os.path.join(self.folder.name, f"saved{number}.reg")
            if key_exists(key):
                done = run(["reg", "export", key, windows_path(path), "/y"])
                assert done.exit_code == 0, done.stdout + done.stderr
                self.saved[key] = path
            else:
                self.saved[key] = None

    def clear(self):
        """Leaves each key empty."""
        for key in self.saved:
            delete_key(key, missing_ok=True)
            add_key(key)

    def restore(self):
        for key, path in self.saved.items():
            delete_key(key, missing_ok=True)
            if path is not None:
                done = run(["reg", "import", windows_path(path)])
                assert done.exit_code == 0, done.stdout + done.stderr
        self.folder.cleanup()


@contextlib.contextmanager
def planted_uninstall_keys():
    """Both keys holding the subkeys above alone; the prefix's own put back
    at the end. Gives the SavedKeys."""
    saved = SavedKeys(UNINSTALL, UNINSTALL_32)
    try:
        saved.clear()
        make_subkeys(UNINSTALL, SUBKEYS_64)
        make_subkeys(UNINSTALL_32, SUBKEYS_32)
        yield saved
    finally:
        saved.restore()


def ask(agent, document, request_id=106):
    """Sends the request through command 106 and returns the response file."""
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=document)
    assert reply.raw[:20] == b"QTNZ" + struct.pack("<IIII", 0, request_id, 0, 0)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return f.read()


def make_subkeys(root, subkeys):
    """subkeys: {name: [(value name, data, kind or None)]}, made in the order
    given, each by its own `reg add`."""
    for name, values in subkeys.items():
        key = root + "\\" + name
        add_key(key)
        for value_name, data, kind in values:
            set_value(key, value_name, data, kind)


def result(query_id, command_version, objects, hashed=True):
    """One HostMetaDataQueryResult at its depth in the response; objects are
    (type, identifier, [(name, value)]), all bytes. Without hash when hashed
    is False, as a result that failed half way stands."""
    parts = []
    for kind, identifier, attributes in objects:
        parts += [kind, identifier]
        for name, value in attributes:
            parts += [name, value]
    head = (b'            <HostMetaDataQueryResult commandVersion="' + command_version + b'" id="' + query_id
            + b'" hashAlg="SHA1"')
    if hashed:
        head += b' hash="' + digest(*parts).encode() + b'"'
    lines = [head + b">"]
    if not objects:
        lines.append(b"                <HostMetaDatas/>")
    else:
        lines.append(b"                <HostMetaDatas>")
        for kind, identifier, attributes in objects:
            lines.append(b'                    <HostMetaData type="' + kind + b'" identifier="' + printed(identifier)
                         + b'">')
            if attributes:
                lines.append(b"                        <Attributes>")
                for name, value in attributes:
                    lines.append(b'                            <Attribute name="' + name + b'" value="'
                                 + printed(value) + b'"/>')
                lines.append(b"                        </Attributes>")
            else:
                lines.append(b"                        <Attributes/>")
            lines.append(b"                    </HostMetaData>")
        lines.append(b"                </HostMetaDatas>")
    lines.append(b"            </HostMetaDataQueryResult>")
    return b"\n".join(lines) + b"\n"


def unescaped(text):
    for escaped, raw in UNESCAPES:
        text = text.replace(escaped, raw)
    return text


def objects_of(document):
    """The (identifier, value) pairs of the document's objects, in order."""
    return [(unescaped(name), unescaped(value)) for name, value in OBJECT.findall(document)]
