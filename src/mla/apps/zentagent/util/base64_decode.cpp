#include "util/base64_decode.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <array>
#include <cstdint>
#include <cctype>
#include <cstring>
#include <string>
#include <utility>

namespace {

constexpr unsigned char kNotInAlphabet = 0xff;

constexpr std::array<unsigned char, 256> MakeDecodeTable() {
  std::array<unsigned char, 256> table{};
  for (auto& value : table) value = kNotInAlphabet;
  const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (unsigned char i = 0; i < 64; ++i) table[static_cast<unsigned char>(alphabet[i])] = i;
  return table;
}

constexpr std::array<unsigned char, 256> kDecodeTable = MakeDecodeTable();

// The plain form of nearly every fragment: one line of whole four-character
// groups, "=" only as the last group's padding, no stray bits under it.
// Decodes it into `decoded`, or returns false, leaving `decoded` as it
// stands, for any other text: OpenSSL's filter below then decides what such
// a text gives, so that every text decodes as it always has.
bool DecodePlainLine(const char* text, size_t length, std::string& decoded) {
  if (length == 0 || length % 4 != 0) return false;
  size_t padding = text[length - 1] != '=' ? 0 : text[length - 2] != '=' ? 1 : 2;
  std::string out(length / 4 * 3 - padding, '\0');
  char* to = out.data();
  const unsigned char* from = reinterpret_cast<const unsigned char*>(text);
  const unsigned char* wholeEnd = from + (padding == 0 ? length : length - 4);
  for (; from < wholeEnd; from += 4) {
    uint32_t a = kDecodeTable[from[0]], b = kDecodeTable[from[1]], c = kDecodeTable[from[2]], d = kDecodeTable[from[3]];
    // Outside the alphabet is 0xff: any high bit tells it.
    if (((a | b | c | d) & 0xc0) != 0) return false;
    uint32_t bits = a << 18 | b << 12 | c << 6 | d;
    *to++ = static_cast<char>(bits >> 16);
    *to++ = static_cast<char>(bits >> 8 & 0xff);
    *to++ = static_cast<char>(bits & 0xff);
  }
  if (padding != 0) {
    uint32_t a = kDecodeTable[from[0]], b = kDecodeTable[from[1]];
    uint32_t c = padding == 1 ? kDecodeTable[from[2]] : 0;
    if (((a | b | c) & 0xc0) != 0) return false;
    uint32_t bits = a << 18 | b << 12 | c << 6;
    // No stray bits under the padding.
    if ((bits & (padding == 1 ? 0xff : 0xffff)) != 0) return false;
    *to++ = static_cast<char>(bits >> 16);
    if (padding == 1) *to++ = static_cast<char>(bits >> 8 & 0xff);
  }
  decoded = std::move(out);
  return true;
}

}  // namespace

std::string Base64Decode(const char* text) {
  std::string decoded;
  if (text == nullptr) return decoded;
  while (*text != '\0' && std::isspace(static_cast<unsigned char>(*text))) ++text;
  // The rules and rule codes of a policy come by the thousand: the plain
  // form costs a table look-up per character rather than a filter chain.
  if (DecodePlainLine(text, std::strlen(text), decoded)) return decoded;
  BIO* memory = BIO_new_mem_buf(text, -1);
  BIO* base64 = BIO_new(BIO_f_base64());
  if (memory == nullptr || base64 == nullptr) {
    BIO_free(memory);
    BIO_free(base64);
    return decoded;
  }
  // The filter waits for a line end otherwise, and a one-line text would
  // decode to nothing.
  if (std::strchr(text, '\n') == nullptr) BIO_set_flags(base64, BIO_FLAGS_BASE64_NO_NL);
  BIO_push(base64, memory);
  char buffer[512];
  int count;
  while ((count = BIO_read(base64, buffer, sizeof buffer)) >= 1) decoded.append(buffer, static_cast<size_t>(count));
  OPENSSL_cleanse(buffer, sizeof buffer);
  BIO_free_all(base64);
  return decoded;
}
