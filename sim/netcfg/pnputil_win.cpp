// pnputil.exe: "-f -d NAME" deletes NAME and its .pnf from the Windows INF
// store. It records each run's arguments (name "pnputil": Runs, Arguments,
// one line per run) and always ends with 0.
#include <windows.h>

#include <cstdio>
#include <string>

#include "sim_registry.h"

namespace {

std::string Utf8(const std::wstring& text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(size > 0 ? size - 1 : 0), '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, out.data(), size, nullptr, nullptr);
  return out;
}

void Record(const std::wstring& arguments) {
  HANDLE mutex = CreateMutexW(nullptr, FALSE, L"ZentSim.Records");
  if (mutex) WaitForSingleObject(mutex, INFINITE);
  std::string all = zentsim::ReadString(L"pnputil", L"Arguments").value_or("");
  zentsim::WriteString(L"pnputil", L"Arguments", all + Utf8(arguments) + "\n");
  zentsim::WriteDword(L"pnputil", L"Runs", zentsim::ReadDword(L"pnputil", L"Runs", 0) + 1);
  if (mutex) {
    ReleaseMutex(mutex);
    CloseHandle(mutex);
  }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::wstring arguments;
  for (int i = 1; i < argc; ++i) arguments += (i > 1 ? L" " : L"") + std::wstring(argv[i]);
  Record(arguments);
  if (argc == 4 && std::wstring(argv[1]) == L"-f" && std::wstring(argv[2]) == L"-d") {
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    std::wstring inf = std::wstring(windows) + L"\\inf\\" + argv[3];
    std::wstring pnf = inf.size() > 4 ? inf.substr(0, inf.size() - 4) + L".pnf" : inf + L".pnf";
    bool deleted = DeleteFileW(inf.c_str()) != FALSE;
    DeleteFileW(pnf.c_str());
    std::printf("pnputil: %s %s\n", deleted ? "deleted" : "could not delete", Utf8(argv[3]).c_str());
  } else {
    std::printf("pnputil: nothing done\n");
  }
  return 0;
}
