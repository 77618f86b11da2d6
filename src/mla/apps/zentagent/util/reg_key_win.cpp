#include "util/reg_key_win.h"

#include <vector>

#include "log/debug_log.h"
#include "util/reg_key_name.h"
#include "util/text_win.h"

namespace {

const HKEY kRoots[7] = {HKEY_CLASSES_ROOT,     HKEY_CURRENT_USER,   HKEY_LOCAL_MACHINE, HKEY_USERS,
                        HKEY_PERFORMANCE_DATA, HKEY_CURRENT_CONFIG, HKEY_DYN_DATA};

}  // namespace

REGSAM GetMSWViewFlags(int view) {
  switch (view) {
    case 0:
    case 1:
      return 0;
    case 2:
      return KEY_WOW64_64KEY;
    default:
      ZENT_LOG(1, L"Unknown registry view.\n");
      return 0;
  }
}

utilRegKey::utilRegKey(const std::string& fullName) : subKey_(fullName) {
  rootIndex_ = ExtractKeyName(subKey_);
  root_ = kRoots[rootIndex_];
}

utilRegKey::~utilRegKey() { Close(); }

REGSAM utilRegKey::ViewFlags() const { return GetMSWViewFlags(view); }

std::string utilRegKey::GetStdKeyFromHkey() const {
  std::string name = kRegRootNames[rootIndex_].longName;
  if (!subKey_.empty()) name += "\\" + subKey_;
  return name;
}

std::string utilRegKey::ValueText(const std::string& valueName) const {
  return GetStdKeyFromHkey() + "\\" + valueName;
}

bool utilRegKey::KeyExists() {
  if (key_ != nullptr) return true;
  if (subKey_.empty()) return false;
  HKEY probe = nullptr;
  LONG status = RegOpenKeyExW(root_, utf8ToWide(subKey_.c_str()).c_str(), 0, KEY_READ | ViewFlags(), &probe);
  if (status != ERROR_SUCCESS) return false;
  RegCloseKey(probe);
  return true;
}

bool utilRegKey::Open(int mode) {
  if (key_ != nullptr) {
    if (mode <= openMode_) return true;
    Close();
  }
  REGSAM access = (mode == 0 ? KEY_READ : KEY_ALL_ACCESS) | ViewFlags();
  lastError = RegOpenKeyExW(root_, utf8ToWide(subKey_.c_str()).c_str(), 0, access, &key_);
  if (lastError != ERROR_SUCCESS) {
    key_ = nullptr;
    ZENT_LOG(1, L"Can't open registry key '%S', err=%d\n", GetStdKeyFromHkey(), lastError);
    return false;
  }
  openMode_ = mode;
  return true;
}

bool utilRegKey::Close() {
  if (key_ == nullptr) return true;
  LONG status = RegCloseKey(key_);
  key_ = nullptr;
  if (status != ERROR_SUCCESS) {
    ZENT_LOG(1, L"Can't close registry key '%S', err=%d\n", GetStdKeyFromHkey(), status);
    return false;
  }
  return true;
}

bool utilRegKey::ValueExists(const std::string& valueName) {
  if (!Open(0)) return false;
  lastError = RegQueryValueExW(key_, utf8ToWide(valueName.c_str()).c_str(), nullptr, nullptr, nullptr, nullptr);
  return lastError == ERROR_SUCCESS;
}

DWORD utilRegKey::GetValueType(const std::string& valueName) {
  if (!Open(0)) return 0;
  DWORD type = 0;
  lastError = RegQueryValueExW(key_, utf8ToWide(valueName.c_str()).c_str(), nullptr, &type, nullptr, nullptr);
  if (lastError != ERROR_SUCCESS) {
    ZENT_LOG(1, L"Can't read value of key '%S', err=%d\n", GetStdKeyFromHkey(), lastError);
    return 0;
  }
  return type;
}

bool utilRegKey::QueryValue(const std::string& valueName, DWORD* value) {
  if (!Open(0)) return false;
  DWORD type = 0;
  DWORD size = sizeof(DWORD);
  lastError = RegQueryValueExW(key_, utf8ToWide(valueName.c_str()).c_str(), nullptr, &type,
                               reinterpret_cast<BYTE*>(value), &size);
  if (lastError != ERROR_SUCCESS) {
    ZENT_LOG(1, L"Can't read value of key '%S', err=%d\n", GetStdKeyFromHkey(), lastError);
    return false;
  }
  // The bytes are handed over as they are; only the log tells of the mismatch.
  if (type != REG_DWORD && type != REG_DWORD_BIG_ENDIAN) ZENT_LOG(1, L"Type mismatch in utilRegKey::QueryValue().\n");
  return true;
}

bool utilRegKey::QueryValue(const std::string& valueName, std::string& text, bool raw) {
  std::wstring name = utf8ToWide(valueName.c_str());
  bool ok = Open(0);
  std::vector<wchar_t> buffer;
  DWORD type = 0;
  DWORD size = 0;
  if (ok) {
    lastError = RegQueryValueExW(key_, name.c_str(), nullptr, &type, nullptr, &size);
    ok = lastError == ERROR_SUCCESS;
  }
  if (ok && size != 0) {
    buffer.assign(size / 2 + 1, L'\0');
    DWORD got = size;
    lastError = RegQueryValueExW(key_, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &got);
    ok = lastError == ERROR_SUCCESS;
    buffer.resize(got / 2);
  }
  if (!ok) {
    ZENT_LOG(1, L"Can't read value of '%S', err=%d\n", ValueText(valueName), lastError);
    return false;
  }
  if (type == REG_EXPAND_SZ && !raw && !buffer.empty()) {
    std::wstring unexpanded(buffer.begin(), buffer.end());
    DWORD length = ExpandEnvironmentStringsW(unexpanded.c_str(), nullptr, 0);
    if (length == 0) {
      ZENT_LOG(1, L"ExpandEnvironmentStrings failed\n");
    } else {
      std::vector<wchar_t> expanded(length);
      ExpandEnvironmentStringsW(unexpanded.c_str(), expanded.data(), length);
      buffer.assign(expanded.begin(), expanded.end());
    }
  }
  text = buffer.empty() ? std::string() : wideToUtf8(buffer.data(), buffer.size());
  // A stored text ends in a zero unit, which goes; a multi-string keeps one.
  if (!text.empty() && text.back() == '\0') text.pop_back();
  DWORD actualType = GetValueType(valueName);
  if (actualType == REG_DWORD || actualType == REG_DWORD_BIG_ENDIAN) {
    ZENT_LOG(1, L"Type mismatch in utilRegKey::QueryValue().\n");
  }
  return true;
}

bool utilRegKey::SetValue(const std::string& valueName, const std::string& text) {
  if (!Open(1)) return false;
  std::wstring wide = utf8ToWide(text.c_str());
  lastError = RegSetValueExW(key_, utf8ToWide(valueName.c_str()).c_str(), 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(wide.c_str()),
                             static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t)));
  if (lastError != ERROR_SUCCESS) {
    ZENT_LOG(1, L"Can't set value of '%S', err=%d\n", ValueText(valueName), lastError);
    return false;
  }
  return true;
}

bool utilRegKey::SetDWordValue(const std::string& valueName, const DWORD* value) {
  ZENT_LOG(3, L"Registry key name: '%S'\n", GetStdKeyFromHkey());
  if (!Open(1)) return false;
  lastError = RegSetValueExW(key_, utf8ToWide(valueName.c_str()).c_str(), 0, REG_DWORD,
                             reinterpret_cast<const BYTE*>(value), sizeof(DWORD));
  if (lastError != ERROR_SUCCESS) {
    ZENT_LOG(1, L"Can't set value of '%S', err=%d\n", ValueText(valueName), lastError);
    return false;
  }
  return true;
}

bool utilRegKey::DeleteValue(const std::string& valueName) {
  if (!Open(1)) return false;
  lastError = RegDeleteValueW(key_, utf8ToWide(valueName.c_str()).c_str());
  if (lastError != ERROR_SUCCESS) {
    ZENT_LOG(1, L"Can't delete value of '%S', err=%d\n", ValueText(valueName), lastError);
    return false;
  }
  return true;
}

int utilRegKey::EnumerationStep(const wchar_t* found, std::string& name, DWORD& index) {
  if (lastError == ERROR_SUCCESS) {
    name = wideToUtf8(found);
    return 1;
  }
  if (lastError == ERROR_NO_MORE_ITEMS) {
    lastError = 0;
    index = 0xFFFFFFFF;
    return 0;
  }
  return -1;
}

bool utilRegKey::GetNextKey(std::string& name, DWORD& index) {
  if (index == 0xFFFFFFFF) return false;
  wchar_t buffer[261];
  lastError = RegEnumKeyW(key_, index++, buffer, 261);
  int step = EnumerationStep(buffer, name, index);
  if (step < 0) ZENT_LOG(1, L"Can't enumerate subkeys of key '%S' err=%d\n", GetStdKeyFromHkey(), lastError);
  return step > 0;
}

bool utilRegKey::GetNextValue(std::string& name, DWORD& index) {
  if (index == 0xFFFFFFFF) return false;
  wchar_t buffer[2048];
  DWORD length = 2048;
  lastError = RegEnumValueW(key_, index++, buffer, &length, nullptr, nullptr, nullptr, nullptr);
  int step = EnumerationStep(buffer, name, index);
  if (step < 0) ZENT_LOG(1, L"Can't enumerate values of key '%S', err=%d\n", GetStdKeyFromHkey(), lastError);
  return step > 0;
}

bool utilRegKey::SetRegWithCreate(const std::string& valueName, const DWORD* value) {
  std::wstring path = utf8ToWide(subKey_.c_str());
  HKEY created = nullptr;
  // The root is fixed here: the object's own root and view do not count.
  LONG status = RegCreateKeyExW(HKEY_LOCAL_MACHINE, subKey_.empty() ? nullptr : path.c_str(), 0, nullptr, 0,
                                KEY_ALL_ACCESS, nullptr, &created, nullptr);
  if (status != ERROR_SUCCESS) {
    ZENT_LOG(1, L"CreateKey Fail Error(%d)\n", GetLastError());
    return false;
  }
  if (!SetDWordValue(valueName, value)) {
    // The created key stays open on this path, as the system has always had it.
    ZENT_LOG(1, L"SetDWordValue Fail Error(%d)\n", GetLastError());
    return false;
  }
  RegCloseKey(created);
  return true;
}
