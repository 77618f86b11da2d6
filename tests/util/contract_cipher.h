// Decryption and encryption of configuration documents with libcrypto's plain
// EVP calls and the parameters written out here by hand, beside the agent's
// own code rather than through it: PBKDF2-HMAC-SHA-512 over the 32-byte pass
// phrase and the salt, 1000 iterations, 48 bytes split into a 32-byte
// AES-256-CBC key and a 16-byte IV.
#pragma once

#include <optional>
#include <string>

// The pass phrase the rule compiler knows, as bytes.
std::string ContractPassPhrase();

// The clear text of an encrypted document whose header is "Salted__" and a
// salt of saltWidth bytes; nullopt when the padding does not check.
std::optional<std::string> ContractDecrypt(const std::string& encrypted, size_t saltWidth);

// AES-256-CBC under the key and IV derived from salt, without padding:
// the input is a whole number of blocks.
std::string ContractEncryptBlocks(const std::string& salt, const std::string& blocks);
