// getRegistryKey on a key of 10,000 values and 1,000 subkeys, answered by
// ParseQueryMetaXml in process, against a bare RegEnumKeyW/RegEnumValueW
// loop over the same key; the same query on a key a tenth that size, for the
// cost per value; getRegistryValue on a REG_BINARY of 1 MiB against one of
// 64 KiB, for the cost per byte. The keys live under HKEY_CURRENT_USER and
// are deleted at the end.
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "bench/metadata_bench.h"
#include "metadata/parse_query_meta_xml.h"

namespace {

const std::string kBenchKey = "Software\\ZentBench\\Registry" + std::to_string(GetCurrentProcessId());

HKEY CreateKey(const std::string& path) {
  HKEY key = nullptr;
  RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  return key;
}

// A key of `values` DWORD values and `subkeys` empty subkeys.
void FillKey(const std::string& path, int values, int subkeys) {
  HKEY key = CreateKey(path);
  for (int i = 0; i < values; ++i) {
    DWORD data = static_cast<DWORD>(i);
    RegSetValueExA(key, ("value" + std::to_string(100000 + i)).c_str(), 0, REG_DWORD,
                   reinterpret_cast<const BYTE*>(&data), sizeof data);
  }
  for (int i = 0; i < subkeys; ++i) RegCloseKey(CreateKey(path + "\\sub" + std::to_string(10000 + i)));
  RegCloseKey(key);
}

void SetBinary(const std::string& path, const char* name, size_t size) {
  HKEY key = CreateKey(path);
  std::vector<BYTE> data(size);
  for (size_t i = 0; i < size; ++i) data[i] = static_cast<BYTE>(i * 7 + 1);
  RegSetValueExA(key, name, 0, REG_BINARY, data.data(), static_cast<DWORD>(size));
  RegCloseKey(key);
}

// Writes a request of one query and returns its path.
std::wstring WriteRequest(const std::filesystem::path& folder, const std::string& name, const std::string& query) {
  std::filesystem::path path = folder / (name + ".xml");
  std::ofstream(path, std::ios::binary)
      << "<Message><Request><RequestID>bench</RequestID><HostMetaDataQueries>" << query
      << "</HostMetaDataQueries></Request></Message>";
  return path.wstring();
}

std::string KeyQuery(const std::string& path) {
  return "<HostMetaDataQuery id=\"1\" query=\"getRegistryKey\" arg1=\"HKCU\\" + path + "\"/>";
}

std::string ValueQuery(const std::string& path, const char* name) {
  return "<HostMetaDataQuery id=\"1\" query=\"getRegistryValue\" arg1=\"HKCU\\" + path + "\" arg2=\"" + name + "\"/>";
}

// The same walk the query makes, bare: every subkey name, then every value
// name, into buffers of the query's sizes.
void BareWalk(const std::string& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  wchar_t name[2048];
  for (DWORD i = 0; RegEnumKeyW(key, i, name, 261) == ERROR_SUCCESS; ++i) {
  }
  for (DWORD i = 0;; ++i) {
    DWORD length = 2048;
    if (RegEnumValueW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
  }
  RegCloseKey(key);
}

}  // namespace

void RegistryQueryBench() {
  std::string large = kBenchKey + "\\Large";
  std::string small = kBenchKey + "\\Small";
  std::string binary = kBenchKey + "\\Binary";
  FillKey(large, 10000, 1000);
  FillKey(small, 1000, 100);
  SetBinary(binary, "MiB", 1 << 20);
  SetBinary(binary, "KiB64", 64 << 10);

  std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zent_registry_bench_" + std::to_string(GetCurrentProcessId()));
  std::filesystem::create_directories(folder);
  std::wstring response = (folder / "response.xml").wstring();
  std::wstring largeRequest = WriteRequest(folder, "large", KeyQuery(large));
  std::wstring smallRequest = WriteRequest(folder, "small", KeyQuery(small));
  std::wstring mibRequest = WriteRequest(folder, "mib", ValueQuery(binary, "MiB"));
  std::wstring kibRequest = WriteRequest(folder, "kib", ValueQuery(binary, "KiB64"));

  // The answer the rounds time, so that a query that found nothing shows.
  int status = ParseQueryMetaXml(largeRequest, response);
  std::printf("getRegistryKey on 10,000 values + 1,000 subkeys: status %d, response of %ju bytes\n", status,
              static_cast<uintmax_t>(std::filesystem::file_size(response)));
  std::vector<double> medians = InterleavedMedians(
      5, {
             {"query, 10,000 values", [&] { ParseQueryMetaXml(largeRequest, response); }},
             {"bare, 10,000 values", [&] { BareWalk(large); }},
             {"query, 1,000 values", [&] { ParseQueryMetaXml(smallRequest, response); }},
             {"value, 1 MiB", [&] { ParseQueryMetaXml(mibRequest, response); }},
             {"value, 64 KiB", [&] { ParseQueryMetaXml(kibRequest, response); }},
         });
  PrintRatio("getRegistryKey 10,000 values + 1,000 subkeys vs bare enum", medians[0], medians[1], 1.3);
  // The smaller key has the same shape, a tenth of each.
  PrintRatio("per value: at 10,000 vs at 1,000", medians[0] / 10000, medians[2] / 1000, 1.5);
  PrintRatio("getRegistryValue per byte: REG_BINARY 1 MiB vs 64 KiB", medians[3] / 16, medians[4], 1.5);

  RegDeleteTreeA(HKEY_CURRENT_USER, kBenchKey.c_str());
  RegDeleteKeyA(HKEY_CURRENT_USER, kBenchKey.c_str());
  // The parent goes too unless another run still has its key there.
  RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\ZentBench");
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}
