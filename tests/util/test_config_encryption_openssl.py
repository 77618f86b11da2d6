"""The encrypted form of configuration documents, checked with OpenSSL's
command-line tool rather than the agent's code: key and IV derived by
`openssl kdf` (PBKDF2, SHA-512, 1000 iterations, 48 bytes) from the pass
phrase and the header's 16-byte salt, then `openssl enc -d -aes-256-cbc -K
-iv`. `openssl enc -S` takes only the usual 8-byte salt, hence the two steps.
The other way round, files made by `openssl enc` are read by zentpolicy.
"""
import os
import subprocess

import pytest

ENCRYPT_FILE = os.environ["ZENT_ENCRYPT_FILE"]
ZENTPOLICY = os.environ["ZENTPOLICY"]
OPENSSL = os.environ.get("ZENT_OPENSSL", "openssl")

# The 32 bytes the rule compiler decrypts with.
PASS_PHRASE_HEX = "f8be61f0dce60076ee6bd794f100ac60d2a10831de2b467ba8834b5cb1d241df"


def derive(salt):
    """48 bytes of PBKDF2-HMAC-SHA-512: key (32) and IV (16)."""
    out = subprocess.run(
        [OPENSSL, "kdf", "-keylen", "48", "-kdfopt", "digest:SHA512",
         "-kdfopt", "hexpass:" + PASS_PHRASE_HEX, "-kdfopt", "hexsalt:" + salt.hex(),
         "-kdfopt", "iter:1000", "PBKDF2"],
        check=True, capture_output=True, text=True).stdout
    derived = bytes.fromhex(out.strip().replace(":", ""))
    assert len(derived) == 48
    return derived[:32], derived[32:]


def openssl_cipher(direction, key, iv, data, tmp_path, padding=True):
    source = tmp_path / "cipher_in"
    source.write_bytes(data)
    command = [OPENSSL, "enc", direction, "-aes-256-cbc", "-K", key.hex(), "-iv", iv.hex(),
               "-in", str(source)]
    if not padding:
        command.append("-nopad")
    return subprocess.run(command, capture_output=True)


def encrypt_with_agent(text, tmp_path, name="clear"):
    clear = tmp_path / name
    clear.write_bytes(text)
    encrypted = tmp_path / (name + ".enc")
    subprocess.run([ENCRYPT_FILE, str(clear), str(encrypted)], check=True)
    return encrypted.read_bytes()


def text_of_length(n):
    return bytes(ord("A") + i % 26 for i in range(n))


def zentpolicy(*args):
    return subprocess.run([ZENTPOLICY, *args], capture_output=True)


@pytest.mark.parametrize("n", [0, 1, 15, 16, 17, 100, 8192, 20000])
def test_openssl_decrypts_with_the_headers_sixteen_byte_salt(n, tmp_path):
    text = text_of_length(n)
    encrypted = encrypt_with_agent(text, tmp_path)
    assert len(encrypted) == 24 + 16 * (n // 16 + 1)
    assert encrypted[:8] == b"Salted__"
    key, iv = derive(encrypted[8:24])
    run = openssl_cipher("-d", key, iv, encrypted[24:], tmp_path)
    assert run.returncode == 0, run.stderr
    assert run.stdout == text


def test_openssl_does_not_get_the_text_with_the_usual_eight_byte_salt(tmp_path):
    text = b"<AgentConfig><packetFilter action=\"block\"/></AgentConfig>"
    encrypted = encrypt_with_agent(text, tmp_path)
    key, iv = derive(encrypted[8:16])
    run = openssl_cipher("-d", key, iv, encrypted[16:], tmp_path)
    assert run.returncode != 0 or run.stdout != text


def test_each_encryption_has_a_fresh_salt(tmp_path):
    text = b"<AgentConfig/>"
    first = encrypt_with_agent(text, tmp_path, "first")
    second = encrypt_with_agent(text, tmp_path, "second")
    assert first[:8] == second[:8] == b"Salted__"
    assert first[8:24] != second[8:24]
    assert first[24:] != second[24:]


def test_text_ends_at_its_first_zero_byte(tmp_path):
    encrypted = encrypt_with_agent(b"abc\0def", tmp_path)
    assert len(encrypted) == 40
    key, iv = derive(encrypted[8:24])
    run = openssl_cipher("-d", key, iv, encrypted[24:], tmp_path)
    assert run.returncode == 0, run.stderr
    assert run.stdout == b"abc"


def test_zentpolicy_decrypts_a_file_encrypted_by_openssl(tmp_path):
    text = "<AgentConfig>\r\n  <name>Z\u00fcrich</name>\r\n</AgentConfig>\r\n".encode()
    salt = os.urandom(16)
    key, iv = derive(salt)
    run = openssl_cipher("-e", key, iv, text, tmp_path)
    assert run.returncode == 0, run.stderr
    policy = tmp_path / "config.xml"
    policy.write_bytes(b"Salted__" + salt + run.stdout)
    result = zentpolicy("decrypt", str(policy))
    assert result.returncode == 0, result.stderr
    assert result.stdout == text
    assert result.stderr == b""


def test_zentpolicy_decrypts_the_agents_encryption(tmp_path):
    text = text_of_length(10000)
    policy = tmp_path / "zent_agent.encxml"
    policy.write_bytes(encrypt_with_agent(text, tmp_path))
    result = zentpolicy("decrypt", str(policy))
    assert result.returncode == 0, result.stderr
    assert result.stdout == text


def test_zentpolicy_refuses_a_clear_document(tmp_path):
    policy = tmp_path / "config.xml"
    policy.write_bytes(b"<?xml version=\"1.0\"?>\n<AgentConfig/>\n")
    result = zentpolicy("decrypt", str(policy))
    assert result.returncode == 4
    assert result.stdout == b""
    assert result.stderr == (
        "zentpolicy: %s is not an encrypted policy file: "
        "it does not begin with \"Salted__\"\n" % policy).encode()


def test_zentpolicy_refuses_a_last_block_without_padding(tmp_path):
    # A clear block ending in a zero byte: no padding length is 0.
    salt = bytes(range(16))
    key, iv = derive(salt)
    run = openssl_cipher("-e", key, iv, bytes(16), tmp_path, padding=False)
    assert run.returncode == 0, run.stderr
    policy = tmp_path / "config.xml"
    policy.write_bytes(b"Salted__" + salt + run.stdout)
    result = zentpolicy("decrypt", str(policy))
    assert result.returncode == 4
    assert result.stdout == b""
    assert b"its last block has no valid padding" in result.stderr


def test_zentpolicy_reports_a_missing_file(tmp_path):
    result = zentpolicy("decrypt", str(tmp_path / "absent.xml"))
    assert result.returncode == 3
    assert result.stderr.startswith(b"zentpolicy: cannot read ")


def test_zentpolicy_help_is_success_and_no_arguments_a_usage_error():
    helped = zentpolicy("--help")
    assert helped.returncode == 0
    assert b"zentpolicy decrypt FILE" in helped.stdout
    bare = zentpolicy()
    assert bare.returncode == 2
    assert bare.stdout == b""
    assert b"zentpolicy decrypt FILE" in bare.stderr
