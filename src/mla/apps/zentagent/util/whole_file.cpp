#include "util/whole_file.h"

#include <cstdio>

#include "service/debug_log.h"
#include "util/wide_path_file.h"

bool loadFileToString(const std::wstring& path, std::string& text) {
  FILE* file = OpenWidePathFile(path, "rb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path.c_str());
    return false;
  }
  std::fseek(file, 0, SEEK_END);
  long size = std::ftell(file);
  std::rewind(file);
  text.clear();
  text.resize(size < 0 ? 0 : static_cast<size_t>(size));
  size_t got = text.empty() ? 0 : std::fread(&text[0], 1, text.size(), file);
  std::fclose(file);
  if (got < text.size()) {
    ZENT_LOG(1, L"failed to read file(%s): expect(%d), actual(%d)\n", path.c_str(), static_cast<int>(text.size()),
             static_cast<int>(got));
    return false;
  }
  return true;
}

bool putStringToFile(const std::wstring& path, const std::string& text) {
  FILE* file = OpenWidePathFile(path, "wb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path.c_str());
    return false;
  }
  size_t written = text.empty() ? 0 : std::fwrite(text.data(), 1, text.size(), file);
  bool whole = written == text.size();
  if (!whole) ZENT_LOG(1, L"failed to write file(%s)\n", path.c_str());
  std::fclose(file);
  return whole;
}
