"""The last stretch of a policy's road, end to end: pipe commands 103 (an
agent document), 104 (a manager policy) and 105 (clear), through zentctl to
the running agent, which runs the rule compiler's stand-in mlc.exe and loads
config.rbf into the driver's stand-in. Replies byte for byte, the files in
the agent's folder, what the driver holds, and the debug log."""
import hashlib
import os
import shutil
import struct
import subprocess

import pytest

from agent_host import BUILT, INSTALL_DIR, SIM_KEY, running_agent
from winehost import build_file, delete_key

DATA = os.path.join(os.path.dirname(__file__), "data")
TEST_MODE = {"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1}}
IN_CLEAR = {"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1, "ConfigEncrypt": 0}}
PRODUCTION = {"ZENTSETTINGS": {"DebugLevel": 4}}
POLICY_FILES = ("zent_agent.encxml", "config.xml", "config.rbf")
RAW = INSTALL_DIR + r"\zent_agent.encxml"
XML = INSTALL_DIR + r"\config.xml"
RBF = INSTALL_DIR + r"\config.rbf"
MLC = INSTALL_DIR + r"\mlc.exe"
# The pass phrase the agent shares with the rule compiler.
PASS_PHRASE = bytes.fromhex("F8BE61F0DCE60076EE6BD794F100AC60D2A10831DE2B467BA8834B5CB1D241DF")
TIMEOUT_MS = 60000


def data(name):
    with open(os.path.join(DATA, name), "rb") as f:
        return f.read()


def reply_head(request_id, result):
    """A reply's first 20 bytes: magic, command 0, the request's id, the
    result, no data."""
    return b"QTNZ" + struct.pack("<IIII", 0, request_id, result, 0)


def rule_file(rules, count):
    """config.rbf by its layout: "ZRBF", version 1, rule count, length, the
    rules' SHA-256, the rules."""
    return b"ZRBF" + struct.pack("<III", 1, count, len(rules)) + hashlib.sha256(rules).digest() + rules


def encrypt(text):
    """The agent's encrypted form, made with OpenSSL's own tool: "Salted__",
    a 16-byte salt, AES-256-CBC under PBKDF2-HMAC-SHA-512 of the pass phrase."""
    salt = os.urandom(16)
    key = hashlib.pbkdf2_hmac("sha512", PASS_PHRASE, salt, 1000, 48)
    body = subprocess.run(["openssl", "enc", "-aes-256-cbc", "-K", key[:32].hex(), "-iv", key[32:].hex()],
                          input=text, capture_output=True, check=True).stdout
    return b"Salted__" + salt + body


def fresh(settings):
    """The running agent with no policy files and the stand-ins' knobs and
    records cleared."""
    host = running_agent(settings)
    for name in POLICY_FILES:
        path = host.path(name)
        if os.path.isdir(path):
            os.rmdir(path)
        elif os.path.exists(path):
            os.remove(path)
    if not os.path.exists(host.path("mlc.exe")):
        shutil.copy(build_file(BUILT["mlc.exe"]), host.path("mlc.exe"))
    for stand_in in ("mli", "mlc"):
        delete_key(SIM_KEY + "\\" + stand_in, missing_ok=True)
    return host


@pytest.fixture
def agent_cfg():
    return fresh(TEST_MODE)


@pytest.fixture
def agent_in_clear():
    return fresh(IN_CLEAR)


def read(host, name):
    with open(host.path(name), "rb") as f:
        return f.read()


def put(host, name, content):
    with open(host.path(name), "wb") as f:
        f.write(content)


def loaded(host):
    """The rule file the driver's stand-in holds, or None."""
    return host.record("mli", "LoadedRuleFile")


# --- 104: a manager policy ------------------------------------------------------------

def test_set_raw_config_takes_a_manager_policy_to_the_driver(agent_cfg):
    policy = data("small_policy.xml")
    reply = agent_cfg.send("set-raw-config", "--request-id", "41", data=policy, timeout_ms=TIMEOUT_MS)
    assert len(reply.raw) == 36
    assert reply.raw[:20] == reply_head(41, 0)
    assert read(agent_cfg, "zent_agent.encxml") == policy
    assert read(agent_cfg, "config.xml")[:8] == b"Salted__"
    expected = rule_file(data("small_policy_rules.txt"), 7)
    assert read(agent_cfg, "config.rbf") == expected
    assert loaded(agent_cfg) == expected
    assert agent_cfg.record("mli", "LoadedRuleCount") == 7
    assert agent_cfg.record("mlc", "LastArguments") == f'-c "{XML}"'
    agent_cfg.wait_for_log(rf"\] command size=36, data size={len(policy)}\r\n")
    agent_cfg.wait_for_log(r"\] config has been loaded: " + RBF.replace("\\", r"\\") + r"\r\n")
    agent_cfg.wait_for_log(r"\] mlc result=\r?\nmlc: compiling ")


def test_set_raw_config_in_clear_gives_the_compiler_r(agent_in_clear):
    reply = agent_in_clear.send("set-raw-config", "--request-id", "42", data=data("small_policy.xml"),
                                timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(42, 0)
    assert agent_in_clear.record("mlc", "LastArguments") == f'-r -c "{XML}"'
    assert read(agent_in_clear, "config.xml").startswith(b"<fset>")
    assert loaded(agent_in_clear) == rule_file(data("small_policy_rules.txt"), 7)


def test_set_raw_config_removes_the_previous_files_first(agent_cfg):
    for name in POLICY_FILES:
        put(agent_cfg, name, b"old")
    reply = agent_cfg.send("set-raw-config", data=data("small_policy.xml"), timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(1, 0)
    match = agent_cfg.wait_for_log(r"\] previous MlmConfigXml\((.*)\) is removed\.\r\n(?:.*\r\n)*?"
                                   r".*\] previous ConfigXml\((.*)\) is removed\.\r\n(?:.*\r\n)*?"
                                   r".*\] previous ConfigBin\((.*)\) is removed\.\r\n")
    assert match.groups() == (RAW, XML, RBF)


def test_bad_policy_leaves_no_agent_files_and_the_driver_keeps_its_rules(agent_cfg):
    agent_cfg.send("set-raw-config", data=data("small_policy.xml"), timeout_ms=TIMEOUT_MS)
    before = loaded(agent_cfg)
    assert before is not None
    reply = agent_cfg.send("set-raw-config", "--request-id", "43", data=b"<Message><Request>", timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(43, 1)
    assert read(agent_cfg, "zent_agent.encxml") == b"<Message><Request>"
    assert not os.path.exists(agent_cfg.path("config.xml"))
    assert not os.path.exists(agent_cfg.path("config.rbf"))
    assert loaded(agent_cfg) == before
    assert agent_cfg.record("mlc", "Runs") == 1


# --- 103: an agent document -----------------------------------------------------------

def test_set_config_compiles_an_agent_document_in_clear(agent_in_clear):
    document = data("agent_document.xml")
    reply = agent_in_clear.send("set-config", "--request-id", "51", data=document, timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(51, 0)
    assert read(agent_in_clear, "config.xml") == document
    assert loaded(agent_in_clear) == rule_file(data("agent_document_rules.txt"), 7)
    assert not os.path.exists(agent_in_clear.path("zent_agent.encxml"))


def test_set_config_passes_an_encrypted_document_to_the_compiler(agent_cfg):
    document = encrypt(data("agent_document.xml"))
    reply = agent_cfg.send("set-config", "--request-id", "52", data=document, timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(52, 0)
    assert read(agent_cfg, "config.xml") == document
    assert agent_cfg.record("mlc", "LastArguments") == f'-c "{XML}"'
    assert loaded(agent_cfg) == rule_file(data("agent_document_rules.txt"), 7)


def test_set_config_with_no_data_writes_an_empty_document_and_the_compiler_decides(agent_in_clear):
    reply = agent_in_clear.send("set-config", "--request-id", "53", data=b"", timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(53, 1)
    assert read(agent_in_clear, "config.xml") == b""
    assert agent_in_clear.record("mlc", "Runs") == 1
    agent_in_clear.wait_for_log(r"\] command size=36, data size=0\r\n")
    agent_in_clear.wait_for_log(r"\] generating config\.rbf fail, error=3\r\n")
    agent_in_clear.wait_for_log(r"\] mlc result=\r?\nmlc: compiling .*\r?\nmlc: error: not XML")


def test_set_config_removes_the_previous_document_and_rules(agent_in_clear):
    put(agent_in_clear, "config.xml", b"old")
    put(agent_in_clear, "config.rbf", b"old")
    put(agent_in_clear, "zent_agent.encxml", b"old")
    agent_in_clear.send("set-config", data=data("agent_document.xml"), timeout_ms=TIMEOUT_MS)
    match = agent_in_clear.wait_for_log(r"\] previous ConfigXml\((.*)\) is removed\.\r\n(?:.*\r\n)*?"
                                        r".*\] previous ConfigBin\((.*)\) is removed\.\r\n")
    assert match.groups() == (XML, RBF)
    # 103 leaves the manager policy alone.
    assert read(agent_in_clear, "zent_agent.encxml") == b"old"


def test_missing_compiler_fails_after_the_new_document_is_written(agent_in_clear):
    put(agent_in_clear, "config.xml", b"old")
    put(agent_in_clear, "config.rbf", b"old")
    os.remove(agent_in_clear.path("mlc.exe"))
    document = data("agent_document.xml")
    reply = agent_in_clear.send("set-config", "--request-id", "54", data=document, timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(54, 1)
    assert read(agent_in_clear, "config.xml") == document
    assert not os.path.exists(agent_in_clear.path("config.rbf"))
    agent_in_clear.wait_for_log(r"\] cannot find the mlc\.exe at " + MLC.replace("\\", r"\\") + r"\r\n")
    assert loaded(agent_in_clear) is None


def test_compiler_exit_code_not_0_sends_nothing_to_the_driver(agent_in_clear):
    agent_in_clear.knob("mlc", "ExitCode", 9)
    reply = agent_in_clear.send("set-config", "--request-id", "55", data=data("agent_document.xml"),
                                timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(55, 1)
    agent_in_clear.wait_for_log(r"\] generating config\.rbf fail, error=9\r\n")
    agent_in_clear.wait_for_log(r"\] mlc result=\r?\nmlc: told to fail with exit code 9\r*\n")
    assert agent_in_clear.record("mli", "ConfigLoads") is None
    assert not os.path.exists(agent_in_clear.path("config.rbf"))


def test_compiler_rejecting_a_dangling_connection_type_fails_the_command(agent_in_clear):
    reply = agent_in_clear.send("set-config", "--request-id", "56", data=data("agent_document_bad_ctype.xml"),
                                timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(56, 1)
    agent_in_clear.wait_for_log(r"mlc: error: line 4: PayloadFilter ctype=\"5\" names no conType")


def test_driver_rejecting_the_rules_keeps_config_rbf(agent_in_clear):
    agent_in_clear.knob("mli", "LoadConfigFails", 1359)
    reply = agent_in_clear.send("set-config", "--request-id", "57", data=data("agent_document.xml"),
                                timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(57, 1)
    assert read(agent_in_clear, "config.rbf") == rule_file(data("agent_document_rules.txt"), 7)
    assert loaded(agent_in_clear) is None
    agent_in_clear.wait_for_log(r"\] failed to load '" + RBF.replace("\\", r"\\") +
                                r"', rc=1359\r?\nThis is probably because the version doesn't match\.\r\n")


def test_compiler_printing_much_on_both_streams(agent_in_clear):
    # 900 KiB of report, half on each stream, inside the launch's 1 MiB pipe.
    agent_in_clear.knob("mlc", "ExtraOutput", 921600)
    reply = agent_in_clear.send("set-config", "--request-id", "58", data=data("agent_document.xml"),
                                timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(58, 0)
    assert loaded(agent_in_clear) == rule_file(data("agent_document_rules.txt"), 7)


# --- 105: clear ---------------------------------------------------------------------------

def test_clear_config_removes_the_files_and_the_drivers_rules(agent_cfg):
    agent_cfg.send("set-raw-config", data=data("small_policy.xml"), timeout_ms=TIMEOUT_MS)
    assert loaded(agent_cfg) is not None
    reply = agent_cfg.send("clear-config", "--request-id", "61", timeout_ms=TIMEOUT_MS)
    assert len(reply.raw) == 36
    assert reply.raw[:20] == reply_head(61, 0)
    for name in POLICY_FILES:
        assert not os.path.exists(agent_cfg.path(name))
    assert loaded(agent_cfg) is None
    assert agent_cfg.record("mli", "ConfigClears") == 1
    match = agent_cfg.wait_for_log(r"\] previous ConfigBin\((.*)\) is removed\.\r\n(?:.*\r\n)*?"
                                   r".*\] previous ConfigXml\((.*)\) is removed\.\r\n(?:.*\r\n)*?"
                                   r".*\] previous MlmConfigXml\((.*)\) is removed\.\r\n(?:.*\r\n)*?"
                                   r".*\] IPS rules config cleared\.\r\n")
    assert match.groups() == (RBF, XML, RAW)


def test_clear_config_without_config_rbf_goes_on(agent_cfg):
    reply = agent_cfg.send("clear-config", "--request-id", "62", timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(62, 0)
    agent_cfg.wait_for_log(r"\] Failed to delete file\(" + RBF.replace("\\", r"\\") +
                           r"\)\. err\(2\) \(ERROR_FILE_NOT_FOUND=2\)\. Keep going further steps\.\r\n")
    agent_cfg.wait_for_log(r"\] Failed to delete file\(" + XML.replace("\\", r"\\") +
                           r"\)\. err\(2\)\. But keep going further steps\.\r\n")
    agent_cfg.wait_for_log(r"\] IPS rules config cleared\.\r\n")
    assert agent_cfg.record("mli", "ConfigClears") == 1


def test_clear_config_stops_at_a_config_rbf_that_cannot_be_deleted(agent_cfg):
    agent_cfg.send("set-raw-config", data=data("small_policy.xml"), timeout_ms=TIMEOUT_MS)
    rules = loaded(agent_cfg)
    # A folder by that name: DeleteFileW refuses it with an error other than 2.
    os.remove(agent_cfg.path("config.rbf"))
    os.mkdir(agent_cfg.path("config.rbf"))
    reply = agent_cfg.send("clear-config", "--request-id", "63", timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(63, 201512007)
    match = agent_cfg.wait_for_log(r"\] Failed to delete file\(" + RBF.replace("\\", r"\\") + r"\)\. err\((\d+)\)\r\n")
    assert match.group(1) == "5"  # ERROR_ACCESS_DENIED
    assert os.path.isdir(agent_cfg.path("config.rbf"))
    assert os.path.exists(agent_cfg.path("config.xml"))
    assert os.path.exists(agent_cfg.path("zent_agent.encxml"))
    assert loaded(agent_cfg) == rules
    assert agent_cfg.record("mli", "ConfigClears") is None


def test_clear_config_reports_a_driver_that_refuses(agent_cfg):
    agent_cfg.knob("mli", "ClearConfigFails", 31)
    reply = agent_cfg.send("clear-config", "--request-id", "64", timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(64, 201512008)
    agent_cfg.wait_for_log(r"\] Error during filter config clear attempt\. err\(31\)\r\n")


def test_clear_config_is_a_production_command():
    host = fresh(PRODUCTION)
    put(host, "config.rbf", b"rules")
    reply = host.send("clear-config", "--request-id", "65", timeout_ms=TIMEOUT_MS)
    assert reply.raw[:20] == reply_head(65, 0)
    assert not os.path.exists(host.path("config.rbf"))
    host.wait_for_log(r"\] Process Command\(105\)\r\n")
