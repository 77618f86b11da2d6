#include "metadata/get_hmd_services_win.h"

#include <cstdlib>
#include <cstring>

#include "log/debug_log.h"
#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"
#include "metadata/service_objects.h"
#include "util/text_win.h"

namespace {

// SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS | READ_CONTROL
constexpr DWORD kServiceAccess = 0x20005;
// The one buffer both optional configuration levels are read into; a
// description that does not fit is lost, and only it.
constexpr DWORD kConfig2Size = 8192;

std::string Utf8OrEmpty(const wchar_t* text) { return text ? wideToUtf8(text) : std::string(); }

std::optional<std::u16string> Utf16OrAbsent(const wchar_t* text) {
  if (text == nullptr) return std::nullopt;
  return std::u16string(reinterpret_cast<const char16_t*>(text), std::wcslen(text));
}

bool Inside(const void* pointer, const BYTE* block, size_t size) {
  auto at = static_cast<const BYTE*>(pointer);
  return at >= block && at < block + size;
}

// The units of a double-zero-ended list, its entries' zeros included, read
// no further than the block's end when it lies in the block.
size_t DependencyUnits(const wchar_t* list, const BYTE* block, size_t size) {
  if (list == nullptr) return 0;
  size_t limit = Inside(list, block, size) ? (block + size - reinterpret_cast<const BYTE*>(list)) / sizeof(wchar_t)
                                           : SIZE_MAX;
  size_t at = 0;
  while (at < limit && list[at] != 0) {
    while (at < limit && list[at] != 0) ++at;
    if (at < limit) ++at;  // the entry's zero
  }
  return at;
}

ServiceConfig ReadConfig(const QUERY_SERVICE_CONFIGW& config, const BYTE* block, size_t size) {
  ServiceConfig out;
  out.binaryPathName = Utf8OrEmpty(config.lpBinaryPathName);
  out.startType = config.dwStartType;
  out.serviceType = config.dwServiceType;
  out.serviceStartName = Utf8OrEmpty(config.lpServiceStartName);
  out.loadOrderGroup = Utf8OrEmpty(config.lpLoadOrderGroup);
  if (size_t units = DependencyUnits(config.lpDependencies, block, size)) {
    out.dependencies = wideToUtf8(config.lpDependencies, units);
  }
  return out;
}

ServiceFailureActions ReadFailureActions(const SERVICE_FAILURE_ACTIONSW& failure, const BYTE* block) {
  ServiceFailureActions out;
  out.resetPeriod = failure.dwResetPeriod;
  out.rebootMessage = Utf16OrAbsent(failure.lpRebootMsg);
  out.command = Utf16OrAbsent(failure.lpCommand);
  DWORD count = failure.lpsaActions ? failure.cActions : 0;
  if (Inside(failure.lpsaActions, block, kConfig2Size)) {
    size_t room = (block + kConfig2Size - reinterpret_cast<const BYTE*>(failure.lpsaActions)) / sizeof(SC_ACTION);
    if (count > room) count = static_cast<DWORD>(room);
  }
  for (DWORD i = 0; i < count; ++i) {
    out.actions.push_back({static_cast<uint32_t>(failure.lpsaActions[i].Type), failure.lpsaActions[i].Delay});
  }
  return out;
}

// What the service's own handle tells, after its enumeration entry.
void ReadService(SC_HANDLE manager, const wchar_t* keyName, bool detailed, const ServiceManagerCalls& calls,
                 ServiceRecord& record) {
  SC_HANDLE service = calls.openService(manager, keyName, kServiceAccess);
  if (service == nullptr) {
    // A service deleted since the enumeration, or one we may not read.
    ZENT_LOG_AS("GetHmdServices", 1, L"Error opening service %s, err=%d\n", keyName, GetLastError());
    return;
  }
  DWORD needed = 0;
  bool configAttempted = false;
  if (!calls.queryServiceConfig(service, nullptr, 0, &needed) && GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
    if (void* block = calls.allocate(needed)) {
      configAttempted = true;
      auto* config = static_cast<QUERY_SERVICE_CONFIGW*>(block);
      if (calls.queryServiceConfig(service, config, needed, &needed)) {
        record.config = ReadConfig(*config, static_cast<const BYTE*>(block), needed);
      }
      calls.release(block);
    }
  }
  if (configAttempted && detailed) {
    alignas(8) BYTE buffer[kConfig2Size];
    if (calls.queryServiceConfig2(service, SERVICE_CONFIG_DESCRIPTION, buffer, kConfig2Size, &needed)) {
      record.description = Utf16OrAbsent(reinterpret_cast<SERVICE_DESCRIPTIONW*>(buffer)->lpDescription);
    }
    if (calls.queryServiceConfig2(service, SERVICE_CONFIG_FAILURE_ACTIONS, buffer, kConfig2Size, &needed)) {
      record.failureActions = ReadFailureActions(*reinterpret_cast<SERVICE_FAILURE_ACTIONSW*>(buffer), buffer);
    }
  }
  calls.closeServiceHandle(service);
}

void AddServices(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas, SC_HANDLE manager,
                 const BYTE* block, DWORD size, DWORD count, bool detailed, const ServiceManagerCalls& calls) {
  auto* entries = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(block);
  DWORD room = size / sizeof(ENUM_SERVICE_STATUS_PROCESSW);
  for (DWORD i = 0; i < count && i < room; ++i) {
    const ENUM_SERVICE_STATUS_PROCESSW& entry = entries[i];
    ServiceRecord record;
    record.keyName = Utf8OrEmpty(entry.lpServiceName);
    if (entry.lpDisplayName) record.displayName = wideToUtf8(entry.lpDisplayName);
    record.currentState = entry.ServiceStatusProcess.dwCurrentState;
    record.processId = entry.ServiceStatusProcess.dwProcessId;
    ReadService(manager, entry.lpServiceName ? entry.lpServiceName : L"", detailed, calls, record);
    AddServiceObject(document, hostMetaDatas, record, detailed);
  }
}

}  // namespace

const ServiceManagerCalls& SystemServiceManagerCalls() {
  static const ServiceManagerCalls calls = {OpenSCManagerW,      EnumServicesStatusExW, OpenServiceW, QueryServiceConfigW,
                                            QueryServiceConfig2W, CloseServiceHandle,   std::malloc,  std::free};
  return calls;
}

bool GetHmdServices(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                    const std::string& arg1, const std::string& arg2) {
  return GetHmdServices(document, results, id, arg1, arg2, SystemServiceManagerCalls());
}

bool GetHmdServices(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                    const std::string& arg1, const std::string& arg2, const ServiceManagerCalls& calls) {
  SC_HANDLE manager = calls.openSCManager(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE);
  if (manager == nullptr) {
    // "faile": the message as the service's readers know it.
    ZENT_LOG(1, L"OpenSCManager faile, error=%d\n", GetLastError());
    return false;
  }
  bool detailed = IsDetailedServiceQuery(arg1, arg2);
  HmdResultShell shell = AddResultShell(document, results, "3", id);

  DWORD needed = 0, count = 0, resume = 0;
  if (!calls.enumServicesStatusEx(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0,
                                  &needed, &count, &resume, nullptr) &&
      GetLastError() == ERROR_MORE_DATA) {
    auto* block = static_cast<BYTE*>(calls.allocate(needed));
    if (block == nullptr) {
      // The result stays without hash: the server sees the query was not answered.
      calls.closeServiceHandle(manager);
      return false;
    }
    DWORD size = needed;
    resume = 0;
    if (calls.enumServicesStatusEx(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, block, size,
                                   &needed, &count, &resume, nullptr)) {
      AddServices(document, shell.hostMetaDatas, manager, block, size, count, detailed, calls);
    }
    calls.release(block);
  }
  ComputeHash(shell.result);
  calls.closeServiceHandle(manager);
  return true;
}
