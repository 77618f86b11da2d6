#include "util/config_cipher.h"

#include <openssl/crypto.h>

#include "platform/config_pass_phrase.h"

bool InitConfigCipher(EVP_CIPHER_CTX* ctx, const EVP_CIPHER* cipher, const EVP_MD* md,
                      const unsigned char* salt, int enc) {
  const int keyLength = EVP_CIPHER_key_length(cipher);
  const int ivLength = EVP_CIPHER_iv_length(cipher);
  unsigned char derived[EVP_MAX_KEY_LENGTH + EVP_MAX_IV_LENGTH];
  bool ok = PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(kConfigPassPhrase), kConfigPassPhraseSize, salt,
                              kSaltSize, kKeyDerivationIterations, md, keyLength + ivLength, derived) == 1 &&
            EVP_CipherInit_ex(ctx, cipher, nullptr, derived, derived + keyLength, enc) == 1;
  OPENSSL_cleanse(derived, sizeof derived);
  return ok;
}
