"""ZentAgent.exe -install, run by the patch agent, on a host where other
agents of the family are: the firewall client and the sibling agents refuse
the install, and Corvel, the older agent, installed by its own installer, is
removed through that installer first. Exit codes, what is left on the host
and the lines of zent_install.log at DebugLevel 5. The rows of the removal
in detail are in tests/upkeep/."""
import os

import pytest

from agent_host import SERVICE
from deployment import SERVICE_KEY, log_messages
from winehost import build_file, delete_key, delete_value, key_exists, run, set_value, unix_path, windows_path

PELLOR_CLIENT = r"HKLM\SOFTWARE\Halvane\Pellor Client"
SIBLING_SERVICE = r"HKLM\SYSTEM\CurrentControlSet\Services\ml_agent"
CORVEL_KEY = r"HKLM\SOFTWARE\Halvane\Corvel Agent"
UNINSTALL = r"HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall"
CORVEL_CODE = "{6B1C2D3E-4F50-4A61-9B72-8C93D4E5F601}"
# The removal's functions, and the deployment's lines around them.
SHOWN = {"RemoveIncompatibleAgent", "RemoveCorvel", "GetCorvelInstallFolder", "ResetCorvelSetting",
         "DisableCorvelSelfProtection", "GetPendingFilesRegistryString", "WinMain", "ServiceInstall",
         "DeinitService"}
# Wine's taskkill knows no /T: exit code 1 and its usage, logged and passed over.
TASKKILL_OUTPUT = ("Error: Unknown or invalid command line option specified.\r\n"
                   "Usage: taskkill [/?] [/f] [/im ProcessName | /pid ProcessID]\r\n")


@pytest.fixture
def host(deployment_host):
    yield deployment_host
    if key_exists(UNINSTALL + "\\" + CORVEL_CODE):
        set_value(CORVEL_KEY, "SelfProtection", 0)
        run(["msiexec", "/x", CORVEL_CODE, "/quiet"])
    for key in (PELLOR_CLIENT, SIBLING_SERVICE, CORVEL_KEY):
        delete_key(key, missing_ok=True)


def install_corvel():
    assert run(["msiexec", "/i", windows_path(build_file("sim/corvel/corvel.msi")), "/quiet"]).exit_code == 0
    assert key_exists(UNINSTALL + "\\" + CORVEL_CODE)


def last_run(host):
    """The lines of SHOWN that the last run wrote, from its "cmd:" line on."""
    text = host.install_log()
    lines = [m for m in log_messages(text[text.rindex("start logging >>>"):]) if m[0] in SHOWN]
    first = next(i for i, (function, message) in enumerate(lines) if message.startswith("cmd: "))
    return lines[first:]


def ending(code):
    return [("WinMain", f"lpCmdLine(-install), cmd(-install), code({code})"),
            ("DeinitService", "DeinitService -install")]


def refused(code, *lines):
    """A run that ended in the check for other agents: nothing installed."""
    return [("WinMain", "cmd: -install"), *lines, *ending(code)]


def corvel_removal(guid, *end):
    return [("RemoveIncompatibleAgent", "Display name of agent: Corvel Agent"),
            ("RemoveIncompatibleAgent", "Corvel exists, start to uninstall it"),
            ("DisableCorvelSelfProtection", "mla_control -s off exitCode=0, output=\r\n"),
            ("ResetCorvelSetting", "mla_control -r exitCode=0, output=\r\n"),
            ("RemoveCorvel", "start kill mla.exe"),
            ("RemoveCorvel", "kill mla.exe failed, exitCode=1"),
            ("RemoveCorvel", "output=\r\n" + TASKKILL_OUTPUT),
            ("RemoveCorvel", f"Corvel guid={guid}"),
            ("RemoveCorvel", "start uninstall corvel."),
            *end]


def deploy(host, code):
    done = host.deploy("-install")
    assert (done.exit_code, done.stdout) == (code, f"exit code: {code}\r\n")


def test_firewall_client_refuses_then_corvel_is_removed_and_the_install_goes_on(host):
    install_corvel()
    set_value(PELLOR_CLIENT, "Version", 3)
    deploy(host, -101)
    assert last_run(host) == refused(
        -101, ("RemoveIncompatibleAgent", "Pellor Client exists, return error code 101 to BRVN patch agent."))
    assert key_exists(UNINSTALL + "\\" + CORVEL_CODE)
    assert host.record("corvel", "Journal") is None
    assert not key_exists(SERVICE_KEY)

    delete_key(PELLOR_CLIENT)
    deploy(host, 0)
    assert last_run(host) == [
        ("WinMain", "cmd: -install"),
        *corvel_removal(CORVEL_CODE, ("RemoveCorvel", "Exit code=0")),
        ("WinMain", "ZentAgent -install"),
        ("ServiceInstall", f"Service({SERVICE}) installed successfully"),
        *ending(0)]
    assert host.record("corvel", "Journal") == "-s off\n-r\n"
    for key in (UNINSTALL + "\\" + CORVEL_CODE, SIBLING_SERVICE, CORVEL_KEY):
        assert not key_exists(key), key
    assert not os.path.exists(unix_path(r"C:\Program Files\Corvel\mla.exe"))
    # The install went on: the agent's service is registered.
    assert key_exists(SERVICE_KEY)
    assert not os.path.exists(host.path("corvel_uninstall.log"))


def test_sibling_agents_refuse_the_install(host):
    set_value(SIBLING_SERVICE, "DisplayName", "Halvane Marlune Agent")
    deploy(host, -102)
    assert last_run(host) == refused(
        -102, ("RemoveIncompatibleAgent", "Display name of agent: Halvane Marlune Agent"),
        ("RemoveIncompatibleAgent", "MLA exists, return error code -102 to BRVN patch agent."))
    unknown = ("RemoveIncompatibleAgent", "Unknow MLA/Corvel exists, return error code -104 to BRVN patch agent.")
    set_value(SIBLING_SERVICE, "DisplayName", "corvel agent")
    deploy(host, -104)
    assert last_run(host) == refused(-104, ("RemoveIncompatibleAgent", "Display name of agent: corvel agent"), unknown)
    delete_value(SIBLING_SERVICE, "DisplayName")
    deploy(host, -104)
    assert last_run(host) == refused(-104, ("RemoveIncompatibleAgent", "Display name of agent: "), unknown)
    assert not key_exists(SERVICE_KEY)


def test_corvel_without_its_product_code_is_not_removed(host):
    set_value(SIBLING_SERVICE, "DisplayName", "Corvel Agent")
    deploy(host, 130)
    assert last_run(host) == refused(
        130, ("RemoveIncompatibleAgent", "Display name of agent: Corvel Agent"),
        ("RemoveIncompatibleAgent", "Corvel exists, start to uninstall it"),
        ("RemoveCorvel", "Can not find corvel guid"),
        ("RemoveCorvel", "Can not find corvel and hvcorvel guid"))
    assert not key_exists(SERVICE_KEY)


def test_corvel_asking_for_a_reboot_ends_the_install_before_anything_is_installed(host):
    install_corvel()
    host.knob("corvel", "UninstallNeedsReboot", 1)
    deploy(host, -110)
    assert last_run(host) == refused(-110, *corvel_removal(
        CORVEL_CODE, ("RemoveCorvel", "Exit code=3010"), ("RemoveCorvel", "uninstall corvel fail, error=3010"),
        ("RemoveCorvel", "output=\r\n"), ("RemoveCorvel", "require reboot")))
    for key in (UNINSTALL + "\\" + CORVEL_CODE, SIBLING_SERVICE, CORVEL_KEY, SERVICE_KEY):
        assert not key_exists(key), key
    # The uninstaller's own log, kept beside the agent: Wine's msiexec wrote it.
    with open(host.path("corvel_uninstall.log"), "rb") as f:
        assert CORVEL_CODE.encode() in f.read().replace(b"\0", b"")
