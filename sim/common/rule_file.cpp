#include "rule_file.h"

#include <openssl/evp.h>

#include <cstring>

namespace zentsim {

namespace {

constexpr size_t kVersionOffset = 4, kCountOffset = 8, kLengthOffset = 12, kDigestOffset = 16;
constexpr size_t kDigestSize = 32;

void PutUint32(std::string& out, size_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) out[offset + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

uint32_t GetUint32(const unsigned char* in) {
  return in[0] | (in[1] << 8) | (in[2] << 16) | (static_cast<uint32_t>(in[3]) << 24);
}

bool Sha256(const std::string& text, unsigned char* digest) {
  unsigned int size = 0;
  return EVP_Digest(text.data(), text.size(), digest, &size, EVP_sha256(), nullptr) == 1 && size == kDigestSize;
}

}  // namespace

std::string BuildRuleFile(const std::vector<std::string>& rules) {
  std::string body;
  for (const std::string& rule : rules) body += rule + "\n";
  std::string file(kRuleFileHeaderSize, '\0');
  std::memcpy(file.data(), kRuleFileMagic, sizeof kRuleFileMagic);
  PutUint32(file, kVersionOffset, kRuleFileVersion);
  PutUint32(file, kCountOffset, static_cast<uint32_t>(rules.size()));
  PutUint32(file, kLengthOffset, static_cast<uint32_t>(body.size()));
  Sha256(body, reinterpret_cast<unsigned char*>(file.data() + kDigestOffset));
  return file + body;
}

std::string CheckRuleFile(const void* data, size_t length, RuleFileContents& contents) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  if (bytes == nullptr || length < kRuleFileHeaderSize || std::memcmp(bytes, kRuleFileMagic, 4) != 0) {
    return "not a rule file";
  }
  contents.version = GetUint32(bytes + kVersionOffset);
  if (contents.version != kRuleFileVersion) return "rule file version " + std::to_string(contents.version) + " not supported";
  contents.ruleCount = GetUint32(bytes + kCountOffset);
  if (GetUint32(bytes + kLengthOffset) != length - kRuleFileHeaderSize) return "rule file length differs";
  contents.rules.assign(reinterpret_cast<const char*>(bytes + kRuleFileHeaderSize), length - kRuleFileHeaderSize);
  unsigned char digest[kDigestSize];
  if (!Sha256(contents.rules, digest) || std::memcmp(digest, bytes + kDigestOffset, kDigestSize) != 0) {
    return "rule file digest differs";
  }
  size_t lines = 0;
  for (char c : contents.rules) lines += c == '\n';
  if (lines != contents.ruleCount) return "rule count differs";
  return {};
}

}  // namespace zentsim
