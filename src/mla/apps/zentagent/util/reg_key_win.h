// utilRegKey: the agent's one wrapper around the registry. A key is named
// by one UTF-8 text, root and path; it opens on first use and reopens for
// writing when a write comes.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

class utilRegKey {
 public:
  explicit utilRegKey(const std::string& fullName);
  ~utilRegKey();
  utilRegKey(const utilRegKey&) = delete;
  utilRegKey& operator=(const utilRegKey&) = delete;

  std::string GetStdKeyFromHkey() const;
  bool KeyExists();
  bool Open(int mode);
  bool Close();
  bool ValueExists(const std::string& valueName);
  DWORD GetValueType(const std::string& valueName);
  bool QueryValue(const std::string& valueName, DWORD* value);
  bool QueryValue(const std::string& valueName, std::string& text, bool raw);
  bool SetValue(const std::string& valueName, const std::string& text);
  bool SetDWordValue(const std::string& valueName, const DWORD* value);
  bool DeleteValue(const std::string& valueName);
  bool GetNextKey(std::string& name, DWORD& index);
  bool GetNextValue(std::string& name, DWORD& index);
  bool SetRegWithCreate(const std::string& valueName, const DWORD* value);

  int view = 0;  // 2 selects the 64-bit view; set before the first operation
  LONG lastError = 0;
  const std::string& subKey() const { return subKey_; }
  HKEY root() const { return root_; }
  int openMode() const { return openMode_; }

 private:
  REGSAM ViewFlags() const;
  std::string ValueText(const std::string& valueName) const;
  // After one enumeration call, by lastError: 1 and the name, 0 at the end
  // (index set to all ones), -1 on a failure for the caller to log.
  int EnumerationStep(const wchar_t* found, std::string& name, DWORD& index);

  HKEY key_ = nullptr;
  HKEY root_;
  std::string subKey_;
  int rootIndex_;
  int openMode_ = 0;
};

// The access flag a registry view adds.
REGSAM GetMSWViewFlags(int view);
