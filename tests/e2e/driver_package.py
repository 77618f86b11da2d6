"""The driver's side of a deployment: the package in the agent's infsys
folder, the network configuration's stand-in registered in the prefix in
place of Wine's class, pnputil in system32, and the system's driver state
(the installed file, the INF store's copies) cleared between tests."""
import os
import shutil

from winehost import build_file, run, unix_path, windows_path

WINDOWS = r"C:\windows"
SYSTEM = WINDOWS + r"\system32"
# As the agent names it; the folder on the disk is "inf".
INF_STORE = WINDOWS + r"\INF"
STORE_FOLDER = WINDOWS + r"\inf"
INSTALLED_DRIVER = SYSTEM + r"\drivers\mlfilter.sys"
INF_NAMES = ("netmlfilter.inf", "netmlfilterm.inf", "netmlfilterp.inf", "netnrxim.inf", "netnrxip.inf")
# The Windows 7 family's folder, Wine's default version.
OS_FOLDER = "Win7Release"

_registered = False


def package_file(variant):
    """mlfilter.sys of the test package: "current" (5.1.0.12), "older"
    (5.0.9.3), "newer" (5.2.0.1), "v32768" (5.1.0.32768), "noversion"."""
    return build_file(f"sim/driverpackage/{variant}/mlfilter.sys")


def lay_out_package(agent_dir, variant="current", infs=("netmlfilter.inf",)):
    """The package in agent_dir\\infsys\\Win7Release; variant None: no driver file."""
    folder = os.path.join(agent_dir, "infsys", OS_FOLDER)
    shutil.rmtree(os.path.join(agent_dir, "infsys"), ignore_errors=True)
    os.makedirs(folder)
    if variant is not None:
        shutil.copy(package_file(variant), os.path.join(folder, "mlfilter.sys"))
    for name in infs:
        shutil.copy(build_file("sim/driverpackage/inf/" + name), os.path.join(folder, name))
    return folder


def prepare_system():
    """The stand-in registered (once per run), pnputil in place, and no
    driver file or INF copy of an earlier test."""
    global _registered
    if not _registered:
        done = run([SYSTEM + r"\regsvr32.exe", "/s", windows_path(build_file("sim/netcfg/netcfg.dll"))])
        assert done.exit_code == 0, done
        _registered = True
    shutil.copy(build_file("sim/netcfg/pnputil.exe"), unix_path(SYSTEM + r"\pnputil.exe"))
    clear_system()


def clear_system():
    for path in (INSTALLED_DRIVER, WINDOWS + r"\mlfilter.sys"):
        if os.path.exists(unix_path(path)):
            os.remove(unix_path(path))
    store = unix_path(STORE_FOLDER)
    for name in os.listdir(store):
        if name.lower().startswith(("oem", "netmlfilter", "netnrx")):
            path = os.path.join(store, name)
            if os.path.isdir(path):
                shutil.rmtree(path)
            else:
                os.remove(path)


def store_file(name):
    return os.path.join(unix_path(STORE_FOLDER), name)
