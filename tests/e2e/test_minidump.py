"""The crash dump reader on dumps made by hand, byte by byte in the file's
layout: a header, its directory, an exception stream, a module list with
two modules, a Memory64 list of two ranges, and a stream the reader does
not know."""
import pytest

from minidump import ExceptionRecord, MinidumpError, Module, parse


def u32(value):
    return value.to_bytes(4, "little")


def u64(value):
    return value.to_bytes(8, "little")


def name(text):
    encoded = text.encode("utf-16-le")
    return u32(len(encoded)) + encoded + b"\0\0"


def module(base, size, name_offset):
    # base, size, checksum, time stamp, name offset; the version record (52
    # bytes), the two location records and the two reserved words (32).
    return u64(base) + u32(size) + u32(0x1234) + u32(0x5678) + u32(name_offset) + bytes(52) + bytes(32)


# Offsets of the hand-made dump's parts.
DIRECTORY = 32
EXCEPTION = DIRECTORY + 4 * 12  # 80
EXCEPTION_SIZE = 168
MODULES = EXCEPTION + EXCEPTION_SIZE  # 248
MODULES_SIZE = 4 + 2 * 108  # 220
MEMORY64 = MODULES + MODULES_SIZE  # 468
MEMORY64_SIZE = 16 + 2 * 16  # 48
NAMES = MEMORY64 + MEMORY64_SIZE  # 516
FIRST_NAME = name("C:\\windows\\system32\\ntdll.dll")  # 4 + 58 + 2 = 64 bytes
SECOND_NAME_AT = NAMES + len(FIRST_NAME)


def dump():
    header = b"MDMP" + u32(0x0000A793) + u32(4) + u32(DIRECTORY) + u32(0) + u32(0x5F5E100) + u64(2)
    directory = (u32(6) + u32(EXCEPTION_SIZE) + u32(EXCEPTION)
                 + u32(0x4B) + u32(0) + u32(0)
                 + u32(4) + u32(MODULES_SIZE) + u32(MODULES)
                 + u32(9) + u32(MEMORY64_SIZE) + u32(MEMORY64))
    exception = (u32(0x01A4) + u32(0)
                 + u32(0xC0000005) + u32(0) + u64(0) + u64(0x7FFB12345678) + u32(2) + u32(0)
                 + u64(1) + u64(0) + bytes(13 * 8)
                 + u32(1232) + u32(0))
    assert len(exception) == EXCEPTION_SIZE
    modules = u32(2) + module(0x7FFB00000000, 0x200000, NAMES) + module(0x7FFB12300000, 0x60000, SECOND_NAME_AT)
    memory64 = u64(2) + u64(0x1000) + u64(0x10000) + u64(0x2000) + u64(0x7FFB12300000) + u64(0x1000)
    names = FIRST_NAME + name("C:\\ZentE2e\\mli.dll")
    return header + directory + exception + modules + memory64 + names


def test_the_header_gives_the_version_and_the_dump_type():
    read = parse(dump())
    assert (read.version, read.flags) == (0xA793, 2)


def test_the_directory_lists_every_stream_with_its_size_and_offset():
    assert parse(dump()).streams == {6: (168, 80), 0x4B: (0, 0), 4: (220, 248), 9: (48, 468)}


def test_the_exception_stream_gives_thread_code_and_address():
    assert parse(dump()).exception == ExceptionRecord(0x01A4, 0xC0000005, 0x7FFB12345678)


def test_the_module_list_gives_each_modules_range_and_name():
    assert parse(dump()).modules == [Module(0x7FFB00000000, 0x200000, "C:\\windows\\system32\\ntdll.dll"),
                                     Module(0x7FFB12300000, 0x60000, "C:\\ZentE2e\\mli.dll")]


def test_a_module_holds_the_addresses_from_its_base_up_to_its_end():
    mli = Module(0x7FFB12300000, 0x60000, "mli.dll")
    assert [mli.holds(a) for a in (0x7FFB122FFFFF, 0x7FFB12300000, 0x7FFB1235FFFF, 0x7FFB12360000)] == \
        [False, True, True, False]


def test_the_memory64_list_gives_the_ranges_and_where_their_bytes_begin():
    read = parse(dump())
    assert (read.memory64, read.memory64_base) == ([(0x10000, 0x2000), (0x7FFB12300000, 0x1000)], 0x1000)


def test_a_dump_without_those_streams_has_none_of_them():
    header = b"MDMP" + u32(0xA793) + u32(1) + u32(32) + u32(0) + u32(0) + u64(0)
    read = parse(header + u32(7) + u32(0) + u32(0))
    assert (read.exception, read.modules, read.memory64, read.memory64_base) == (None, [], None, None)


def test_an_empty_file_is_no_dump():
    with pytest.raises(MinidumpError):
        parse(b"")


def test_a_file_of_another_signature_is_no_dump():
    with pytest.raises(MinidumpError):
        parse(b"MDMQ" + bytes(28))


def test_a_directory_past_the_end_of_the_file_is_an_error():
    header = b"MDMP" + u32(0xA793) + u32(3) + u32(32) + u32(0) + u32(0) + u64(2)
    with pytest.raises(MinidumpError):
        parse(header + u32(6) + u32(168) + u32(44))
