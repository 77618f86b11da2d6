"""Services of the prefix: registered, started, stopped and deleted with
Wine's sc; queried with svcstatus.exe.

Wine's sc knows create, start, stop, delete, query, description and failure.
Its query prints the type, state, Win32 and service exit codes, check point
and wait hint, but not the accepted controls nor the process id; and every sc
failure is exit status 1 with the reason left unsaid. svcstatus.exe prints
QueryServiceStatusEx's fields, or the error, as JSON. A started service
lives only as long as the Wine session: see session.py."""
import dataclasses
import json
import time

from .paths import build_file
from .process import run

SERVICE_ACCEPT_STOP = 0x1
SERVICE_ACCEPT_PAUSE_CONTINUE = 0x2
SERVICE_ACCEPT_SHUTDOWN = 0x4


class ServiceError(Exception):
    pass


@dataclasses.dataclass
class ServiceStatus:
    name: str
    state: str  # "STOPPED", "START_PENDING", "STOP_PENDING", "RUNNING", ...
    current_state: int
    service_type: int
    controls_accepted: int
    win32_exit_code: int  # unsigned, as the service control manager keeps it
    service_specific_exit_code: int
    check_point: int
    wait_hint: int
    process_id: int
    service_flags: int

    @property
    def accepts_stop(self):
        return bool(self.controls_accepted & SERVICE_ACCEPT_STOP)


def _sc(*args, check):
    done = run(["sc", *args])
    if check and done.exit_code != 0:
        raise ServiceError(f"sc {' '.join(args)} failed (Wine's sc does not say why)")
    return done.exit_code == 0


def create_service(name, binpath, *, start="demand", display_name=None, check=True):
    """Registers an own-process service; binpath is its Windows command line.
    start: "boot", "system", "auto", "demand" or "disabled". True on success."""
    extra = ["displayname=", display_name] if display_name else []
    return _sc("create", name, "binpath=", binpath, "start=", start, *extra, check=check)


def start_service(name, *args, check=True):
    """Asks the service control manager to start it, with args for ServiceMain."""
    return _sc("start", name, *args, check=check)


def stop_service(name, check=True):
    """Sends the stop control."""
    return _sc("stop", name, check=check)


def delete_service(name, check=True):
    """Marks it for deletion; it goes once stopped and no handle is open."""
    return _sc("delete", name, check=check)


def query_service(name):
    """The service's status, or None when there is no such service."""
    done = run([build_file("tests/tools/svcstatus.exe"), name])
    fields = json.loads(done.stdout)
    if "error" in fields:
        if fields["error"] == 1060:  # ERROR_SERVICE_DOES_NOT_EXIST
            return None
        raise ServiceError(f"querying {name}: error {fields['error']}")
    return ServiceStatus(
        name=fields["name"], state=fields["state"], current_state=fields["currentState"],
        service_type=fields["serviceType"], controls_accepted=fields["controlsAccepted"],
        win32_exit_code=fields["win32ExitCode"], service_specific_exit_code=fields["serviceSpecificExitCode"],
        check_point=fields["checkPoint"], wait_hint=fields["waitHint"], process_id=fields["processId"],
        service_flags=fields["serviceFlags"])


def wait_for_state(name, state, timeout=30):
    """Polls until the service is in state ("RUNNING", "STOPPED", ...) and
    returns its status; ServiceError on time-out."""
    deadline = time.monotonic() + timeout
    while True:
        status = query_service(name)
        if status is not None and status.state == state:
            return status
        if time.monotonic() > deadline:
            raise ServiceError(f"{name} is {status.state if status else 'gone'}, not {state}, after {timeout} s")
        time.sleep(0.2)
