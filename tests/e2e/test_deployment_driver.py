"""The filter driver in "-install" and "-delete" as the suite's patch agent
runs them: installed, upgraded or kept as the versions say, through the
network configuration's stand-in; the exit codes of the driver's outcomes;
the driver's lines of zent_install.log at DebugLevel 5, the stand-in's
journal, the driver's service and the rule file pointer."""
import os

import pytest

import driver_package
from agent_host import INSTALL_DIR, SERVICE
from deployment import SERVICE_KEY, log_messages
from winehost import query_service, read_value, unix_path

DRIVER_FUNCTIONS = {"InstallOrUpdateDriver", "GetBundledDriverVersion", "GetDriverVersion",
                    "GetInstalledDriverVersion", "CleanUpOEMFiles", "GetOEMFileContainingDriver", "LaunchCmd",
                    "ndis_install_driver", "InstallSpecifiedComponent", "HrInstallComponent",
                    "ndis_uninstall_driver", "UninstallComponent"}
DRIVER_KEY = r"HKLM\System\CurrentControlSet\Services\mlfilter"
PACKAGE = INSTALL_DIR + r"\infsys" + "\\" + driver_package.OS_FOLDER
NET_SERVICE = "{4D36E974-E325-11CE-BFC1-08002BE10318}"
NAMING_INF = b"[Version]\r\nSignature=\"$Windows NT$\"\r\n[Models]\r\n%Desc% = Install, mlfilter\r\n"

ACQUIRE = ["CreateInstance(INetCfg) = 0x00000000", "QueryInterface(INetCfgLock) = 0x00000000",
           "AcquireWriteLock(5000, ZentAgent, out) = 0x00000000", "Initialize(null) = 0x00000000",
           "Freed INetCfgLock"]
RELEASE = ["Uninitialize() = 0x00000000", "QueryInterface(INetCfgLock) = 0x00000000",
           "ReleaseWriteLock() = 0x00000000", "Freed INetCfgLock", "Freed INetCfg"]
INSTALL = [f"QueryNetCfgClass({NET_SERVICE}, INetCfgClassSetup) = 0x00000000",
           "Install(mlfilter, OBO_USER, 0, 0, null, null) = 0x00000000", "Freed INetCfgComponent",
           "Freed INetCfgClassSetup", "Apply() = 0x00000000", "Apply() = 0x00000000"]
REMOVE = ["FindComponent(mlfilter) = 0x00000000", "GetClassGuid() = 0x00000000",
          f"QueryNetCfgClass({NET_SERVICE}, INetCfgClass) = 0x00000000",
          "QueryInterface(INetCfgClassSetup) = 0x00000000", "DeInstall(component, OBO_USER, null) = 0x00000000",
          "Apply() = 0x00000000", "Freed INetCfgClassSetup", "Freed INetCfgClass", "Freed INetCfgComponent"]


@pytest.fixture
def host(deployment_host):
    yield deployment_host


def fresh(host, running=None, **knobs):
    """Knobs for the next run: the driver running with that version text, or
    none; the network configuration's knobs."""
    if running is None:
        host.knob("mli", "OpenFails", 1)
    else:
        host.knob("mli", "OpenFails", 0)
        host.knob("mli", "Version", running)
    host.knob("netcfg", "DriverServiceProgram", INSTALL_DIR + r"\mlfilter.exe")
    for name, value in knobs.items():
        host.knob("netcfg", name, value)


def driver_lines(host):
    """The driver's lines that the last run wrote."""
    text = host.install_log()
    return [f"{function}: {message}" for function, message in log_messages(text[text.rindex("start logging >>>"):])
            if function in DRIVER_FUNCTIONS]


def journal(host):
    return (host.record("netcfg", "Journal") or "").splitlines()


def checking_package():
    return f"GetBundledDriverVersion: Checking version of {PACKAGE}\\mlfilter.sys"


def install_lines():
    return [f"InstallOrUpdateDriver: install driver in folder {PACKAGE}, copy to windows dir = false",
            f"ndis_install_driver: checking inf path {PACKAGE}\\netmlfilter.inf",
            f"ndis_install_driver: installing driver, inf found: {PACKAGE}\\netmlfilter.inf",
            "ndis_install_driver: driver installed."]


def no_oem_file():
    return [f"GetOEMFileContainingDriver: Searching oem#.inf files in directory({driver_package.INF_STORE}).",
            "CleanUpOEMFiles: There are no oem#.inf files containing driver."]


def test_fresh_install_then_delete(host):
    host.copy_built("mlfilter.exe")
    fresh(host)
    assert host.deploy("-install").exit_code == 0
    assert driver_lines(host) == [
        checking_package(),
        f"GetInstalledDriverVersion: Checking version of {driver_package.INSTALLED_DRIVER}",
        "GetInstalledDriverVersion: No installed driver - installing current driver version.",
        "InstallOrUpdateDriver: New driver version is 5.1.0.12",
        *no_oem_file(), *install_lines()]
    assert journal(host) == ACQUIRE + INSTALL + RELEASE
    assert host.record("netcfg", "Installed") == 1
    assert host.record("netcfg", "LiveObjects") == 0
    assert host.record("netcfg", "LockHolder") is None
    # The component's service runs the driver's stand-in; the package's file
    # is in system32\drivers; the rules' pointer is under the service's key
    # although config.rbf is not there yet.
    assert read_value(DRIVER_KEY, "ImagePath") == INSTALL_DIR + r"\mlfilter.exe"
    assert read_value(DRIVER_KEY, "ConfigBinary") == INSTALL_DIR + r"\config.rbf"
    assert os.path.exists(unix_path(driver_package.INSTALLED_DRIVER))
    assert query_service(SERVICE) is not None
    assert host.record("pnputil", "Runs") is None

    host.knob("netcfg", "Journal", "")
    assert host.deploy("-delete").exit_code == 0
    assert driver_lines(host) == ["ndis_uninstall_driver: driver uninstalled."]
    assert journal(host) == ACQUIRE + REMOVE + RELEASE
    assert host.record("netcfg", "Installed") == 0
    assert query_service("mlfilter") is None
    assert query_service(SERVICE) is None
    assert not os.path.exists(unix_path(driver_package.INSTALLED_DRIVER))


def test_older_running_driver_is_replaced_and_one_inf_copy_removed(host):
    fresh(host, running="5.0.9.3", Installed=1)
    for name in ("oem3.inf", "oem4.inf"):
        with open(driver_package.store_file(name), "wb") as f:
            f.write(NAMING_INF)
    assert host.deploy("-install").exit_code == 0
    lines = driver_lines(host)
    removed = host.record("pnputil", "Arguments")
    assert removed in ("-f -d oem3.inf\n", "-f -d oem4.inf\n")
    name = removed.split()[-1]
    assert lines[:6] == [
        checking_package(),
        "InstallOrUpdateDriver: Installed driver version is 5.0.9.3, new driver version is 5.1.0.12",
        "InstallOrUpdateDriver: uninstall driver in folder",
        "ndis_uninstall_driver: driver uninstalled.",
        f"GetOEMFileContainingDriver: Searching oem#.inf files in directory({driver_package.INF_STORE}).",
        "LaunchCmd: ReadAndHandleOutput First "]
    # pnputil's own line end, then the message's, in a file written in text mode.
    assert lines[6] == f"CleanUpOEMFiles: Clean oem#.inf files: pnputil: deleted {name}\r\r\n"
    assert lines[7:] == install_lines()
    assert journal(host) == ACQUIRE + REMOVE + RELEASE + ACQUIRE + INSTALL + RELEASE
    assert not os.path.exists(driver_package.store_file(name))
    assert len([n for n in ("oem3.inf", "oem4.inf") if os.path.exists(driver_package.store_file(n))]) == 1


def test_newer_or_equal_running_driver_is_kept(host):
    fresh(host, running="5.2.0.1")
    assert host.deploy("-install").exit_code == 0
    assert driver_lines(host) == [
        checking_package(),
        "InstallOrUpdateDriver: Installed driver version is 5.2.0.1, new driver version is 5.1.0.12"]
    fresh(host, running="5.1.0.12")
    assert host.deploy("-install").exit_code == 0
    assert driver_lines(host) == [
        checking_package(),
        "InstallOrUpdateDriver: Installed driver version is 5.1.0.12, new driver version is 5.1.0.12",
        "InstallOrUpdateDriver: Running driver is the correct version."]
    assert host.record("netcfg", "Journal") is None
    assert host.record("netcfg", "CreateInstanceCalls") is None


@pytest.mark.parametrize("knob, code, last", [
    ("RebootRequired", -110, "ndis_install_driver: driver installed successfully: Reboot required."),
    ("NeedReboot", -111, "InstallOrUpdateDriver: need to reboot before install driver."),
    ("FilterLimit", 201512009, "InstallOrUpdateDriver: the number of network filer driver meet limit."),
])
def test_network_configuration_outcomes(host, knob, code, last):
    fresh(host, **{knob: 1})
    assert host.deploy("-install").exit_code == code
    assert driver_lines(host)[-1] == last
    # -110 registers the agent and leaves the rules for the reboot; the
    # others register nothing.
    assert (query_service(SERVICE) is not None) == (code == -110)
    assert (read_value(DRIVER_KEY, "ConfigBinary") is not None) == (code == -110)


def test_package_faults_are_minus_112(host):
    cases = [
        ("no driver file", dict(variant=None),
         "GetBundledDriverVersion: Driver binary doesn't exist - skipping driver install/upgrade."),
        ("no version", dict(variant="noversion"),
         f"GetBundledDriverVersion: Unable to get version information from '{PACKAGE}\\mlfilter.sys'. "
         "Unable to install or upgrade the driver."),
        ("no INF", dict(infs=()), "InstallOrUpdateDriver: install driver fails"),
    ]
    for name, package, last in cases:
        driver_package.lay_out_package(host.dir, **package)
        fresh(host)
        assert host.deploy("-install").exit_code == -112, name
        assert driver_lines(host)[-1] == last, name
        assert query_service(SERVICE) is None, name
    driver_package.lay_out_package(host.dir, infs=("netmlfilter.inf", "netmlfilterm.inf"))
    fresh(host, Install="0x80004005")
    assert host.deploy("-install").exit_code == -112
    lines = driver_lines(host)
    assert lines[-2:] == ["ndis_install_driver: Cannot find INF file or all INF file failed.",
                          "InstallOrUpdateDriver: install driver fails"]
    # Wine's text of E_FAIL, its last character dropped: the line ends "\r\r\n".
    assert "ndis_install_driver: InstallSpecifiedComponent failed. error=0x80004005, Call failed.\r" in lines
    assert host.record("netcfg", "InstallCalls") == 2


def test_driver_that_cannot_be_uninstalled_is_minus_113(host):
    fresh(host, running="5.0.9.3", Installed=1, DeInstall="0x80004005")
    assert host.deploy("-install").exit_code == -113
    assert driver_lines(host)[-3:] == [
        "UninstallComponent: Failed to uninstall mlfilter. error=0x80004005, Call failed.\r",
        "ndis_uninstall_driver: UninstallComponent failed. error=0x80004005, Call failed.\r",
        "InstallOrUpdateDriver: uninstall driver fails"]
    assert query_service(SERVICE) is None

    # Installed otherwise, the agent's service stays beside the driver that
    # "-delete" could not remove.
    fresh(host, running="5.1.0.12", Installed=0, DeInstall="0")
    assert host.deploy("-install").exit_code == 0
    fresh(host, Installed=1, DeInstall="0x80004005")
    assert host.deploy("-delete").exit_code == -113
    assert driver_lines(host) == [
        "UninstallComponent: Failed to uninstall mlfilter. error=0x80004005, Call failed.\r",
        "ndis_uninstall_driver: UninstallComponent failed. error=0x80004005, Call failed.\r"]
    assert query_service(SERVICE) is not None
    assert read_value(SERVICE_KEY, "ImagePath") == f'"{INSTALL_DIR}\\ZentAgent.exe" -service'


def test_delete_whose_driver_removal_wants_a_reboot_is_minus_110(host):
    fresh(host, running="5.1.0.12")
    assert host.deploy("-install").exit_code == 0
    fresh(host, Installed=1, RebootRequired=1)
    assert host.deploy("-delete").exit_code == -110
    assert driver_lines(host) == ["ndis_uninstall_driver: driver uninstalled successfully: Reboot required."]
    assert journal(host) == ACQUIRE + [line.replace("DeInstall(component, OBO_USER, null) = 0x00000000",
                                                    "DeInstall(component, OBO_USER, null) = 0x0004A020")
                                            .replace("Apply() = 0x00000000", "Apply() = 0x0004A020")
                                       for line in REMOVE] + RELEASE
    # The agent's service goes all the same.
    assert query_service(SERVICE) is None
    assert host.record("netcfg", "Installed") == 0
