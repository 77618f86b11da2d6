"""A file's DACL read back with file_dacl.exe (GetNamedSecurityInfoW), since
Wine has no icacls and its cacls shows neither the protection nor the
inheritance flags."""
import dataclasses
import json

from .paths import build_file, windows_path
from .process import run


@dataclasses.dataclass
class Ace:
    type: int  # 0 allowed, 1 denied, ...
    flags: int  # 1 object inherit, 2 container inherit, 0x10 inherited, ...
    mask: int
    sid: str  # "S-1-5-18"


@dataclasses.dataclass
class FileDacl:
    protected: bool  # SE_DACL_PROTECTED: nothing inherited from the folder
    aces: list  # [Ace], or None for a null DACL


def file_dacl(path):
    """The DACL of a file or folder, a Linux path of the prefix or a Windows
    path; AssertionError when it cannot be read."""
    target = path if ":" in str(path)[:3] else windows_path(path)
    done = run([build_file("tests/tools/file_dacl.exe"), target])
    fields = json.loads(done.stdout)
    if "error" in fields:
        raise AssertionError(f"reading the DACL of {target}: error {fields['error']}")
    aces = None if fields["aces"] is None else [Ace(a["type"], a["flags"], a.get("mask"), a.get("sid"))
                                                for a in fields["aces"]]
    return FileDacl(fields["protected"], aces)
