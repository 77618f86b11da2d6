// The encryption step under Cred_MachineEncrypt: an explicit length, the
// result only on success.
#include "util/crypt_symm_key_op.h"

#include <gtest/gtest.h>

#include <string>

#include "contract_cipher.h"

namespace {

TEST(CryptSymmKeyOp, TakesTheGivenLengthZeroBytesIncluded) {
  const std::string input("a\0b\0\0c", 6);
  std::string output;
  ASSERT_TRUE(Crypt_SymmKeyOp(input.data(), input.size(), output));
  EXPECT_EQ(output.size(), 40u);
  EXPECT_EQ(ContractDecrypt(output, 16), std::optional<std::string>(input));
}

TEST(CryptSymmKeyOp, InputOfManyChunksComesBackWhole) {
  // More than three of the 8192-byte chunks it reads at a time.
  std::string input;
  for (int i = 0; i < 3 * 8192 + 5; ++i) input += static_cast<char>(i * 7 % 256);
  std::string output;
  ASSERT_TRUE(Crypt_SymmKeyOp(input.data(), input.size(), output));
  EXPECT_EQ(output.size(), 24u + 16u * (input.size() / 16 + 1));
  EXPECT_EQ(ContractDecrypt(output, 16), std::optional<std::string>(input));
}

TEST(CryptSymmKeyOp, ReplacesWhatTheResultHeld) {
  std::string output = "earlier content";
  ASSERT_TRUE(Crypt_SymmKeyOp("x", 1, output));
  EXPECT_EQ(output.size(), 40u);
  EXPECT_EQ(output.substr(0, 8), "Salted__");
}

TEST(CryptSymmKeyOp, FailureLeavesTheResultUntouched) {
  // No memory stream opens on a null input.
  std::string output = "earlier content";
  EXPECT_FALSE(Crypt_SymmKeyOp(nullptr, 5, output));
  EXPECT_EQ(output, "earlier content");
}

}  // namespace
