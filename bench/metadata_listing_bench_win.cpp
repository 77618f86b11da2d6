// metadata_listing_bench.exe ROOT
//
// getDirectoryListing answered in process by ParseQueryMetaXml, with the
// debug log on at its default level, against a bare FindFirstFileA loop
// joining the same names, on the folders d1000, d10000 and d100000 under
// ROOT, which hold that many files; and the cost per entry at 100,000
// against that at 1,000. Prints medians of five interleaved rounds, ratios
// and the goals. The caller makes the folders from Linux: Wine looks for a
// new file's name through the whole folder without regard to case, so
// making 100,000 files through it takes the better part of an hour.
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

namespace {

std::wstring WriteRequest(const std::filesystem::path& folder, const std::filesystem::path& listed) {
  std::filesystem::path path = folder / (listed.filename().string() + ".xml");
  std::ofstream(path, std::ios::binary)
      << "<Message><Request><RequestID>bench</RequestID><HostMetaDataQueries>"
      << "<HostMetaDataQuery id=\"1\" query=\"getDirectoryListing\" arg1=\"" << listed.string() << "\"/>"
      << "</HostMetaDataQueries></Request></Message>";
  return path.wstring();
}

// The walk the query makes, bare: every name but "." and "..", joined.
size_t BareListing(const std::string& folder) {
  WIN32_FIND_DATAA entry;
  HANDLE find = FindFirstFileA((folder + "\\*.*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return 0;
  std::string entries;
  do {
    const char* name = entry.cFileName;
    if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
    entries += name;
    entries += '|';
  } while (FindNextFileA(find, &entry));
  FindClose(find);
  return entries.size();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  std::filesystem::path root = argv[1];
  std::filesystem::path work =
      std::filesystem::temp_directory_path() / ("zent_listing_bench_" + std::to_string(GetCurrentProcessId()));
  std::filesystem::create_directories(work);
  std::string logPath = (work / "zent_agent.log").string();
  s_Settings.DebugLevel = 3;
  s_DebugLog.stream = std::fopen(logPath.c_str(), "ab");

  const int sizes[] = {1000, 10000, 100000};
  std::vector<std::string> folders;
  std::filesystem::path empty = root / "d0";
  std::vector<std::wstring> requests;
  for (int size : sizes) {
    std::filesystem::path folder = root / ("d" + std::to_string(size));
    folders.push_back(folder.string());
    requests.push_back(WriteRequest(work, folder));
  }
  std::wstring response = (work / "response.xml").wstring();
  for (size_t i = 0; i < folders.size(); ++i) {
    int status = ParseQueryMetaXml(requests[i], response);
    std::printf("getDirectoryListing of %d entries: status %d, response of %ju bytes, bare text of %zu bytes\n",
                sizes[i], status, static_cast<uintmax_t>(std::filesystem::file_size(response)),
                BareListing(folders[i]));
  }
  std::vector<TimedPiece> pieces;
  for (size_t i = 0; i < folders.size(); ++i) {
    pieces.push_back({"query", [&, i] { ParseQueryMetaXml(requests[i], response); }});
    pieces.push_back({"bare", [&, i] { BareListing(folders[i]); }});
  }
  std::wstring emptyRequest = WriteRequest(work, empty);
  pieces.push_back({"empty", [&] { ParseQueryMetaXml(emptyRequest, response); }});
  std::vector<double> medians = InterleavedMedians(5, pieces);
  PrintRatio("getDirectoryListing 1,000 entries vs bare FindFirstFileA", medians[0], medians[1], 1.5);
  PrintRatio("getDirectoryListing 10,000 entries vs bare FindFirstFileA", medians[2], medians[3], 1.5);
  PrintRatio("getDirectoryListing 100,000 entries vs bare FindFirstFileA", medians[4], medians[5], 1.5);
  // Per 1,000 entries, so that the figures show in seconds.
  PrintRatio("per 1,000 entries: at 100,000 vs at 1,000", medians[4] / 100, medians[0], 1.3);
  PrintRatio("per 1,000 entries: at 100,000 vs at 10,000", medians[4] / 100, medians[2] / 10, 1.3);
  // What every request costs whatever the folder: the request read, the
  // response written, the digest started.
  std::printf("%-58s %10.4f s\n", "fixed cost: an empty folder's query", medians[6]);

  std::fclose(s_DebugLog.stream.exchange(nullptr));
  std::error_code ignored;
  std::filesystem::remove_all(work, ignored);
  return 0;
}
