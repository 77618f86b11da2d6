#include "util/cred_machine_encrypt.h"

#include <cstring>

#include "log/debug_log.h"
#include "util/crypt_symm_key_op.h"

std::string Cred_MachineEncrypt(const char* text) {
  std::string encrypted;
  if (text == nullptr) {
    ZENT_LOG(1, L"Cred_MachineEncrypt failed\n");
    return encrypted;
  }
  const size_t length = std::strlen(text);
  ZENT_LOG(6, L"Cred_MachineEncrypt: buf=%p, len=%d\n", text, static_cast<int>(length));
  if (!Crypt_SymmKeyOp(text, length, encrypted)) {
    ZENT_LOG(1, L"Cred_MachineEncrypt failed\n");
    return std::string();
  }
  return encrypted;
}
