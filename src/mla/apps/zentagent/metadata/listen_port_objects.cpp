#include "metadata/listen_port_objects.h"

#include <cstring>

#include "log/debug_log.h"
#include "log/format.h"
#include "metadata/result_shell.h"

namespace {

void PutFamilyAndPort(std::vector<uint8_t>& image, uint16_t family, uint16_t port) {
  image[0] = static_cast<uint8_t>(family);
  image[1] = static_cast<uint8_t>(family >> 8);
  image[2] = static_cast<uint8_t>(port >> 8);
  image[3] = static_cast<uint8_t>(port);
}

std::string LowByteText16(const char16_t* text) {
  std::string narrow;
  if (text == nullptr) return narrow;
  for (; *text != 0; ++text) narrow += static_cast<char>(*text & 0xFF);
  return narrow;
}

}  // namespace

std::vector<uint8_t> LocalSockaddr(const Connection4& connection) {
  std::vector<uint8_t> image(kSockaddrInLength, 0);
  PutFamilyAndPort(image, kFamilyInet, connection.localPort);
  std::memcpy(image.data() + 4, connection.localAddress, 4);
  return image;
}

std::vector<uint8_t> LocalSockaddr(const Connection6& connection) {
  std::vector<uint8_t> image(kSockaddrIn6Length, 0);
  PutFamilyAndPort(image, kFamilyInet6, connection.localPort);
  std::memcpy(image.data() + 8, connection.localAddress, 16);
  return image;
}

std::string ListenPortIdentifier(const std::string& protocol, const std::string& ipVersion,
                                 const std::string& address, const std::string& port) {
  std::string identifier;
  const std::string version = ipVersion == "4" ? "" : ipVersion;
  zent::AppendFormat(identifier, "%s%s/%.128s/%.32s", protocol, version, address, port);
  return identifier;
}

void ConnectionToHmdqr(const uint8_t* sockaddr, int sockaddrLength, const char* protocol, const char* ipVersion,
                       const ConnectionInfo& info, tinyxml2::XMLDocument& document,
                       tinyxml2::XMLElement* hostMetaDatas, NameInfoFunction nameInfo) {
  std::string host, service;
  uint32_t error = 0;
  if (!nameInfo(sockaddr, sockaddrLength, host, service, error)) {
    ZENT_LOG(1, L"Error on getnameinfo, err=%d\n", error);
    return;
  }
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, hostMetaDatas, "listenPort",
                                                     ListenPortIdentifier(protocol, ipVersion, host, service));
  // The server reads the attributes in this order.
  if (info.processId != 0) AddAttribute(document, attributes, "processId", std::to_string(info.processId));
  if (!info.process.empty()) AddAttribute(document, attributes, "process", info.process);
  if (!info.path.empty()) AddAttribute(document, attributes, "path", info.path);
  AddAttribute(document, attributes, "protocol", protocol);
  AddAttribute(document, attributes, "port", service);
  AddAttribute(document, attributes, "localAddress", host);
  AddAttribute(document, attributes, "ipVersion", ipVersion);
  if (info.created != 0) AddAttribute(document, attributes, "created", std::to_string(info.created));
}

void ReportListenPorts(const char* protocol, std::vector<Connection4>& connections4,
                       std::vector<Connection6>& connections6, tinyxml2::XMLDocument& document,
                       tinyxml2::XMLElement* hostMetaDatas, NameInfoFunction nameInfo) {
  SortConnections(connections4);
  SortConnections(connections6);
  for (const Connection4& c : connections4) {
    std::vector<uint8_t> sockaddr = LocalSockaddr(c);
    ConnectionToHmdqr(sockaddr.data(), kSockaddrInLength, protocol, "4", c.info, document, hostMetaDatas,
                      nameInfo);
  }
  for (const Connection6& c : connections6) {
    std::vector<uint8_t> sockaddr = LocalSockaddr(c);
    ConnectionToHmdqr(sockaddr.data(), kSockaddrIn6Length, protocol, "6", c.info, document, hostMetaDatas,
                      nameInfo);
  }
}

void ReportListenPortTables(const char* protocol, const TableBlock& table4, const TableBlock& table6,
                            bool ownerModuleRows, const OwnerLookup& ownerLookup, tinyxml2::XMLDocument& document,
                            tinyxml2::XMLElement* hostMetaDatas, NameInfoFunction nameInfo) {
  std::vector<Connection4> connections4;
  std::vector<Connection6> connections6;
  const bool tcp = std::strcmp(protocol, "tcp") == 0;
  if (tcp ? WalkTcpTables(table4, table6, ownerModuleRows, ownerLookup, connections4, connections6)
          : WalkUdpTables(table4, table6, ownerModuleRows, ownerLookup, connections4, connections6)) {
    ReportListenPorts(protocol, connections4, connections6, document, hostMetaDatas, nameInfo);
  }
}

void TakeOwnerModuleNames(const char16_t* moduleName, const char16_t* modulePath, ConnectionInfo& info) {
  info.process = LowByteText16(moduleName);
  info.path = LowByteText16(modulePath);
}
