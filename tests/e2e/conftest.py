import pytest

import agent_host
from agent_host import AgentHost


@pytest.fixture
def agent():
    """A fresh installation of the agent; removed again after the test."""
    agent_host.running["settings"] = None
    host = AgentHost()
    yield host
    host.remove()


@pytest.fixture(scope="session", autouse=True)
def remove_running_agent():
    yield
    if agent_host.running["settings"] is not None:
        AgentHost().remove()
