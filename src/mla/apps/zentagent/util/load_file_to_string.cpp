#include "util/load_file_to_string.h"

#include <cstdio>

#include "service/debug_log.h"
#include "util/wide_path_file.h"

bool loadFileToString(const std::wstring& path, std::string& text) {
  FILE* file = OpenWidePathFile(path, "rb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path);
    return false;
  }
  std::fseek(file, 0, SEEK_END);
  long size = std::ftell(file);
  std::rewind(file);
  text.clear();
  text.resize(size > 0 ? static_cast<size_t>(size) : 0);
  size_t got = text.empty() ? 0 : std::fread(text.data(), 1, text.size(), file);
  std::fclose(file);
  if (got < text.size()) {
    ZENT_LOG(1, L"failed to read file(%s): expect(%d), actual(%d)\n", path, static_cast<int>(size),
             static_cast<int>(got));
    return false;
  }
  return true;
}
