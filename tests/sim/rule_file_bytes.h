// A config.rbf written from its layout, for tests of the driver's stand-in
// and of the agent's loads: "ZRBF", version, rule count, length of the
// rules, their SHA-256, the rules.
#pragma once

#include <openssl/evp.h>

#include <cstdint>
#include <string>

namespace zentsim::testing {

inline std::string RuleFileBytes(const std::string& rules, uint32_t count, uint32_t version = 1) {
  auto put = [](std::string& out, uint32_t value) {
    for (int i = 0; i < 4; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
  };
  std::string file = "ZRBF";
  put(file, version);
  put(file, count);
  put(file, static_cast<uint32_t>(rules.size()));
  unsigned char digest[32];
  unsigned int size = 0;
  EVP_Digest(rules.data(), rules.size(), digest, &size, EVP_sha256(), nullptr);
  file.append(reinterpret_cast<const char*>(digest), 32);
  return file + rules;
}

}  // namespace zentsim::testing
