"""The files of the event log are the Administrators', their creator's and
the system's alone: each new one-record file and each new main log gets a
protected DACL of three full-access entries, inherited by objects and
containers, read back with file_dacl.exe.

Wine 8.0 keeps a DACL that a program sets only on the server's object of
that one open: it maps the entries to the Unix mode bits and stores nothing
else, so another process reads back a DACL made up from the mode and owner
(SYSTEM, the user, Everyone; not protected). These tests therefore fail
under it, and are marked so strictly: a Wine that keeps DACLs (the agent
setting the right one) turns them into unexpected passes, which fail the
run until the mark goes."""
import pytest

from agent_host import SINGLE_RECORD_DIR
from driver_records import entry, record
from event_pipeline import fresh_event_agent
from winehost import Ace, file_dacl

WINE_KEEPS_NO_DACL = pytest.mark.xfail(strict=True, reason="Wine 8.0 does not keep a file's DACL beyond the open "
                                                         "that set it")
FULL_ACCESS = [Ace(type=0, flags=3, mask=0x1FFFFF, sid="S-1-3-0"),
               Ace(type=0, flags=3, mask=0x1FFFFF, sid="S-1-5-18"),
               Ace(type=0, flags=3, mask=0x1FFFFF, sid="S-1-5-32-544")]


def by_sid(aces):
    return sorted(aces, key=lambda ace: ace.sid)


@pytest.fixture(scope="module")
def written():
    host = fresh_event_agent()
    host.play([entry(record(timeSeconds=1700000000, logId=5001)), entry(record(timeSeconds=1700000000, logId=5002))])
    return host


@WINE_KEEPS_NO_DACL
def test_each_single_record_file_has_a_protected_dacl_of_three_full_access_entries(written):
    names = sorted(written.single_record_files())
    assert len(names) == 2
    for name in names:
        dacl = file_dacl(SINGLE_RECORD_DIR + "\\" + name)
        assert dacl.protected is True
        assert by_sid(dacl.aces) == FULL_ACCESS


@WINE_KEEPS_NO_DACL
def test_new_main_log_has_a_protected_dacl_of_three_full_access_entries(written):
    dacl = file_dacl(written.path("zent_mpnp"))
    assert dacl.protected is True
    assert by_sid(dacl.aces) == FULL_ACCESS
