// getFileContents answered by ParseQueryMetaXml in process, with the debug
// log on at its default level, against a bare loop of the same calls and
// engine: GetFileAttributesA, CreateFileA, GetFileSize, 4,096-byte reads,
// the reader's line split, and the same compiled expression on each line.
// bench/metadata_contents_bench.py makes the trees, runs this once per tree
// and compares with grep and ripgrep.
//
// metadata_contents_bench.exe TREE NAME PATTERN [NAME PATTERN ...]
//
// Prints, per pattern, one line
//   RESULT name files bytes queryMedian bareMedian queryLines bareLines
// with the medians of five interleaved rounds in seconds and the matched
// lines each side found.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "log/debug_log.h"
#include "metadata/parse_query_meta_xml.h"
#include "records/settings.h"
#include "util/reg_ex_impl.h"
#include "util/text_lines.h"

namespace {

constexpr size_t kQueriesPerRequest = 1000;

std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&apos;"; break;
      default: out += c;
    }
  }
  return out;
}

std::vector<std::string> FilesOf(const std::string& tree) {
  std::vector<std::string> files;
  WIN32_FIND_DATAA found;
  HANDLE find = FindFirstFileA((tree + "\\*").c_str(), &found);
  if (find == INVALID_HANDLE_VALUE) return files;
  do {
    if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) files.push_back(tree + "\\" + found.cFileName);
  } while (FindNextFileA(find, &found));
  FindClose(find);
  return files;
}

// Requests of 1,000 queries each, one query per file.
std::vector<std::wstring> WriteRequests(const std::filesystem::path& folder, const std::string& name,
                                        const std::vector<std::string>& files, const std::string& pattern) {
  std::vector<std::wstring> requests;
  for (size_t first = 0; first < files.size(); first += kQueriesPerRequest) {
    std::filesystem::path path = folder / (name + "_" + std::to_string(first / kQueriesPerRequest) + ".xml");
    std::ofstream out(path, std::ios::binary);
    out << "<Message><Request><RequestID>bench</RequestID><HostMetaDataQueries>";
    for (size_t i = first; i < files.size() && i < first + kQueriesPerRequest; ++i) {
      out << "<HostMetaDataQuery id=\"" << i << "\" query=\"getFileContents\" arg1=\"" << Escaped(files[i])
          << "\" arg2=\"" << Escaped(pattern) << "\"/>";
    }
    out << "</HostMetaDataQueries></Request></Message>";
    requests.push_back(path.wstring());
  }
  return requests;
}

// The lines the responses kept: one CR LF each inside matchedStrings.
uint64_t KeptLines(const std::wstring& response) {
  std::ifstream in(std::filesystem::path(response), std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  static const std::string kOpen = "name=\"matchedStrings\" value=\"";
  uint64_t count = 0;
  for (size_t at = text.find(kOpen); at != std::string::npos; at = text.find(kOpen, at)) {
    at += kOpen.size();
    size_t end = text.find('"', at);
    for (size_t i = at; i + 1 < end; ++i) count += text[i] == '\r' && text[i + 1] == '\n';
    at = end;
  }
  return count;
}

// The query's work on one file, bare.
uint64_t BareFile(const std::string& path, const utilRegExImpl& regex, std::string& buffer,
                  std::vector<std::string>& lines, std::vector<int32_t>& types) {
  DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY)) return 0;
  HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 0;
  DWORD size = GetFileSize(file, nullptr);
  buffer.resize(size);
  DWORD total = 0;
  while (total < size) {
    DWORD got = 0;
    DWORD want = size - total < 4096 ? size - total : 4096;
    if (!ReadFile(file, buffer.data() + total, want, &got, nullptr) || got == 0) break;
    total += got;
  }
  CloseHandle(file);
  lines.clear();
  types.clear();
  SplitTextLines(buffer.data(), total, lines, types);
  uint64_t matched = 0;
  for (const std::string& line : lines) matched += regex.Matches(line);
  return matched;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4 || argc % 2 != 0) {
    std::fputs("usage: metadata_contents_bench TREE NAME PATTERN [NAME PATTERN ...]\n", stderr);
    return 2;
  }
  std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zent_contents_bench_" + std::to_string(GetCurrentProcessId()));
  std::filesystem::create_directories(folder);
  // The debug log on, at the level the agent ships with.
  s_Settings.DebugLevel = 3;
  s_DebugLog.stream = _wfopen((folder / "zent_agent.log").wstring().c_str(), L"ab");

  std::vector<std::string> files = FilesOf(argv[1]);
  uint64_t bytes = 0;
  for (const std::string& file : files) bytes += std::filesystem::file_size(file);
  std::wstring response = (folder / "response.xml").wstring();
  for (int a = 2; a + 1 < argc; a += 2) {
    std::string name = argv[a], pattern = argv[a + 1];
    std::vector<std::wstring> requests = WriteRequests(folder, name, files, pattern);
    utilRegExImpl regex;
    if (!regex.Compile(pattern)) return 1;
    uint64_t queryLines = 0, bareLines = 0;
    std::string buffer;
    std::vector<std::string> lines;
    std::vector<int32_t> types;
    for (const std::wstring& request : requests) {
      ParseQueryMetaXml(request, response);
      queryLines += KeptLines(response);
    }
    for (const std::string& file : files) bareLines += BareFile(file, regex, buffer, lines, types);
    std::vector<double> medians = InterleavedMedians(
        5, {
               {"query", [&] { for (const std::wstring& request : requests) ParseQueryMetaXml(request, response); }},
               {"bare", [&] { for (const std::string& file : files) BareFile(file, regex, buffer, lines, types); }},
           });
    std::printf("RESULT %s %zu %ju %.6f %.6f %ju %ju\n", name.c_str(), files.size(), static_cast<uintmax_t>(bytes),
                medians[0], medians[1], static_cast<uintmax_t>(queryLines), static_cast<uintmax_t>(bareLines));
    std::fflush(stdout);
  }
  std::fclose(s_DebugLog.stream);
  s_DebugLog.stream = nullptr;
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}
