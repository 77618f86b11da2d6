#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "log/debug_log.h"
#include "policy/compile_and_send_config_win.h"

int SendConfig(MLI_HANDLE driverHandle, const std::wstring& rbfPath) {
  if (driverHandle == nullptr) {
    ZENT_LOG(1, L"driver handle is null.\n");
    return -1;
  }
  FILE* file = _wfopen(rbfPath.c_str(), L"rb");
  if (file == nullptr) {
    // The compiler may still be letting go of the file it has just written.
    ZENT_LOG(1, L"can't open %s, error=%d, sleep & retry\n", rbfPath.c_str(), errno);
    Sleep(100);
    file = _wfopen(rbfPath.c_str(), L"rb");
    if (file == nullptr) {
      ZENT_LOG(1, L"still can't open %s after sleep, error=%d\n", rbfPath.c_str(), errno);
      return -1;
    }
  }
  std::fseek(file, 0, SEEK_END);
  long length = std::ftell(file);
  std::rewind(file);
  void* block = std::malloc(length > 0 ? static_cast<size_t>(length) : 1);
  if (block == nullptr) {
    ZENT_LOG(1, L"can't allocate filter block len %ld\n", length);
    std::fclose(file);
    return -1;
  }
  if (std::fread(block, 1, static_cast<size_t>(length), file) < static_cast<size_t>(length)) {
    ZENT_LOG(1, L"failed to read filterset\n");
    std::fclose(file);
    std::free(block);
    return -1;
  }
  std::fclose(file);
  int rc = mli_load_config(driverHandle, block, static_cast<uint32_t>(length));
  if (rc != 0) {
    ZENT_LOG(1, L"failed to load '%s', rc=%d\nThis is probably because the version doesn't match.\n", rbfPath.c_str(), rc);
  } else {
    ZENT_LOG(4, L"config has been loaded: %s\n", rbfPath.c_str());
  }
  std::free(block);
  return rc;
}
