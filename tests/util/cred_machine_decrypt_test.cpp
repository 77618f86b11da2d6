// The way back for tools: the clear text of the encrypted form, and a reason
// for bytes that are not in it.
#include "util/cred_machine_decrypt.h"

#include <gtest/gtest.h>

#include <string>

#include "contract_cipher.h"
#include "util/cred_machine_encrypt.h"

namespace {

const std::string kSalt = "0123456789abcdef";

TEST(CredMachineDecrypt, ReturnsTheTextOfAnEncryption) {
  for (std::string text : {"", "<a/>", "0123456789abcdef", "<AgentConfig>\r\n  <rule id=\"1\"/>\r\n</AgentConfig>\r\n"}) {
    std::string clear, error;
    EXPECT_TRUE(Cred_MachineDecrypt(Cred_MachineEncrypt(text.c_str()), clear, error)) << error;
    EXPECT_EQ(clear, text);
    EXPECT_EQ(error, "");
  }
}

TEST(CredMachineDecrypt, ReadsAFormMadeWithoutTheAgentsCode) {
  // "hello" and eleven bytes of value 11: the cipher's standard padding.
  std::string padded = "hello" + std::string(11, '\x0b');
  std::string encrypted = "Salted__" + kSalt + ContractEncryptBlocks(kSalt, padded);
  std::string clear, error;
  ASSERT_TRUE(Cred_MachineDecrypt(encrypted, clear, error)) << error;
  EXPECT_EQ(clear, "hello");
}

TEST(CredMachineDecrypt, RefusesBytesWithoutTheMagic) {
  std::string clear = "untouched", error;
  EXPECT_FALSE(Cred_MachineDecrypt("<AgentConfig/>" + std::string(26, ' '), clear, error));
  EXPECT_EQ(error, "it does not begin with \"Salted__\"");
  EXPECT_EQ(clear, "untouched");
  EXPECT_FALSE(Cred_MachineDecrypt("", clear, error));
  EXPECT_EQ(error, "it does not begin with \"Salted__\"");
}

TEST(CredMachineDecrypt, RefusesAHeaderCutShort) {
  std::string clear, error;
  EXPECT_FALSE(Cred_MachineDecrypt("Salted__" + kSalt.substr(0, 8), clear, error));
  EXPECT_EQ(error, "it ends within the 16-byte salt after \"Salted__\" (16 bytes)");
}

TEST(CredMachineDecrypt, RefusesCiphertextThatIsNotWholeBlocks) {
  std::string clear, error;
  EXPECT_FALSE(Cred_MachineDecrypt("Salted__" + kSalt, clear, error));
  EXPECT_EQ(error, "its 0 bytes after the 24-byte header are not a whole number of 16-byte blocks, at least one");
  EXPECT_FALSE(Cred_MachineDecrypt("Salted__" + kSalt + std::string(17, 'x'), clear, error));
  EXPECT_EQ(error, "its 17 bytes after the 24-byte header are not a whole number of 16-byte blocks, at least one");
}

TEST(CredMachineDecrypt, RefusesALastBlockWithoutValidPadding) {
  // A last clear byte of 0 is no padding length.
  std::string encrypted = "Salted__" + kSalt + ContractEncryptBlocks(kSalt, std::string(16, '\0'));
  std::string clear = "untouched", error;
  EXPECT_FALSE(Cred_MachineDecrypt(encrypted, clear, error));
  EXPECT_EQ(error,
            "its last block has no valid padding: it was not encrypted with this program's pass phrase, "
            "or it is damaged");
  EXPECT_EQ(clear, "untouched");
}

}  // namespace
