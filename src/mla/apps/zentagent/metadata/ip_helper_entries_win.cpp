#include <atomic>

#include "metadata/listen_ports_win.h"

namespace {

INIT_ONCE s_lockOnce = INIT_ONCE_STATIC_INIT;
CRITICAL_SECTION s_lookupLock;
std::atomic<bool> s_resolved{false};
IpHelperEntries s_entries{};

BOOL CALLBACK MakeLookupLock(PINIT_ONCE, PVOID, PVOID*) {
  InitializeCriticalSection(&s_lookupLock);
  return TRUE;
}

template <class Function>
Function Entry(HMODULE module, const char* name) {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

const IpHelperEntries& IpHelper() {
  if (s_resolved.load(std::memory_order_acquire)) return s_entries;
  InitOnceExecuteOnce(&s_lockOnce, MakeLookupLock, nullptr, nullptr);
  EnterCriticalSection(&s_lookupLock);
  if (!s_resolved.load(std::memory_order_relaxed)) {
    HMODULE iphlpapi = GetModuleHandleW(L"iphlpapi");
    s_entries.getExtendedTcpTable = Entry<GetExtendedTableFunction>(iphlpapi, "GetExtendedTcpTable");
    s_entries.getExtendedUdpTable = Entry<GetExtendedTableFunction>(iphlpapi, "GetExtendedUdpTable");
    s_entries.getOwnerModuleFromTcpEntry = Entry<GetOwnerModuleFunction>(iphlpapi, "GetOwnerModuleFromTcpEntry");
    s_entries.getOwnerModuleFromTcp6Entry = Entry<GetOwnerModuleFunction>(iphlpapi, "GetOwnerModuleFromTcp6Entry");
    s_entries.getOwnerModuleFromUdpEntry = Entry<GetOwnerModuleFunction>(iphlpapi, "GetOwnerModuleFromUdpEntry");
    s_entries.getOwnerModuleFromUdp6Entry = Entry<GetOwnerModuleFunction>(iphlpapi, "GetOwnerModuleFromUdp6Entry");
    s_resolved.store(true, std::memory_order_release);
  }
  LeaveCriticalSection(&s_lookupLock);
  return s_entries;
}
