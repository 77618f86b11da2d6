// Encryption of configuration documents: the "Salted__" form with a 16-byte
// salt, its length, its log lines, and decryption by the parameters the rule
// compiler uses.
#include "util/cred_machine_encrypt.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <regex>
#include <string>

#include "captured_log.h"
#include "contract_cipher.h"

namespace {

std::string TextOfLength(size_t n) {
  std::string text;
  for (size_t i = 0; i < n; ++i) text += static_cast<char>('A' + i % 26);
  return text;
}

// One log line as the file holds it: stamp, prefix of the function, message.
std::regex LogLine(const std::string& function, const std::string& message) {
  return std::regex("[0-9:-]{23} \\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[" + function + ":[0-9]+\\] " + message + "\n");
}

TEST(CredMachineEncrypt, LengthIsHeaderPlusOneMoreBlockThanWholeBlocks) {
  // 24 + 16 * (n / 16 + 1): a whole block of padding when n is a multiple of 16.
  const struct {
    size_t n;
    size_t expected;
  } cases[] = {{0, 40},     {1, 40},      {15, 40},     {16, 56},     {17, 56},     {31, 56},
               {32, 72},    {33, 72},     {1000, 1032}, {8191, 8216}, {8192, 8232}, {8193, 8232},
               {20000, 20040}};
  for (const auto& c : cases) {
    SCOPED_TRACE("n = " + std::to_string(c.n));
    EXPECT_EQ(Cred_MachineEncrypt(TextOfLength(c.n).c_str()).size(), c.expected);
  }
}

TEST(CredMachineEncrypt, EmptyTextYieldsMagicSaltAndOneBlockOfPadding) {
  std::string encrypted = Cred_MachineEncrypt("");
  ASSERT_EQ(encrypted.size(), 40u);
  EXPECT_EQ(encrypted.substr(0, 8), "Salted__");
  EXPECT_EQ(ContractDecrypt(encrypted, 16), std::optional<std::string>(""));
}

TEST(CredMachineEncrypt, BeginsWithTheSaltedMagic) {
  std::string encrypted = Cred_MachineEncrypt("<config/>");
  ASSERT_GE(encrypted.size(), 8u);
  EXPECT_EQ(encrypted.substr(0, 8), "Salted__");
}

TEST(CredMachineEncrypt, TwoEncryptionsOfOneTextDifferFromTheSaltOn) {
  const char text[] = "<AgentConfig version=\"1\"><rule id=\"7\"/></AgentConfig>";
  std::string first = Cred_MachineEncrypt(text);
  std::string second = Cred_MachineEncrypt(text);
  ASSERT_EQ(first.size(), second.size());
  EXPECT_EQ(first.substr(0, 8), second.substr(0, 8));
  EXPECT_NE(first.substr(8, 16), second.substr(8, 16));
  EXPECT_NE(first.substr(24), second.substr(24));
}

TEST(CredMachineEncrypt, DecryptsWithSha512Pbkdf2OverTheSixteenByteSalt) {
  for (size_t n : {0, 1, 15, 16, 17, 100, 8192, 8193, 30000}) {
    SCOPED_TRACE("n = " + std::to_string(n));
    std::string text = TextOfLength(n);
    EXPECT_EQ(ContractDecrypt(Cred_MachineEncrypt(text.c_str()), 16), std::optional<std::string>(text));
  }
}

TEST(CredMachineEncrypt, DoesNotDecryptAsTheUsualEightByteSalt) {
  std::string text = "<AgentConfig><packetFilter action=\"block\"/></AgentConfig>";
  std::string encrypted = Cred_MachineEncrypt(text.c_str());
  // Read as an 8-byte salt, the header's second half becomes a ciphertext
  // block and the key is another: the padding rarely checks, the text never.
  std::optional<std::string> misread = ContractDecrypt(encrypted, 8);
  EXPECT_NE(misread, std::optional<std::string>(text));
}

TEST(CredMachineEncrypt, TextEndsAtItsFirstZeroByte) {
  const char text[] = "abc\0def";
  std::string encrypted = Cred_MachineEncrypt(text);
  EXPECT_EQ(encrypted.size(), 40u);
  EXPECT_EQ(ContractDecrypt(encrypted, 16), std::optional<std::string>("abc"));
}

TEST(CredMachineEncrypt, UTF8TextComesBackByteForByte) {
  std::string text = "<name>Z\xC3\xBCrich caf\xC3\xA9 \xE2\x82\xAC</name>\r\n";
  EXPECT_EQ(ContractDecrypt(Cred_MachineEncrypt(text.c_str()), 16), std::optional<std::string>(text));
}

TEST(CredMachineEncrypt, NullPointerYieldsEmptyAndLogsTheFailure) {
  CapturedLog log(1);
  EXPECT_EQ(Cred_MachineEncrypt(nullptr), "");
  EXPECT_TRUE(std::regex_match(log.Text(), LogLine("Cred_MachineEncrypt", "Cred_MachineEncrypt failed")))
      << log.Text();
}

TEST(CredMachineEncrypt, LogsBufferAndLengthAtLevelSix) {
  CapturedLog log(6);
  const char text[] = "<config/>";
  char pointer[32];
  std::snprintf(pointer, sizeof pointer, "%016" PRIXPTR, reinterpret_cast<uintptr_t>(text));
  Cred_MachineEncrypt(text);
  EXPECT_TRUE(std::regex_match(log.Text(), LogLine("Cred_MachineEncrypt", std::string("Cred_MachineEncrypt: buf=") +
                                                                              pointer + ", len=9")))
      << log.Text();
}

TEST(CredMachineEncrypt, SuccessWritesNothingBelowLevelSix) {
  CapturedLog log(5);
  EXPECT_EQ(Cred_MachineEncrypt("<config/>").size(), 40u);
  EXPECT_EQ(log.Text(), "");
}

}  // namespace
