"""A service registered with Wine's sc goes through its states as the
service control manager reports them. It points at Wine's print spooler,
which runs as an own-process service under any name."""
import os

import pytest

from winehost import (ServiceError, create_service, delete_service, query_service, start_service, stop_service,
                      wait_for_state)

NAME = f"ZentE2eProbe{os.getpid()}"
SPOOLER = r"C:\windows\system32\spoolsv.exe"


@pytest.fixture
def service():
    create_service(NAME, SPOOLER, display_name="Zent end-to-end probe")
    yield NAME
    stop_service(NAME, check=False)
    delete_service(NAME, check=False)


def test_a_new_service_is_stopped_and_never_started(service):
    status = query_service(service)
    assert status.state == "STOPPED"
    assert status.service_type == 0x10  # SERVICE_WIN32_OWN_PROCESS
    assert status.win32_exit_code == 1077  # ERROR_SERVICE_NEVER_STARTED
    assert status.process_id == 0


def test_a_started_service_runs_and_accepts_stop(service):
    start_service(service)
    status = wait_for_state(service, "RUNNING")
    assert status.accepts_stop
    assert status.process_id != 0


def test_a_stopped_service_reports_stopped_with_exit_code_zero(service):
    start_service(service)
    wait_for_state(service, "RUNNING")
    stop_service(service)
    status = wait_for_state(service, "STOPPED")
    assert status.win32_exit_code == 0
    assert status.controls_accepted == 0


def test_a_deleted_service_is_gone(service):
    delete_service(service)
    assert query_service(service) is None


def test_failures_of_sc_raise_unless_told_not_to():
    assert query_service(NAME + "Missing") is None
    with pytest.raises(ServiceError):
        start_service(NAME + "Missing")
    assert delete_service(NAME + "Missing", check=False) is False
