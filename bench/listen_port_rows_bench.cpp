// The portable half of getListenPorts on generated tables: rows walked,
// sorted, made into listenPort objects, digested and the document printed,
// against tinyxml2 building and printing the same document directly from
// texts made beforehand (the least any code producing it costs). 100,000
// rows, a quarter in each of the detailed layouts (TCP and UDP, IPv4 and
// IPv6), in a shuffled order; and the cost per row at 100,000 against at
// 1,000. Under Wine the owner lookups make the real query take seconds, so
// this half is measured natively. Asserts nothing.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <tinyxml2.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "metadata/compute_hash.h"
#include "metadata/listen_port_objects.h"
#include "metadata/listen_port_rows.h"
#include "metadata/result_shell.h"
#include "records/settings.h"

namespace {

constexpr int kRounds = 5;

struct Tables {
  TableBlock tcp4, tcp6, udp4, udp6;
};

void Put32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }
void PutPort(uint8_t* p, uint16_t port) {
  p[0] = static_cast<uint8_t>(port >> 8);
  p[1] = static_cast<uint8_t>(port);
}

TableBlock NewBlock(RowLayout layout, size_t rows) {
  RowShape shape = RowShapeOf(layout);
  TableBlock block(shape.firstRow + rows * shape.rowSize, 0);
  Put32(block.data(), static_cast<uint32_t>(rows));
  return block;
}

uint8_t* Row(TableBlock& block, RowLayout layout, size_t i) {
  RowShape shape = RowShapeOf(layout);
  return block.data() + shape.firstRow + i * shape.rowSize;
}

Tables Generate(size_t rows) {
  using namespace rowfield;
  uint32_t seed = 2024;
  auto next = [&seed] { return seed = seed * 1103515245u + 12345u; };
  size_t quarter = rows / 4;
  Tables t{NewBlock(RowLayout::TcpRowOwnerModule, quarter), NewBlock(RowLayout::Tcp6RowOwnerModule, quarter),
           NewBlock(RowLayout::UdpRowOwnerModule, quarter), NewBlock(RowLayout::Udp6RowOwnerModule, quarter)};
  for (size_t i = 0; i < quarter; ++i) {
    uint8_t* r = Row(t.tcp4, RowLayout::TcpRowOwnerModule, i);
    Put32(r + kTcpState, kTcpStateListen);
    Put32(r + kTcpLocalAddr, next() & 0x0300007F);
    PutPort(r + kTcpLocalPort, static_cast<uint16_t>(next() >> 8));
    Put32(r + kTcpOwningPid, 4 + next() % 500);
    Put32(r + kTcpCreateTimestamp, next());
    r = Row(t.tcp6, RowLayout::Tcp6RowOwnerModule, i);
    r[kTcp6LocalAddr + 15] = static_cast<uint8_t>(next() & 1);
    PutPort(r + kTcp6LocalPort, static_cast<uint16_t>(next() >> 8));
    Put32(r + kTcp6OwningPid, 4 + next() % 500);
    r = Row(t.udp4, RowLayout::UdpRowOwnerModule, i);
    Put32(r + kUdpLocalAddr, next() & 0x0300007F);
    PutPort(r + kUdpLocalPort, static_cast<uint16_t>(next() >> 8));
    Put32(r + kUdpOwningPid, 4 + next() % 500);
    r = Row(t.udp6, RowLayout::Udp6RowOwnerModule, i);
    r[kUdp6LocalAddr + 15] = static_cast<uint8_t>(next() & 1);
    PutPort(r + kUdp6LocalPort, static_cast<uint16_t>(next() >> 8));
    Put32(r + kUdp6OwningPid, 4 + next() % 500);
  }
  return t;
}

// Stands for the system's getnameinfo over the Windows images.
bool NumericNameInfo(const uint8_t* sockaddr, int length, std::string& host, std::string& service, uint32_t&) {
  char text[64];
  inet_ntop(length == kSockaddrInLength ? AF_INET : AF_INET6, sockaddr + (length == kSockaddrInLength ? 4 : 8), text,
            sizeof text);
  host = text;
  service = std::to_string(sockaddr[2] << 8 | sockaddr[3]);
  return true;
}

// The owner a system would name: a few services.
void Owner(RowLayout, const uint8_t* row, ConnectionInfo& info) {
  static const char16_t* names[] = {u"svchost.exe", u"lsass.exe", u"web.exe", u"dns.exe"};
  static const char16_t* paths[] = {u"C:\\Windows\\System32\\svchost.exe", u"C:\\Windows\\System32\\lsass.exe",
                                    u"C:\\Program Files\\Web\\web.exe", u"C:\\Windows\\System32\\dns.exe"};
  TakeOwnerModuleNames(names[row[0] & 3], paths[row[0] & 3], info);
}

std::string Query(const Tables& t) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "2", "ports");
  ReportListenPortTables("tcp", t.tcp4, t.tcp6, true, Owner, document, shell.hostMetaDatas, NumericNameInfo);
  ReportListenPortTables("udp", t.udp4, t.udp6, true, Owner, document, shell.hostMetaDatas, NumericNameInfo);
  ComputeHash(shell.result);
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return printer.CStr();
}

struct PlainObject {
  std::string identifier;
  std::vector<std::pair<std::string, std::string>> attributes;
};

// The same objects as texts, in the report's order, read back from one run.
std::vector<PlainObject> ObjectsOf(const std::string& printed) {
  tinyxml2::XMLDocument document;
  document.Parse(printed.c_str());
  std::vector<PlainObject> objects;
  for (tinyxml2::XMLElement* o = document.FirstChildElement()->FirstChildElement()->FirstChildElement()->FirstChildElement();
       o != nullptr; o = o->NextSiblingElement()) {
    PlainObject plain{o->Attribute("identifier"), {}};
    for (tinyxml2::XMLElement* a = o->FirstChildElement()->FirstChildElement(); a; a = a->NextSiblingElement()) {
      plain.attributes.emplace_back(a->Attribute("name"), a->Attribute("value"));
    }
    objects.push_back(std::move(plain));
  }
  return objects;
}

std::string Direct(const std::vector<PlainObject>& objects) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  tinyxml2::XMLElement* result = document.NewElement("HostMetaDataQueryResult");
  results->InsertEndChild(result);
  tinyxml2::XMLElement* datas = document.NewElement("HostMetaDatas");
  result->InsertEndChild(datas);
  for (const PlainObject& o : objects) {
    tinyxml2::XMLElement* data = document.NewElement("HostMetaData");
    datas->InsertEndChild(data);
    data->SetAttribute("type", "listenPort");
    data->SetAttribute("identifier", o.identifier.c_str());
    tinyxml2::XMLElement* attributes = document.NewElement("Attributes");
    data->InsertEndChild(attributes);
    for (const auto& [name, value] : o.attributes) {
      tinyxml2::XMLElement* a = document.NewElement("Attribute");
      attributes->InsertEndChild(a);
      a->SetAttribute("name", name.c_str());
      a->SetAttribute("value", value.c_str());
    }
  }
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return printer.CStr();
}

}  // namespace

int main() {
  s_Settings.DebugLevel = 0;
  const Tables small = Generate(1000), large = Generate(100000);
  const std::vector<PlainObject> smallObjects = ObjectsOf(Query(small)), largeObjects = ObjectsOf(Query(large));
  constexpr int kSmallRepeats = 100;
  size_t sink = 0;
  std::vector<double> m = InterleavedMedians(
      kRounds, {{"rows 100,000", [&] { sink += Query(large).size(); }},
                {"tinyxml2 100,000", [&] { sink += Direct(largeObjects).size(); }},
                {"rows 1,000 x100", [&] { for (int i = 0; i < kSmallRepeats; ++i) sink += Query(small).size(); }},
                {"tinyxml2 1,000 x100",
                 [&] { for (int i = 0; i < kSmallRepeats; ++i) sink += Direct(smallObjects).size(); }}});
  std::printf("%zu objects at 100,000 rows (%zu bytes printed in all)\n", largeObjects.size(), sink);
  PrintRatio("100,000 rows walked, sorted, objects, hash, printed", m[0], m[1], 2.0);
  PrintRatio("1,000 rows, the same, 100 times", m[2], m[3], 2.0);
  // Seconds per 1,000 rows in both.
  PrintRatio("per row at 100,000 against per row at 1,000", m[0] / 100, m[2] / kSmallRepeats, 1.5);
  return 0;
}
