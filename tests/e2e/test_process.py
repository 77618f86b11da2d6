"""run() gives a Windows program's output and its whole 32-bit exit code."""
from winehost import build_file, run


def test_large_exit_code_arrives_whole():
    assert run(["cmd", "/c", "exit 201512003"]).exit_code == 201512003


def test_minus_one_arrives_signed():
    done = run(["cmd", "/c", "exit -1"])
    assert done.exit_code == -1
    assert done.exit_code_unsigned == 0xFFFFFFFF


def test_small_negative_exit_code_arrives_signed():
    assert run(["cmd", "/c", "exit -115"]).exit_code == -115


def test_standard_output_is_captured():
    done = run(["cmd", "/c", "echo hello"])
    assert done.exit_code == 0
    assert done.stdout == "hello\r\n"


def test_environment_reaches_the_program():
    assert run(["cmd", "/c", "echo %ZENT_PROBE%"], env={"ZENT_PROBE": "probe 7"}).stdout == "probe 7\r\n"


def test_an_executable_of_the_build_runs_from_its_linux_path():
    done = run([build_file("tools/zentctl.exe"), "--help"])
    assert done.exit_code == 0
    assert done.stdout.startswith("zentctl - send one command to the Zent agent")


def test_arguments_with_blanks_and_quotes_arrive_as_they_are():
    # zentctl names an unknown command in its message, exactly as it got it.
    done = run([build_file("tools/zentctl.exe"), "send", 'my "odd" command'])
    assert done.exit_code == 2
    assert done.stderr.startswith("zentctl: unknown command 'my \"odd\" command'")


def test_standard_input_reaches_the_program():
    done = run([build_file("tools/zentctl.exe"), "send", "--raw", "--data", "-", "--pipe", "zent_e2e_nowhere"],
               input=b"QTNZ")
    assert done.exit_code == 3  # it read its data, then found no pipe
