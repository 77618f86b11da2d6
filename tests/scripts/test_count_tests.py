"""The count of test cases at the end of ./zent test, from the XML that
GoogleTest, pytest and CTest write, written here by hand in their forms."""
import os
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
sys.path.insert(0, os.path.join(ROOT, "scripts"))

import count_tests  # noqa: E402

GTEST = """<?xml version="1.0" encoding="UTF-8"?>
<testsuites tests="4" failures="1" disabled="1" errors="0" time="0.1" name="AllTests">
  <testsuite name="A" tests="4" failures="1" disabled="1" skipped="0" errors="0" time="0.1">
    <testcase name="one" status="run" result="completed" time="0" classname="A" />
    <testcase name="two" status="run" result="completed" time="0" classname="A">
      <failure message="x" type=""><![CDATA[a.cpp:1
Expected equality]]></failure>
    </testcase>
    <testcase name="DISABLED_three" status="notrun" result="suppressed" time="0" classname="A" />
    <testcase name="four" status="run" result="completed" time="0" classname="A" />
  </testsuite>
</testsuites>
"""
PYTEST = """<?xml version="1.0" encoding="utf-8"?><testsuites><testsuite name="pytest" errors="1" failures="0"
skipped="1" tests="4" time="1.0"><testcase classname="test_x" name="test_a" time="0.1" /><testcase
classname="test_x" name="test_b" time="0.1"><error message="fixture failed">boom</error></testcase><testcase
classname="test_x" name="test_c" time="0.1"><skipped message="no" /></testcase><testcase classname="test_x"
name="test_d" time="0.1" /></testsuite></testsuites>"""
CTEST = """<?xml version="1.0" encoding="UTF-8"?>
<testsuite name="(empty)" tests="2" failures="1" disabled="0" skipped="0" hostname="" time="30">
  <testcase name="a_fuzzer" classname="a_fuzzer" time="15" status="run"><system-out>ok</system-out></testcase>
  <testcase name="b_fuzzer" classname="b_fuzzer" time="15" status="fail"><failure message="Failed"/></testcase>
</testsuite>
"""


def write(path, text):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as f:
        f.write(text)


def test_each_runner_is_counted_in_its_group(tmp_path):
    write(tmp_path / "native" / "a_tests.xml", GTEST)
    write(tmp_path / "native" / "b_tests.xml", GTEST)
    write(tmp_path / "win" / "a_tests.xml", GTEST)
    write(tmp_path / "e2e" / "e2e_x.xml", PYTEST)
    write(tmp_path / "fuzz.xml", CTEST)
    totals = count_tests.count(str(tmp_path))
    # Disabled and skipped cases are not run; failures and errors are not
    # passed.
    assert totals == {"native": (6, 4), "fuzz": (2, 1), "Windows": (3, 2), "end-to-end": (3, 2)}
    assert count_tests.summary(totals) == (
        "test cases: 14 run, 9 passed (native 4/6, fuzz 1/2, Windows 2/3, end-to-end 2/3)", False)


def test_a_green_run(tmp_path):
    write(tmp_path / "e2e" / "e2e_y.xml", PYTEST.replace('<error message="fixture failed">boom</error>', ""))
    assert count_tests.summary(count_tests.count(str(tmp_path))) == (
        "test cases: 3 run, 3 passed (native 0/0, fuzz 0/0, Windows 0/0, end-to-end 3/3)", True)
