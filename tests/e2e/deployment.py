"""The agent's folder as the suite's installer leaves it before the patch agent
runs "ZentAgent.exe -install" or "-delete": the agent's files and its ini,
the suite's key, no services. Runs the deployment commands through the patch
agent's stand-in and reads what they wrote to zent_install.log."""
import os
import threading

from agent_host import AGENT_FILES, INSTALL_DIR, LINE, SERVICE, AgentHost
from winehost import build_file, delete_key, run, set_value
from winehost.holder import Holder

# The patch agent, signed as the suite's publisher, as another one, unsigned.
PATCH_AGENTS = {
    "signed": "sim/patchagent/patchagent.exe",
    "other_signer": "sim/patchagent/patchagent_other_signer.exe",
    "unsigned": "sim/patchagent/patchagent_unsigned.exe",
}
AGENT_EXE = INSTALL_DIR + r"\ZentAgent.exe"
INSTALL_LOG = "zent_install.log"
# Wine's per-program settings: "Version" is the Windows version the agent
# sees, which picks its driver package's folder.
APP_DEFAULTS = r"HKCU\Software\Wine\AppDefaults\ZentAgent.exe"
# Every line of a deployment is wanted, the settings dump included.
DEPLOYMENT_SETTINGS = {"ZENTSETTINGS": {"DebugLevel": 5}}
SERVICE_KEY = r"HKLM\System\CurrentControlSet\Services" + "\\" + SERVICE
MUTEX = "ZentAgentDeploymentMutex"


class DeploymentHost(AgentHost):
    """The agent's folder before a deployment; remove() takes away whatever
    the deployment installed."""

    def lay_out(self, settings=DEPLOYMENT_SETTINGS, files=AGENT_FILES):
        """The folder, the ini and the suite's key, as AgentHost.install makes
        them, but no service: registering the agent is "-install"'s work."""
        self.remove()
        os.makedirs(os.path.join(self.dir, "config"))
        for name in files:
            self.copy_built(name)
        if settings is not None:
            self.write_settings(settings)
        self.register_suite()

    def deploy(self, argument, parent="signed", timeout=600):
        """Runs ZentAgent.exe with `argument` (None: no argument) from the
        patch agent; returns the WindowsRun, whose exit_code is the agent's."""
        args = [build_file(PATCH_AGENTS[parent]), AGENT_EXE]
        if argument is not None:
            args.append(argument)
        return run(args, timeout=timeout)

    def deploy_in_background(self, argument, parent="signed"):
        """deploy() on a thread of its own; join() the thread, then read
        `.result`."""
        thread = threading.Thread(target=lambda: setattr(thread, "result", self.deploy(argument, parent)))
        thread.start()
        return thread

    def install_log(self):
        return self.log(INSTALL_LOG)

    def messages(self, name=INSTALL_LOG):
        """(function, message) of each line of the log, without the time
        stamp, the thread id and the source line; a message of several lines
        comes whole, its line ends as written."""
        return log_messages(self.log(name))

    def remove(self):
        super().remove()
        delete_key(APP_DEFAULTS, missing_ok=True)


def log_messages(text):
    messages = []
    for line in text.split("\r\n")[:-1]:
        match = LINE.match(line)
        if match:
            messages.append((match.group(3), match.group(5)))
        elif messages:
            function, message = messages[-1]
            messages[-1] = (function, message + "\r\n" + line)
    return messages


def set_windows_version(version):
    """Wine's name of the Windows version ZentAgent.exe sees: "win7" (6.1, the
    prefix's default), "win8", "win81", "win10" (all 6.2 without a manifest),
    "vista", "winxp64", "win2k"."""
    set_value(APP_DEFAULTS, "Version", version)


class HeldMutex(Holder):
    """hold_mutex.exe owning the deployment mutex until release(), which ends
    it without releasing the mutex: the mutex is then abandoned."""

    def __init__(self, name=MUTEX):
        super().__init__("tests/tools/hold_mutex.exe", name)

    def release(self):
        self.close()


def thread_ids(text, function):
    """The thread ids of the lines a function wrote."""
    return {m.group(2).strip() for m in map(LINE.match, text.split("\r\n")) if m and m.group(3) == function}


__all__ = ["APP_DEFAULTS", "AGENT_EXE", "DEPLOYMENT_SETTINGS", "DeploymentHost", "HeldMutex", "MUTEX",
           "SERVICE_KEY", "log_messages", "set_windows_version", "thread_ids"]
