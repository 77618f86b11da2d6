// zent_encrypt_file IN OUT: the bytes of IN, up to its first zero byte,
// encrypted by Cred_MachineEncrypt into OUT, so that scripts can check the
// form with other programs. Exit status 1 when the encryption gives nothing.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "util/cred_machine_encrypt.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: zent_encrypt_file IN OUT\n");
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  if (!in) {
    std::fprintf(stderr, "zent_encrypt_file: cannot read %s\n", argv[1]);
    return 2;
  }
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::string encrypted = Cred_MachineEncrypt(text.c_str());
  if (encrypted.empty()) return 1;
  std::ofstream out(argv[2], std::ios::binary);
  out.write(encrypted.data(), static_cast<std::streamsize>(encrypted.size()));
  return out ? 0 : 2;
}
