// The three libraries the agent is built on are linked and answer.
#include <openssl/evp.h>
#include <rapidjson/document.h>
#include <tinyxml2.h>

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Libraries, Tinyxml2ParsesAnElementAndItsAttribute) {
  tinyxml2::XMLDocument doc;
  ASSERT_EQ(doc.Parse("<policy id=\"p-7\"><rule/></policy>"), tinyxml2::XML_SUCCESS);
  ASSERT_NE(doc.FirstChildElement("policy"), nullptr);
  EXPECT_STREQ(doc.FirstChildElement("policy")->Attribute("id"), "p-7");
}

TEST(Libraries, RapidJsonParsesAMember) {
  rapidjson::Document doc;
  doc.Parse("{\"name\": \"ClientRequest\"}");
  ASSERT_FALSE(doc.HasParseError());
  EXPECT_STREQ(doc["name"].GetString(), "ClientRequest");
}

TEST(Libraries, LibcryptoDigestsSha1) {
  // The FIPS 180 test vector for "abc".
  const EVP_MD* md = EVP_get_digestbyname("SHA1");
  ASSERT_NE(md, nullptr);
  EVP_MD_CTX* ctx = EVP_MD_CTX_new();
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  ASSERT_EQ(EVP_DigestInit_ex(ctx, md, nullptr), 1);
  ASSERT_EQ(EVP_DigestUpdate(ctx, "abc", 3), 1);
  ASSERT_EQ(EVP_DigestFinal_ex(ctx, digest, &length), 1);
  EVP_MD_CTX_free(ctx);
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    static const char digits[] = "0123456789abcdef";
    hex += digits[digest[i] >> 4];
    hex += digits[digest[i] & 15];
  }
  EXPECT_EQ(hex, "a9993e364706816aba3e25717850c26c9cd0d89d");
}

}  // namespace
