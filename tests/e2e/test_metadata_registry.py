"""The registry query families, "getRegistryValue" and "getRegistryKey",
through pipe command 106 against the agent running as a service, over keys
that the tests import. Whole response documents byte for byte, written by
hand from the result rules; each hash recomputed with hashlib.

Wine lists values and subkeys by their names folded to lower case; Windows
lists subkeys folded to upper case and values in the order they were made.
The names here are letters and digits (and a quote, below both) made in
that order, so that every order is the same."""
import struct

import pytest

from agent_host import running_agent
from registry_fixture import (BASE, EMPTY, KEYS, LONG_BASE, LONG_NAME, TREE, VALUES, digest, reg_import, remove_keys,
                              request, response, result)

@pytest.fixture(scope="module")
def keys():
    remove_keys()
    reg_import(KEYS)
    yield
    remove_keys()


@pytest.fixture
def agent(keys):
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


def reply_head(request_id, result_code):
    return b"QTNZ" + struct.pack("<IIII", 0, request_id, result_code, 0)


def ask(agent, document, request_id=90):
    """Sends the request through command 106 and returns the response file."""
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=document)
    assert reply.raw[:20] == reply_head(request_id, 0)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return f.read()


def value_query(query_id, value_name, key=VALUES):
    return (query_id, b"getRegistryValue", key, value_name)


def key_query(query_id, key):
    return (query_id, b"getRegistryKey", key, None)


def value_result(query_id, value_name, attributes, key=VALUES):
    return result(query_id, b"registryValue", key + b"\\" + value_name, attributes)


def test_every_value_type_and_its_text(agent):
    queries = [
        value_query(b"v01", b"Sz"),
        value_query(b"v02", b"SzZero"),
        value_query(b"v03", b"SzEmpty"),
        value_query(b"v04", b"Expand"),
        value_query(b"v05", b"Bin"),
        value_query(b"v06", b"BinOdd"),
        value_query(b"v07", b"Dword"),
        value_query(b"v08", b"DwordMax"),
        value_query(b"v09", b"DwordShort"),
        value_query(b"v10", b"DwordLong"),
        value_query(b"v11", b"Qword"),
        value_query(b"v12", b"Multi"),
        value_query(b"v13", b"MultiGap"),
        value_query(b"v14", b"MultiUnended"),
        value_query(b"v15", b"Surrogate"),
        value_query(b"v16", b"NoType"),
        value_query(b"v17", b"Unicode"),
    ]
    expected = response(b"reg-types", [
        value_result(b"v01", b"Sz", [(b"type", b"1"), (b"value", b"plain text")]),
        # A REG_SZ stops at its first inner zero.
        value_result(b"v02", b"SzZero", [(b"type", b"1"), (b"value", b"ab")]),
        value_result(b"v03", b"SzEmpty", [(b"type", b"1"), (b"value", b"")]),
        value_result(b"v04", b"Expand", [(b"type", b"2"), (b"rawValue", b"%SystemRoot%\\zent"),
                                         (b"value", b"C:\\windows\\zent")]),
        value_result(b"v05", b"Bin", [(b"type", b"3"), (b"value", b"4142")]),
        value_result(b"v06", b"BinOdd", [(b"type", b"3"), (b"value", b"c3a90041f09f9880efbfbd")]),
        value_result(b"v07", b"Dword", [(b"type", b"4"), (b"value", b"42")]),
        value_result(b"v08", b"DwordMax", [(b"type", b"4"), (b"value", b"-1")]),
        # 01 02 fills the low bytes: 0x0201.
        value_result(b"v09", b"DwordShort", [(b"type", b"4"), (b"value", b"513")]),
        # Eight bytes do not fit the read: the type alone.
        value_result(b"v10", b"DwordLong", [(b"type", b"4")]),
        value_result(b"v11", b"Qword", [(b"type", b"11")]),
        value_result(b"v12", b"Multi", [(b"type", b"7"), (b"string1", b"a"), (b"string2", b"b")]),
        value_result(b"v13", b"MultiGap", [(b"type", b"7"), (b"string1", b"a")]),
        # No closing zeros: the last string ends with the data.
        value_result(b"v14", b"MultiUnended", [(b"type", b"7"), (b"string1", b"a"), (b"string2", b"bc")]),
        value_result(b"v15", b"Surrogate", [(b"type", b"1"), (b"value", b"a\xef\xbf\xbdb")]),
        value_result(b"v16", b"NoType", [(b"type", b"0")]),
        value_result(b"v17", b"Unicode", [(b"type", b"1"), (b"value", "Z\u00fcrich \u0141\u00f3d\u017a".encode())]),
    ])
    assert ask(agent, request(b"reg-types", queries)) == expected


def test_default_value_by_at_and_by_empty_name(agent):
    queries = [value_query(b"d1", b"@"), value_query(b"d2", b""), (b"d3", b"getRegistryValue", VALUES, None)]
    # "@" stays in the identifier; an empty or missing name leaves the
    # identifier ending in the backslash.
    expected = response(b"reg-default", [
        value_result(b"d1", b"@", [(b"type", b"1"), (b"value", b"the default")]),
        value_result(b"d2", b"", [(b"type", b"1"), (b"value", b"the default")]),
        value_result(b"d3", b"", [(b"type", b"1"), (b"value", b"the default")]),
    ])
    assert ask(agent, request(b"reg-default", queries)) == expected


def test_identifier_keeps_the_key_path_as_received(agent):
    lower = VALUES.lower()
    queries = [value_query(b"i1", b"Sz", VALUES + b"\\"), value_query(b"i2", b"sz", lower),
               value_query(b"i3", b"Sz", b"HKEY_LOCAL_MACHINE\\" + BASE.encode() + b"\\Values")]
    expected = response(b"reg-ids", [
        # The trailing backslash doubles.
        result(b"i1", b"registryValue", VALUES + b"\\\\Sz", [(b"type", b"1"), (b"value", b"plain text")]),
        result(b"i2", b"registryValue", lower + b"\\sz", [(b"type", b"1"), (b"value", b"plain text")]),
        result(b"i3", b"registryValue", b"HKEY_LOCAL_MACHINE\\" + BASE.encode() + b"\\Values\\Sz",
               [(b"type", b"1"), (b"value", b"plain text")]),
    ])
    assert ask(agent, request(b"reg-ids", queries)) == expected


def test_quotes_in_names_stay_bare_and_tinyxml2_escapes_them(agent):
    queries = [value_query(b"q1", b'Quote"d'), key_query(b"q2", TREE)]
    tree = TREE.decode()
    values = VALUES.decode()
    value = b'say "hi" & <bye>'
    expected_text = f"""<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults>
            <HostMetaDataQueryResult commandVersion="1" id="q1" hashAlg="SHA1" hash="{{q1}}">
                <HostMetaDatas>
                    <HostMetaData type="registryValue" identifier="{values}\\Quote&quot;d">
                        <Attributes>
                            <Attribute name="type" value="1"/>
                            <Attribute name="value" value="say &quot;hi&quot; &amp; &lt;bye&gt;"/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
            <HostMetaDataQueryResult commandVersion="1" id="q2" hashAlg="SHA1" hash="{{q2}}">
                <HostMetaDatas>
                    <HostMetaData type="registryKey" identifier="{tree}">
                        <Attributes>
                            <Attribute name="subkeys" value="&quot;Alpha&quot;,&quot;Beta&quot;,&quot;Q&quot;k&quot;"/>
                            <Attribute name="valuenames" value="&quot;@&quot;,&quot;n1&quot;,&quot;v&quot;x&quot;"/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
        </HostMetaDataQueryResults>
        <RequestID>reg-quotes</RequestID>
    </Response>
</Message>
"""
    q1 = digest(b"registryValue", VALUES + b'\\Quote"d', b"type", b"1", b"value", value)
    q2 = digest(b"registryKey", TREE, b"subkeys", b'"Alpha","Beta","Q"k"', b"valuenames", b'"@","n1","v"x"')
    expected = expected_text.replace("{q1}", q1).replace("{q2}", q2).encode()
    assert ask(agent, request(b"reg-quotes", queries)) == expected


def test_key_without_subkeys_or_values_has_empty_attributes(agent):
    expected = response(b"reg-empty", [result(b"e1", b"registryKey", EMPTY, [])])
    assert ask(agent, request(b"reg-empty", [key_query(b"e1", EMPTY)])) == expected


def test_value_name_longer_than_the_enumeration_buffer_ends_the_list(agent):
    expected = response(b"reg-long", [result(b"l1", b"registryKey", LONG_NAME, [(b"valuenames", b'"a1"')])])
    assert ask(agent, request(b"reg-long", [key_query(b"l1", LONG_NAME)])) == expected
    agent.wait_for_log(r"\]\[GetNextValue:\d+\] Can't enumerate values of key '"
                       + (LONG_BASE + r"\LongName").replace("\\", r"\\") + r"', err=234\r\n")


def test_absent_value_has_no_result_but_its_success_line(agent):
    document = request(b"reg-absent", [value_query(b"a1", b"Absent")])
    assert ask(agent, document) == response(b"reg-absent", [])
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdRegistryValue succeeded: key\("
                       + VALUES.decode().replace("\\", r"\\") + r"\), value\(Absent\)\r\n")


def test_absent_key_has_no_result_and_no_success_line(agent):
    missing = b"HKLM\\" + BASE.encode() + b"\\NoSuchKey"
    document = request(b"reg-nokey", [value_query(b"n1", b"Sz", missing), key_query(b"n2", missing)])
    assert ask(agent, document) == response(b"reg-nokey", [])
    agent.wait_for_log(r"\] Can't open registry key '" + (LONG_BASE + r"\NoSuchKey").replace("\\", r"\\")
                       + r"', err=2\r\n")
    assert "succeeded: key(HKLM\\" + BASE + "\\NoSuchKey" not in agent.test_log()


def test_root_alone_logs_the_invalid_prefix_and_has_no_result(agent):
    document = request(b"reg-root", [key_query(b"r1", b"HKLM"), value_query(b"r2", b"x", b"HKLM")])
    assert ask(agent, document) == response(b"reg-root", [])
    agent.wait_for_log(r"\]\[ExtractKeyName:\d+\] invalid key prefix: root\(\), key\(HKLM\)\r\n")


def test_root_with_empty_path_has_no_result(agent):
    document = request(b"reg-emptypath", [key_query(b"p1", b"HKLM\\"), value_query(b"p2", b"x", b"HKLM\\")])
    assert ask(agent, document) == response(b"reg-emptypath", [])
    assert "GetHmdRegistryKey succeeded" not in agent.test_log()
