#include "server/server_reply.h"

#include <gtest/gtest.h>

#include <regex>

#include "../util/captured_log.h"

namespace {

int Classify(const char* json) {
  rapidjson::Document doc;
  doc.Parse(json);
  EXPECT_FALSE(doc.HasParseError()) << json;
  return checkServerResponseType(doc);
}

bool Logged(const CapturedLog& log, const std::string& function, const std::string& message) {
  return std::regex_search(log.Text(), std::regex("\\]\\[ZTENG\\]\\[" + function + ":[0-9]+\\] " + message + "\n"));
}

TEST(ServerResponseType, AcknowledgementWithIntegerValue) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"errorCode\", \"value\": 0}"), kAckResponse);
  EXPECT_EQ(Classify("{\"name\": \"errorCode\", \"value\": -1002}"), kAckResponse);
  EXPECT_TRUE(Logged(log, "checkServerResponseType", "ack response received"));
}

TEST(ServerResponseType, ClientRequestWithStringUidAndRequest) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"ClientRequest\", \"clientUID\": \"u1\", \"request\": \"<Message/>\"}"),
            kClientRequestResponse);
  EXPECT_TRUE(Logged(log, "checkServerResponseType", "client request received"));
}

TEST(ServerResponseType, NotAnObjectIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("[1, 2]"), kOtherResponse);
  EXPECT_TRUE(Logged(log, "checkServerResponseType", "json content is incorrect"));
}

TEST(ServerResponseType, MissingOrNonStringNameIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"value\": 0}"), kOtherResponse);
  EXPECT_EQ(Classify("{\"name\": 5, \"value\": 0}"), kOtherResponse);
  EXPECT_TRUE(Logged(log, "checkServerResponseType", "Json doesn't contain member 'name'"));
}

TEST(ServerResponseType, ClientUidAsNumberIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"ClientRequest\", \"clientUID\": 7, \"request\": \"<Message/>\"}"), kOtherResponse);
  EXPECT_EQ(log.Text(), "");
}

TEST(ServerResponseType, MissingRequestIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"ClientRequest\", \"clientUID\": \"u\"}"), kOtherResponse);
}

TEST(ServerResponseType, ErrorCodeWithStringZeroIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"errorCode\", \"value\": \"0\"}"), kOtherResponse);
}

TEST(ServerResponseType, ErrorCodeWithFractionIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"errorCode\", \"value\": 0.5}"), kOtherResponse);
}

TEST(ServerResponseType, ErrorCodeBeyondSigned32BitsIsOther) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"errorCode\", \"value\": 2147483648}"), kOtherResponse);
  EXPECT_EQ(Classify("{\"name\": \"errorCode\", \"value\": -2147483649}"), kOtherResponse);
}

TEST(ServerResponseType, OtherNameIsOtherWithoutALogLine) {
  CapturedLog log(6);
  EXPECT_EQ(Classify("{\"name\": \"HeartBeat\"}"), kOtherResponse);
  EXPECT_EQ(log.Text(), "");
}

TEST(AckResponse, ZeroIsAccepted) {
  CapturedLog log(6);
  bool pipeClosed = false;
  EXPECT_TRUE(checkAckResponse("{\"name\": \"errorCode\", \"value\": 0}", &pipeClosed));
  EXPECT_FALSE(pipeClosed);
  EXPECT_TRUE(Logged(log, "checkAckResponse", "ack response errorCode=HANDLER_ERROR_SUCCESS"));
  EXPECT_TRUE(Logged(log, "checkAckResponse",
                     "checkAckResponse Server Response=>\n\\{\"name\": \"errorCode\", \"value\": 0\\}"));
}

TEST(AckResponse, PipeClosedSetsTheFlagAndRefuses) {
  CapturedLog log(6);
  bool pipeClosed = false;
  EXPECT_FALSE(checkAckResponse("{\"name\": \"errorCode\", \"value\": -1002}", &pipeClosed));
  EXPECT_TRUE(pipeClosed);
  EXPECT_TRUE(Logged(log, "checkAckResponse", "ack response errorCode=HANDLER_ERROR_PIPE_CLOSED"));
}

TEST(AckResponse, FlagIsNeverCleared) {
  CapturedLog log(6);
  bool pipeClosed = true;
  EXPECT_TRUE(checkAckResponse("{\"name\": \"errorCode\", \"value\": 0}", &pipeClosed));
  EXPECT_TRUE(pipeClosed);
}

TEST(AckResponse, WithoutAFlagPipeClosedIsStillRefused) {
  CapturedLog log(6);
  EXPECT_FALSE(checkAckResponse("{\"name\": \"errorCode\", \"value\": -1002}", nullptr));
}

TEST(AckResponse, OtherCodeIsFinalRefusal) {
  CapturedLog log(6);
  bool pipeClosed = false;
  EXPECT_FALSE(checkAckResponse("{\"name\": \"errorCode\", \"value\": -1}", &pipeClosed));
  EXPECT_FALSE(pipeClosed);
  EXPECT_TRUE(Logged(log, "checkAckResponse", "ack response errorCode=-1"));
}

TEST(AckResponse, MalformedJsonIsAParseError) {
  CapturedLog log(6);
  EXPECT_FALSE(checkAckResponse("{\"name\": ", nullptr));
  // kParseErrorValueInvalid
  EXPECT_TRUE(Logged(log, "checkAckResponse", "checkAckResponse json parsing error: 3"));
}

TEST(AckResponse, ClientRequestIsNoAck) {
  CapturedLog log(6);
  EXPECT_FALSE(checkAckResponse("{\"name\": \"ClientRequest\", \"clientUID\": \"u\", \"request\": \"x\"}", nullptr));
  EXPECT_TRUE(Logged(log, "checkAckResponse", "checkAckResponse not a valid ack response"));
}

TEST(AckResponse, ByteOrderMarkIsSkipped) {
  CapturedLog log(6);
  EXPECT_TRUE(checkAckResponse("\xEF\xBB\xBF{\"name\": \"errorCode\", \"value\": 0}", nullptr));
}

TEST(ClientRequestReply, MembersAreTakenApart) {
  CapturedLog log(6);
  ClientRequestReply reply = ReadClientRequestReply(
      "{\"name\": \"ClientRequest\", \"clientUID\": \"u1\", \"request\": \"<Message/>\", \"rapidHeartbeat\": 5000, "
      "\"info\": \"Office v7\", \"other\": 1}");
  EXPECT_EQ(reply.parseError, 0);
  EXPECT_EQ(reply.type, kClientRequestResponse);
  EXPECT_EQ(reply.clientUID, "u1");
  EXPECT_EQ(reply.request, "<Message/>");
  EXPECT_TRUE(reply.hasRapidHeartbeat);
  EXPECT_EQ(reply.rapidHeartbeat, 5000u);
  EXPECT_TRUE(reply.hasInfo);
  EXPECT_EQ(reply.info, "Office v7");
}

TEST(ClientRequestReply, ParseErrorKeepsTheParsersCode) {
  CapturedLog log(6);
  EXPECT_EQ(ReadClientRequestReply("").parseError, 1);  // kParseErrorDocumentEmpty
  EXPECT_EQ(ReadClientRequestReply("garbage").parseError, 3);  // kParseErrorValueInvalid
}

TEST(ClientRequestReply, AcknowledgementIsTypeZero) {
  CapturedLog log(6);
  ClientRequestReply reply = ReadClientRequestReply("{\"name\": \"errorCode\", \"value\": 0}");
  EXPECT_EQ(reply.type, kAckResponse);
}

TEST(ClientRequestReply, ZeroByteCutsTheDocument) {
  CapturedLog log(6);
  ClientRequestReply reply =
      ReadClientRequestReply("{\"name\": \"ClientRequest\", \"clientUID\": \"u\", \"request\": \"<Message/>\\u0000tail\"}");
  EXPECT_EQ(reply.request, "<Message/>");
}

TEST(ClientRequestReply, NegativeRapidHeartbeatReadsAsItsLower32Bits) {
  CapturedLog log(6);
  ClientRequestReply reply =
      ReadClientRequestReply("{\"name\": \"ClientRequest\", \"clientUID\": \"u\", \"request\": \"x\", \"rapidHeartbeat\": -1}");
  EXPECT_EQ(reply.rapidHeartbeat, 0xFFFFFFFFu);
}

TEST(ClientRequestReply, RapidHeartbeatBeyond32BitsKeepsItsLowerBits) {
  CapturedLog log(6);
  ClientRequestReply reply = ReadClientRequestReply(
      "{\"name\": \"ClientRequest\", \"clientUID\": \"u\", \"request\": \"x\", \"rapidHeartbeat\": 4294972296}");
  EXPECT_EQ(reply.rapidHeartbeat, 5000u);
}

TEST(ClientRequestReply, ByteOrderMarkIsAccepted) {
  CapturedLog log(6);
  ClientRequestReply reply =
      ReadClientRequestReply("\xEF\xBB\xBF{\"name\": \"ClientRequest\", \"clientUID\": \"u\", \"request\": \"x\"}");
  EXPECT_EQ(reply.type, kClientRequestResponse);
  EXPECT_FALSE(reply.hasRapidHeartbeat);
  EXPECT_FALSE(reply.hasInfo);
}

TEST(ClientRequestReply, InfoBytesComeAsTheyStand) {
  CapturedLog log(6);
  ClientRequestReply reply = ReadClientRequestReply(
      "{\"name\": \"ClientRequest\", \"clientUID\": \"u\", \"request\": \"x\", \"info\": \"caf\xe9\"}");
  EXPECT_TRUE(reply.hasInfo);
  EXPECT_EQ(reply.info, "caf\xe9");
}

}  // namespace
