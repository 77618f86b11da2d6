// mla_control.exe: Corvel's control program. It records each call's
// arguments in Journal, one line each, and answers with the exit code of the
// knob ControlExitCode (0 by default). "-s off" and "-s on" set Corvel's
// self-protection flag, which its uninstaller reads; "-r" changes nothing
// the removal can see. A failing call changes nothing either.
#include <windows.h>

#include <string>

#include "sim_registry.h"

namespace {

const wchar_t kStandIn[] = L"corvel";
const wchar_t kCorvelKey[] = L"SOFTWARE\\Halvane\\Corvel Agent";

void SetSelfProtection(DWORD on) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCorvelKey, 0, KEY_SET_VALUE, &key) != ERROR_SUCCESS) return;
  RegSetValueExW(key, L"SelfProtection", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&on), sizeof on);
  RegCloseKey(key);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::string line;
  for (int i = 1; i < argc; ++i) {
    if (i > 1) line += ' ';
    for (const wchar_t* c = argv[i]; *c != 0; ++c) line += static_cast<char>(*c);
  }
  std::string journal = zentsim::ReadString(kStandIn, L"Journal").value_or("");
  zentsim::WriteString(kStandIn, L"Journal", journal + line + "\n");
  uint32_t exitCode = zentsim::ReadDword(kStandIn, L"ControlExitCode", 0);
  if (exitCode != 0) return static_cast<int>(exitCode);
  std::wstring arguments = argc > 2 ? std::wstring(argv[1]) + L" " + argv[2] : L"";
  if (arguments == L"-s off") SetSelfProtection(0);
  if (arguments == L"-s on") SetSelfProtection(1);
  return 0;
}
