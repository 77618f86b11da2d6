// The listening ports query ("getListenPorts") and the IP helper reads under
// it. The tables are read through ZentCore, whose two reads take the table
// calls as arguments: the handler passes iphlpapi's, tests their own.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
#include <iphlpapi.h>

#include <tinyxml2.h>

#include <string>

#include "metadata/connection.h"
#include "metadata/listen_port_rows.h"

// GetTcpTable and GetUdpTable: (table, size, sorted).
using GetTableFunction = ULONG(WINAPI*)(void* table, ULONG* size, BOOL order);
// GetExtendedTcpTable and GetExtendedUdpTable: (table, size, sorted, family,
// class, reserved).
using GetExtendedTableFunction = DWORD(WINAPI*)(void* table, DWORD* size, BOOL order, ULONG family,
                                                int tableClass, ULONG reserved);
// GetOwnerModuleFrom{Tcp,Tcp6,Udp,Udp6}Entry: (row, class, buffer, size).
using GetOwnerModuleFunction = DWORD(WINAPI*)(const void* row, int infoClass, void* buffer, DWORD* size);

// The iphlpapi functions that older systems lack, looked up by name on first
// use; a name that is not found stays null and its use is skipped.
struct IpHelperEntries {
  GetExtendedTableFunction getExtendedTcpTable;
  GetExtendedTableFunction getExtendedUdpTable;
  GetOwnerModuleFunction getOwnerModuleFromTcpEntry;
  GetOwnerModuleFunction getOwnerModuleFromTcp6Entry;
  GetOwnerModuleFunction getOwnerModuleFromUdpEntry;
  GetOwnerModuleFunction getOwnerModuleFromUdp6Entry;
};
// Resolved once per process, under a critical section made by a one-time
// initialisation; read without a lock afterwards. iphlpapi is found with
// GetModuleHandleW, so the process must import it at link time.
const IpHelperEntries& IpHelper();

namespace ZentCore {

// Reads one protocol's tables into table4 and table6, which start empty;
// a table that comes back is a zero-filled block. With getExtendedTable:
// IPv6 (family 23, class6) into a block four times the size the first call
// reports, then IPv4 (family 2, class4) into a block of exactly that size,
// each call made twice (size, then data) with no loop around a table that
// grows between them; returns true. Without it, getTable's IPv4 table alone,
// returning false. Neither: false, nothing read.
bool GetNetworkTables(TableBlock& table4, TableBlock& table6, GetTableFunction getTable,
                      GetExtendedTableFunction getExtendedTable, const char* functionName, int class4, int class6);

// Fills process and path of info with the owner module of the row, by the
// low byte of each unit; does nothing when getOwnerModule is null.
void GetOwnerModuleInfo(GetOwnerModuleFunction getOwnerModule, const char* functionName, const void* row,
                        ConnectionInfo& info);

}  // namespace ZentCore

// getListenPorts: every TCP listener and every UDP socket, IPv4 and IPv6,
// with owners where the system tells them; detailed when arg1 or arg2 is
// exactly "detailed". Always true: with no table the result stands with its
// hash and no objects.
bool GetHmdListenPorts(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                       const std::string& arg1, const std::string& arg2);

// One listenPort object for a Windows socket address, its text from
// getnameinfo.
void ConnectionToHmdqr(const sockaddr* address, int addressLength, const char* protocol, const char* ipVersion,
                       const ConnectionInfo& info, tinyxml2::XMLDocument& document,
                       tinyxml2::XMLElement* hostMetaDatas);
