#include "server/get_file_modify_time.h"

#include <sys/stat.h>

#include "log/debug_log.h"
#include "util/low_byte_text.h"

int32_t GetFileModifyTime(std::wstring path) {
  std::string narrow = LowByteText(path);
  path.clear();
  struct stat info;
  if (stat(narrow.c_str(), &info) != 0) {
    ZENT_LOG(1, L"Get File Info fails\n");
    return 0;
  }
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(info.st_mtime)));
}
