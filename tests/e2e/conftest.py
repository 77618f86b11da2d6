import pytest

from agent_host import AgentHost


@pytest.fixture
def agent():
    """A fresh installation of the agent; removed again after the test."""
    host = AgentHost()
    yield host
    host.remove()
