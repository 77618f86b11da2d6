#include "util/whole_file.h"

#include "log/debug_log.h"
#include "util/wide_path_file.h"

bool loadFileToString(const std::wstring& path, std::string& bytes) {
  FILE* file = OpenWidePathFile(path, "rb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path.c_str());
    return false;
  }
  std::fseek(file, 0, SEEK_END);
  long size = std::ftell(file);
  std::rewind(file);
  bytes.clear();
  bytes.resize(size > 0 ? static_cast<size_t>(size) : 0);
  size_t count = std::fread(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
  if (count < bytes.size()) {
    ZENT_LOG(1, L"failed to read file(%s): expect(%d), actual(%d)\n", path.c_str(), static_cast<int>(bytes.size()),
             static_cast<int>(count));
    return false;
  }
  return true;
}

bool putStringToFile(const std::wstring& path, const std::string& bytes) {
  FILE* file = OpenWidePathFile(path, "wb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path.c_str());
    return false;
  }
  size_t count = std::fwrite(bytes.data(), 1, bytes.size(), file);
  bool complete = count == bytes.size();
  if (!complete) ZENT_LOG(1, L"failed to write file(%s)\n", path.c_str());
  std::fclose(file);
  return complete;
}
