"""The files that the getFileContents tests search, made in the prefix's
drive_c, and the request and result documents of the query, written from
its rules: each kept line whole and ended in CR LF, then the pattern as
sent; commandVersion "1"; the hash recomputed with hashlib."""
import os

from registry_fixture import printed, response, result
from winehost import unix_path
from winehost.holder import Holder

FOLDER = r"C:\ContentsE2e"


def win(name):
    """The Windows path of a test file, as bytes for the documents."""
    return (FOLDER + "\\" + name).encode()


def write(name, data):
    path = unix_path(FOLDER + "\\" + name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(data)


def sparse(name, size, head=b""):
    """A file of `size` bytes whose first bytes are `head` and whose rest is
    a hole, taking no room on the disk."""
    os.makedirs(unix_path(FOLDER), exist_ok=True)
    with open(unix_path(FOLDER + "\\" + name), "wb") as f:
        f.write(head)
        f.truncate(size)


def request(request_id, queries):
    """queries: (id, path, arg2, arg3), all bytes, None for an absent
    argument; each query's attributes escaped as a server would."""
    lines = [b"<Message><Request><RequestID>" + request_id + b"</RequestID><HostMetaDataQueries>"]
    for query_id, path, pattern, limit in queries:
        line = b'<HostMetaDataQuery id="' + query_id + b'" query="getFileContents" arg1="' + printed(path) + b'"'
        if pattern is not None:
            line += b' arg2="' + printed(pattern) + b'"'
        if limit is not None:
            line += b' arg3="' + printed(limit) + b'"'
        lines.append(line + b"/>")
    lines.append(b"</HostMetaDataQueries></Request></Message>")
    return b"\n".join(lines) + b"\n"


def contents(query_id, path, matched, pattern):
    """One fileContents result: matchedStrings, then searchString."""
    return result(query_id, b"fileContents", path, [(b"matchedStrings", matched), (b"searchString", pattern)])


def crlf_lines(*lines):
    return b"".join(line + b"\r\n" for line in lines)


class HeldFile(Holder):
    """hold_file.exe keeping a file open without sharing it at all, until
    close()."""

    def __init__(self, path):
        super().__init__("tests/tools/hold_file.exe", path, "--no-sharing")


__all__ = ["FOLDER", "HeldFile", "contents", "crlf_lines", "request", "response", "sparse", "win", "write"]
