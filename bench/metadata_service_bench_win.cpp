// getServices detailed, with 1,000 services of the benchmark's own added to
// the host: ParseQueryMetaXml in process against a bare loop of the same
// service manager calls (the enumeration twice, then per service its
// handle, the configuration twice, the description and the failure
// actions). The services are deleted again at the end.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "bench/metadata_bench.h"
#include "metadata/parse_query_meta_xml.h"

namespace {

constexpr int kServices = 1000;

std::wstring BenchName(int i) { return L"ZentBenchSvc" + std::to_wstring(i); }

void AddServices(SC_HANDLE manager) {
  for (int i = 0; i < kServices; ++i) {
    std::wstring name = BenchName(i);
    SC_HANDLE service = CreateServiceW(manager, name.c_str(), name.c_str(), SERVICE_ALL_ACCESS,
                                       SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                       L"C:\\zent\\bench.exe", nullptr, nullptr, nullptr, L"LocalSystem", nullptr);
    if (service == nullptr) continue;
    wchar_t description[] = L"A benchmark service of the Zent agent";
    SERVICE_DESCRIPTIONW info = {description};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &info);
    CloseServiceHandle(service);
  }
}

void RemoveServices(SC_HANDLE manager) {
  for (int i = 0; i < kServices; ++i) {
    if (SC_HANDLE service = OpenServiceW(manager, BenchName(i).c_str(), DELETE)) {
      DeleteService(service);
      CloseServiceHandle(service);
    }
  }
}

// The same calls the query makes, with nothing made of their answers.
size_t BareCalls() {
  size_t touched = 0;
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE);
  DWORD needed = 0, count = 0, resume = 0;
  EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0, &needed, &count,
                        &resume, nullptr);
  std::vector<BYTE> list(needed);
  resume = 0;
  EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, list.data(), needed, &needed,
                        &count, &resume, nullptr);
  auto* entries = reinterpret_cast<ENUM_SERVICE_STATUS_PROCESSW*>(list.data());
  for (DWORD i = 0; i < count; ++i) {
    SC_HANDLE service = OpenServiceW(manager, entries[i].lpServiceName, 0x20005);
    if (service == nullptr) continue;
    QueryServiceConfigW(service, nullptr, 0, &needed);
    std::vector<BYTE> config(needed);
    QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(config.data()), needed, &needed);
    BYTE buffer[8192];
    QueryServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, buffer, sizeof buffer, &needed);
    QueryServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, buffer, sizeof buffer, &needed);
    CloseServiceHandle(service);
    touched += config.size();
  }
  CloseServiceHandle(manager);
  return touched;
}

}  // namespace

void ServiceQueryBench() {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) {
    std::printf("no service manager: %lu\n", GetLastError());
    return;
  }
  RemoveServices(manager);
  AddServices(manager);
  std::filesystem::path folder = std::filesystem::temp_directory_path() / "zent_service_bench";
  std::filesystem::create_directories(folder);
  std::wstring request = (folder / "meta_request.xml").wstring(), response = (folder / "meta_response.xml").wstring();
  std::ofstream(folder / "meta_request.xml")
      << "<Message><Request><RequestID>bench</RequestID><HostMetaDataQueries>"
         "<HostMetaDataQuery id=\"1\" query=\"getServices\" arg1=\"detailed\"/>"
         "</HostMetaDataQueries></Request></Message>";
  size_t sink = 0;
  std::vector<double> t = InterleavedMedians(5, {
      {"agent", [&] { sink += ParseQueryMetaXml(request, response) == 0; }},
      {"bare", [&] { sink += BareCalls(); }},
  });
  PrintRatio("getServices detailed, 1,000 services added", t[0], t[1], 1.25);
  std::printf("(response %ju bytes, %zu)\n", static_cast<uintmax_t>(std::filesystem::file_size(folder / "meta_response.xml")), sink);
  RemoveServices(manager);
  CloseServiceHandle(manager);
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}
