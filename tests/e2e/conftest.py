import os

import pytest

import agent_host
from agent_host import AgentHost
from deployment import DeploymentHost


@pytest.fixture
def agent():
    """A fresh installation of the agent; removed again after the test."""
    agent_host.running["settings"] = None
    host = AgentHost()
    yield host
    host.remove()


@pytest.fixture
def deployment_host():
    """The agent's folder laid out for "-install" or "-delete"; whatever the
    deployments installed is removed after the test."""
    host = DeploymentHost()
    host.lay_out()
    yield host
    host.remove()


@pytest.fixture(scope="session", autouse=True)
def remove_running_agent():
    yield
    if agent_host.running["settings"] is not None:
        AgentHost().remove()


# Tests that take more than a minute each run only in `./zent test --long`,
# which sets ZENT_TEST_LONG=1, so that `./zent test` stays short.
def pytest_configure(config):
    config.addinivalue_line("markers", "long: takes more than a minute; runs only with ./zent test --long")


def pytest_collection_modifyitems(config, items):
    if os.environ.get("ZENT_TEST_LONG") == "1":
        return
    kept = [item for item in items if "long" not in item.keywords]
    deselected = [item for item in items if "long" in item.keywords]
    if deselected:
        config.hook.pytest_deselected(items=deselected)
        items[:] = kept


# A file whose tests are all long collects none in a short run: that is a
# pass, not pytest's "no tests collected".
def pytest_sessionfinish(session, exitstatus):
    if exitstatus == pytest.ExitCode.NO_TESTS_COLLECTED and os.environ.get("ZENT_TEST_LONG") != "1":
        session.exitstatus = pytest.ExitCode.OK
