// zentpolicy.exe: the suite's engineers' tool for the agent's policy files,
// on the protected host.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <string>
#include <vector>

#include "util/text_win.h"
#include "zentpolicy.h"

namespace {

std::string SystemMessage(DWORD error) {
  wchar_t* text = nullptr;
  FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                 nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  std::string message = text ? wideToUtf8(text) : "";
  LocalFree(text);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r' || message.back() == '.'))
    message.pop_back();
  return message + " (error " + std::to_string(error) + ")";
}

bool ReadWholeFile(const std::string& path, std::string& bytes, std::string& error) {
  HANDLE file = CreateFileW(utf8ToWide(path.c_str()).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    error = SystemMessage(GetLastError());
    return false;
  }
  char buffer[65536];
  DWORD count = 0;
  bool read = true;
  while ((read = ::ReadFile(file, buffer, sizeof buffer, &count, nullptr)) && count > 0) bytes.append(buffer, count);
  if (!read) error = SystemMessage(GetLastError());
  CloseHandle(file);
  return read;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) args.push_back(wideToUtf8(argv[i]));
  std::string out, err;
  int status = zentpolicy::RunZentpolicy(args, ReadWholeFile, out, err);
  // The clear text goes out byte for byte, its line ends as the file has them.
  _setmode(_fileno(stdout), _O_BINARY);
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fflush(stdout);
  std::fwrite(err.data(), 1, err.size(), stderr);
  return status;
}
