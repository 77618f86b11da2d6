"""The registry query families over large and odd registry content, through
pipe command 106: values of 1 MiB, names of 16,383 characters, a key of
100,000 values, names and data with surrogates that have no partner."""
import struct

import pytest

from agent_host import running_agent
from registry_fixture import BASE, hex_data, reg_import, remove_keys, request, response, result, utf16z

MiB = 1 << 20
BIG = b"HKLM\\" + BASE.encode() + b"\\Big"
NAMES = b"HKLM\\" + BASE.encode() + b"\\Names"
MANY = b"HKLM\\" + BASE.encode() + b"\\Many"
LONGEST = "n" * 16383
# A subkey whose name holds a high surrogate without its partner, and a
# value whose data holds a low one.
LONE_HIGH = "a\ud800b"
LONE_LOW_DATA = "x".encode("utf-16-le") + bytes.fromhex("00dc") + utf16z("y")

# 1 MiB of REG_BINARY: the bytes 41 00 repeated, "A" as UTF-16 each pair.
BIG_BINARY = b"A\0" * (MiB // 2)
# 1 MiB of REG_SZ: 524,287 letters and the closing zero.
BIG_TEXT = "z" * (MiB // 2 - 1)


def reg_line(name, data_hex, kind):
    return f'"{name}"={kind}:{data_hex}'


@pytest.fixture(scope="module")
def keys():
    remove_keys()
    reg_import({
        BASE + r"\Big": [reg_line("Bin", hex_data(BIG_BINARY), "hex"),
                         reg_line("Text", hex_data(utf16z(BIG_TEXT)), "hex(1)")],
        BASE + r"\Names": [reg_line("Lone", hex_data(LONE_LOW_DATA), "hex(1)"),
                           reg_line(LONGEST, hex_data(utf16z("longest")), "hex(1)")],
        BASE + "\\Names\\" + LONE_HIGH: [],
    })
    yield
    remove_keys()


@pytest.fixture
def agent(keys):
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1, "FlushDebugLogTimer": 200}})


def ask(agent, document, request_id=91):
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=document, timeout_ms=120000)
    assert reply.raw[:20] == b"QTNZ" + struct.pack("<IIII", 0, request_id, 0, 0)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return f.read()


def test_values_of_one_mebibyte_come_whole(agent):
    document = request(b"big", [(b"1", b"getRegistryValue", BIG, b"Bin"), (b"2", b"getRegistryValue", BIG, b"Text")])
    expected = response(b"big", [
        result(b"1", b"registryValue", BIG + b"\\Bin", [(b"type", b"3"), (b"value", b"41" * (MiB // 2))]),
        result(b"2", b"registryValue", BIG + b"\\Text", [(b"type", b"1"), (b"value", BIG_TEXT.encode())]),
    ])
    assert ask(agent, document) == expected


def test_value_name_of_16383_characters_is_read_but_ends_the_list(agent):
    # RegEnumValueW's buffer of 2,048 characters cannot take the name: the
    # list ends before it.
    document = request(b"names", [(b"1", b"getRegistryValue", NAMES, LONGEST.encode()),
                                  (b"2", b"getRegistryKey", NAMES, None)])
    expected = response(b"names", [
        result(b"1", b"registryValue", NAMES + b"\\" + LONGEST.encode(), [(b"type", b"1"), (b"value", b"longest")]),
        result(b"2", b"registryKey", NAMES, [(b"subkeys", b'"a\xef\xbf\xbdb"'), (b"valuenames", b'"Lone"')]),
    ])
    assert ask(agent, document) == expected
    agent.wait_for_log(r"\]\[GetNextValue:\d+\] Can't enumerate values of key 'HKEY_LOCAL_MACHINE\\"
                       + BASE.replace("\\", r"\\") + r"\\Names', err=234\r\n")


def test_lone_surrogates_become_the_replacement_character(agent):
    # In a subkey's name (above) and in a value's data.
    document = request(b"lone", [(b"1", b"getRegistryValue", NAMES, b"Lone")])
    expected = response(b"lone", [
        result(b"1", b"registryValue", NAMES + b"\\Lone", [(b"type", b"1"), (b"value", b"x\xef\xbf\xbdy")])])
    assert ask(agent, document) == expected


def test_key_of_100000_values_lists_them_all(agent):
    names = [f"v{i:06d}" for i in range(100000)]
    reg_import({BASE + r"\Many": [f'"{name}"=dword:00000001' for name in names]})
    expected = response(b"many", [
        result(b"1", b"registryKey", MANY, [(b"valuenames", ",".join(f'"{n}"' for n in names).encode())])])
    assert ask(agent, request(b"many", [(b"1", b"getRegistryKey", MANY, None)])) == expected
