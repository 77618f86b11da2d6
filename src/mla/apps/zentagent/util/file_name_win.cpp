#include <windows.h>
#include <shlobj.h>

#include <cctype>

#include "util/file_name.h"
#include "util/low_byte_text.h"
#include "util/path_exists.h"
#include "util/text_win.h"

bool utilFileName::ExistsAsFile() const { return pathExists(GetFullText(), kPathIsFile); }

std::string utilFileName::GetShortForm() const {
  std::wstring longPath = utf8ToWide(GetFullText().c_str());
  DWORD units = GetShortPathNameW(longPath.c_str(), nullptr, 0);
  if (units == 0) return {};
  std::wstring shortPath(units, L'\0');
  DWORD written = GetShortPathNameW(longPath.c_str(), shortPath.data(), units);
  if (written == 0 || written >= units) return {};
  return wideToUtf8(shortPath.c_str(), written);
}

bool utilFileName::GetLinkTarget(std::string& target) const {
  std::string lowerExtension = extension;
  for (char& c : lowerExtension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (!hasExtension || lowerExtension != "lnk") return false;
  std::string fullText = GetFullText();
  // No CoInitialize here: on a thread without COM the link has no target.
  IShellLinkW* link = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                              reinterpret_cast<void**>(&link)))) {
    return false;
  }
  bool found = false;
  IPersistFile* file = nullptr;
  if (SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)))) {
    wchar_t widePath[MAX_PATH] = {};
    if (MultiByteToWideChar(CP_ACP, 0, fullText.c_str(), -1, widePath, MAX_PATH) > 0 &&
        SUCCEEDED(file->Load(widePath, 0))) {
      std::wstring buffer(2048, L'\0');
      if (SUCCEEDED(link->GetPath(buffer.data(), static_cast<int>(buffer.size()), nullptr, SLGP_RAWPATH))) {
        // One byte per unit, no code page: the target as the server has
        // always received it.
        std::string narrow = LowByteText(std::wstring(buffer.c_str()));
        if (narrow != fullText) {
          target = narrow;
          found = true;
        }
      }
    }
    file->Release();
  }
  link->Release();
  return found;
}

int64_t utilFileName::GetSize() const {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExA(GetFullText().c_str(), GetFileExInfoStandard, &data)) return -1;
  return static_cast<int64_t>((static_cast<uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow);
}
