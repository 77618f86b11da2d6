"""Counts the test cases a ./zent test run ran and passed, from the XML each
runner wrote under build/test-results: GoogleTest's (native/ and win/, one
file per test program), pytest's (e2e/, one file per test file) and CTest's
for the fuzz targets (fuzz.xml, one case per target). Prints one line, and
exits with 1 when a case failed. A test program that crashed before
writing its results counts nothing here; CTest's summary shows it failed."""
import glob
import os
import sys
import xml.etree.ElementTree as ElementTree

GROUPS = (("native", "native/*.xml"), ("fuzz", "fuzz.xml"), ("Windows", "win/*.xml"),
          ("end-to-end", "e2e/*.xml"))


def suite_counts(path):
    """(run, passed) of one XML file: its test cases, less those skipped or
    disabled, and of those the ones without a failure or an error."""
    root = ElementTree.parse(path).getroot()
    run = passed = 0
    for case in root.iter("testcase"):
        if case.get("status") == "notrun" or case.find("skipped") is not None:
            continue
        run += 1
        failed = case.get("status") == "fail" or case.find("failure") is not None or case.find("error") is not None
        if not failed:
            passed += 1
    return run, passed


def count(folder):
    """{group: (run, passed)} for the results under folder."""
    totals = {}
    for name, pattern in GROUPS:
        run = passed = 0
        for path in sorted(glob.glob(os.path.join(folder, pattern))):
            r, p = suite_counts(path)
            run += r
            passed += p
        totals[name] = (run, passed)
    return totals


def summary(totals):
    run = sum(r for r, _ in totals.values())
    passed = sum(p for _, p in totals.values())
    parts = ", ".join(f"{name} {p}/{r}" for name, (r, p) in totals.items())
    return f"test cases: {run} run, {passed} passed ({parts})", run == passed


def main():
    line, ok = summary(count(sys.argv[1]))
    print("== " + line)
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
