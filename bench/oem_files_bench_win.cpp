// GetOEMFileContainingDriver over an INF store of 0, 300 and 3,000 oemN.inf
// copies of 8 KB that do not name the driver, against a bare
// FindFirstFileW / ReadFile loop over the same files, in the same run. The
// agent's search reads every copy whole; it should grow with the number of
// copies as the bare loop does, and cost at most 1.5 times as much.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "driver/driver_versions_win.h"
#include "interleaved_rounds.h"
#include "records/settings.h"

namespace {

constexpr int kRounds = 5;
constexpr size_t kCopyBytes = 8192;
const int kSizes[] = {0, 300, 3000};

std::wstring Store() {
  wchar_t windows[MAX_PATH] = {};
  GetWindowsDirectoryW(windows, MAX_PATH);
  return std::wstring(windows) + L"\\INF";
}

std::wstring CopyName(int i) { return L"oem" + std::to_wstring(90000 + i) + L".inf"; }

void MakeCopies(int count) {
  std::string text = "[Version]\r\nSignature=\"$Windows NT$\"\r\n; a driver of another vendor\r\n";
  text.resize(kCopyBytes, ';');
  for (int i = 0; i < count; ++i) {
    HANDLE file = CreateFileW((Store() + L"\\" + CopyName(i)).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
  }
}

void RemoveCopies(int count) {
  for (int i = 0; i < count; ++i) DeleteFileW((Store() + L"\\" + CopyName(i)).c_str());
}

// The same files listed and read whole, and searched for the name, with no
// more than the system calls.
size_t BareSearch() {
  std::wstring store = Store();
  WIN32_FIND_DATAW entry;
  HANDLE find = FindFirstFileW((store + L"\\*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return 0;
  size_t hits = 0;
  std::vector<char> buffer(1 << 16);
  do {
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) continue;
    if (_wcsnicmp(entry.cFileName, L"oem", 3) != 0) continue;
    HANDLE file = CreateFileW((store + L"\\" + entry.cFileName).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                              OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) continue;
    std::string bytes;
    DWORD count = 0;
    while (ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr) && count != 0) {
      bytes.append(buffer.data(), count);
    }
    CloseHandle(file);
    if (bytes.find("mlfilter") != std::string::npos) ++hits;
  } while (FindNextFileW(find, &entry));
  FindClose(find);
  return hits;
}

}  // namespace

int wmain() {
  // The agent's default threshold, with no log file open.
  s_Settings.DebugLevel = 3;
  std::printf("GetOEMFileContainingDriver over oemN.inf copies of 8 KB that do not name the driver,\n"
              "against a bare FindFirstFileW/ReadFile loop; medians of %d interleaved rounds\n", kRounds);
  std::vector<double> agent, bare;
  for (int count : kSizes) {
    MakeCopies(count);
    std::vector<double> medians = InterleavedMedians(
        kRounds, {{"agent", [] { GetOEMFileContainingDriver(); }}, {"bare", [] { BareSearch(); }}});
    RemoveCopies(count);
    agent.push_back(medians[0]);
    bare.push_back(medians[1]);
    PrintRatio(std::to_string(count) + " copies", medians[0], medians[1], 1.5);
  }
  // Growth: the cost of one more copy, measured from 300 to 3,000 copies,
  // against the same from 0 to 300.
  double perCopySmall = (agent[1] - agent[0]) / 300;
  double perCopyLarge = (agent[2] - agent[1]) / 2700;
  double barePerCopyLarge = (bare[2] - bare[1]) / 2700;
  std::printf("per copy: agent %.1f us (0-300), %.1f us (300-3,000); bare %.1f us (300-3,000)\n",
              perCopySmall * 1e6, perCopyLarge * 1e6, barePerCopyLarge * 1e6);
  std::printf("linearity (per-copy cost 300-3,000 over 0-300): %.2f (1.00 is linear)\n",
              perCopySmall > 0 ? perCopyLarge / perCopySmall : 0.0);
  return 0;
}
