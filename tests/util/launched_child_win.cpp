// A tool for LaunchCmd's tests, which runs it as the agent runs the rule
// compiler. Its arguments are steps, done in order:
//   out N        write N bytes to standard output
//   err N        write N bytes to standard error
//   text WORD    write WORD and a line end to standard output
//   spawn MS FILE
//                start a copy of itself that inherits its handles, holds
//                them MS milliseconds, then creates FILE and ends
//   hold MS FILE (what the copy does)
//   exit CODE    end with CODE
// Without arguments it writes its own command line to standard output.
#include <windows.h>

#include <cstdlib>
#include <string>

namespace {

void Write(DWORD stream, const std::string& bytes) {
  DWORD written = 0;
  WriteFile(GetStdHandle(stream), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

// Bytes that say which stream and where they stand: "o" or "e" and a
// running count of lines, 16 bytes a line.
void WriteMany(DWORD stream, const char* tag, unsigned long count) {
  std::string bytes;
  bytes.reserve(count + 16);
  for (unsigned long line = 0; bytes.size() < count; ++line) {
    std::string text = tag + std::to_string(line);
    bytes += text + std::string(15 - text.size(), '.') + "\n";
  }
  bytes.resize(count);
  Write(stream, bytes);
}

std::string Utf8(const wchar_t* text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size - 1 : 0, '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  return out;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc == 1) Write(STD_OUTPUT_HANDLE, Utf8(GetCommandLineW()));
  for (int i = 1; i < argc; ++i) {
    std::wstring step = argv[i];
    if (step == L"out" && i + 1 < argc) {
      WriteMany(STD_OUTPUT_HANDLE, "o", std::wcstoul(argv[++i], nullptr, 10));
    } else if (step == L"err" && i + 1 < argc) {
      WriteMany(STD_ERROR_HANDLE, "e", std::wcstoul(argv[++i], nullptr, 10));
    } else if (step == L"text" && i + 1 < argc) {
      Write(STD_OUTPUT_HANDLE, Utf8(argv[++i]) + "\n");
    } else if (step == L"spawn" && i + 2 < argc) {
      wchar_t self[MAX_PATH];
      GetModuleFileNameW(nullptr, self, MAX_PATH);
      std::wstring commandLine = L"\"" + std::wstring(self) + L"\" hold " + argv[i + 1] + L" \"" + argv[i + 2] + L"\"";
      i += 2;
      STARTUPINFOW startup = {};
      startup.cb = sizeof startup;
      startup.dwFlags = STARTF_USESTDHANDLES;
      startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
      startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
      PROCESS_INFORMATION process = {};
      if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        return 99;
      }
      CloseHandle(process.hThread);
      CloseHandle(process.hProcess);
    } else if (step == L"hold" && i + 2 < argc) {
      Sleep(std::wcstoul(argv[i + 1], nullptr, 10));
      HANDLE marker = CreateFileW(argv[i + 2], GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
      CloseHandle(marker);
      i += 2;
    } else if (step == L"exit" && i + 1 < argc) {
      return static_cast<int>(std::wcstoul(argv[++i], nullptr, 10));
    }
  }
  return 0;
}
