// file_dacl.exe PATH
//
// Prints the file's (or folder's) DACL as one line of JSON and exits 0:
// {"path":...,"protected":true,"aces":[{"type":0,"flags":3,"mask":2097151,
// "sid":"S-1-5-18"},...]}. "protected" is SE_DACL_PROTECTED of the security
// descriptor's control; "aces" is null for a null DACL. On failure it prints
// {"path":...,"error":N} and exits 1. Wine has no icacls, and cacls shows
// neither the protection nor the inheritance flags as numbers.
#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <cstdio>
#include <string>

namespace {

std::string ToUtf8(const wchar_t* text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size - 1 : 0, '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  return out;
}

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + "\"";
}

std::string SidText(PSID sid) {
  LPWSTR text = nullptr;
  if (!ConvertSidToStringSidW(sid, &text)) return "";
  std::string out = ToUtf8(text);
  LocalFree(text);
  return out;
}

// Allowed, denied, audit and alarm entries share one layout: header, mask,
// SID. Other kinds print their header alone.
std::string AceJson(const ACE_HEADER* header) {
  std::string out = "{\"type\":" + std::to_string(header->AceType) + ",\"flags\":" + std::to_string(header->AceFlags);
  if (header->AceType <= SYSTEM_ALARM_ACE_TYPE) {
    const auto* ace = reinterpret_cast<const ACCESS_ALLOWED_ACE*>(header);
    PSID sid = const_cast<DWORD*>(&ace->SidStart);
    out += ",\"mask\":" + std::to_string(ace->Mask) + ",\"sid\":" + JsonString(SidText(sid));
  }
  return out + "}";
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fputs("usage: file_dacl PATH\n", stderr);
    return 2;
  }
  std::string path = JsonString(ToUtf8(argv[1]));
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  DWORD error = GetNamedSecurityInfoW(argv[1], SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl,
                                      nullptr, &descriptor);
  if (error != ERROR_SUCCESS) {
    std::printf("{\"path\":%s,\"error\":%lu}\n", path.c_str(), error);
    return 1;
  }
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  GetSecurityDescriptorControl(descriptor, &control, &revision);
  std::string aces = "null";
  if (dacl != nullptr) {
    aces = "[";
    for (DWORD i = 0; i < dacl->AceCount; ++i) {
      LPVOID ace = nullptr;
      if (!GetAce(dacl, i, &ace)) break;
      if (i > 0) aces += ",";
      aces += AceJson(static_cast<const ACE_HEADER*>(ace));
    }
    aces += "]";
  }
  std::printf("{\"path\":%s,\"protected\":%s,\"aces\":%s}\n", path.c_str(),
              (control & SE_DACL_PROTECTED) ? "true" : "false", aces.c_str());
  LocalFree(descriptor);
  return 0;
}
