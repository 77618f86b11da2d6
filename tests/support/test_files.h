// Files of a test, written and read whole by the agent's 16-bit paths, with
// the runtime alone: a test does not read its results with the code it tests.
#pragma once

#include <cstdio>
#include <string>

#include "util/wide_path_file.h"

inline void WriteTestFile(const std::wstring& path, const std::string& text) {
  FILE* file = OpenWidePathFile(path, "wb");
  if (file == nullptr) return;
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
}

inline std::string ReadTestFile(const std::wstring& path) {
  std::string text;
  FILE* file = OpenWidePathFile(path, "rb");
  if (file == nullptr) return "<missing>";
  char buffer[4096];
  size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, count);
  std::fclose(file);
  return text;
}
