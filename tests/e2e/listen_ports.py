"""Helpers of the listening ports tests: sockholder.exe holding Windows
sockets under Wine, the query's request, and the result's objects read back
from a response document."""
import hashlib
import ipaddress
import subprocess
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass

from winehost import build_file
from winehost.paths import WINE_RUN


class SockHolder:
    """sockholder.exe holding the sockets named (e.g. "tcp4:127.0.0.1:0")
    until close(); pid is its Windows process id, ports the bound port of
    each socket, in the order named."""

    def __init__(self, *named, reuse=False):
        argv = [str(WINE_RUN), build_file("tests/tools/sockholder.exe")] + (["--reuse"] if reuse else []) + list(named)
        self.process = subprocess.Popen(argv, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL)
        lines = []
        while True:
            line = self.process.stdout.readline().decode().strip()
            if not line or line.startswith("error") or line == "held":
                break
            lines.append(line)
        if line != "held":
            self.close()
            raise AssertionError(f"sockholder: {lines} {line!r}")
        self.pid = int(lines[0].split()[1])
        self.ports = [int(line.split()[2]) for line in lines[1:]]

    def close(self):
        self.process.stdin.close()
        self.process.wait(timeout=60)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


def request(request_id, arg1="", arg2=""):
    return (f'<Message><Request><RequestID>{request_id}</RequestID><HostMetaDataQueries>'
            f'<HostMetaDataQuery id="ports" query="getListenPorts" arg1="{arg1}" arg2="{arg2}"/>'
            '</HostMetaDataQueries></Request></Message>').encode()


@dataclass
class HostObject:
    type: str
    identifier: str
    attributes: list  # (name, value) in document order


def result_of(document):
    """The one HostMetaDataQueryResult of a response document, and its objects."""
    root = ElementTree.fromstring(document)
    (result,) = root.findall("./Response/HostMetaDataQueryResults/HostMetaDataQueryResult")
    objects = [HostObject(o.get("type"), o.get("identifier"), [(a.get("name"), a.get("value"))
                                                                for a in o.findall("./Attributes/Attribute")])
               for o in result.findall("./HostMetaDatas/HostMetaData")]
    return result, objects


def digest(objects):
    """The result's hash, computed apart: SHA-1 over type, identifier and each
    attribute's name and value, in order, nothing between them."""
    sha = hashlib.sha1()
    for o in objects:
        sha.update(o.type.encode() + o.identifier.encode())
        for name, value in o.attributes:
            sha.update(name.encode() + value.encode())
    return ":".join(f"{b:02X}" for b in sha.digest())


def with_identifier(objects, identifier):
    return [o for o in objects if o.identifier == identifier]


def section(o):
    """Where an object's table stands in the report: TCP before UDP, IPv4
    before IPv6."""
    values = dict(o.attributes)
    return (0 if values["protocol"] == "tcp" else 1, 0 if values["ipVersion"] == "4" else 1)


def order_key(o):
    """The report's order as the table stores a row: the local address's
    bytes, the remote end (all zeros for listeners and UDP), the port's two
    bytes low byte first; then created, processId, path, process."""
    values = dict(o.attributes)
    address = ipaddress.ip_address(values["localAddress"]).packed
    port = int(values["port"]).to_bytes(2, "little")
    return (section(o), address + bytes(len(address)) + port + bytes(2), int(values.get("created", 0)),
            int(values.get("processId", 0)), values.get("path", "").encode("latin-1"),
            values.get("process", "").encode("latin-1"))
