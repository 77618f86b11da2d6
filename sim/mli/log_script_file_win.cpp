#include "log_script_file.h"

#include <windows.h>

#include "sim_registry.h"

namespace zentsim::mli {

namespace {

std::wstring Wide(const std::string& utf8) {
  int size = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
  std::wstring out(static_cast<size_t>(size > 0 ? size : 1), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, out.data(), size);
  out.resize(out.size() - 1);
  return out;
}

}  // namespace

std::optional<ScriptIdentity> ScriptInKnob() {
  std::optional<std::string> path = zentsim::ReadString(kStandIn, L"LogScript");
  if (!path || path->empty()) return std::nullopt;
  ScriptIdentity identity{*path};
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (GetFileAttributesExW(Wide(*path).c_str(), GetFileExInfoStandard, &data)) {
    identity.size = static_cast<uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
    identity.writeTime =
        static_cast<uint64_t>(data.ftLastWriteTime.dwHighDateTime) << 32 | data.ftLastWriteTime.dwLowDateTime;
  }
  return identity;
}

bool ReadScriptFile(const std::string& path, std::string& bytes, std::string& problem) {
  HANDLE file = CreateFileW(Wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    problem = "cannot be read: error " + std::to_string(GetLastError());
    return false;
  }
  bytes.clear();
  char buffer[65536];
  DWORD got = 0;
  BOOL ok;
  while ((ok = ReadFile(file, buffer, sizeof buffer, &got, nullptr)) && got > 0) bytes.append(buffer, got);
  if (!ok) problem = "cannot be read: error " + std::to_string(GetLastError());
  CloseHandle(file);
  return ok;
}

}  // namespace zentsim::mli
