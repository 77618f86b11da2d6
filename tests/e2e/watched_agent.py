"""The running agent whose zent_agent.ini a test edits while it runs: saves
of the whole file (rename into place, or written in place), the count of
reloads in the debug log, and the agent's Linux process for its CPU time and
memory, read from /proc."""
import os
import re
import time

from agent_host import AgentHost
from winehost import linux_process, write_ini

RELOAD = re.compile(r"\[ReloadConfigSettings:\d+\] Reload Config Settings\.\r\n")
# The profile calls read the file the moment the folder's notification wakes
# the watcher; a reload's line is written before it reads and reaches the
# file at the log's next flush.
SETTLE = 0.6


class WatchedAgent:
    def __init__(self, host, settings):
        self.host = host
        self.settings = {section: dict(keys) for section, keys in settings.items()}

    # --- saves --------------------------------------------------------------------------

    def reloads(self):
        """Reload lines in the whole debug log (the live file)."""
        return len(RELOAD.findall(self.host.log()))

    def save(self, announced=True, **changes):
        """Saves the whole ini with these ZENTSETTINGS keys changed (None
        removes one), the way editors do: a new file renamed into place. With
        `announced` the save waits for its reload's line; else (the log off or
        its level under 3) for a while."""
        for key, value in changes.items():
            if value is None:
                self.settings["ZENTSETTINGS"].pop(key, None)
            else:
                self.settings["ZENTSETTINGS"][key] = value
        self.save_sections(announced)

    def save_sections(self, announced=True):
        before = self.reloads() if announced else 0
        staged = self.host.path("zent_agent.ini.new")
        write_ini(staged, self.settings)
        os.replace(staged, self.host.ini)
        self.wait_for_reloads(before + 1 if announced else None)

    def wait_for_reloads(self, count, timeout=15):
        """Until the log holds `count` reload lines (None: a fixed pause),
        and then a little more for a second notification of the same save."""
        if count is not None:
            deadline = time.monotonic() + timeout
            while self.reloads() < count:
                assert time.monotonic() < deadline, f"no reload after {timeout} s:\n{self.host.log()[-2000:]}"
                time.sleep(0.1)
        time.sleep(SETTLE if count is not None else 1.5)

    # --- the process -----------------------------------------------------------------------

    def linux_pid(self):
        """The Linux process that runs ZentAgent.exe in this prefix."""
        return linux_process.windows_process("ZentAgent.exe", timeout=0)

    def cpu_seconds(self):
        """User and system time of all the agent's threads."""
        return linux_process.cpu_ticks(self.linux_pid()) / os.sysconf("SC_CLK_TCK")

    def private_memory(self):
        """RssAnon + VmSwap, in bytes."""
        return linux_process.private_kb(self.linux_pid()) * 1024

    def open_files(self):
        """The Linux paths the agent's process holds open."""
        pid = self.linux_pid()
        paths = []
        for fd in os.listdir(f"/proc/{pid}/fd"):
            try:
                paths.append(os.readlink(f"/proc/{pid}/fd/{fd}"))
            except OSError:
                pass
        return paths


def start_watched(settings, server=None):
    host = AgentHost()
    host.install(settings)
    if server is not None:
        host.use_server(server)
    host.start()
    return WatchedAgent(host, settings)
