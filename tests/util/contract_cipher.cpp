#include "contract_cipher.h"

#include <openssl/evp.h>

#include <memory>

namespace {

const unsigned char kPassPhrase[32] = {
    0xF8, 0xBE, 0x61, 0xF0, 0xDC, 0xE6, 0x00, 0x76, 0xEE, 0x6B, 0xD7, 0x94, 0xF1, 0x00, 0xAC, 0x60,
    0xD2, 0xA1, 0x08, 0x31, 0xDE, 0x2B, 0x46, 0x7B, 0xA8, 0x83, 0x4B, 0x5C, 0xB1, 0xD2, 0x41, 0xDF,
};

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

CipherContext InitContext(const std::string& salt, int enc, int padding) {
  unsigned char derived[48];
  CipherContext ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  if (PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(kPassPhrase), 32,
                        reinterpret_cast<const unsigned char*>(salt.data()), static_cast<int>(salt.size()), 1000,
                        EVP_sha512(), 48, derived) != 1 ||
      EVP_CipherInit_ex(ctx.get(), EVP_aes_256_cbc(), nullptr, derived, derived + 32, enc) != 1 ||
      EVP_CIPHER_CTX_set_padding(ctx.get(), padding) != 1)
    ctx.reset();
  return ctx;
}

std::optional<std::string> Run(EVP_CIPHER_CTX* ctx, const std::string& in) {
  std::string out(in.size() + 16, '\0');
  auto* o = reinterpret_cast<unsigned char*>(out.data());
  int written = 0, last = 0;
  if (EVP_CipherUpdate(ctx, o, &written, reinterpret_cast<const unsigned char*>(in.data()),
                       static_cast<int>(in.size())) != 1 ||
      EVP_CipherFinal_ex(ctx, o + written, &last) != 1)
    return std::nullopt;
  out.resize(static_cast<size_t>(written + last));
  return out;
}

}  // namespace

std::string ContractPassPhrase() { return std::string(reinterpret_cast<const char*>(kPassPhrase), 32); }

std::optional<std::string> ContractDecrypt(const std::string& encrypted, size_t saltWidth) {
  if (encrypted.size() < 8 + saltWidth || encrypted.compare(0, 8, "Salted__") != 0) return std::nullopt;
  CipherContext ctx = InitContext(encrypted.substr(8, saltWidth), 0, 1);
  if (!ctx) return std::nullopt;
  return Run(ctx.get(), encrypted.substr(8 + saltWidth));
}

std::string ContractEncryptBlocks(const std::string& salt, const std::string& blocks) {
  CipherContext ctx = InitContext(salt, 1, 0);
  if (!ctx) return {};
  return Run(ctx.get(), blocks).value_or("");
}
