"""getFileContents through pipe command 106 against the agent running as a
service under Wine: files made in the prefix's drive_c, whole response
documents written by hand from the query's rules, each hash recomputed with
hashlib. Every line end the reader knows, the anchors against what it keeps,
the size limit read as the C runtime reads a number in base 0, the refusals
(files of 4 GiB or more unread, a file nobody may share, bad patterns), and a
zero byte cutting the kept lines short in the document."""
import re
import threading

import pytest

from agent_host import running_agent
from file_contents_fixture import (FOLDER, HeldFile, contents, crlf_lines, request, response, sparse, win,
                                   write)
from test_metadata_registry import ask
from winehost import unix_path

FILES = {
    "line_ends.txt": b"dos\r\nunix\nmac\rlast",
    "mac_pair.txt": b"a\r\rb",
    "closing_cr.txt": b"x\ny\r",
    "anchors.txt": b"alpha\r\nbeta\rgamma\r",
    "size16.txt": b"0123456789abcde\n",
    "zero.txt": b"one\ntw\x00o\nthree\n",
    "empty.txt": b"",
    "lines.txt": b"abc\n\nGET /index.html 200\nPOST /form 500\nx{,2}y\n(a)1\n",
    "latin1.txt": b"caf\xe9\nnaive\n",
    # 10,000 lines of 100 bytes: exactly the default limit, then one byte more.
    "million.txt": (b"m" * 99 + b"\n") * 10000,
    "million_and_one.txt": (b"m" * 99 + b"\n") * 10000 + b"z",
}


written = {"files": False}


@pytest.fixture
def agent():
    host = running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})
    # The files go into drive_c once the agent's prefix exists.
    if not written["files"]:
        for name, data in FILES.items():
            write(name, data)
        written["files"] = True
    return host


def test_every_line_end_comes_back_as_crlf(agent):
    document = request(b"fc-ends", [
        (b"1", win("line_ends.txt"), None, None),
        (b"2", win("mac_pair.txt"), b"", None),
        (b"3", win("closing_cr.txt"), None, b""),
    ])
    expected = response(b"fc-ends", [
        # DOS, Unix, old Mac, and a last line without an end.
        contents(b"1", win("line_ends.txt"), crlf_lines(b"dos", b"unix", b"mac", b"last"), b""),
        # A CR after a CR is an empty Mac line; the "a" before them is lost.
        contents(b"2", win("mac_pair.txt"), crlf_lines(b"", b"b"), b""),
        # A closing lone CR stays in the last line.
        contents(b"3", win("closing_cr.txt"), crlf_lines(b"x", b"y\r"), b""),
    ])
    assert ask(agent, document) == expected


def test_anchors_hold_against_what_the_reader_keeps(agent):
    path = win("anchors.txt")
    document = request(b"fc-anchors", [
        (b"1", path, b"^beta$", None),
        (b"2", path, b"a$", None),
        (b"3", path, b"^gamma$", None),
        (b"4", path, b"^gamma.$", None),
        (b"5", path, b"^alpha$", None),
    ])
    expected = response(b"fc-anchors", [
        # The CR that ended "beta" is gone; the closing CR of "gamma\r" is not.
        contents(b"1", path, crlf_lines(b"beta"), b"^beta$"),
        contents(b"2", path, crlf_lines(b"alpha", b"beta"), b"a$"),
        contents(b"3", path, b"", b"^gamma$"),
        contents(b"4", path, crlf_lines(b"gamma\r"), b"^gamma.$"),
        contents(b"5", path, crlf_lines(b"alpha"), b"^alpha$"),
    ])
    assert ask(agent, document) == expected


def test_size_limit_is_read_as_a_number_in_base_zero(agent):
    path = win("size16.txt")
    limits = [b"0x10", b"0xf", b"020", b"017", b"16", b"15", b"16 bytes", b"-1", b"0", b"", b"bytes", b"0X10"]
    document = request(b"fc-limit", [(b"%02d" % i, path, None, limit) for i, limit in enumerate(limits)])
    line = crlf_lines(b"0123456789abcde")
    # 16 bytes: read at 0x10, 020, 16, "16 bytes", -1 (the largest), the
    # default and 0X10; not at 0xf, 017, 15, 0 or "bytes" (0).
    expected = response(b"fc-limit", [contents(b"%02d" % i, path, line, b"")
                                      for i in (0, 2, 4, 6, 7, 9, 11)])
    assert ask(agent, document) == expected


def test_default_limit_is_one_million_bytes_and_a_file_of_the_limit_is_read(agent):
    document = request(b"fc-million", [
        (b"1", win("million.txt"), b"^z", None),
        (b"2", win("million_and_one.txt"), b"^z", None),
        (b"3", win("million_and_one.txt"), b"^z", b"1000001"),
    ])
    expected = response(b"fc-million", [
        contents(b"1", win("million.txt"), b"", b"^z"),
        contents(b"3", win("million_and_one.txt"), crlf_lines(b"z"), b"^z"),
    ])
    assert ask(agent, document) == expected


def test_files_of_four_gib_or_more_are_refused_unread(agent):
    head = b"leading line\n"
    # Their size in 32 bits would be 16 bytes, and 0.
    sparse("four_gib_and_16.bin", (4 << 30) + 16, head)
    sparse("four_gib.bin", 4 << 30, head)
    sparse("five_gib.bin", 5 << 30, head)
    document = request(b"fc-huge", [
        (b"1", win("four_gib_and_16.bin"), b"", b"-1"),
        (b"2", win("four_gib.bin"), b"", b"-1"),
        (b"3", win("five_gib.bin"), b"leading", b"0x200000000"),
        (b"4", win("size16.txt"), b"", b"-1"),
    ])
    expected = response(b"fc-huge", [contents(b"4", win("size16.txt"), crlf_lines(b"0123456789abcde"), b"")])
    assert ask(agent, document) == expected


def test_file_above_the_limit_is_not_read_even_when_sparse(agent):
    sparse("three_gib.bin", 3 << 30, b"leading line\n")
    document = request(b"fc-3g", [(b"1", win("three_gib.bin"), b"", None)])
    assert ask(agent, document) == response(b"fc-3g", [])


def test_file_held_without_sharing_has_no_result(agent):
    path = win("size16.txt")
    held = HeldFile(path.decode())
    try:
        assert ask(agent, request(b"fc-held", [(b"1", path, b"", None)])) == response(b"fc-held", [])
    finally:
        held.close()
    expected = response(b"fc-held", [contents(b"1", path, crlf_lines(b"0123456789abcde"), b"")])
    assert ask(agent, request(b"fc-held", [(b"1", path, b"", None)])) == expected


def test_zero_byte_in_a_kept_line_ends_matched_strings_there(agent):
    path = win("zero.txt")
    document = request(b"fc-zero", [(b"1", path, None, None), (b"2", path, b"three", None)])
    expected = response(b"fc-zero", [
        # The document keeps C strings: "one\r\ntw", and nothing of "three".
        contents(b"1", path, b"one\r\ntw", b""),
        contents(b"2", path, crlf_lines(b"three"), b"three"),
    ])
    assert ask(agent, document) == expected


def test_what_has_no_result(agent):
    write("folder\\inside.txt", b"inside\n")
    document = request(b"fc-none", [
        (b"1", b"", None, None),
        (b"2", win("absent.txt"), None, None),
        (b"3", win("folder"), None, None),
        (b"4", win("folder") + b"\\", None, None),
        (b"5", win("empty.txt"), None, None),
        (b"6", win("size16.txt"), None, b"0"),
        (b"7", win("folder\\inside.txt"), None, None),
    ])
    expected = response(b"fc-none", [contents(b"7", win("folder\\inside.txt"), crlf_lines(b"inside"), b"")])
    assert ask(agent, document) == expected


def test_patterns_match_anywhere_in_the_line_and_keep_the_whole_line(agent):
    path = win("lines.txt")
    document = request(b"fc-match", [
        (b"1", path, b".*", None),
        (b"2", path, b"b", None),
        (b"3", path, b"^(GET|POST) /[a-z]{4,5}", None),
        (b"4", path, b"[[:digit:]]{3}$", None),
        (b"5", path, b"<none>&\"'", None),
    ])
    all_lines = crlf_lines(b"abc", b"", b"GET /index.html 200", b"POST /form 500", b"x{,2}y", b"(a)1")
    expected = response(b"fc-match", [
        # ".*" keeps the empty line too.
        contents(b"1", path, all_lines, b".*"),
        contents(b"2", path, crlf_lines(b"abc"), b"b"),
        contents(b"3", path, crlf_lines(b"GET /index.html 200", b"POST /form 500"), b"^(GET|POST) /[a-z]{4,5}"),
        contents(b"4", path, crlf_lines(b"GET /index.html 200", b"POST /form 500"), b"[[:digit:]]{3}$"),
        contents(b"5", path, b"", b"<none>&\"'"),
    ])
    assert ask(agent, document) == expected


def test_forms_extended_syntax_leaves_undefined(agent):
    path = win("lines.txt")
    document = request(b"fc-undef", [
        (b"1", path, b"*a", None),
        (b"2", path, b"x{,2}", None),
        (b"3", path, b"a{,2}", None),
        (b"4", path, b"\\d", None),
        (b"5", path, b"[\\1]$", None),
    ])
    expected = response(b"fc-undef", [
        # "{,2}" is text, not an interval.
        contents(b"2", path, crlf_lines(b"x{,2}y"), b"x{,2}"),
        contents(b"3", path, b"", b"a{,2}"),
        # In brackets a backslash is a character: "\1" there is no back-reference.
        contents(b"5", path, crlf_lines(b"(a)1"), b"[\\1]$"),
    ])
    assert ask(agent, document) == expected
    agent.wait_for_log(r"\]\[Compile:\d+\] Invalid regular expression '\*a'\r\n")
    agent.wait_for_log(r"\]\[Compile:\d+\] Invalid regular expression '\\d'\r\n")


@pytest.mark.parametrize("pattern", [b"(", b"(?", b"(?i)abc", b"(a)\\1", b"(a*)*\\1x", b"(a{255}){255}",
                                     b"((a{255}){255}){255}", b"[[.space.]]"])
def test_refused_pattern_has_no_result_and_its_log_line(agent, pattern):
    document = request(b"fc-bad", [(b"1", win("lines.txt"), pattern, None), (b"2", win("size16.txt"), b"0", None)])
    expected = response(b"fc-bad", [contents(b"2", win("size16.txt"), crlf_lines(b"0123456789abcde"), b"0")])
    assert ask(agent, document) == expected
    agent.wait_for_log(r"\]\[Compile:\d+\] Invalid regular expression '" + re.escape(pattern.decode())
                       + r"'\r\n")


def test_bytes_are_searched_as_latin1_characters(agent):
    path = win("latin1.txt")
    document = request(b"fc-latin1", [(b"1", path, b"^caf.$", None), (b"2", path, b"[\xe0-\xff]", None)])
    expected = response(b"fc-latin1", [
        contents(b"1", path, crlf_lines(b"caf\xe9"), b"^caf.$"),
        contents(b"2", path, crlf_lines(b"caf\xe9"), b"[\xe0-\xff]"),
    ])
    assert ask(agent, document) == expected


def test_success_line_names_the_handler(agent):
    ask(agent, request(b"fc-log", [(b"1", win("size16.txt"), None, None)]))
    agent.wait_for_log(r"\] GetHmdFileContents succeeded\r\n")


MATCHED = re.compile(rb'<Attribute name="matchedStrings" value="(.*?)"/>', re.S)


def test_file_growing_while_read_gives_no_result_or_a_whole_one(agent):
    name = "growing.txt"
    path = win(name)
    write(name, b"")
    written = bytearray()
    stop = threading.Event()

    def grow():
        number = 0
        with open(unix_path(FOLDER + "\\" + name), "ab", buffering=0) as f:
            while not stop.is_set() and len(written) < 900000:
                piece = b"line %06d of a growing file\n" % number
                f.write(piece)
                written.extend(piece)
                number += 1

    writer = threading.Thread(target=grow)
    writer.start()
    answers = []
    try:
        for _ in range(8):
            answers.append(ask(agent, request(b"fc-grow", [(b"1", path, None, None)])))
    finally:
        stop.set()
        writer.join()
    whole = bytes(written)
    for answer in answers:
        if answer == response(b"fc-grow", []):
            continue
        (matched,) = MATCHED.findall(answer)
        # A whole result of the bytes the reader saw: lines complete but for
        # a last one cut where the writer was, and the hash of what it holds.
        assert answer == response(b"fc-grow", [contents(b"1", path, matched, b"")])
        assert matched.endswith(b"\r\n")
        seen_bytes = matched.replace(b"\r\n", b"\n")
        assert whole.startswith(seen_bytes) or whole.startswith(seen_bytes[:-1])


PIPE = b"\\\\.\\pipe\\BIPC_ZENTAGENT_PIPE_7C2D91AE_4F06_4b1d_8E35_A1C06D2F7B44"


def test_devices_pipes_and_unc_paths_end_without_a_result(agent):
    document = request(b"fc-dev", [
        (b"1", b"NUL", None, None),
        (b"2", b"CON", None, None),
        (b"3", PIPE, None, None),
        (b"4", b"\\\\127.0.0.1\\nothing\\x.txt", None, None),
        (b"5", b"\\\\.\\NUL", None, None),
        (b"6", win("size16.txt"), None, None),
    ])
    # The agent's own pipe is served by the thread that runs the query: it
    # must not wait on itself. The reply comes within zentctl's time-out.
    expected = response(b"fc-dev", [contents(b"6", win("size16.txt"), crlf_lines(b"0123456789abcde"), b"")])
    assert ask(agent, document) == expected
