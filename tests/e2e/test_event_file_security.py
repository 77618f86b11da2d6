"""The files of the event log are the Administrators', their creator's and
the system's alone: each new one-record file and each new main log gets a
protected DACL of three full-access entries, inherited by objects and
containers, read back with file_dacl.exe."""
import pytest

from agent_host import SINGLE_RECORD_DIR
from driver_records import entry, record
from event_pipeline import fresh_event_agent
from winehost import Ace, file_dacl

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


def test_each_single_record_file_has_a_protected_dacl_of_three_full_access_entries(written):
    names = sorted(written.single_record_files())
    assert len(names) == 2
    for name in names:
        dacl = file_dacl(SINGLE_RECORD_DIR + "\\" + name)
        assert dacl.protected is True
        assert by_sid(dacl.aces) == FULL_ACCESS


def test_new_main_log_has_a_protected_dacl_of_three_full_access_entries(written):
    dacl = file_dacl(written.path("zent_mpnp"))
    assert dacl.protected is True
    assert by_sid(dacl.aces) == FULL_ACCESS
