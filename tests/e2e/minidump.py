"""A reader of the crash dumps that dbghelp's MiniDumpWriteDump writes, for
what the crash capture's tests check: the header, the stream directory, the
exception stream, the module list and the Memory64 list.

The layout, all little-endian and packed to 4 bytes: a 32-byte header
("MDMP", version, stream count, directory offset, checksum, time stamp,
64-bit flags); the directory, 12 bytes a stream (type, size, offset); the
exception stream (thread id, alignment, the exception record: code, flags,
record, address, parameter count, alignment, 15 parameters; the context's
size and offset); the module list (a count, then 108 bytes a module: base,
size, checksum, time stamp, the offset of its name, which is a 32-bit byte
length followed by UTF-16); the Memory64 list (a 64-bit count, the 64-bit
offset of the first range's bytes, then start and size of each range).

Offsets are into the file; the reader takes anything that slices as bytes
(bytes, an mmap), so that a dump of a hundred megabytes is not read whole."""
import dataclasses
import mmap
import struct

SIGNATURE = b"MDMP"
MODULE_LIST_STREAM = 4
EXCEPTION_STREAM = 6
MEMORY64_LIST_STREAM = 9
MODULE_SIZE = 108


class MinidumpError(ValueError):
    pass


@dataclasses.dataclass
class Module:
    base: int
    size: int
    name: str

    def holds(self, address):
        return self.base <= address < self.base + self.size


@dataclasses.dataclass
class ExceptionRecord:
    thread_id: int
    code: int
    address: int


@dataclasses.dataclass
class Minidump:
    version: int  # the low 16 bits are 0xA793
    flags: int  # the dump type it was written with: 2 MiniDumpWithFullMemory
    streams: dict  # type -> (size, offset)
    exception: ExceptionRecord  # None without an exception stream
    modules: list  # [Module]; empty without a module list
    memory64: list  # [(start, size)]; None without a Memory64 list
    memory64_base: int  # where the first range's bytes begin; None likewise


def _unpack(data, offset, layout):
    size = struct.calcsize(layout)
    if offset < 0 or offset + size > len(data):
        raise MinidumpError(f"{size} bytes at {offset} past the end ({len(data)})")
    return struct.unpack(layout, data[offset:offset + size])


def parse(data):
    """The Minidump in data; MinidumpError when it is none or is cut short."""
    if len(data) < 32 or data[:4] != SIGNATURE:
        raise MinidumpError("no MDMP signature")
    _, version, count, directory, _, _, flags = _unpack(data, 0, "<4sIIIIIQ")
    streams = {}
    for i in range(count):
        kind, size, offset = _unpack(data, directory + 12 * i, "<III")
        streams.setdefault(kind, (size, offset))
    exception = None
    if EXCEPTION_STREAM in streams:
        offset = streams[EXCEPTION_STREAM][1]
        thread_id, = _unpack(data, offset, "<I")
        code, _, _, address = _unpack(data, offset + 8, "<IIQQ")
        exception = ExceptionRecord(thread_id, code, address)
    modules = []
    if MODULE_LIST_STREAM in streams:
        offset = streams[MODULE_LIST_STREAM][1]
        number, = _unpack(data, offset, "<I")
        for i in range(number):
            at = offset + 4 + MODULE_SIZE * i
            base, size, _, _, name_offset = _unpack(data, at, "<QIIII")
            length, = _unpack(data, name_offset, "<I")
            name = bytes(_unpack(data, name_offset + 4, f"<{length}s")[0]).decode("utf-16-le")
            modules.append(Module(base, size, name))
    memory64 = memory64_base = None
    if MEMORY64_LIST_STREAM in streams:
        offset = streams[MEMORY64_LIST_STREAM][1]
        number, memory64_base = _unpack(data, offset, "<QQ")
        memory64 = [_unpack(data, offset + 16 + 16 * i, "<QQ") for i in range(number)]
    return Minidump(version, flags, streams, exception, modules, memory64, memory64_base)


def read(path):
    """parse() of a dump file, mapped rather than read."""
    with open(path, "rb") as f, mmap.mmap(f.fileno(), 0, access=mmap.ACCESS_READ) as data:
        return parse(data)
