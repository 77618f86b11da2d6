"""ZentAgent.exe is a 64-bit Windows executable that needs no DLL beyond
Windows' own and the driver access library."""
import os
import re
import struct
import subprocess

EXE = os.environ["ZENT_AGENT_EXE_UNIX"]

# Windows' own DLLs, and the filter driver's access library.
ALLOWED = {
    "kernel32.dll", "user32.dll", "advapi32.dll", "msvcrt.dll", "ws2_32.dll",
    "crypt32.dll", "bcrypt.dll", "shell32.dll", "ole32.dll", "oleaut32.dll",
    "version.dll", "iphlpapi.dll", "rasapi32.dll", "mpr.dll", "mprapi.dll", "setupapi.dll",
    "wintrust.dll", "shlwapi.dll", "ntdll.dll", "psapi.dll", "dbghelp.dll",
    "userenv.dll", "rpcrt4.dll", "gdi32.dll", "netapi32.dll", "secur32.dll",
    "mli.dll",
}


def test_is_pe32_plus_for_x86_64():
    with open(EXE, "rb") as f:
        data = f.read(4096)
    assert data[:2] == b"MZ"
    pe = struct.unpack_from("<I", data, 0x3C)[0]
    assert data[pe:pe + 4] == b"PE\0\0"
    machine = struct.unpack_from("<H", data, pe + 4)[0]
    magic = struct.unpack_from("<H", data, pe + 24)[0]
    assert machine == 0x8664  # IMAGE_FILE_MACHINE_AMD64
    assert magic == 0x20B  # PE32+


def test_imports_only_windows_dlls():
    dump = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", EXE],
                          check=True, capture_output=True, text=True).stdout
    dlls = [name.lower() for name in re.findall(r"^\s*DLL Name: (\S+)$", dump, re.M)]
    assert "kernel32.dll" in dlls
    assert [d for d in dlls if d not in ALLOWED] == []
