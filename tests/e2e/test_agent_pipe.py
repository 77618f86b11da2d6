"""The agent's pipe, end to end: every command of both command sets with the
exact reply bytes, the signature check on the peer, reassembly of messages
in pieces, and bad input that must leave the service running."""
import datetime
import re
import struct
import threading

import pytest

from agent_host import SERVICE, running_agent
from winehost import query_service, read_ini, wait_for_state

UNSIGNED = "tests/e2e/zentctl_unsigned.exe"
OTHER_SIGNER = "tests/e2e/zentctl_other_signer.exe"


def reply_head(request_id, result):
    """The first 20 bytes of a reply: magic, command 0, the request's id, the
    result, no data."""
    return b"QTNZ" + struct.pack("<IIII", 0, request_id, result, 0)


def reply_time(raw):
    year, month, _weekday, day, hour, minute, second, ms = struct.unpack_from("<8H", raw, 20)
    return datetime.datetime(year, month, day, hour, minute, second, ms * 1000, tzinfo=datetime.timezone.utc)


def request(command, data=b"", request_id=1, magic=b"QTNZ", data_length=None):
    """A whole request message as a client writes it."""
    length = len(data) if data_length is None else data_length
    return struct.pack("<4sIIII16s", magic, command, request_id, 0, length, b"\0" * 16) + data


@pytest.fixture
def production():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 4}})


@pytest.fixture
def test_mode():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1}})


# --- the command sets -------------------------------------------------------------

def test_notify_is_answered_with_result_0_and_a_utc_time(production):
    before = datetime.datetime.now(datetime.timezone.utc) - datetime.timedelta(seconds=5)
    reply = production.send("notify", "--request-id", "305419896")
    after = datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(seconds=5)
    assert reply.exit_code == 0
    assert len(reply.raw) == 36
    assert reply.raw[:20] == reply_head(0x12345678, 0)
    assert before <= reply_time(reply.raw) <= after
    production.wait_for_log(r"\] Process Command\(1\)\r\n")


def test_self_protection_on_and_off_change_the_accepted_controls(production):
    reply = production.send("self-protection", "on", "--request-id", "7")
    assert reply.raw[:20] == reply_head(7, 0)
    assert query_service(SERVICE).controls_accepted == 4
    production.wait_for_log(r"\] self protection status: \{\"service\":1\}\r\n")
    reply = production.send("self-protection", "off", "--request-id", "8")
    assert reply.raw[:20] == reply_head(8, 0)
    assert query_service(SERVICE).controls_accepted == 5


def test_self_protection_is_backed_up_in_the_ini(production):
    production.send("self-protection", "on")
    assert read_ini(production.ini)["SelfProtection"]["Service"] == "1"
    production.send("self-protection", "off")
    assert read_ini(production.ini)["SelfProtection"]["Service"] == "0"


@pytest.mark.parametrize("data,message", [
    (b"", "Self protection status is empty."),
    (b"service on", "Unable to parse self protection status."),
    (b'{"service":2}', "Invalid self protection status."),
    (b'{"service":"1"}', "Invalid self protection status."),
])
def test_bad_self_protection_data_gets_no_reply_and_changes_nothing(production, data, message):
    reply = production.send("self-protection", "on", data=data, timeout_ms=1500)
    assert reply.exit_code == 4  # no reply
    production.wait_for_log(re.escape(message) + r"\r\n")
    assert query_service(SERVICE).controls_accepted == 5
    # The service goes on answering.
    assert production.send("notify").raw[:20] == reply_head(1, 0)


def test_stop_is_answered_before_the_service_stops(production):
    reply = production.send("stop", "--request-id", "3")
    assert reply.raw[:20] == reply_head(3, 0)
    assert wait_for_state(SERVICE, "STOPPED", timeout=60).win32_exit_code == 0


@pytest.mark.parametrize("command", ["101", "102", "103", "104", "106", "107", "4", "0", "4294967295"])
def test_production_answers_other_commands_with_result_1(production, command):
    reply = production.send(command, "--request-id", "9")
    assert reply.raw[:20] == reply_head(9, 1)
    production.wait_for_log(rf"\] Unknown Command\({int(command) if int(command) < 2**31 else int(command) - 2**32}\) , reset!\r\n")


def test_test_mode_answers_notify_and_ping(test_mode):
    assert test_mode.send("notify", "--request-id", "11").raw[:20] == reply_head(11, 0)
    assert test_mode.send("ping", "--request-id", "12").raw[:20] == reply_head(12, 0)


@pytest.mark.parametrize("command", ["2", "3", "0"])
def test_test_mode_answers_other_commands_with_result_1(test_mode, command):
    reply = test_mode.send(command, "--request-id", "13", data=b'{"service":1}')
    assert reply.raw[:20] == reply_head(13, 1)
    assert query_service(SERVICE).state == "RUNNING"
    assert query_service(SERVICE).controls_accepted == 5


# --- who may talk to the agent ------------------------------------------------------

@pytest.mark.parametrize("client", [UNSIGNED, OTHER_SIGNER])
def test_client_without_the_publishers_signature_gets_no_reply(test_mode, client):
    reply = test_mode.send("ping", client=client, timeout_ms=1500)
    assert reply.exit_code == 4
    test_mode.wait_for_log(r"\] The pipe client is invalid\. Drop it\.\r\n")
    assert "Process Command(101)" not in test_mode.test_log()


def test_unsigned_client_cannot_stop_the_service(production):
    reply = production.send("stop", client=UNSIGNED, timeout_ms=1500)
    assert reply.exit_code == 4
    assert query_service(SERVICE).state == "RUNNING"


# --- reassembly ------------------------------------------------------------------------

def test_message_in_several_pieces(test_mode):
    reply = test_mode.send("ping", "--pieces", "10,20,6", "--request-id", "21")
    assert reply.raw[:20] == reply_head(21, 0)


def test_message_longer_than_4096_bytes_in_pieces(production):
    # Blanks after the JSON object are still one document.
    data = b'{"service":1}' + b" " * 6000
    reply = production.send("self-protection", "on", "--request-id", "22", data=data)
    assert reply.raw[:20] == reply_head(22, 0)
    assert query_service(SERVICE).controls_accepted == 4
    production.send("self-protection", "off")


def test_bytes_after_the_declared_length_are_dropped(test_mode):
    done = test_mode.zentctl("send", "--raw", "--hex", data=request(101, request_id=23) + b"TRAILING BYTES")
    assert done.exit_code == 0
    assert "Result:     0" in done.stdout
    assert test_mode.send("ping", "--request-id", "24").raw[:20] == reply_head(24, 0)


def test_bad_magic_gets_no_reply(test_mode):
    done = test_mode.zentctl("send", "--raw", "--timeout", "1500", data=request(101, magic=b"QTNX"))
    assert done.exit_code == 4
    test_mode.wait_for_log(r"\] Command Magic check failed, reset!\r\n")
    assert test_mode.send("ping").raw[:20] == reply_head(1, 0)


def test_three_clients_at_once(test_mode):
    results = []

    def client(request_id):
        done = test_mode.zentctl("send", "ping", "--count", "20", "--hex", "--request-id", str(request_id))
        results.append((request_id, done.exit_code, done.stdout))

    threads = [threading.Thread(target=client, args=(100 + i,)) for i in range(3)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert sorted(r[0] for r in results) == [100, 101, 102]
    for request_id, exit_code, stdout in results:
        assert exit_code == 0, stdout
        assert re.search(rf"RequestId:\s+{request_id}\b", stdout), stdout


# --- bad input leaves the service running --------------------------------------------

def test_garbage_bytes(test_mode):
    garbage = bytes((i * 37 + 11) % 256 for i in range(300))
    done = test_mode.zentctl("send", "--raw", "--timeout", "1500", data=garbage)
    assert done.exit_code == 4
    assert test_mode.send("ping").raw[:20] == reply_head(1, 0)


def test_client_that_disconnects_in_the_middle_of_a_message(test_mode):
    done = test_mode.zentctl("send", "--raw", "--no-reply", data=request(101)[:20])
    assert done.exit_code == 0
    assert test_mode.send("ping", "--request-id", "31").raw[:20] == reply_head(31, 0)
    assert query_service(SERVICE).state == "RUNNING"


def test_thousand_connect_and_disconnect_cycles(test_mode):
    done = test_mode.zentctl("--connect-cycles", "1000")
    assert done.exit_code == 0
    assert test_mode.send("ping", "--request-id", "32").raw[:20] == reply_head(32, 0)


def test_header_announcing_nearly_four_gigabytes(test_mode):
    done = test_mode.zentctl("send", "--raw", "--timeout", "1500", "--hold", "500",
                             data=request(101, data_length=0xFFFFFFF0) + b"x" * 5000)
    assert done.exit_code == 4
    # The instance that took that header keeps it and reads the next bytes on
    # it as more of that message, measured against the header copy the
    # instances share; once another instance has read a ping's header, a
    # ping on the first one completes with that copy, and its reply carries
    # the earlier RequestId. Every ping is answered all the same.
    for request_id in range(40, 46):
        reply = test_mode.send("ping", "--request-id", str(request_id))
        assert reply.exit_code == 0
        assert reply.raw[:8] == b"QTNZ" + bytes(4)
        assert reply.raw[12:20] == bytes(8)  # Result 0, no data
    assert query_service(SERVICE).state == "RUNNING"


def test_one_write_longer_than_4096_bytes_while_a_read_waits_is_refused(test_mode):
    # The client waits until the agent has a 4,096-byte read pending, then
    # writes the whole 5,000-byte message at once: the read fails with
    # ERROR_MORE_DATA and the instance lets the client go.
    done = test_mode.zentctl("send", "--raw", "--delay", "800", "--pieces", "5000", "--timeout", "1500",
                             data=request(101, data=b"z" * 4964))
    assert done.exit_code in (4, 5)  # no reply, or the agent closed first
    test_mode.wait_for_log(r"\] GetOverlappedResult fails: error=234\r\n")
    assert test_mode.send("ping", "--request-id", "51").raw[:20] == reply_head(51, 0)


def test_one_write_longer_than_4096_bytes_before_the_read_is_collected_whole(test_mode):
    # The client writes at once after connecting; the agent, noticing the
    # connection on its turn, mostly reads after the message arrived. When its
    # read was quicker, the case above happens instead: try again. On a busy
    # machine the agent's read is quicker more often.
    for _ in range(20):
        done = test_mode.zentctl("send", "--raw", "--pieces", "5000", "--hex", "--timeout", "1500",
                                 data=request(101, b"z" * 4964, request_id=53))
        if done.exit_code == 0:
            break
    assert done.exit_code == 0
    assert "Result:     0" in done.stdout
    test_mode.wait_for_log(r"\] ReadFile: ERROR_MORE_DATA, already read 4096 bytes\r\n")


def test_a_piece_late_by_more_than_the_poll_loses_what_came_before(test_mode):
    done = test_mode.zentctl("send", "ping", "--pieces", "20", "--gap", "700", "--timeout", "1500")
    assert done.exit_code == 4
    assert test_mode.send("ping", "--request-id", "52").raw[:20] == reply_head(52, 0)
