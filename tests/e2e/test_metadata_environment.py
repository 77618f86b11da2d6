"""The "getEnvironment" query family through pipe command 106 against the
agent running as a service: the agent's own environment, which Wine's
services.exe builds once for all its services from the registry. The tests
plant variables in the machine's environment key, then start a new session,
so that the agent's service gets them.

The rest of the service's environment is the prefix's (paths, the user's
profile, Wine's own variables), so the document is checked for the planted
objects by hand, and otherwise as a whole: each object's shape, the document
rebuilt from its objects byte for byte, and its hash recomputed with
hashlib."""
import pytest

from agent_host import running_agent
from registry_fixture import request, response
from software_environment import VARIABLE, ask, objects_of, result
from winehost import delete_value, restart_session, set_value

ENVIRONMENT_KEY = r"HKLM\System\CurrentControlSet\Control\Session Manager\Environment"
# name, data, kind (None: REG_SZ)
PLANTED = [
    ("ZENTE2E_PLAIN", "plain value", None),
    ("ZENTE2E_EQUALS", "a=b==c", None),
    ("ZENTE2E_EMPTY", "", None),
    ("ZENTE2E_MARKUP", ' x & <y> "z" ', None),
    ("ZENTE2E_EXPAND", r"%SystemRoot%\zent", "REG_EXPAND_SZ"),
]

@pytest.fixture(scope="module")
def planted():
    for name, data, kind in PLANTED:
        set_value(ENVIRONMENT_KEY, name, data, kind)
    restart_session()
    yield
    for name, _, _ in PLANTED:
        delete_value(ENVIRONMENT_KEY, name, missing_ok=True)
    # Later tests' services run without them.
    restart_session()


@pytest.fixture
def agent(planted):
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1, "FlushDebugLogTimer": 200}})


def environment_query(query_id):
    return (query_id, b"getEnvironment", b"", None)


def test_planted_variables_are_in_the_agents_environment(agent):
    document = ask(agent, request(b"env-planted", [environment_query(b"e1")]))
    variables = dict(objects_of(document))
    assert variables[b"ZENTE2E_PLAIN"] == b"plain value"
    # Only the first "=" splits.
    assert variables[b"ZENTE2E_EQUALS"] == b"a=b==c"
    assert variables[b"ZENTE2E_MARKUP"] == b' x & <y> "z" '
    assert variables[b"ZENTE2E_EXPAND"] == b"C:\\windows\\zent"
    # The service's environment block skips empty values.
    assert b"ZENTE2E_EMPTY" not in variables
    agent.wait_for_log(r"\]\[MakeResponseXMlFile:\d+\] GetHmdEnvironment succeeded\r\n")


def test_whole_document_is_its_objects_with_their_hash(agent):
    document = ask(agent, request(b"env-all", [environment_query(b"e1")]))
    pairs = objects_of(document)
    expected = response(b"env-all", [result(b"e1", b"1", [(VARIABLE, name, [(b"value", value)])
                                                          for name, value in pairs])])
    assert document == expected
    names = [name for name, _ in pairs]
    # The runtime hands over no "=C:" entry, and each name once.
    assert all(name and b"=" not in name for name in names)
    assert len(set(n.upper() for n in names)) == len(names)
    assert (b"SystemRoot", b"C:\\windows") in pairs


def test_arguments_are_not_read_and_ids_are_ordered(agent):
    document = ask(agent, request(b"env-two", [(b"b", b"getEnvironment", b"detailed", b"x"), environment_query(b"a")]))
    pairs = objects_of(document)
    half = len(pairs) // 2
    assert pairs[:half] == pairs[half:]
    objects = [(VARIABLE, name, [(b"value", value)]) for name, value in pairs[:half]]
    assert document == response(b"env-two", [result(b"a", b"1", objects), result(b"b", b"1", objects)])
