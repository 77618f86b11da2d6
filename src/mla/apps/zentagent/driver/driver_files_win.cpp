#include "driver/driver_files_win.h"

#include <shlobj.h>

#include "driver/system_error_text.h"

bool IsRegularFile(const std::wstring& path) {
  DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

HRESULT InstalledDriverPath(std::wstring& path) {
  wchar_t system[MAX_PATH] = {};
  HRESULT result = SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, 0, system);
  if (SUCCEEDED(result)) path = std::wstring(system) + L"\\drivers\\mlfilter.sys";
  return result;
}

std::wstring SystemErrorText(HRESULT error) {
  wchar_t* text = nullptr;
  DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                nullptr, static_cast<DWORD>(error), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::wstring cut = CutSystemErrorText(length == 0 ? nullptr : text);
  if (text != nullptr) LocalFree(text);
  return cut;
}
