#include <cerrno>
#include <cstdio>
#include <string>

#include "log/debug_log.h"
#include "policy/agent_config_document.h"
#include "records/settings.h"
#include "util/cred_machine_encrypt.h"
#include "util/wide_path_file.h"

int WriteXML(const tinyxml2::XMLPrinter& document, const std::wstring& path) {
  FILE* file = OpenWidePathFile(path, "wb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path);
    return -1;
  }
  // Written at once: the same bytes as tinyxml2's SaveFile of the document,
  // without a library call for every piece of a large one.

  // Read at each write, so that a settings reload counts from the next one.
  if (!s_Settings.s_bConfigEncrypt) {
    // As SaveFile, a short write of the clear form goes unreported.
    fwrite(document.CStr(), 1, static_cast<size_t>(document.CStrSize() - 1), file);
    fclose(file);
    return 0;
  }
  std::string encrypted = Cred_MachineEncrypt(document.CStr());
  if (encrypted.empty()) {
    ZENT_LOG(1, L"Cred_MachineEncrypt return 0 bytes\n");
    fclose(file);
    return -1;
  }
  size_t written = fwrite(encrypted.data(), 1, encrypted.size(), file);
  if (written < encrypted.size()) {
    ZENT_LOG(1, L"failed to write file(%s)\n", path);
    fclose(file);
    return -1;
  }
  fclose(file);
  return 0;
}
