"""getDirectoryListing: listing a directory, against the same calls bare."""
import os
import shutil
import sys

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tests", "e2e"))

import winehost  # noqa: E402

TITLE = "getDirectoryListing: listing a directory"
PROGRAM = "bench/metadata_listing_bench.exe"
ROOT = r"C:\zflbench"
SIZES = (1000, 10000, 100000)


def make_folders():
    """d1000, d10000 and d100000 under ROOT, of that many empty files, and
    the empty d0, made
    from Linux: Wine would look for each new name through the whole folder."""
    root = winehost.unix_path(ROOT)
    shutil.rmtree(root, ignore_errors=True)
    os.makedirs(os.path.join(root, "d0"))
    for size in SIZES:
        folder = os.path.join(root, f"d{size}")
        os.makedirs(folder)
        for i in range(size):
            open(os.path.join(folder, f"entry_{1000000 + i}.dat"), "wb").close()
    return root


def run():
    """Runs the Windows program over the folders, prints its lines, and
    removes the folders."""
    root = make_folders()
    try:
        done = winehost.run([winehost.build_file(PROGRAM), ROOT], timeout=None)
        print(done.stdout, end="")
        if done.exit_code != 0:
            print(f"metadata_listing_bench.exe ended with {done.exit_code}: {done.stderr}")
    finally:
        shutil.rmtree(root, ignore_errors=True)
