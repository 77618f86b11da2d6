"""Registry values of every kind the agent uses survive a round trip through
Wine's reg."""
import os

import pytest

from winehost import (RegistryError, add_key, delete_key, delete_value, key_exists, read_key, read_value,
                      set_value, subkeys)
from winehost.registry import parse_reg_file

KEY = rf"HKLM\SOFTWARE\ZentE2e\Registry{os.getpid()}"


@pytest.fixture
def key():
    add_key(KEY)
    yield KEY
    delete_key(KEY, missing_ok=True)


def test_values_of_each_kind_read_back_as_written(key):
    set_value(key, "DriverStatus", 4294967295)
    set_value(key, "Path", 'C:\\Program Files\\Zent "agent"')
    set_value(key, "Unicode", "Z\u00fcrich \u6771\u4eac")
    set_value(key, "Blob", b"\x00\xff\x10")
    set_value(key, "List", ["a", "b c"])
    set_value(key, "Expand", "%SystemRoot%\\x", kind="REG_EXPAND_SZ")
    set_value(key, "Big", 2**64 - 1, kind="REG_QWORD")
    set_value(key, None, "default")
    assert read_key(key) == {
        "DriverStatus": ("REG_DWORD", 4294967295),
        "Path": ("REG_SZ", 'C:\\Program Files\\Zent "agent"'),
        "Unicode": ("REG_SZ", "Z\u00fcrich \u6771\u4eac"),
        "Blob": ("REG_BINARY", b"\x00\xff\x10"),
        "List": ("REG_MULTI_SZ", ["a", "b c"]),
        "Expand": ("REG_EXPAND_SZ", "%SystemRoot%\\x"),
        "Big": ("REG_QWORD", 2**64 - 1),
        None: ("REG_SZ", "default"),
    }


def test_missing_value_reads_as_the_default(key):
    assert read_value(key, "Nothing") is None
    assert read_value(key, "Nothing", default=0) == 0


def test_deleted_value_is_gone(key):
    set_value(key, "PolicyStatus", 1)
    assert delete_value(key, "PolicyStatus") is True
    assert read_value(key, "PolicyStatus") is None
    assert delete_value(key, "PolicyStatus", missing_ok=True) is False


def test_subkeys_are_listed_and_deleted_with_their_parent(key):
    add_key(key + r"\One")
    add_key(key + r"\Two\Deeper")
    assert subkeys(key) == ["One", "Two"]
    delete_key(key)
    assert not key_exists(key)
    assert read_key(key) is None


def test_deleting_a_missing_key_is_an_error_unless_allowed():
    with pytest.raises(RegistryError):
        delete_key(KEY + r"\Missing")
    assert delete_key(KEY + r"\Missing", missing_ok=True) is False


def test_reg_file_parsing_follows_the_export_format():
    text = ('Windows Registry Editor Version 5.00\r\n\r\n'
            '[HKEY_LOCAL_MACHINE\\SOFTWARE\\X]\r\n'
            '@="d"\r\n'
            '"Quote\\"d"="a\\\\b"\r\n'
            '"N"=dword:0000002a\r\n'
            '"E"=hex(2):25,00,41,00,\\\r\n  25,00,00,00\r\n'
            '"Q"=hex(b):01,00,00,00,00,00,00,00\r\n')
    assert parse_reg_file(text) == {"HKEY_LOCAL_MACHINE\\SOFTWARE\\X": {
        None: ("REG_SZ", "d"),
        'Quote"d': ("REG_SZ", "a\\b"),
        "N": ("REG_DWORD", 42),
        "E": ("REG_EXPAND_SZ", "%A%"),
        "Q": ("REG_QWORD", 1),
    }}
