// The encrypted form of configuration documents, shared by the agent's
// encryption and the tools that read the form back:
//
//   offset 0   8 bytes   "Salted__"
//   offset 8   16 bytes  salt, new for every encryption
//   offset 24  rest      AES-256-CBC with standard padding, 16 * (n / 16 + 1)
//
// Key and IV come from PBKDF2-HMAC-SHA-512 over the pass phrase and the
// salt, 1000 iterations, 48 bytes: key = bytes 0..31, IV = bytes 32..47.
#pragma once

#include <openssl/evp.h>

#include <cstddef>

inline constexpr char kSaltMagic[] = "Salted__";
inline constexpr size_t kSaltMagicSize = 8;
// Twice the usual width of a "Salted__" header's salt: the rule compiler
// reads 16 bytes.
inline constexpr size_t kSaltSize = 16;
inline constexpr size_t kEncryptedHeaderSize = kSaltMagicSize + kSaltSize;
inline constexpr size_t kCipherBlockSize = 16;
inline constexpr char kConfigCipherName[] = "aes-256-cbc";
inline constexpr char kConfigDigestName[] = "sha512";
inline constexpr int kKeyDerivationIterations = 1000;

// Derives key and IV from the salt and the pass phrase, and sets the context
// up with the cipher for encryption (enc 1) or decryption (enc 0). The key
// material lives on the stack only and is cleared before the return.
bool InitConfigCipher(EVP_CIPHER_CTX* ctx, const EVP_CIPHER* cipher, const EVP_MD* md,
                      const unsigned char* salt, int enc);
