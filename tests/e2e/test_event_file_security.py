"""The files of the event log are the Administrators', their creator's and
the system's alone: each new one-record file and each new main log gets a
protected DACL of three full-access entries, inherited by objects and
containers.

Wine 8.0 keeps no file DACL (it maps the entries to the Unix mode bits), so
the DACL is read where Wine does receive it: the set_security_object request
that the agent's SetNamedSecurityInfoW makes of the wineserver, in the
server's request trace of one session (traced_session, server_trace).

Wine's advapi32 builds that request itself: it takes the caller's DACL and
security information as they are, but leaves SE_DACL_PROTECTED out of the
control word and adds the parent folder's inheritable entries behind the
caller's, marked inherited (0x10). The protection is therefore checked as
the agent asks for it, PROTECTED_DACL_SECURITY_INFORMATION in the security
information, and the entries as the agent's three, first and in order,
followed by nothing that is not marked inherited."""
import os
import tempfile

import pytest

import agent_host
from agent_host import INSTALL_DIR, MAIN_LOG, SINGLE_RECORD_DIR, AgentHost
from driver_records import entry
from event_pipeline import EVENT_SETTINGS, stamped
from winehost import traced_session
from winehost.server_trace import Ace, read_security_sets

AGENT_IMAGE = INSTALL_DIR + "\\ZentAgent.exe"
DACL_SECURITY_INFORMATION = 0x00000004
PROTECTED_DACL_SECURITY_INFORMATION = 0x80000000
SE_DACL_PRESENT = 0x0004
INHERITED_ACE = 0x10
# In the order of SecureFileOrDirectory's trustees: the Administrators, the
# creator, the system.
FULL_ACCESS = [Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-32-544"),
               Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-3-0"),
               Ace("ACCESS_ALLOWED", 3, 0x1FFFFF, "S-1-5-18")]


@pytest.fixture(scope="module")
def written():
    """A fresh agent's run in a traced session, two records played: the
    one-record files it left, and the DACLs its process set, by path."""
    agent_host.running["settings"] = None
    host = AgentHost()
    host.install(EVENT_SETTINGS)
    with tempfile.TemporaryDirectory(prefix="zent-trace-") as folder:
        trace = os.path.join(folder, "wineserver.trace")
        with traced_session(trace):
            host.start()
            host.play([entry(stamped(logId=5001)), entry(stamped(logId=5002))])
            files = sorted(host.single_record_files())
            host.stop()
        sets = {}
        for made in read_security_sets(trace):
            if made.image == AGENT_IMAGE:
                sets.setdefault(made.path, []).append(made)
    yield files, sets
    host.remove()


def request(made):
    """What a test checks of one set_security_object: the server's reply,
    the security information, whether the control word has the DACL, the
    first three entries, and the entries after them not marked inherited."""
    return (made.status, made.security_info, made.control & SE_DACL_PRESENT, made.dacl[:3],
            [ace for ace in made.dacl[3:] if not ace.flags & INHERITED_ACE])


PROTECTED_FULL_ACCESS = ("0", DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, SE_DACL_PRESENT,
                         FULL_ACCESS, [])


def test_each_single_record_file_gets_a_protected_dacl_of_three_full_access_entries(written):
    files, sets = written
    assert len(files) == 2
    secured = sorted(path for path in sets if path.startswith(SINGLE_RECORD_DIR + "\\"))
    assert secured == [SINGLE_RECORD_DIR + "\\" + name for name in files]
    for path in secured:
        assert [request(made) for made in sets[path]] == [PROTECTED_FULL_ACCESS]


def test_new_main_log_gets_a_protected_dacl_of_three_full_access_entries_once(written):
    _, sets = written
    assert [request(made) for made in sets[INSTALL_DIR + "\\" + MAIN_LOG]] == [PROTECTED_FULL_ACCESS]
