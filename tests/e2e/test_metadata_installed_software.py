"""The "getInstalledSoftware" query family through pipe command 106 and a
server ClientRequest, against the agent running as a service, over uninstall
subkeys that the tests make with winehost.set_value. Whole response
documents byte for byte, written by hand from the listing rules; each hash
recomputed with hashlib. The subkeys and the objects they are listed as
are in software_environment.py."""
import pytest

from agent_host import running_agent
from registry_fixture import request, response
from software_environment import (OBJECTS_32, OBJECTS_64, SUBKEYS_32, SUBKEYS_64, UNINSTALL, UNINSTALL_32,
                                  UNINSTALL_LONG, SavedKeys, ask, make_subkeys, planted_uninstall_keys, result)
from winehost import add_key, delete_key

@pytest.fixture(scope="module")
def uninstall_keys():
    with planted_uninstall_keys() as saved:
        yield saved


@pytest.fixture
def agent(uninstall_keys):
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


def software_query(query_id):
    return (query_id, b"getInstalledSoftware", b"", None)


def test_listed_subkeys_of_both_keys_in_enumeration_order(agent):
    expected = response(b"sw-all", [result(b"s1", b"2", OBJECTS_64 + OBJECTS_32)])
    assert ask(agent, request(b"sw-all", [software_query(b"s1")])) == expected
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdInstalledSoftware succeeded\r\n")


def test_install_date_of_another_type_is_logged_at_level_three(agent):
    ask(agent, request(b"sw-log", [software_query(b"s1")]))
    agent.wait_for_log(r"\]\[UninstallInstalledDate:\d+\] Unsupported value type for "
                       + (UNINSTALL_LONG + r"\Delta").replace("\\", r"\\") + r"\\InstallDate: 3\r\n")


def test_arguments_are_not_read(agent):
    document = request(b"sw-args", [(b"a", b"getInstalledSoftware", b"detailed", b"whatever")])
    assert ask(agent, document) == response(b"sw-args", [result(b"a", b"2", OBJECTS_64 + OBJECTS_32)])


def test_first_key_missing_leaves_a_result_without_hash_or_objects(agent):
    delete_key(UNINSTALL)
    try:
        document = request(b"sw-nokey", [software_query(b"s1")])
        assert ask(agent, document) == response(b"sw-nokey", [result(b"s1", b"2", [], hashed=False)])
        # No success line between the failure and the end of the query run.
        after = agent.wait_for_log(r"(?s)\]\[Open:\d+\] Can't open registry key '" + UNINSTALL_LONG.replace("\\", r"\\")
                                   + r"', err=2\r\n(.*?)\]\[ParseQueryMetaXml:\d+\] idMap=>")
        assert "succeeded" not in after.group(1)
    finally:
        add_key(UNINSTALL)
        make_subkeys(UNINSTALL, SUBKEYS_64)
    # Restored, the key is listed again.
    expected = response(b"sw-back", [result(b"s2", b"2", OBJECTS_64 + OBJECTS_32)])
    assert ask(agent, request(b"sw-back", [software_query(b"s2")])) == expected


def test_second_key_missing_counts_as_empty(agent):
    delete_key(UNINSTALL_32)
    try:
        document = request(b"sw-no32", [software_query(b"s1")])
        assert ask(agent, document) == response(b"sw-no32", [result(b"s1", b"2", OBJECTS_64)])
        agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdInstalledSoftware succeeded\r\n")
    finally:
        add_key(UNINSTALL_32)
        make_subkeys(UNINSTALL_32, SUBKEYS_32)


def test_empty_keys_give_a_hashed_result_without_objects(agent):
    saved = SavedKeys(UNINSTALL, UNINSTALL_32)
    try:
        saved.clear()
        document = request(b"sw-empty", [software_query(b"s1")])
        assert ask(agent, document) == response(b"sw-empty", [result(b"s1", b"2", [])])
    finally:
        saved.restore()
