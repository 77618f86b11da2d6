#include <windows.h>
#include <shlobj.h>

#include "driver/driver_versions_win.h"
#include "driver/oem_inf_file.h"
#include "log/debug_log.h"
#include "util/process_win.h"
#include "util/whole_file.h"

void CleanUpOEMFiles() {
  std::wstring name = GetOEMFileContainingDriver();
  if (name.empty()) {
    ZENT_LOG(3, L"There are no oem#.inf files containing driver.\n");
    return;
  }
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  std::wstring program = std::wstring(system) + L"\\pnputil.exe";
  std::wstring arguments = L"-f -d " + name;
  // Its exit code is not looked at: a copy that stays is found again next time.
  DWORD exitCode = 0;
  std::string output;
  if (!utilProcess::LaunchCmd(program.c_str(), arguments.c_str(), &exitCode, output)) {
    ZENT_LOG(1, L"pnputil cmd failed. %s, %s\n", program.c_str(), arguments.c_str());
  }
  ZENT_LOG(3, L"Clean oem#.inf files: %S\n", output.c_str());
}

std::wstring GetOEMFileContainingDriver() {
  wchar_t windows[MAX_PATH] = {};
  HRESULT result = SHGetFolderPathW(nullptr, CSIDL_WINDOWS, nullptr, 0, windows);
  if (FAILED(result)) {
    ZENT_LOG(1, L"SHGetFolderPath() fails. hr=%d\n", result);
    return {};
  }
  std::wstring folder = std::wstring(windows) + L"\\INF";
  ZENT_LOG(3, L"Searching oem#.inf files in directory(%s).\n", folder.c_str());
  WIN32_FIND_DATAW entry;
  HANDLE find = FindFirstFileW((folder + L"\\*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return {};
  std::wstring found;
  do {
    if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || !IsOemInfName(entry.cFileName)) continue;
    // A file that cannot be read (locked, say) has no bytes to match.
    std::string bytes;
    loadFileToString(folder + L"\\" + entry.cFileName, bytes);
    if (NamesDriver(bytes)) found = entry.cFileName;
  } while (found.empty() && FindNextFileW(find, &entry));
  FindClose(find);
  return found;
}
