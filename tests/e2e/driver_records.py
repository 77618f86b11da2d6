"""The filter driver's 192-byte event records, built from named fields, and
the scripts in which the driver's stand-in (mli.dll, knob LogScript) plays
them to the agent's mli_get_log.

Field offsets and types follow the driver's record layout; multi-byte fields
are little-endian except etherType and what sits inside the frame headers,
which the driver copies in network order."""
import ipaddress
import struct

RECORD_SIZE = 192

# name: (offset, struct format). Byte fields take bytes of at most their size.
FIELDS = {
    "timeSeconds": (0, "<I"),
    "timeMicroseconds": (4, "<I"),
    "column15Value": (20, "<h"),
    "eventCode": (22, "<h"),
    "logId": (24, "<i"),
    "column18Value": (28, "<i"),
    "column21Value": (32, "<I"),
    "column20Value": (36, "<H"),
    "layerFlags": (38, "<H"),
    "column4Length": (40, "<I"),
    "column4Bytes": (44, "8s"),
    "column14Value": (52, "<I"),
    "column19Length": (56, "<H"),
    "dataLength": (58, "<H"),
    "column19Bytes": (60, "16s"),
    "payloadLength": (76, "<H"),
    "column24Value": (78, "<H"),
    "recordFlags": (84, "<H"),
    "secondSeconds": (88, "<I"),
    "secondMicroseconds": (92, "<I"),
    "trailerValue": (96, "<I"),
    "column23Value": (100, "<H"),
    "ethernetDestination": (102, "6s"),
    "ethernetSource": (108, "6s"),
    "etherType": (114, ">H"),
    "ipHeader": (120, "40s"),
    "transportHeader": (160, "24s"),
    "dataPointer": (184, "<Q"),
}

# layerFlags
LAYER_COLUMN2 = 0x01
LAYER_COLUMN3 = 0x02
LAYER_ETHERNET = 0x08
LAYER_IPV4 = 0x10
LAYER_IPV6 = 0x20
LAYER_TRANSPORT = 0x40
# recordFlags: the payload follows; the record is not to be logged.
RECORD_PAYLOAD = 0x02
RECORD_NOT_LOGGED = 0x40

# TCP flag bits of the byte at offset 173.
FIN, SYN, RST, PSH, ACK, URG, ECE, CWR = (1 << n for n in range(8))

# IP protocol numbers.
ICMP, TCP, UDP = 1, 6, 17


def record(*parts, **fields):
    """A 192-byte record. parts are dicts of fields from the frame builders
    below; fields are given by name. layerFlags of all of them are OR-ed, any
    other field given twice takes the last value. Fields left out are zero."""
    merged = {}
    layers = 0
    for part in (*parts, fields):
        for name, value in part.items():
            if name == "layerFlags":
                layers |= value
            else:
                merged[name] = value
    merged["layerFlags"] = layers
    block = bytearray(RECORD_SIZE)
    for name, value in merged.items():
        offset, form = FIELDS[name]
        if form.endswith("s"):
            size = struct.calcsize(form)
            if len(value) > size:
                raise ValueError(f"{name}: {len(value)} bytes, at most {size}")
            block[offset:offset + len(value)] = value
        else:
            struct.pack_into(form, block, offset, value)
    return bytes(block)


def mac(text):
    """b'...' of "00:11:22:33:44:55"."""
    return bytes.fromhex(text.replace(":", ""))


def ethernet(source, destination, ether_type):
    """The Ethernet header: MAC addresses as "00:11:22:33:44:55"."""
    return {"ethernetSource": mac(source), "ethernetDestination": mac(destination), "etherType": ether_type,
            "layerFlags": LAYER_ETHERNET}


def ipv4(protocol, source, destination, total_length=0, fragment=0, df=False, mf=False):
    """An IPv4 header: protocol number, dotted addresses, total length, and
    the fragment word as the offset in 8-byte units with DF and MF beside it."""
    word = (fragment & 0x1FFF) | (0x4000 if df else 0) | (0x2000 if mf else 0)
    header = struct.pack(">BBHHHBBH4s4s", 0x45, 0, total_length, 0, word, 64, protocol, 0,
                         ipaddress.IPv4Address(source).packed, ipaddress.IPv4Address(destination).packed)
    return {"ipHeader": header, "layerFlags": LAYER_IPV4}


def ipv6(next_header, source, destination, payload_length=0):
    """An IPv6 header: next header number, addresses in any IPv6 notation."""
    header = struct.pack(">IHBB16s16s", 0x60000000, payload_length, next_header, 64,
                         ipaddress.IPv6Address(source).packed, ipaddress.IPv6Address(destination).packed)
    return {"ipHeader": header, "layerFlags": LAYER_IPV6}


def tcp(source_port, destination_port, flags=0):
    """The start of a TCP header; flags as FIN | SYN | ... (the byte at 173)."""
    header = struct.pack(">HHIIBB", source_port, destination_port, 0, 0, 0x50, flags)
    return {"transportHeader": header, "layerFlags": LAYER_TRANSPORT}


def udp(source_port, destination_port, length=8):
    header = struct.pack(">HHHH", source_port, destination_port, length, 0)
    return {"transportHeader": header, "layerFlags": LAYER_TRANSPORT}


def icmp(icmp_type, code):
    header = struct.pack(">BBH", icmp_type, code, 0)
    return {"transportHeader": header, "layerFlags": LAYER_TRANSPORT}


# --- the stand-in's scripts -----------------------------------------------------------

KIND_RECORD = 0
KIND_FAILING_CALL = 1
KIND_GENERATOR = 2
# The call hands back a null extra pointer, with extraLength still reported.
FLAG_NULL_EXTRA = 1
# Bytes 184-191 go to the agent as the record holds them (zero: a null data
# pointer) instead of a pointer to the stand-in's copy of the data bytes.
FLAG_RECORD_DATA_POINTER = 2


def entry(block, *, kind=KIND_RECORD, flags=0, result=0, extra=b"", data=b"", count=0, rate=0):
    """One script entry: the 24-byte header (kind, flags, result, extraLength,
    dataBytes, count, rate), the record, the extra bytes, the data bytes. The
    stand-in pads data with zeros up to the record's dataLength. count: kind 0
    and 1 are delivered that many times (0: once); kind 2 makes that many
    copies, logId counting up from the record's."""
    if len(block) != RECORD_SIZE:
        raise ValueError(f"a record has {RECORD_SIZE} bytes, not {len(block)}")
    header = struct.pack("<HHIIIII", kind, flags, result & 0xFFFFFFFF, len(extra), len(data), count, rate)
    return header + block + extra + data


def write_script(path, entries):
    """Writes the entries back to back into a script file (a Linux path)."""
    with open(path, "wb") as f:
        f.write(b"".join(entries))
