// Encryption of a byte string into the form of util/config_cipher.h, through
// a chain of libcrypto's BIO objects. No shared state: the heartbeat thread
// and the pipe's command thread may both be here at once.
#pragma once

#include <cstddef>
#include <string>

// True with the encrypted form in output; on failure output is untouched.
bool Crypt_SymmKeyOp(const char* input, size_t length, std::string& output);
