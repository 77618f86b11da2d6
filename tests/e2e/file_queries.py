"""Files and folders for the file information and directory listing tests,
made in the prefix's drive C from Linux, and the pieces of the documents the
agent answers with, written from the result rules."""
import os
import shutil

from registry_fixture import result
from winehost import build_file, run, unix_path

# Folders of eight characters or fewer, so that their names are their own
# short forms.
INFO_DIR = r"C:\zfinfo"
LIST_DIR = r"C:\zflist"
# A file right under the root of drive C, asked for as "\zfroot.txt".
ROOT_FILE = r"C:\zfroot.txt"

SHORTNAME = "tests/tools/shortname.exe"
MAKELINK = "tests/tools/makelink.exe"
VERSION_DLLS = ("two_translations.dll", "fixed_only.dll")


def fresh_folder(path):
    folder = unix_path(path)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    return folder


def write(path, data=b"", times=None, mode=None):
    """A file of the prefix by its Windows path, with its access and
    modification times in seconds and its Unix mode bits if given."""
    name = unix_path(path)
    with open(name, "wb") as f:
        f.write(data)
    if times is not None:
        os.utime(name, times)
    if mode is not None:
        os.chmod(name, mode)
    return name


def copy_built(relative, path):
    shutil.copyfile(build_file(relative), unix_path(path))


def short_of(path):
    """The system's 8.3 form of a path, or None when it gives none."""
    done = run([build_file(SHORTNAME), path])
    return done.stdout if done.exit_code == 0 else None


def make_link(link, target):
    done = run([build_file(MAKELINK), link, target])
    assert done.exit_code == 0, done.stdout


def file_info(query_id, path, attributes):
    return result(query_id, b"fileInfo", path, [(b"type", b"file")] + attributes, b"2")


def directory_info(query_id, path, attributes):
    return result(query_id, b"fileInfo", path, [(b"type", b"directory")] + attributes, b"2")


def listing(query_id, path, entries):
    return result(query_id, b"directoryListing", path, [(b"entries", entries)])


def times(access, modified):
    """The time attributes of a file whose times os.utime set. Wine's C
    runtime takes st_ctime from the last write, so created is lastModified."""
    return [(b"lastAccess", b"%d" % (access * 1000)), (b"lastModified", b"%d" % (modified * 1000)),
            (b"created", b"%d" % (modified * 1000))]


def short_name(path, full_path=None):
    """shortName as the query reports it: the short form of the full path
    (a directory's ends in "/"), or the full path when the system gives
    none; nothing when it equals the path as asked, ignoring case."""
    full = full_path if full_path is not None else path
    found = short_of(full)
    text = found if found is not None else full
    if text.lower() == path.lower():
        return []
    return [(b"shortName", text.encode())]


def queries(*items):
    """(id, query, arg1) triples as the registry fixture's request takes them."""
    return [(query_id, query, arg1, None) for query_id, query, arg1 in items]

