#include <algorithm>
#include <cstring>

#include "log/debug_log.h"
#include "metadata/listen_port_objects.h"
#include "metadata/listen_ports_win.h"

namespace {

// A size reported by the first call, or the block of the second call.
DWORD FillTable(GetExtendedTableFunction getExtendedTable, TableBlock& table, DWORD size, ULONG family,
                int tableClass) {
  table.assign(size, 0);
  return getExtendedTable(table.data(), &size, TRUE, family, tableClass, 0);
}

}  // namespace

namespace ZentCore {

bool GetNetworkTables(TableBlock& table4, TableBlock& table6, GetTableFunction getTable,
                      GetExtendedTableFunction getExtendedTable, const char* functionName, int class4, int class6) {
  table4.clear();
  table6.clear();
  if (getExtendedTable != nullptr) {
    DWORD size = 0;
    DWORD rc = getExtendedTable(nullptr, &size, TRUE, kFamilyInet6, class6, 0);
    if (rc == ERROR_INSUFFICIENT_BUFFER) {
      // Room for the table to grow fourfold before the second call.
      rc = FillTable(getExtendedTable, table6, size * 4, kFamilyInet6, class6);
      if (rc != NO_ERROR) {
        table6.clear();
        ZENT_LOG(1, L"pGetExtendedTable failed: %S(AF_INET6), err=%d\n", functionName, rc);
      }
    } else if (rc != ERROR_NOT_SUPPORTED && rc != ERROR_NO_DATA) {
      // A first call without a buffer is expected to ask for one; any other
      // answer than "no such stack" or "no sockets" is worth a line.
      ZENT_LOG(1, L"pGetExtendedTable failed: %S(AF_INET6), err=%d\n", functionName, rc);
    }
    size = 0;
    rc = getExtendedTable(nullptr, &size, TRUE, kFamilyInet, class4, 0);
    if (rc != ERROR_INSUFFICIENT_BUFFER) return true;
    rc = FillTable(getExtendedTable, table4, size, kFamilyInet, class4);
    if (rc != NO_ERROR) {
      table4.clear();
      // The same words as the IPv6 line, "AF_INET6" included: the log's
      // readers know the line by them.
      ZENT_LOG(1, L"pGetExtendedTable failed: %S(AF_INET6), err=%d\n", functionName, rc);
    }
    return true;
  }
  if (getTable != nullptr) {
    ULONG size = 0;
    if (getTable(nullptr, &size, TRUE) == ERROR_INSUFFICIENT_BUFFER) {
      table4.assign(size, 0);
      if (ULONG rc = getTable(table4.data(), &size, TRUE); rc != NO_ERROR) {
        table4.clear();
        ZENT_LOG(1, L"pGetTable failed: err=%d\n", rc);
      }
    }
    return false;
  }
  ZENT_LOG(1, L"GetNetworkTables() - no APIs available to fetch network tables.\n");
  return false;
}

void GetOwnerModuleInfo(GetOwnerModuleFunction getOwnerModule, const char* functionName, const void* row,
                        ConnectionInfo& info) {
  if (getOwnerModule == nullptr) return;
  DWORD size = 1040;
  std::vector<uint8_t> buffer(size, 0);
  DWORD rc = getOwnerModule(row, TCPIP_OWNER_MODULE_INFO_BASIC, buffer.data(), &size);
  if (rc == ERROR_INSUFFICIENT_BUFFER) {
    buffer.assign(size, 0);
    rc = getOwnerModule(row, TCPIP_OWNER_MODULE_INFO_BASIC, buffer.data(), &size);
  }
  if (rc != NO_ERROR) {
    ZENT_LOG(1, L"%S, err=%d\n", functionName, rc);
    return;
  }
  // The two pointers lead the buffer; a buffer reported shorter than they
  // are is read no further than its end.
  TCPIP_OWNER_MODULE_BASIC_INFO names{};
  std::memcpy(&names, buffer.data(), std::min(buffer.size(), sizeof names));
  TakeOwnerModuleNames(reinterpret_cast<const char16_t*>(names.pModuleName),
                       reinterpret_cast<const char16_t*>(names.pModulePath), info);
}

}  // namespace ZentCore
