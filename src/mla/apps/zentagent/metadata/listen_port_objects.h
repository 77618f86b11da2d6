// The listenPort objects of the listening ports query: one per socket, with
// its address as numeric text from getnameinfo.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <string>
#include <vector>

#include "metadata/connection.h"
#include "metadata/listen_port_rows.h"

// The address families as Windows numbers them: the sockaddr images below
// are Windows' whatever the building host's own values.
constexpr uint16_t kFamilyInet = 2;
constexpr uint16_t kFamilyInet6 = 23;
constexpr int kSockaddrInLength = 16;
constexpr int kSockaddrIn6Length = 28;

// getnameinfo with NI_NUMERICHOST | NI_NUMERICSERV into a 1025-byte host and
// a 32-byte service buffer, over a Windows sockaddr image. On failure it
// returns false with the error to log.
using NameInfoFunction = bool (*)(const uint8_t* sockaddr, int sockaddrLength, std::string& host,
                                  std::string& service, uint32_t& error);

// The sockaddr_in (16 bytes) and sockaddr_in6 (28 bytes, flow and scope 0)
// of a socket's local end, the port in network order.
std::vector<uint8_t> LocalSockaddr(const Connection4& connection);
std::vector<uint8_t> LocalSockaddr(const Connection6& connection);

// "%s%s/%.128s/%.32s": protocol, "6" for IPv6 and nothing for IPv4, address,
// port. So tcp/0.0.0.0/135 and udp6/::/5353.
std::string ListenPortIdentifier(const std::string& protocol, const std::string& ipVersion,
                                 const std::string& address, const std::string& port);

// Adds one listenPort object, or, when getnameinfo fails, logs
// "Error on getnameinfo, err=%d" and leaves the socket out.
void ConnectionToHmdqr(const uint8_t* sockaddr, int sockaddrLength, const char* protocol, const char* ipVersion,
                       const ConnectionInfo& info, tinyxml2::XMLDocument& document,
                       tinyxml2::XMLElement* hostMetaDatas, NameInfoFunction nameInfo);

// One protocol's two lists, sorted, IPv4 before IPv6.
void ReportListenPorts(const char* protocol, std::vector<Connection4>& connections4,
                       std::vector<Connection6>& connections6, tinyxml2::XMLDocument& document,
                       tinyxml2::XMLElement* hostMetaDatas, NameInfoFunction nameInfo);

// One protocol's tables ("tcp" or "udp") walked and, when either came,
// reported. ownerModuleRows: the IPv4 block holds owner module rows.
void ReportListenPortTables(const char* protocol, const TableBlock& table4, const TableBlock& table6,
                            bool ownerModuleRows, const OwnerLookup& ownerLookup, tinyxml2::XMLDocument& document,
                            tinyxml2::XMLElement* hostMetaDatas, NameInfoFunction nameInfo);

// The owner's module name and path as the system gives them (UTF-16), kept
// by the low byte of each unit: no code page is involved, so Łódź.exe
// becomes the bytes 41 F3 64 7A and ".exe". A null pointer reads as empty.
void TakeOwnerModuleNames(const char16_t* moduleName, const char16_t* modulePath, ConnectionInfo& info);
