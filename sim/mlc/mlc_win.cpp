// mlc.exe: the rule compiler's stand-in. The agent runs it as
//   mlc.exe -c "PATH"      PATH is the encrypted agent document
//   mlc.exe -r -c "PATH"   PATH is the document in clear
// It checks the document, prints a report, and writes config.rbf beside
// itself, which is the agent's working directory.
//
// Exit codes: 0 compiled; 1 bad command line; 2 the document cannot be read
// or decrypted; 3 the document is not of the agent's shape; 4 config.rbf
// cannot be written. Knobs under ZentSim\mlc: "ExitCode" non-zero ends every
// run with that code before anything is read; "ExtraOutput" prints that many
// more bytes of report, half on standard output and half on standard error,
// before the result. Records: "Runs", and "LastArguments", the command line
// after the program.
#include <windows.h>

#include <cstdio>
#include <string>

#include "rule_compiler.h"
#include "rule_file.h"
#include "sim_registry.h"

namespace {

const std::wstring kStandIn = L"mlc";

std::string Utf8(const std::wstring& text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size - 1 : 0, '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, out.data(), size, nullptr, nullptr);
  return out;
}

bool ReadWholeFile(const std::wstring& path, std::string& bytes) {
  FILE* file = _wfopen(path.c_str(), L"rb");
  if (!file) return false;
  char buffer[65536];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, file)) > 0;) bytes.append(buffer, n);
  bool ok = !ferror(file);
  fclose(file);
  return ok;
}

bool WriteWholeFile(const std::wstring& path, const std::string& bytes) {
  FILE* file = _wfopen(path.c_str(), L"wb");
  if (!file) return false;
  bool ok = fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  return fclose(file) == 0 && ok;
}

std::wstring OwnDirectory() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring directory = path;
  return directory.substr(0, directory.find_last_of(L'\\'));
}

// Report lines in bulk, on both streams, as a compiler with much to say.
void PrintExtraOutput(uint32_t bytes) {
  const std::string line = "mlc: note: rule optimiser pass finished without changes..........\n";
  for (uint32_t written = 0; written < bytes; written += line.size()) {
    FILE* stream = (written / line.size()) % 2 == 0 ? stdout : stderr;
    size_t count = bytes - written < line.size() ? bytes - written : line.size();
    fwrite(line.data(), 1, count, stream);
  }
  fflush(stdout);
  fflush(stderr);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  zentsim::Count(kStandIn, L"Runs");
  const wchar_t* tail = GetCommandLineW();
  // The arguments as the agent gave them: what follows the quoted program.
  std::wstring commandLine = tail;
  size_t programEnd = commandLine[0] == L'"' ? commandLine.find(L'"', 1) : commandLine.find(L' ');
  std::wstring arguments = programEnd == std::wstring::npos ? L"" : commandLine.substr(programEnd + 1);
  if (!arguments.empty() && arguments[0] == L' ') arguments.erase(0, 1);
  zentsim::WriteString(kStandIn, L"LastArguments", Utf8(arguments));

  if (uint32_t told = zentsim::ReadDword(kStandIn, L"ExitCode", 0)) {
    std::printf("mlc: told to fail with exit code %u\n", told);
    return static_cast<int>(told);
  }
  bool clear = false;
  int index = 1;
  if (index < argc && std::wstring(argv[index]) == L"-r") {
    clear = true;
    ++index;
  }
  if (index + 2 != argc || std::wstring(argv[index]) != L"-c") {
    std::fprintf(stderr, "usage: mlc [-r] -c \"PATH\"\n");
    return 1;
  }
  const std::wstring path = argv[index + 1];
  std::printf("mlc: compiling %s (%s)\n", Utf8(path).c_str(), clear ? "clear" : "encrypted");

  std::string bytes, text, error;
  if (!ReadWholeFile(path, bytes)) {
    std::fprintf(stderr, "mlc: cannot read %s\n", Utf8(path).c_str());
    return 2;
  }
  if (clear) {
    text = bytes;
  } else if (!zentsim::mlc::DecryptDocument(bytes, text, error)) {
    std::fprintf(stderr, "mlc: %s: %s\n", Utf8(path).c_str(), error.c_str());
    return 2;
  }
  PrintExtraOutput(zentsim::ReadDword(kStandIn, L"ExtraOutput", 0));
  zentsim::mlc::Compilation compilation = zentsim::mlc::CompileDocument(text);
  if (!compilation.errors.empty()) {
    for (const std::string& line : compilation.errors) std::fprintf(stderr, "mlc: error: %s\n", line.c_str());
    std::fprintf(stderr, "mlc: %zu errors, nothing written\n", compilation.errors.size());
    return 3;
  }
  const std::wstring rbfPath = OwnDirectory() + L"\\config.rbf";
  if (!WriteWholeFile(rbfPath, zentsim::BuildRuleFile(compilation.rules))) {
    std::fprintf(stderr, "mlc: cannot write %s\n", Utf8(rbfPath).c_str());
    return 4;
  }
  std::printf("%s", compilation.report.c_str());
  std::printf("mlc: %zu rules written to %s\n", compilation.rules.size(), Utf8(rbfPath).c_str());
  return 0;
}
