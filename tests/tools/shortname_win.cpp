// shortname.exe PATH
//
// Prints the system's 8.3 form of PATH, from GetShortPathNameW, as UTF-8
// with no line end, and exits 0; when the system gives none it prints
// nothing and exits 1. Wine makes up short names by hashing the long one,
// so the file information tests ask it rather than guess.
#include <windows.h>

#include <string>

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  DWORD units = GetShortPathNameW(argv[1], nullptr, 0);
  if (units == 0) return 1;
  std::wstring shortPath(units, L'\0');
  DWORD written = GetShortPathNameW(argv[1], shortPath.data(), units);
  if (written == 0 || written >= units) return 1;
  int bytes = WideCharToMultiByte(CP_UTF8, 0, shortPath.c_str(), static_cast<int>(written), nullptr, 0, nullptr,
                                  nullptr);
  std::string text(bytes, '\0');
  WideCharToMultiByte(CP_UTF8, 0, shortPath.c_str(), static_cast<int>(written), text.data(), bytes, nullptr, nullptr);
  DWORD put = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &put, nullptr);
  return 0;
}
