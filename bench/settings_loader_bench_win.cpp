// LoadZentSettings, the loader that every change of the config folder runs,
// on zent_agent.ini files of 1 KB, 1 MB and 10 MB (filler sections before
// the agent's two), each time just saved, against the bare profile calls: the same
// GetPrivateProfileIntW/GetPrivateProfileStringW calls on the same file in the
// same order, into locals. Prints each median, the ratio to the bare calls
// (goal <= 1.2) and the 10 MB / 1 MB time, whose nearness to 10 is the
// linearity.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "interleaved_rounds.h"
#include "records/settings.h"
#include "service/settings_win.h"

namespace {

const wchar_t* const kIntKeys[] = {L"TestMode",          L"ConfigEncrypt",      L"DisableScheduleHeartBeat",
                                   L"HeartBeatTimer",    L"FirstHeartBeat",     L"HeartBeatRetryMax",
                                   L"FlushDebugLogTimer", L"DebugLevel",        L"DbgviewLog",
                                   L"LogFile",           L"LogFileSizeLimit"};
const int kIntDefaults[] = {0, 1, 1, 600000, 30000, 1, 1000, 3, 0, 1, 10485760};

// Filler sections up to about `size` bytes, then the agent's own sections.
std::string IniText(size_t size) {
  std::string text;
  for (int section = 0; text.size() + 64 < size; ++section) {
    text += "[Filler" + std::to_string(section) + "]\r\n";
    for (int key = 0; key < 40 && text.size() + 64 < size; ++key) {
      text += "Key" + std::to_string(key) + "=some value of the filler " + std::to_string(key) + "\r\n";
    }
  }
  text +=
      "[ZENTSETTINGS]\r\nTestMode=1\r\nConfigEncrypt=0\r\nDebugLevel=3\r\nHeartBeatTimer=120000\r\n"
      "[Policy]\r\nDeployedPolicy=Office policy v7\r\n";
  return text;
}

void WriteFileText(const std::wstring& path, const std::string& text) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  DWORD written = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(file);
}

// A save, as the watcher sees one: a new last-write time. The profile calls
// keep a parsed copy of the file and parse it again only when its time
// changed, as it has each time the watcher runs the loader; both pieces pay
// for this same call.
void Saved(const std::wstring& path) {
  static ULONGLONG tick = 0;
  HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, 0, nullptr);
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  ULONGLONG t = ((ULONGLONG{now.dwHighDateTime} << 32) | now.dwLowDateTime) + (++tick) * 10000000ULL;
  FILETIME written = {static_cast<DWORD>(t), static_cast<DWORD>(t >> 32)};
  SetFileTime(file, nullptr, nullptr, &written);
  CloseHandle(file);
}

// The loader's calls alone.
void BareProfileCalls(const std::wstring& ini) {
  volatile UINT sink = 0;
  for (size_t i = 0; i < sizeof kIntKeys / sizeof kIntKeys[0]; ++i) {
    sink = sink + GetPrivateProfileIntW(L"ZENTSETTINGS", kIntKeys[i], kIntDefaults[i], ini.c_str());
  }
  wchar_t policy[254] = {};
  GetPrivateProfileStringW(L"Policy", L"DeployedPolicy", L"", policy, 254, ini.c_str());
}

}  // namespace

int main() {
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring dir = std::wstring(temp) + L"zent_loader_bench_" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(dir.c_str(), nullptr);
  CreateDirectoryW((dir + L"\\config").c_str(), nullptr);
  s_Settings.workingDirectory = dir;
  std::wstring ini = dir + L"\\config\\zent_agent.ini";

  std::printf("LoadZentSettings against the same profile calls bare, medians of interleaved rounds\n");
  double loaderAt1M = 0, loaderAt10M = 0, bareAt1M = 0, bareAt10M = 0;
  for (size_t size : {size_t{1} << 10, size_t{1} << 20, size_t{10} << 20}) {
    WriteFileText(ini, IniText(size));
    int rounds = size >= (size_t{10} << 20) ? 7 : 21;
    std::vector<double> medians = InterleavedMedians(rounds, {{"loader",
                                                               [&ini] {
                                                                 Saved(ini);
                                                                 LoadZentSettings();
                                                               }},
                                                              {"bare", [&ini] {
                                                                 Saved(ini);
                                                                 BareProfileCalls(ini);
                                                               }}});
    PrintRatio("LoadZentSettings, " + std::to_string(size >> 10) + " KB ini", medians[0], medians[1], 1.2);
    if (!s_Settings.s_bTestMode || s_Settings.DeployedPolicy != L"Office policy v7") {
      std::printf("the loader did not read the file's values\n");
      return 1;
    }
    if (size == (size_t{1} << 20)) loaderAt1M = medians[0], bareAt1M = medians[1];
    if (size == (size_t{10} << 20)) loaderAt10M = medians[0], bareAt10M = medians[1];
  }
  std::printf("10 MB / 1 MB: loader %.1f, bare %.1f (linear: about 10)\n", loaderAt10M / loaderAt1M,
              bareAt10M / bareAt1M);
  DeleteFileW(ini.c_str());
  RemoveDirectoryW((dir + L"\\config").c_str());
  RemoveDirectoryW(dir.c_str());
  return 0;
}
