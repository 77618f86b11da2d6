// What the registry tells about Corvel: its product code among the installed
// programs, its install folder, and whether its driver waits for a reboot.
#include <windows.h>

#include "log/debug_log.h"
#include "upkeep/remove_corvel_win.h"
#include "util/reg_key_win.h"
#include "util/text_win.h"

namespace {

const wchar_t kUninstallKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const char kCorvelKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\Corvel Agent";
const char kSessionManagerKey[] = "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Session Manager";

// A registry key name has at most 255 characters.
constexpr DWORD kKeyNameChars = 256;
// DisplayName is read into 2,048 bytes; a longer one is no product's name
// that this agent looks for, and its sub-key is passed over.
constexpr DWORD kDisplayNameBytes = 2048;

bool DisplayNameEquals(HKEY uninstall, const wchar_t* subKey, const std::wstring& wanted) {
  HKEY product = nullptr;
  if (RegOpenKeyExW(uninstall, subKey, 0, KEY_READ, &product) != ERROR_SUCCESS) return false;
  wchar_t name[kDisplayNameBytes / sizeof(wchar_t) + 1] = {};
  DWORD size = kDisplayNameBytes;
  LONG status = RegQueryValueExW(product, L"DisplayName", nullptr, nullptr, reinterpret_cast<BYTE*>(name), &size);
  RegCloseKey(product);
  return status == ERROR_SUCCESS && wanted == name;
}

}  // namespace

// The enumeration is Win32's own rather than utilRegKey's: thousands of
// programs may be installed, and a sub-key without DisplayName is ordinary
// here, no failure to log.
bool GetInstalledSoftwareGUID(std::wstring& guid, const std::wstring& displayName) {
  HKEY uninstall = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, 0, KEY_READ, &uninstall) != ERROR_SUCCESS) return false;
  bool found = false;
  for (DWORD index = 0;; ++index) {
    wchar_t subKey[kKeyNameChars];
    DWORD length = kKeyNameChars;
    LONG status = RegEnumKeyExW(uninstall, index, subKey, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_MORE_DATA) continue;
    if (status != ERROR_SUCCESS) break;
    if (DisplayNameEquals(uninstall, subKey, displayName)) {
      guid.assign(subKey, length);
      found = true;
      break;
    }
  }
  RegCloseKey(uninstall);
  return found;
}

bool GetCorvelInstallFolder(std::wstring& folder) {
  utilRegKey corvel(kCorvelKey);
  if (!corvel.KeyExists()) {
    ZENT_LOG(1, L"registry key %S not exists.\n", corvel.GetStdKeyFromHkey());
    return false;
  }
  if (!corvel.Open(0)) {
    ZENT_LOG(1, L"cannot open registry %S.\n", corvel.GetStdKeyFromHkey());
    return false;
  }
  std::string text;
  if (!corvel.QueryValue("InstallationFolder", text, false)) {
    ZENT_LOG(1, L"cannot get corvel install folder from registry.\n");
    return false;
  }
  std::wstring path = utf8ToWide(text.c_str());
  DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    ZENT_LOG(1, L"corvel install folder=[%S] not exists.\n", text.c_str());
    return false;
  }
  if (path.empty() || path.back() != L'\\') path += L'\\';
  folder = path;
  return true;
}

void GetPendingFilesRegistryString(std::string& text) {
  text.clear();
  utilRegKey sessionManager(kSessionManagerKey);
  if (!sessionManager.KeyExists()) {
    ZENT_LOG(1, L"Reg key Session Manager not exists\n");
    return;
  }
  if (!sessionManager.Open(0)) {
    ZENT_LOG(1, L"Reg key Session Manager cannot read\n");
    return;
  }
  if (!sessionManager.ValueExists("PendingFileRenameOperations") ||
      !sessionManager.QueryValue("PendingFileRenameOperations", text, false)) {
    ZENT_LOG(1, L"Reg value PendingFileRenameOperations not exists\n");
    text.clear();
    return;
  }
  // A multi-string: the line shows its first file, as C text does.
  ZENT_LOG(4, L"PendingFileRenameOperations=[%S]\n", text.c_str());
}
