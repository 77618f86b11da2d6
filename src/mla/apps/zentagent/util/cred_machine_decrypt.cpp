#include "util/cred_machine_decrypt.h"

#include <openssl/evp.h>

#include <climits>
#include <memory>

#include "util/config_cipher.h"

namespace {

std::string CheckForm(std::string_view encrypted) {
  if (encrypted.size() < kSaltMagicSize || encrypted.substr(0, kSaltMagicSize) != kSaltMagic)
    return "it does not begin with \"Salted__\"";
  if (encrypted.size() < kEncryptedHeaderSize)
    return "it ends within the 16-byte salt after \"Salted__\" (" + std::to_string(encrypted.size()) + " bytes)";
  const size_t cipherLength = encrypted.size() - kEncryptedHeaderSize;
  if (cipherLength == 0 || cipherLength % kCipherBlockSize != 0)
    return "its " + std::to_string(cipherLength) +
           " bytes after the 24-byte header are not a whole number of 16-byte blocks, at least one";
  if (cipherLength > INT_MAX) return "it is too large";
  return {};
}

}  // namespace

bool Cred_MachineDecrypt(std::string_view encrypted, std::string& text, std::string& error) {
  error = CheckForm(encrypted);
  if (!error.empty()) return false;
  const EVP_CIPHER* cipher = EVP_get_cipherbyname(kConfigCipherName);
  const EVP_MD* md = EVP_get_digestbyname(kConfigDigestName);
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  const auto* salt = reinterpret_cast<const unsigned char*>(encrypted.data() + kSaltMagicSize);
  if (cipher == nullptr || md == nullptr || ctx == nullptr || !InitConfigCipher(ctx.get(), cipher, md, salt, 0)) {
    error = "the library offers no aes-256-cbc with PBKDF2-HMAC-SHA-512";
    return false;
  }
  const auto* in = reinterpret_cast<const unsigned char*>(encrypted.data() + kEncryptedHeaderSize);
  const int inLength = static_cast<int>(encrypted.size() - kEncryptedHeaderSize);
  std::string clear(static_cast<size_t>(inLength) + kCipherBlockSize, '\0');
  auto* out = reinterpret_cast<unsigned char*>(clear.data());
  int written = 0;
  int last = 0;
  if (EVP_DecryptUpdate(ctx.get(), out, &written, in, inLength) != 1 ||
      EVP_DecryptFinal_ex(ctx.get(), out + written, &last) != 1) {
    error = "its last block has no valid padding: it was not encrypted with this program's pass phrase, "
            "or it is damaged";
    return false;
  }
  clear.resize(static_cast<size_t>(written + last));
  text = std::move(clear);
  return true;
}
