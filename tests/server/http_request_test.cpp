#include "server/http_request.h"

#include <gtest/gtest.h>

#include "server/update_host_meta_data.h"

namespace {

TEST(HttpRequest, HeartBeatOfMachine7) {
  EXPECT_EQ(BuildHttpRequest(7, kDirectHeartBeatBody),
            "POST /Zent/isapiClientZent.dll HTTP/1.1\r\n"
            "Host: HOSTNAME:8080\r\n"
            "BRVN-AGENT-GUID: 00000000-0000-0000-0000-000000000007\r\n"
            "Content-Length: 21\r\n"
            "\r\n"
            "{\"name\": \"HeartBeat\"}");
}

TEST(HttpRequest, MachineIdFillsTwoDigitsOrMore) {
  std::string request = BuildHttpRequest(255, "");
  EXPECT_EQ(request,
            "POST /Zent/isapiClientZent.dll HTTP/1.1\r\n"
            "Host: HOSTNAME:8080\r\n"
            "BRVN-AGENT-GUID: 00000000-0000-0000-0000-0000000000255\r\n"
            "Content-Length: 0\r\n"
            "\r\n");
  EXPECT_NE(BuildHttpRequest(44, "x").find("-000000000044\r\nContent-Length: 1\r\n\r\nx"), std::string::npos);
  EXPECT_NE(BuildHttpRequest(0, "x").find("-000000000000\r\n"), std::string::npos);
}

TEST(HttpRequest, BodyBytesPassAsTheyStand) {
  std::string body("a\0b", 3);
  EXPECT_EQ(BuildHttpRequest(1, body).substr(BuildHttpRequest(1, "").size() - 5),
            std::string("3\r\n\r\na\0b", 8));
}

TEST(UpdateHostMetaData, PrettyPrintedWithFourBlanks) {
  std::string body;
  ASSERT_TRUE(BuildUpdateHostMetaData("<Message/>\r\n", body));
  EXPECT_EQ(body,
            "{\n"
            "    \"name\": \"UpdateHostMetaData\",\n"
            "    \"metaData\": \"<Message/>\\r\\n\"\n"
            "}");
}

TEST(UpdateHostMetaData, EscapedAsRapidJsonWrites) {
  std::string body;
  ASSERT_TRUE(BuildUpdateHostMetaData(std::string("a\"b\\c/\t\b\f\x01\x1f\x7f\0z\xc3\xa9", 16), body));
  EXPECT_EQ(body,
            "{\n"
            "    \"name\": \"UpdateHostMetaData\",\n"
            "    \"metaData\": \"a\\\"b\\\\c/\\t\\b\\f\\u0001\\u001F\x7f\\u0000z\xc3\xa9\"\n"
            "}");
}

TEST(UpdateHostMetaData, EmptyDocument) {
  std::string body;
  ASSERT_TRUE(BuildUpdateHostMetaData("", body));
  EXPECT_EQ(body, "{\n    \"name\": \"UpdateHostMetaData\",\n    \"metaData\": \"\"\n}");
}

}  // namespace
