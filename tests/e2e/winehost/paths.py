"""Where the build, the Wine prefix and its drives are, and the translation of
paths between Linux and the Windows programs under Wine."""
import os
import pathlib
import re

REPO_ROOT = pathlib.Path(__file__).resolve().parents[3]
# CTest names the Windows build tree; by hand the default one is used.
BUILD_WIN = pathlib.Path(os.environ.get("ZENT_BUILD_WIN", REPO_ROOT / "build" / "win"))
# cmake/wine-run reads the same variable, so both find the same prefix.
PREFIX = pathlib.Path(os.environ.get("ZENT_WINEPREFIX", REPO_ROOT / "build" / "wineprefix"))
WINE_RUN = REPO_ROOT / "cmake" / "wine-run"


def build_file(relative):
    """A file of the Windows build tree, e.g. build_file("tools/zentctl.exe")."""
    return str(BUILD_WIN / relative)


def windows_path(path):
    """The Windows path of a Linux file: C:\\... inside the prefix's drive_c,
    Z:\\... anywhere else."""
    path = pathlib.Path(os.path.realpath(path))
    drive_c = pathlib.Path(os.path.realpath(PREFIX / "drive_c"))
    if path == drive_c or drive_c in path.parents:
        return "C:\\" + "\\".join(path.relative_to(drive_c).parts)
    return "Z:" + str(path).replace("/", "\\")


def unix_path(path):
    """The Linux path of a Windows path, through the prefix's drive links;
    a path that is no Windows path is returned as it is."""
    match = re.match(r"^([A-Za-z]):[\\/]?(.*)$", str(path))
    if not match:
        return str(path)
    drive, rest = match.groups()
    parts = [p for p in re.split(r"[\\/]+", rest) if p]
    return str(PREFIX.joinpath("dosdevices", drive.lower() + ":", *parts))
