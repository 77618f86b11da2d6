#include "sim_registry.h"

#include <windows.h>

#include <vector>

namespace zentsim {

namespace {

// Environment values are short names; anything longer is not a scope.
constexpr DWORD kMaxScope = 128;

HKEY CreateKey(const std::wstring& standIn) {
  HKEY key = nullptr;
  if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, KeyPath(standIn).c_str(), 0, nullptr, 0,
                      KEY_READ | KEY_WRITE, nullptr, &key, nullptr) != ERROR_SUCCESS) {
    return nullptr;
  }
  return key;
}

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return {};
  int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr,
                                 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), size,
                      nullptr, nullptr);
  return out;
}

std::wstring ToWide(const std::string& text) {
  if (text.empty()) return {};
  int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::wstring out(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), size);
  return out;
}

}  // namespace

std::wstring KeyPath(const std::wstring& standIn) {
  std::wstring path = L"SOFTWARE\\ZentSim\\";
  wchar_t scope[kMaxScope];
  DWORD length = GetEnvironmentVariableW(L"ZENT_SIM_SCOPE", scope, kMaxScope);
  if (length > 0 && length < kMaxScope) {
    path.append(scope, length);
    path += L"\\";
  }
  return path + standIn;
}

uint32_t ReadDword(const std::wstring& standIn, const wchar_t* value, uint32_t fallback) {
  DWORD data = 0;
  DWORD size = sizeof data;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, KeyPath(standIn).c_str(), value, RRF_RT_REG_DWORD, nullptr,
                   &data, &size) != ERROR_SUCCESS) {
    return fallback;
  }
  return data;
}

std::optional<std::string> ReadString(const std::wstring& standIn, const wchar_t* value) {
  std::wstring path = KeyPath(standIn);
  DWORD size = 0;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), value, RRF_RT_REG_SZ, nullptr, nullptr,
                   &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  std::vector<wchar_t> text(size / sizeof(wchar_t) + 1, L'\0');
  size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  if (RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), value, RRF_RT_REG_SZ, nullptr, text.data(),
                   &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return ToUtf8(text.data());
}

void WriteDword(const std::wstring& standIn, const wchar_t* value, uint32_t data) {
  HKEY key = CreateKey(standIn);
  if (!key) return;
  DWORD dword = data;
  RegSetValueExW(key, value, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dword), sizeof dword);
  RegCloseKey(key);
}

void WriteString(const std::wstring& standIn, const wchar_t* value, const std::string& utf8) {
  HKEY key = CreateKey(standIn);
  if (!key) return;
  std::wstring text = ToWide(utf8);
  RegSetValueExW(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
}

void WriteBinary(const std::wstring& standIn, const wchar_t* value, const std::string& bytes) {
  HKEY key = CreateKey(standIn);
  if (!key) return;
  RegSetValueExW(key, value, 0, REG_BINARY, reinterpret_cast<const BYTE*>(bytes.data()),
                 static_cast<DWORD>(bytes.size()));
  RegCloseKey(key);
}

void WriteQword(const std::wstring& standIn, const wchar_t* value, uint64_t data) {
  HKEY key = CreateKey(standIn);
  if (!key) return;
  RegSetValueExW(key, value, 0, REG_QWORD, reinterpret_cast<const BYTE*>(&data), sizeof data);
  RegCloseKey(key);
}

void DeleteValue(const std::wstring& standIn, const wchar_t* value) {
  HKEY key = CreateKey(standIn);
  if (!key) return;
  RegDeleteValueW(key, value);
  RegCloseKey(key);
}

void Add(const std::wstring& standIn, const wchar_t* value, uint32_t amount) {
  // One mutex for all stand-ins: counting is rare, and a read-add-write of
  // two processes must not lose a step.
  HANDLE mutex = CreateMutexW(nullptr, FALSE, L"ZentSim.Records");
  if (mutex) WaitForSingleObject(mutex, INFINITE);
  WriteDword(standIn, value, ReadDword(standIn, value, 0) + amount);
  if (mutex) {
    ReleaseMutex(mutex);
    CloseHandle(mutex);
  }
}

void Count(const std::wstring& standIn, const wchar_t* value) { Add(standIn, value, 1); }

}  // namespace zentsim
