"""The reader of the wineserver's request trace, on an excerpt written by
hand in the form wineserver -f -d2 prints: two processes, requests of other
threads between a request and its reply, a handle value used again after
its close, and lines that are no request."""
from winehost.server_trace import Ace, FileCreation, SecuritySet, fields, file_creations, security_sets, unicode_string

EXCERPT = r"""
0038: init_first_thread( unix_pid=200, unix_tid=200, debug_level=0, reply_fd=5, wait_fd=8 )
0038: init_first_thread() = 0 { pid=0034, tid=0038, server_start=1dd7aa1f1a0695e (-0.9466320), session_id=00000001, info_size=5282, machines={8664,014c} }
0038: new_process( token=0000, debug=0000, parent_process=0000, flags=00000000, socket_fd=13, access=001fffff, machine=0000, info_size=360, handles_size=0, jobs_size=0, objattr={rootdir=0000,attributes=00000000,sd={},name=L""}, handles={}, jobs={}, info={debug_flags=0,console_flags=0,console=0000,hstdin=0000,hstdout=0000,hstderr=0000,x=0,y=0,xsize=0,ysize=0,xchars=0,ychars=0,attribute=00,flags=0,show=0,curdir=L"C:\\windows\\system32\\",dllpath=L"",imagepath=L"C:\\Zent, \"E2e\"\\ZentAgent.exe",cmdline=L"\"C:\\Zent, \\\"E2e\\\"\\ZentAgent.exe\" -service",title=L"x",desktop=L"",shellinfo=L"",runtime=L""}, env=L"" )
0038: new_process() = 0 { info=0040, pid=0050, handle=0044 }
0038: new_thread( process=0044, access=001fffff, flags=00000001, request_fd=-1, objattr={rootdir=0000,attributes=00000000,sd={},name=L""} )
0038: new_thread() = 0 { tid=0054, handle=0048 }
0054: init_first_thread( unix_pid=201, unix_tid=201, debug_level=0, reply_fd=5, wait_fd=8 )
0054: init_first_thread() = 0 { pid=0050, tid=0054, server_start=1dd7aa1f1a0695e (-1.0249290), session_id=00000001, info_size=5458, machines={8664,014c} }
0054: new_thread( process=ffffffff, access=001fffff, flags=00000000, request_fd=9, objattr={rootdir=0000,attributes=00000000,sd={},name=L""} )
0054: new_thread() = 0 { tid=0058, handle=00a4 }
0058: init_thread( unix_tid=202, reply_fd=12, wait_fd=14, teb=67fd0000, entry=368454420 )
0058: init_thread() = 0 { suspend=0 }
0058: create_file( access=40100080, sharing=00000000, create=5, options=00000060, attrs=00000080, objattr={rootdir=0000,attributes=00000040,sd={},name=L"\\??\\C:\\Logs\\a"}, filename="/p/drive_c/Logs/a" )
0058: create_file() = 0 { handle=0030 }
0058: create_file( access=00160000, sharing=00000007, create=1, options=00004000, attrs=02000000, objattr={rootdir=0000,attributes=00000040,sd={},name=L"\\??\\C:\\Logs\\a"}, filename="/p/drive_c/Logs/a" )
0038: close_handle( handle=0034 )
0038: close_handle() = 0
0058: create_file() = 0 { handle=0034 }
0058: *fd* 0034 -> 206
0058: get_security_object( handle=0034, security_info=80000004 )
0058: get_security_object() = 0 { sd_len=00000068, sd={control=00000004,owner=<not present>,group=<not present>,sacl={},dacl={{type=ACCESS_ALLOWED,flags=0,mask=1f01ff,sid=S-1-5-18}}} }
0038: create_file( access=00160000, sharing=00000007, create=1, options=00004000, attrs=02000000, objattr={rootdir=0000,attributes=00000040,sd={},name=L"\\??\\C:\\other"}, filename="/p/drive_c/other" )
0038: create_file() = 0 { handle=0034 }
0058: set_security_object( handle=0034, security_info=80000004, sd={control=00001004,owner=<not present>,group=<not present>,sacl={},dacl={{type=ACCESS_ALLOWED,flags=3,mask=1fffff,sid=S-1-5-32-544},{type=ACCESS_DENIED,flags=13,mask=1200a9,sid=S-1-1-0}}} )
0058: set_security_object() = 0
0038: set_security_object( handle=0034, security_info=00000004, sd={control=00000004,owner=<not present>,group=<not present>,sacl={},dacl={}} )
0038: set_security_object() = ACCESS_DENIED
0058: close_handle( handle=0034 )
0058: close_handle() = 0
0058: open_file_object( access=00160000, attributes=00000040, rootdir=0000, sharing=00000007, options=00004000, filename=L"\\??\\C:\\Logs\\b" )
0058: open_file_object() = 0 { handle=0034 }
Skip setting key REGISTRY\\Machine\\System value "x"="y"
0054: set_security_object( handle=0034, security_info=80000004, sd={control=00000004,owner=<not present>,group=<not present>,sacl={},dacl={{type=ACCESS_ALLOWED,flags=3,mask=1fffff,sid=S-1-3-0}}} )
0054: set_security_object() = 0
0058: close_handle( handle=0034 )
0058: close_handle() = 0
0058: set_security_object( handle=0034, security_info=80000004, sd={control=00000004,owner=<not present>,group=<not present>,sacl={},dacl={}} )
0058: set_security_object() = INVALID_HANDLE
""".splitlines(keepends=True)

AGENT = 'C:\\Zent, "E2e"\\ZentAgent.exe'


def test_a_set_names_the_agents_process_the_path_its_handle_was_opened_on_and_the_descriptor():
    assert security_sets(EXCERPT)[0] == SecuritySet(
        image=AGENT, thread="0058", path="C:\\Logs\\a", security_info=0x80000004, control=0x1004,
        dacl=[Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-32-544"), Ace("ACCESS_DENIED", 0x13, 0x1200A9, "S-1-1-0")],
        status="0")


def test_the_same_handle_value_in_another_process_is_that_process_file():
    assert security_sets(EXCERPT)[1] == SecuritySet(
        image=None, thread="0038", path="C:\\other", security_info=4, control=4, dacl=[], status="ACCESS_DENIED")


def test_a_handle_opened_by_one_thread_is_its_process_handle_for_every_thread():
    third = security_sets(EXCERPT)[2]
    assert (third.image, third.thread, third.path, third.dacl) == (
        AGENT, "0054", "C:\\Logs\\b", [Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-3-0")])


def test_a_closed_handle_names_no_path():
    fourth = security_sets(EXCERPT)[3]
    assert (fourth.path, fourth.status) == (None, "INVALID_HANDLE")
    assert len(security_sets(EXCERPT)) == 4


def test_fields_split_at_commas_outside_braces_and_strings():
    assert fields('a=1, b={x=1,y={2,3}}, c=L"p,q\\"r", d=5 (-0.5)') == {
        "a": "1", "b": "{x=1,y={2,3}}", "c": 'L"p,q\\"r"', "d": "5 (-0.5)"}


def test_unicode_strings_undo_the_servers_escapes():
    assert unicode_string(r'L"C:\\a\"b\"\n\t\x00e9x\x4e2d\033\1"') == 'C:\\a"b"\n\t\u00e9x\u4e2d\x1b\x01'


# A file created with a descriptor of its own (CreateFileW's security
# attributes), one created without, and one whose creation the server
# refused, in the agent's process of the excerpt above.
CREATIONS = EXCERPT + r"""
0058: create_file( access=40100080, sharing=00000000, create=5, options=00000060, attrs=00000080, objattr={rootdir=0000,attributes=00000040,sd={control=00001004,owner=<not present>,group=<not present>,sacl={},dacl={{type=ACCESS_ALLOWED,flags=3,mask=1fffff,sid=S-1-5-32-544},{type=ACCESS_ALLOWED,flags=3,mask=1fffff,sid=S-1-3-0},{type=ACCESS_ALLOWED,flags=3,mask=1fffff,sid=S-1-5-18}}},name=L"\\??\\C:\\Zent\\d.dmp"}, filename="/p/drive_c/Zent/d.dmp" )
0058: create_file() = 0 { handle=0070 }
0054: create_file( access=40100080, sharing=00000000, create=5, options=00000060, attrs=00000080, objattr={rootdir=0000,attributes=00000040,sd={},name=L"\\??\\C:\\Zent\\plain"}, filename="/p/drive_c/Zent/plain" )
0054: create_file() = 0 { handle=0074 }
0054: create_file( access=40100080, sharing=00000000, create=5, options=00000060, attrs=00000080, objattr={rootdir=0000,attributes=00000040,sd={control=00000004,owner=<not present>,group=<not present>,sacl={},dacl={}},name=L"\\??\\C:\\Locked\\d.dmp"}, filename="/p/drive_c/Locked/d.dmp" )
0054: create_file() = ACCESS_DENIED
0054: set_security_object( handle=0074, security_info=00000004, sd={control=00000004,owner=<not present>,group=<not present>,sacl={},dacl={}} )
0054: set_security_object() = 0
""".splitlines(keepends=True)


def test_a_creation_with_a_descriptor_names_the_process_the_path_and_the_descriptor():
    assert file_creations(CREATIONS)[0] == FileCreation(
        image=AGENT, thread="0058", path="C:\\Zent\\d.dmp", control=0x1004,
        dacl=[Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-32-544"), Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-3-0"),
              Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-18")],
        status="0")


def test_a_creation_without_a_descriptor_is_left_out_and_a_refused_one_keeps_its_status():
    assert file_creations(CREATIONS)[1:] == [FileCreation(
        image=AGENT, thread="0054", path="C:\\Locked\\d.dmp", control=4, dacl=[], status="ACCESS_DENIED")]


def test_a_handle_from_a_creation_names_its_path_for_a_later_set():
    assert security_sets(CREATIONS)[4] == SecuritySet(
        image=AGENT, thread="0054", path="C:\\Zent\\plain", security_info=4, control=4, dacl=[], status="0")
