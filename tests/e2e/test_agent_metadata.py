"""Host metadata queries through pipe command 106 in TestMode: the request
goes to meta_request.xml in the agent's folder, the response document to
meta_response.xml, and the reply says only whether that worked. Expected
documents are written by hand from the response's rules."""
import os
import struct

import pytest

from agent_host import running_agent

REQUEST = b"""<?xml version="1.0" encoding="UTF-8"?>
<Message>
  <Request>
    <RequestID>srv-4711</RequestID>
    <HostMetaDataQueries>
      <HostMetaDataQuery id="2" query="getWeather" arg1="today"/>
      <HostMetaDataQuery id="10" query="getNothing"/>
      <HostMetaDataQuery query="getWeather"/>
    </HostMetaDataQueries>
  </Request>
</Message>
"""

# No family answers these names, so neither query has a result; the document
# is written all the same, with code "0", and the request's id.
RESPONSE = b"""<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults/>
        <RequestID>srv-4711</RequestID>
    </Response>
</Message>
"""


def reply_head(request_id, result):
    return b"QTNZ" + struct.pack("<IIII", 0, request_id, result, 0)


@pytest.fixture
def test_mode():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 4, "TestMode": 1}})


@pytest.fixture
def test_mode_level6():
    return running_agent({"ZENTSETTINGS": {"DebugLevel": 6, "TestMode": 1}})


def read(agent, name):
    with open(agent.path(name), "rb") as f:
        return f.read()


def test_request_with_unknown_queries_gets_its_document(test_mode):
    reply = test_mode.send("get-metadata", "--request-id", "61", data=REQUEST)
    assert reply.exit_code == 0
    assert len(reply.raw) == 36
    assert reply.raw[:20] == reply_head(61, 0)
    assert read(test_mode, "meta_response.xml") == RESPONSE
    # The request was written in text mode: each line end became CR LF.
    assert read(test_mode, "meta_request.xml") == REQUEST.replace(b"\n", b"\r\n")
    test_mode.wait_for_log(rf"\]\[PipeCmdGetMetaData:\d+\] command size=36, data size={len(REQUEST)}\r\n")
    # Queries run in the bytewise order of their ids: "10" before "2".
    test_mode.wait_for_log(r"(?s)\]\[MakeResponseXMlFile:\d+\] unknown query\(getNothing\)\r\n"
                           r".*\]\[MakeResponseXMlFile:\d+\] unknown query\(getWeather\)\r\n")


def test_previous_files_are_removed_first(test_mode):
    assert test_mode.send("get-metadata", "--request-id", "62", data=REQUEST).raw[:20] == reply_head(62, 0)
    reply = test_mode.send("get-metadata", "--request-id", "63", data=b"<Message>")
    assert reply.raw[:20] == reply_head(63, 1)
    # The failed request left no response, not even the earlier one.
    assert not os.path.exists(test_mode.path("meta_response.xml"))
    assert read(test_mode, "meta_request.xml") == b"<Message>"
    test_mode.wait_for_log(r"\]\[PipeCmdGetMetaData:\d+\] previous RequestMataXml\(C:\\ZentE2e\\meta_request\.xml\) "
                           r"is removed\.\r\n")
    test_mode.wait_for_log(r"\]\[PipeCmdGetMetaData:\d+\] previous ResponseMataXml\(C:\\ZentE2e\\meta_response\.xml\) "
                           r"is removed\.\r\n")
    test_mode.wait_for_log(r"\]\[LoadRequestXMlFile:\d+\] XML LoadFile failed\r\n")
    test_mode.wait_for_log(r"\]\[ParseQueryMetaXml:\d+\] LoadRequestXMlFile failed, return code: -1\r\n")


@pytest.mark.parametrize("data,message", [
    (b"", r"\]\[LoadRequestXMlFile:\d+\] XML LoadFile failed\r\n"),
    (b"<Message><Request><RequestID>1</RequestID></Request></Message>",
     r"\]\[LoadRequestXMlFile:\d+\] Invalid format\. Missing 'HostMetaDataQueries'\.\r\n"),
    (b"<Message><Request><RequestID>1</RequestID><HostMetaDataQueries>"
     b"<HostMetaDataQuery query=\"getWeather\"/></HostMetaDataQueries></Request></Message>",
     r"\]\[ParseQueryMetaXml:\d+\] MakeResponseXMlFile failed, return code: -1\r\n"),
])
def test_refused_request_is_answered_with_result_1_and_no_response(test_mode, data, message):
    reply = test_mode.send("get-metadata", "--request-id", "64", data=data)
    assert reply.raw[:20] == reply_head(64, 1)
    assert not os.path.exists(test_mode.path("meta_response.xml"))
    test_mode.wait_for_log(message)
    assert test_mode.send("ping", "--request-id", "65").raw[:20] == reply_head(65, 0)


def test_map_dump_at_level_6(test_mode_level6):
    data = b'<Message><Request><RequestID>7</RequestID><HostMetaDataQueries>' \
           b'<HostMetaDataQuery id="b" query="getWeather" arg1="x"/>' \
           b'</HostMetaDataQueries></Request></Message>'
    assert test_mode_level6.send("get-metadata", "--request-id", "66", data=data).raw[:20] == reply_head(66, 0)
    test_mode_level6.wait_for_log(
        r"(?s)\]\[ParseQueryMetaXml:\d+\] idMap=>\r\n"
        r".*\]\[ParseQueryMetaXml:\d+\] <attribute seperator>: key=b\r\n"
        r".*\]\[ParseQueryMetaXml:\d+\] remove map\(3\): key\(arg1\), value\(x\)\r\n"
        r".*\]\[ParseQueryMetaXml:\d+\] remove map\(3\): key\(id\), value\(b\)\r\n"
        r".*\]\[ParseQueryMetaXml:\d+\] remove map\(3\): key\(query\), value\(getWeather\)\r\n")


def test_production_does_not_know_106():
    production = running_agent({"ZENTSETTINGS": {"DebugLevel": 4}})
    reply = production.send("get-metadata", "--request-id", "67", data=REQUEST)
    assert reply.raw[:20] == reply_head(67, 1)
    production.wait_for_log(r"\] Unknown Command\(106\) , reset!\r\n")
    assert not os.path.exists(production.path("meta_request.xml"))
