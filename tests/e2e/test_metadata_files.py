"""getFileInfo and getDirectoryListing through pipe command 106 against the
agent running as a service under Wine, over files and folders the tests
make in drive C. Whole response documents byte for byte, written by hand
from the result rules; each hash recomputed with hashlib.

What Wine 8.0 does that the documents show: its C runtime takes st_ctime
from the last write, so created equals lastModified; modes are 0100666,
0100444 for a read-only file, 0100777 for an .exe and 040777 for a folder;
it makes short names up by hashing the long name, so the expected ones
come from shortname.exe; the service's threads have no COM, so no shell
link gets linkTo; folders list by the upper-case form of the names."""
import os

import pytest

from agent_host import running_agent
from file_queries import (INFO_DIR, LIST_DIR, ROOT_FILE, copy_built, directory_info, file_info, fresh_folder,
                          listing, make_link, queries, short_name, times, write)
from registry_fixture import request, response
from winehost import unix_path

# Reading a file (its version resource is looked for) moves its access time
# unless that is later than its change time, which os.utime sets to now:
# hence an access time in the future.
ACCESS = 2000000000
MODIFIED = 1700000000
DLL_TWO = INFO_DIR + r"\two_translations.dll"
DLL_FIXED = INFO_DIR + r"\fixed_only.dll"
LONG_FILE = INFO_DIR + r"\a long file name.text"
COMPANY = b"Halvane Test Components International Holding Company Limited Partners"


@pytest.fixture(scope="module")
def files():
    fresh_folder(INFO_DIR)
    write(INFO_DIR + r"\plain.txt", b"hello", (ACCESS, MODIFIED))
    write(INFO_DIR + r"\readonly.txt", b"ro", (ACCESS, MODIFIED), mode=0o444)
    write(INFO_DIR + r"\tool.exe", b"MZ", (ACCESS, MODIFIED))
    write(LONG_FILE, b"long", (ACCESS, MODIFIED))
    write(ROOT_FILE, b"root", (ACCESS, MODIFIED))
    os.makedirs(os.path.join(fresh_folder(INFO_DIR + r"\sub"), "inner"))
    os.utime(fresh_folder(INFO_DIR + r"\sub2"), (ACCESS, MODIFIED))
    copy_built("tests/tools/two_translations.dll", DLL_TWO)
    copy_built("tests/tools/fixed_only.dll", DLL_FIXED)
    for name in ("two_translations.dll", "fixed_only.dll"):
        os.utime(unix_path(INFO_DIR + "\\" + name), (ACCESS, MODIFIED))
    write(INFO_DIR + r"\target.txt", b"t", (ACCESS, MODIFIED))
    make_link(INFO_DIR + r"\to.lnk", INFO_DIR + r"\target.txt")
    make_link(INFO_DIR + r"\UP.LNK", INFO_DIR + r"\target.txt")
    for name in ("to.lnk", "UP.LNK"):
        os.utime(unix_path(INFO_DIR + "\\" + name), (ACCESS, MODIFIED))
    big = write(INFO_DIR + r"\big.bin")
    os.truncate(big, 3 * 1024 ** 3)
    os.utime(big, (ACCESS, MODIFIED))
    yield
    os.remove(unix_path(ROOT_FILE))


@pytest.fixture
def agent(files):
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


def ask(agent, document, request_id=91):
    reply = agent.send("get-metadata", "--request-id", str(request_id), data=document)
    assert reply.raw[:20] == b"QTNZ" + bytes(4) + request_id.to_bytes(4, "little") + bytes(8)
    with open(agent.path("meta_response.xml"), "rb") as f:
        return f.read()


def size_of(path):
    return b"%d" % os.path.getsize(unix_path(path))


def test_plain_file_with_its_times_size_and_mode(agent):
    path = INFO_DIR + r"\plain.txt"
    expected = response(b"fi-plain", [
        file_info(b"1", path.encode(), times(ACCESS, MODIFIED) + [(b"size", b"5"), (b"mode", b"0100666")]),
    ])
    assert ask(agent, request(b"fi-plain", queries((b"1", b"getFileInfo", path.encode())))) == expected


def test_modes_of_a_read_only_file_an_exe_and_a_directory(agent):
    sub = INFO_DIR + r"\sub2"
    expected = response(b"fi-modes", [
        file_info(b"1", (INFO_DIR + r"\readonly.txt").encode(),
                  times(ACCESS, MODIFIED) + [(b"size", b"2"), (b"mode", b"0100444")]),
        file_info(b"2", (INFO_DIR + r"\tool.exe").encode(),
                  times(ACCESS, MODIFIED) + [(b"size", b"2"), (b"mode", b"0100777")]),
        # A directory is held whole, so its full path gains a closing "/"
        # and its short form differs from the path as asked.
        directory_info(b"3", sub.encode(), times(ACCESS, MODIFIED) + [(b"size", b"0"), (b"mode", b"040777")]
                       + short_name(sub, sub + "/")),
    ])
    document = request(b"fi-modes", queries((b"1", b"getFileInfo", (INFO_DIR + r"\readonly.txt").encode()),
                                            (b"2", b"getFileInfo", (INFO_DIR + r"\tool.exe").encode()),
                                            (b"3", b"getFileInfo", sub.encode())))
    assert ask(agent, document) == expected


def test_size_over_two_gibibytes_shows_as_the_signed_field_holds_it(agent):
    path = INFO_DIR + r"\big.bin"
    # 3 GiB, 0xC0000000, read as a signed 32-bit number.
    expected = response(b"fi-big", [
        file_info(b"1", path.encode(), times(ACCESS, MODIFIED) + [(b"size", b"-1073741824"), (b"mode", b"0100666")]),
    ])
    assert ask(agent, request(b"fi-big", queries((b"1", b"getFileInfo", path.encode())))) == expected


def test_directory_with_a_closing_backslash_fails_stat_and_has_no_result(agent):
    path = INFO_DIR + "\\sub\\"
    assert ask(agent, request(b"fi-slash", queries((b"1", b"getFileInfo", path.encode())))) == \
        response(b"fi-slash", [])
    agent.wait_for_log(r"\]\[GetHmdFileInfo:\d+\] _stat result is invalid: file\("
                       + path.replace("\\", r"\\") + r"\), err=\d+\r\n")


def test_missing_file_has_no_result_and_no_success_line(agent):
    path = INFO_DIR + r"\absent.txt"
    assert ask(agent, request(b"fi-absent", queries((b"1", b"getFileInfo", path.encode())))) == \
        response(b"fi-absent", [])
    assert "GetHmdFileInfo succeeded: file(" + path + ")" not in agent.log()


def test_success_line_names_the_file(agent):
    path = INFO_DIR + r"\plain.txt"
    ask(agent, request(b"fi-line", queries((b"1", b"getFileInfo", path.encode()))))
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdFileInfo succeeded: file\("
                       + path.replace("\\", r"\\") + r"\)\r\n")


def test_short_name_of_a_long_name_and_none_when_only_the_case_differs(agent):
    upper = INFO_DIR.upper() + r"\PLAIN.TXT"
    expected = response(b"fi-short", [
        file_info(b"1", LONG_FILE.encode(), times(ACCESS, MODIFIED) + [(b"size", b"4"), (b"mode", b"0100666")]
                  + short_name(LONG_FILE)),
        file_info(b"2", upper.encode(), times(ACCESS, MODIFIED) + [(b"size", b"5"), (b"mode", b"0100666")]),
    ])
    assert short_name(LONG_FILE) != []
    assert short_name(upper) == []
    document = request(b"fi-short", queries((b"1", b"getFileInfo", LONG_FILE.encode()),
                                            (b"2", b"getFileInfo", upper.encode())))
    assert ask(agent, document) == expected


def test_links_get_no_target_on_the_service_threads_without_com(agent):
    to = INFO_DIR + r"\to.lnk"
    up = INFO_DIR + r"\UP.LNK"
    expected = response(b"fi-links", [
        file_info(b"1", to.encode(), times(ACCESS, MODIFIED) + [(b"size", size_of(to)), (b"mode", b"0100666")]),
        file_info(b"2", up.encode(), times(ACCESS, MODIFIED) + [(b"size", size_of(up)), (b"mode", b"0100666")]),
    ])
    document = request(b"fi-links", queries((b"1", b"getFileInfo", to.encode()), (b"2", b"getFileInfo", up.encode())))
    assert ask(agent, document) == expected


def test_version_resource_with_two_translations(agent):
    expected = response(b"fi-ver", [
        file_info(b"1", DLL_TWO.encode(), times(ACCESS, MODIFIED) + [
            (b"size", size_of(DLL_TWO)), (b"mode", b"0100666")] + short_name(DLL_TWO) + [
            (b"fileVersion", b"1.2.3.4"), (b"productVersion", b"5.6.7.65535"),
            (b"fileVersionOVI", b"0409:1.2.3.4;"),
            (b"productVersionOVI", b"0409:5.6.7;"),
            (b"comments", b"0407:nur deutsch;"),
            # The 70-byte name is cut at 64 bytes.
            (b"companyName", b"0409:" + COMPANY[:64] + b";0407:Halvane GmbH;"),
            (b"fileDescription", b"0409:Version probe;0407:Versionsprobe;"),
            (b"originalFilename", b"0409:two_translations.dll;"),
            (b"productName", b"0409:Widget;0407:Ding;"),
        ]),
    ])
    assert ask(agent, request(b"fi-ver", queries((b"1", b"getFileInfo", DLL_TWO.encode())))) == expected


def test_fixed_version_block_alone_gives_the_numbers_only(agent):
    expected = response(b"fi-fixed", [
        file_info(b"1", DLL_FIXED.encode(), times(ACCESS, MODIFIED) + [
            (b"size", size_of(DLL_FIXED)), (b"mode", b"0100666")] + short_name(DLL_FIXED) + [
            (b"fileVersion", b"9.8.7.6"), (b"productVersion", b"9.0.0.1"),
        ]),
    ])
    assert ask(agent, request(b"fi-fixed", queries((b"1", b"getFileInfo", DLL_FIXED.encode())))) == expected


def test_file_under_a_bare_backslash_keeps_its_times(agent):
    # utilFileName's default style has no backslash separator, so the
    # directory part of "\zfroot.txt" is empty, not "\".
    path = "\\zfroot.txt"
    expected = response(b"fi-root", [
        file_info(b"1", path.encode(), times(ACCESS, MODIFIED) + [(b"size", b"4"), (b"mode", b"0100666")]),
    ])
    assert ask(agent, request(b"fi-root", queries((b"1", b"getFileInfo", path.encode())))) == expected


def test_directory_backslash_alone_has_no_times(agent):
    expected = response(b"fi-bare", [
        directory_info(b"1", b"\\", [(b"size", b"0"), (b"mode", b"040777")] + short_name("\\", "\\/")),
    ])
    assert ask(agent, request(b"fi-bare", queries((b"1", b"getFileInfo", b"\\")))) == expected


# --- getDirectoryListing ------------------------------------------------------------

@pytest.fixture(scope="module")
def folders():
    fresh_folder(LIST_DIR)
    names = fresh_folder(LIST_DIR + r"\names")
    for name in ("b.txt", "A.txt", "_x", "caf\u00e9.txt"):
        with open(os.path.join(names, name), "wb") as f:
            f.write(b"x")
    os.makedirs(os.path.join(names, "sub"))
    fresh_folder(LIST_DIR + r"\empty")
    write(LIST_DIR + r"\file.txt", b"f")


# Wine lists by the upper-case form of each name: A.TXT, B.TXT, CAF\u00c9.TXT,
# SUB, _X ("_" is above the letters); the agent does not sort. "café.txt"
# comes in the ANSI code page, one byte E9.
NAMES_ENTRIES = b"A.txt|b.txt|caf\xe9.txt|sub|_x|"


def test_names_in_the_order_the_system_lists_them(agent, folders):
    path = (LIST_DIR + r"\names").encode()
    expected = response(b"dl-names", [listing(b"1", path, NAMES_ENTRIES)])
    assert ask(agent, request(b"dl-names", queries((b"1", b"getDirectoryListing", path)))) == expected
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdDirectoryListing succeeded: file\("
                       + (LIST_DIR + r"\names").replace("\\", r"\\") + r"\)\r\n")


def test_closing_backslash_or_slash_lists_the_same(agent, folders):
    backslash = (LIST_DIR + "\\names\\").encode()
    slash = (LIST_DIR + "\\names/").encode()
    expected = response(b"dl-closing", [listing(b"1", backslash, NAMES_ENTRIES), listing(b"2", slash, NAMES_ENTRIES)])
    document = request(b"dl-closing", queries((b"1", b"getDirectoryListing", backslash),
                                              (b"2", b"getDirectoryListing", slash)))
    assert ask(agent, document) == expected


def test_empty_directory_has_empty_entries(agent, folders):
    path = (LIST_DIR + r"\empty").encode()
    expected = response(b"dl-empty", [listing(b"1", path, b"")])
    assert ask(agent, request(b"dl-empty", queries((b"1", b"getDirectoryListing", path)))) == expected


def test_missing_folder_a_file_and_an_empty_path_have_no_result(agent, folders):
    document = request(b"dl-none", queries((b"1", b"getDirectoryListing", (LIST_DIR + r"\absent").encode()),
                                           (b"2", b"getDirectoryListing", (LIST_DIR + r"\file.txt").encode()),
                                           (b"3", b"getDirectoryListing", b"")))
    assert ask(agent, document) == response(b"dl-none", [])
    log = agent.test_log()
    for path in (LIST_DIR + r"\absent", LIST_DIR + r"\file.txt", ""):
        assert "GetHmdDirectoryListing succeeded: file(" + path + ")" not in log


def test_subdirectory_names_stand_beside_file_names(agent, folders):
    path = LIST_DIR.encode()
    expected = response(b"dl-mixed", [listing(b"1", path, b"empty|file.txt|names|")])
    assert ask(agent, request(b"dl-mixed", queries((b"1", b"getDirectoryListing", path)))) == expected
