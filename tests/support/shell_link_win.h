// A shell link saved as the shell saves it, for the tests that read link
// targets; the calling thread must have COM.
#pragma once

#include <windows.h>
#include <shlobj.h>

#include <string>

inline bool MakeShellLink(const std::string& linkPath, const std::string& target) {
  IShellLinkW* link = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              reinterpret_cast<void**>(&link)))) {
    return false;
  }
  std::wstring wideTarget(target.begin(), target.end());
  std::wstring wideLink(linkPath.begin(), linkPath.end());
  IPersistFile* file = nullptr;
  bool saved = SUCCEEDED(link->SetPath(wideTarget.c_str())) &&
               SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))) &&
               SUCCEEDED(file->Save(wideLink.c_str(), TRUE));
  if (file != nullptr) file->Release();
  link->Release();
  return saved;
}
