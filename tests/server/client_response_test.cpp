#include "server/server_reply.h"

#include <gtest/gtest.h>

namespace {

TEST(ClientResponse, PrettyPrintedWithFourBlanks) {
  std::string message;
  ASSERT_TRUE(BuildClientResponse("<HostMetaDataQueryResult/>", message));
  EXPECT_EQ(message,
            "{\n"
            "    \"name\": \"ClientResponse\",\n"
            "    \"response\": {\n"
            "        \"type\": \"UpdateHostMetaData\",\n"
            "        \"content\": \"<HostMetaDataQueryResult/>\"\n"
            "    }\n"
            "}");
}

TEST(ClientResponse, ContentIsEscapedAsAJsonString) {
  std::string message;
  ASSERT_TRUE(BuildClientResponse(std::string("a\"b\\c\r\n\t/\x01\0z", 12), message));
  EXPECT_NE(message.find("\"content\": \"a\\\"b\\\\c\\r\\n\\t/\\u0001\\u0000z\"\n"), std::string::npos) << message;
}

TEST(ClientResponse, NonAsciiContentPassesAsItStands) {
  std::string message;
  ASSERT_TRUE(BuildClientResponse("caf\xc3\xa9", message));
  EXPECT_NE(message.find("\"content\": \"caf\xc3\xa9\"\n"), std::string::npos) << message;
}

}  // namespace
