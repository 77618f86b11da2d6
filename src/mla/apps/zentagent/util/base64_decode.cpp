#include "util/base64_decode.h"

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <cctype>
#include <cstring>

std::string Base64Decode(const char* text) {
  std::string decoded;
  if (text == nullptr) return decoded;
  while (*text != '\0' && std::isspace(static_cast<unsigned char>(*text))) ++text;
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
