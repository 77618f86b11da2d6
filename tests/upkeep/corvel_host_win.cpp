#include "corvel_host_win.h"

#include <cstdlib>
#include <regex>
#include <set>

#include "sim/stand_in_key.h"

namespace corvel_host {

namespace {

// Uninstall entries the tests make up for products that do not exist.
const wchar_t* const kMadeUpProducts[] = {L"{00000000-0000-0000-0000-0000000000C0}",
                                          L"{00000000-0000-0000-0000-0000000000C1}"};

std::wstring Widen(const char* text) { return std::wstring(text, text + strlen(text)); }

void SetValue(const std::wstring& key, const wchar_t* name, DWORD type, const void* data, DWORD size) {
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, type, data, size);
}

// "STAMP [TID][ZTENG][FUNCTION:LINE] MESSAGE", the stamp 23 characters. Only
// the head goes through std::regex, which recurses once per character: a
// 10,000-character message would exhaust the stack.
bool SplitLogLine(const std::string& line, std::string& function, std::string& message) {
  static const std::regex head("[0-9:-]{23} \\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[(\\w+):[0-9]+\\] ");
  size_t end = line.find("] ", line.find("[ZTENG]["));
  if (end == std::string::npos || end > 200) return false;
  std::smatch match;
  std::string front = line.substr(0, end + 2);
  if (!std::regex_match(front, match, head)) return false;
  function = match[1].str();
  message = line.substr(end + 2);
  return true;
}

}  // namespace

DWORD InstallCorvel(const char* msiVariable, const std::wstring& properties) {
  const char* msi = std::getenv(msiVariable);
  if (msi == nullptr) return ERROR_FILE_NOT_FOUND;
  return RunToEnd(L"msiexec.exe /i \"" + Widen(msi) + L"\" /quiet " + properties);
}

bool ProductInstalled(const wchar_t* productCode) {
  return KeyExists(std::wstring(kUninstallKey) + L"\\" + productCode);
}

void SetString(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  SetValue(key, name, REG_SZ, text.c_str(), static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

void SetDword(const std::wstring& key, const wchar_t* name, DWORD data) {
  SetValue(key, name, REG_DWORD, &data, sizeof data);
}

void SetMultiString(const std::wstring& key, const wchar_t* name, const std::wstring& textWithZeros) {
  SetValue(key, name, REG_MULTI_SZ, textWithZeros.data(), static_cast<DWORD>(textWithZeros.size() * sizeof(wchar_t)));
}

bool KeyExists(const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
  RegCloseKey(opened);
  return true;
}

void DeleteKey(const std::wstring& key) {
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, key.c_str());
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, key.c_str());
}

void DeleteValue(const std::wstring& key, const wchar_t* name) {
  RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name);
}

void RestoreHost() {
  zentsim::testing::StandInKey knobs(L"corvel");
  knobs.Delete();
  for (const wchar_t* code : {kCorvelProductCode, kHvCorvelProductCode}) {
    if (!ProductInstalled(code)) continue;
    SetDword(kCorvelKey, L"SelfProtection", 0);
    RunToEnd(std::wstring(L"msiexec.exe /x ") + code + L" /quiet");
  }
  knobs.Delete();
  DeleteKey(kServiceKey);
  DeleteKey(kCorvelKey);
  DeleteKey(kPellorClientKey);
  for (const wchar_t* code : kMadeUpProducts) DeleteKey(std::wstring(kUninstallKey) + L"\\" + code);
  DeleteValue(kSessionManagerKey, L"PendingFileRenameOperations");
  std::wstring keptLog = OwnFolder() + L"\\corvel_uninstall.log";
  DeleteFileW(keptLog.c_str());
  RemoveDirectoryW(keptLog.c_str());
}

std::vector<std::string> RemovalLog(const std::string& logText) {
  static const std::set<std::string> removal = {
      "RemoveIncompatibleAgent", "RemoveCorvel",           "GetInstalledSoftwareGUID",     "GetCorvelInstallFolder",
      "ResetCorvelSetting",      "DisableCorvelSelfProtection", "GetPendingFilesRegistryString"};
  std::vector<std::string> lines;
  bool inRemoval = false;
  size_t start = 0;
  while (start < logText.size()) {
    size_t end = logText.find('\n', start);
    if (end == std::string::npos) end = logText.size();
    std::string line = logText.substr(start, end - start);
    start = end + 1;
    std::string function, message;
    if (SplitLogLine(line, function, message)) {
      inRemoval = removal.count(function) != 0;
      if (inRemoval) lines.push_back(function + ": " + message);
    } else if (inRemoval) {
      lines.back() += "\n" + line;
    }
  }
  return lines;
}

std::wstring OwnFolder() {
  wchar_t path[MAX_PATH];
  DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path, length);
  return folder.substr(0, folder.rfind(L'\\'));
}

}  // namespace corvel_host
