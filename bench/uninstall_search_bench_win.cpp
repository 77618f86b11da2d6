// GetInstalledSoftwareGUID, the search for Corvel's product code among the
// installed programs, with 0, 1,000 and 10,000 other programs' Uninstall
// sub-keys before Corvel's, against a bare RegEnumKeyExW/RegQueryValueExW
// loop over the same keys, in the same rounds. Prints each median, the
// ratio to the bare loop (goal <= 1.5) and the time per sub-key, whose
// steadiness from 1,000 to 10,000 is the linearity.
#include <windows.h>

#include <cstdio>
#include <string>

#include "interleaved_rounds.h"
#include "upkeep/remove_corvel_win.h"

namespace {

const wchar_t kUninstallKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
// Sorts after the programs' names, so the search passes all of them first.
const wchar_t kCorvelEntry[] = L"{FFFFFFFF-0000-0000-0000-00000000BE0C}";

std::wstring ProgramKey(int i) {
  std::wstring number = std::to_wstring(i);
  return std::wstring(kUninstallKey) + L"\\ZentBenchProgram" + std::wstring(5 - number.size(), L'0') + number;
}

DWORD SubKeyCount() {
  HKEY uninstall = nullptr;
  DWORD count = 0;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, 0, KEY_READ, &uninstall) != ERROR_SUCCESS) return 0;
  RegQueryInfoKeyW(uninstall, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                   nullptr);
  RegCloseKey(uninstall);
  return count;
}

void SetDisplayName(const std::wstring& key, const std::wstring& name) {
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"DisplayName", REG_SZ, name.c_str(),
                  static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)));
}

// The same calls as the search, with nothing else.
bool BareSearch(const std::wstring& wanted, std::wstring& found) {
  HKEY uninstall = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kUninstallKey, 0, KEY_READ, &uninstall) != ERROR_SUCCESS) return false;
  bool hit = false;
  for (DWORD index = 0; !hit; ++index) {
    wchar_t subKey[256];
    DWORD length = 256;
    LONG status = RegEnumKeyExW(uninstall, index, subKey, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_MORE_DATA) continue;
    if (status != ERROR_SUCCESS) break;
    HKEY product = nullptr;
    if (RegOpenKeyExW(uninstall, subKey, 0, KEY_READ, &product) != ERROR_SUCCESS) continue;
    wchar_t name[1025] = {};
    DWORD size = 2048;
    if (RegQueryValueExW(product, L"DisplayName", nullptr, nullptr, reinterpret_cast<BYTE*>(name), &size) ==
            ERROR_SUCCESS &&
        wanted == name) {
      found.assign(subKey, length);
      hit = true;
    }
    RegCloseKey(product);
  }
  RegCloseKey(uninstall);
  return hit;
}

}  // namespace

int wmain() {
  std::wstring corvelKey = std::wstring(kUninstallKey) + L"\\" + kCorvelEntry;
  SetDisplayName(corvelKey, L"Corvel Agent");
  std::printf("GetInstalledSoftwareGUID against a bare RegEnumKeyExW/RegQueryValueExW loop, medians of 5 rounds\n");
  int made = 0;
  double perKeyAt1000 = 0;
  for (int programs : {0, 1000, 10000}) {
    for (; made < programs; ++made) SetDisplayName(ProgramKey(made), L"Program " + std::to_wstring(made));
    std::printf("%lu sub-keys under Uninstall\n", static_cast<unsigned long>(SubKeyCount()));
    std::wstring agentFound, bareFound;
    std::vector<double> medians = InterleavedMedians(
        5, {{"agent", [&] { GetInstalledSoftwareGUID(agentFound, L"Corvel Agent"); }},
            {"bare", [&] { BareSearch(L"Corvel Agent", bareFound); }}});
    if (agentFound != kCorvelEntry || bareFound != kCorvelEntry) {
      std::printf("the search did not find the entry after %d programs\n", programs);
      break;
    }
    PrintRatio("GetInstalledSoftwareGUID, " + std::to_string(programs) + " sub-keys before", medians[0], medians[1],
               1.5);
    if (programs > 0) {
      double perKey = medians[0] / programs;
      std::printf("  %.2f us per sub-key", perKey * 1e6);
      if (programs == 1000) perKeyAt1000 = perKey;
      if (programs == 10000 && perKeyAt1000 > 0) std::printf(" (%.2f x the figure at 1,000: linear near 1)", perKey / perKeyAt1000);
      std::printf("\n");
    }
  }
  for (int i = 0; i < made; ++i) RegDeleteKeyW(HKEY_LOCAL_MACHINE, ProgramKey(i).c_str());
  RegDeleteKeyW(HKEY_LOCAL_MACHINE, corvelKey.c_str());
  return 0;
}
