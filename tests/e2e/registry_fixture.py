"""Registry keys for the registry query tests, made by `reg import` of a
UTF-16 .reg file (Wine's `reg add` refuses a REG_MULTI_SZ with an empty
inner string), and the expected result documents, written in tinyxml2's
indented form, with each hash recomputed with hashlib."""
import hashlib
import os
import tempfile

from winehost import delete_key, run, windows_path

# The tests' keys; the documents name them as the queries do.
BASE = r"SOFTWARE\ZentE2e\RegQuery"
LONG_BASE = "HKEY_LOCAL_MACHINE\\" + BASE


def hex_data(data):
    return ",".join(f"{b:02x}" for b in data)


def utf16z(text):
    """A string's stored bytes: UTF-16 with its closing zero."""
    return (text + "\0").encode("utf-16-le")


def reg_import(sections):
    """Imports {key path below HKLM: [lines after the section head]}."""
    lines = ["Windows Registry Editor Version 5.00", ""]
    for path, entries in sections.items():
        lines.append(f"[HKEY_LOCAL_MACHINE\\{path}]")
        lines.extend(entries)
        lines.append("")
    with tempfile.TemporaryDirectory(prefix="zent-regquery-") as folder:
        file = os.path.join(folder, "keys.reg")
        with open(file, "wb") as f:
            # Names may hold surrogates without their partners, as the
            # registry allows.
            f.write("\r\n".join(lines).encode("utf-16", "surrogatepass"))
        done = run(["reg", "import", windows_path(file)], timeout=600)
        assert done.exit_code == 0, done.stdout + done.stderr


def remove_keys():
    delete_key("HKLM\\" + BASE, missing_ok=True)


def digest(*parts):
    """The hash attribute of a result whose objects give these bytes in
    document order: type, identifier, then name and value of each attribute."""
    raw = hashlib.sha1(b"".join(parts)).hexdigest().upper()
    return ":".join(raw[i:i + 2] for i in range(0, 40, 2))


# What tinyxml2 writes for the five characters it escapes in an attribute.
ESCAPES = [(b"&", b"&amp;"), (b"<", b"&lt;"), (b">", b"&gt;"), (b'"', b"&quot;"), (b"'", b"&apos;")]


def printed(value):
    for raw, escaped in ESCAPES:
        value = value.replace(raw, escaped)
    return value


def result(query_id, kind, identifier, attributes, command_version=b"1"):
    """One HostMetaDataQueryResult with one object, at its depth in the
    response; attributes is a list of (name, value), all bytes."""
    parts = [kind, identifier]
    for name, value in attributes:
        parts += [name, value]
    lines = [b'            <HostMetaDataQueryResult commandVersion="' + command_version + b'" id="' + query_id
             + b'" hashAlg="SHA1" hash="' + digest(*parts).encode() + b'">',
             b"                <HostMetaDatas>",
             b'                    <HostMetaData type="' + kind + b'" identifier="' + printed(identifier) + b'">']
    if attributes:
        lines.append(b"                        <Attributes>")
        for name, value in attributes:
            lines.append(b'                            <Attribute name="' + name + b'" value="' + printed(value)
                         + b'"/>')
        lines.append(b"                        </Attributes>")
    else:
        lines.append(b"                        <Attributes/>")
    lines += [b"                    </HostMetaData>", b"                </HostMetaDatas>",
              b"            </HostMetaDataQueryResult>"]
    return b"\n".join(lines) + b"\n"


def response(request_id, results):
    """The whole response document around the results."""
    if not results:
        middle = b"        <HostMetaDataQueryResults/>\n"
    else:
        middle = b"        <HostMetaDataQueryResults>\n" + b"".join(results) + b"        </HostMetaDataQueryResults>\n"
    return (b"<Message>\n"
            b'    <Response cmd="GetHostMetaData" code="0">\n' + middle +
            b"        <RequestID>" + request_id + b"</RequestID>\n"
            b"    </Response>\n"
            b"</Message>\n")


def request(request_id, queries):
    """A request document; queries are (id, query, arg1, arg2 or None), all
    bytes, escaped into their attributes."""
    lines = [b"<Message><Request><RequestID>" + request_id + b"</RequestID><HostMetaDataQueries>"]
    for query_id, query, arg1, arg2 in queries:
        line = b'<HostMetaDataQuery id="' + query_id + b'" query="' + query + b'" arg1="' + printed(arg1) + b'"'
        if arg2 is not None:
            line += b' arg2="' + printed(arg2) + b'"'
        lines.append(line + b"/>")
    lines.append(b"</HostMetaDataQueries></Request></Message>")
    return b"\n".join(lines) + b"\n"


# --- the keys the query tests read -------------------------------------------------

VALUES = b"HKLM\\" + BASE.encode() + b"\\Values"
TREE = b"HKLM\\" + BASE.encode() + b"\\Tree"
EMPTY = b"HKLM\\" + BASE.encode() + b"\\Empty"
LONG_NAME = b"HKLM\\" + BASE.encode() + b"\\LongName"

# REG_BINARY bytes: e9 00 (U+00E9), 00 00 (a zero unit), 41 00, the pair
# 3d d8 00 de (U+1F600), 01 d8 (a lone surrogate), 00 00 (the closing zero,
# dropped), and an odd 7f, lost.
ODD_BINARY = bytes.fromhex("e90000004100" "3dd800de" "01d8" "0000" "7f")

KEYS = {
    BASE + r"\Values": [
        '@="the default"',
        '"Sz"="plain text"',
        f'"SzZero"=hex(1):{hex_data(utf16z("ab") + utf16z("cd"))}',
        '"SzEmpty"=hex(1):',
        '"Expand"=hex(2):' + hex_data(utf16z("%SystemRoot%\\zent")),
        '"Bin"=hex:' + hex_data(b"A\0B\0"),
        f'"BinOdd"=hex:{hex_data(ODD_BINARY)}',
        '"Dword"=dword:0000002a',
        '"DwordMax"=dword:ffffffff',
        '"DwordShort"=hex(4):01,02',
        '"DwordLong"=hex(4):01,00,00,00,00,00,00,00',
        '"Qword"=hex(b):01,00,00,00,00,00,00,00',
        f'"Multi"=hex(7):{hex_data(utf16z("a") + utf16z("b") + utf16z(""))}',
        f'"MultiGap"=hex(7):{hex_data(utf16z("a") + utf16z("") + utf16z("b") + utf16z(""))}',
        f'"MultiUnended"=hex(7):{hex_data("a".encode("utf-16-le") + utf16z("") + "bc".encode("utf-16-le"))}',
        f'"Surrogate"=hex(1):{hex_data("a".encode("utf-16-le") + bytes.fromhex("00d8") + utf16z("b"))}',
        '"NoType"=hex(0):01,02',
        '"Quote\\"d"="say \\"hi\\" & <bye>"',
        '"Unicode"="Z\u00fcrich \u0141\u00f3d\u017a"',
    ],
    BASE + r"\Tree": ['@="d"', '"n1"="x"', '"v\\"x"="y"'],
    BASE + r"\Tree\Alpha": [],
    BASE + r"\Tree\Beta": [],
    BASE + r'\Tree\Q"k': [],
    BASE + r"\Empty": [],
    # Wine refuses a value name of 2,048 characters in RegEnumValueW's
    # buffer of 2,048 with ERROR_MORE_DATA, as Windows does.
    BASE + r"\LongName": ['"a1"="1"', '"' + "b" * 2048 + '"="2"', '"c1"="3"'],
}
