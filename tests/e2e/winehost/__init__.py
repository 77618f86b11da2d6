"""Helpers for end-to-end tests of the agent under Wine, in the project's own
Wine prefix: Windows programs and their whole exit codes, the registry,
services, ini files, log files, and sessions whose wineserver traces every
request (server_trace reads what the trace holds)."""
from .files import read_ini, read_log, wait_for_log, write_ini
from .paths import build_file, unix_path, windows_path
from .process import WindowsRun, run
from .registry import (RegistryError, add_key, delete_key, delete_value,
                       key_exists, read_key, read_value, set_value, subkeys)
from .service import (SERVICE_ACCEPT_PAUSE_CONTINUE, SERVICE_ACCEPT_SHUTDOWN,
                      SERVICE_ACCEPT_STOP, ServiceError, ServiceStatus,
                      create_service, delete_service, query_service,
                      start_service, stop_service, wait_for_state)
from .session import channel_session, end_session, keep_session, restart_session, traced_session
