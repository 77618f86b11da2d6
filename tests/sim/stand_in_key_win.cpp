#include "stand_in_key.h"

#include <windows.h>

#include <atomic>
#include <vector>

namespace zentsim::testing {

std::wstring StandInKey::FullPath() const { return L"SOFTWARE\\ZentSim\\" + path_; }

void StandInKey::Set(const wchar_t* value, uint32_t data) const {
  DWORD dword = data;
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, FullPath().c_str(), value, REG_DWORD, &dword, sizeof dword);
}

void StandInKey::Set(const wchar_t* value, const std::wstring& text) const {
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, FullPath().c_str(), value, REG_SZ, text.c_str(),
                  static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

namespace {

template <class T>
std::optional<T> Number(const std::wstring& path, const wchar_t* value, DWORD type) {
  T data = 0;
  DWORD size = sizeof data;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, path.c_str(), value, type, nullptr, &data, &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return data;
}

}  // namespace

std::optional<uint32_t> StandInKey::Dword(const wchar_t* value) const {
  return Number<uint32_t>(FullPath(), value, RRF_RT_REG_DWORD);
}

std::optional<uint64_t> StandInKey::Qword(const wchar_t* value) const {
  return Number<uint64_t>(FullPath(), value, RRF_RT_REG_QWORD);
}

std::optional<std::wstring> StandInKey::String(const wchar_t* value) const {
  DWORD size = 0;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, FullPath().c_str(), value, RRF_RT_REG_SZ, nullptr, nullptr,
                   &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  std::vector<wchar_t> text(size / sizeof(wchar_t) + 1, L'\0');
  size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  if (RegGetValueW(HKEY_LOCAL_MACHINE, FullPath().c_str(), value, RRF_RT_REG_SZ, nullptr,
                   text.data(), &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return std::wstring(text.data());
}

std::optional<std::string> StandInKey::Binary(const wchar_t* value) const {
  DWORD size = 0;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, FullPath().c_str(), value, RRF_RT_REG_BINARY, nullptr, nullptr,
                   &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  std::string bytes(size, '\0');
  if (RegGetValueW(HKEY_LOCAL_MACHINE, FullPath().c_str(), value, RRF_RT_REG_BINARY, nullptr, bytes.data(),
                   &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  bytes.resize(size);
  return bytes;
}

void StandInKey::Delete() const { RegDeleteTreeW(HKEY_LOCAL_MACHINE, FullPath().c_str()); }

SimScope::SimScope() {
  static std::atomic<unsigned> made{0};
  name_ = L"test-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++made);
  StandInKey(name_).Delete();
  SetEnvironmentVariableW(L"ZENT_SIM_SCOPE", name_.c_str());
}

SimScope::~SimScope() {
  SetEnvironmentVariableW(L"ZENT_SIM_SCOPE", nullptr);
  StandInKey(name_).Delete();
}

}  // namespace zentsim::testing
