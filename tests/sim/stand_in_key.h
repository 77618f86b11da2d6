// Test side of the stand-ins' registry values: knobs to set before a call,
// records to read after it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zentsim::testing {

// The values of one stand-in under HKLM\SOFTWARE\ZentSim\<path>.
class StandInKey {
 public:
  explicit StandInKey(std::wstring path) : path_(std::move(path)) {}

  void Set(const wchar_t* value, uint32_t data) const;
  void Set(const wchar_t* value, const std::wstring& text) const;
  std::optional<uint32_t> Dword(const wchar_t* value) const;
  std::optional<uint64_t> Qword(const wchar_t* value) const;
  std::optional<std::wstring> String(const wchar_t* value) const;
  std::optional<std::string> Binary(const wchar_t* value) const;
  // Removes the key with everything below it.
  void Delete() const;

 private:
  std::wstring FullPath() const;
  std::wstring path_;
};

// A scope of this process's own for the stand-ins it loads: ZENT_SIM_SCOPE is
// set for as long as the object lives, and the scope's knobs and records go
// with it. Test executables running side by side thus never share a knob.
class SimScope {
 public:
  SimScope();
  ~SimScope();
  SimScope(const SimScope&) = delete;
  SimScope& operator=(const SimScope&) = delete;

  StandInKey Key(const std::wstring& standIn) const { return StandInKey(name_ + L"\\" + standIn); }
  const std::wstring& Name() const { return name_; }

 private:
  std::wstring name_;
};

}  // namespace zentsim::testing
