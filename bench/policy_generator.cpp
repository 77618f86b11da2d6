#include "policy_generator.h"

#include <cstdio>
#include <memory>

namespace {

// Four interfaces; IP ids are read from the first interface only, so the
// by-IP assignments all name IPs of interface 1.
constexpr int kInterfaces = 4;
constexpr int kIpsPerInterface = 8;
// Payload filter ids follow the packet filter ids: both families share the
// filter binding maps, keyed by filter id.
constexpr int kPayloadIdBase = 1000000;

// Base64 of <Rule pattern="GET /admin" action="drop"/>\n, of two rules
// (cmd.exe logged, /etc/passwd dropped), and of <Engine state="on"/>\n.
const char* const kRules[] = {
    "PFJ1bGUgcGF0dGVybj0iR0VUIC9hZG1pbiIgYWN0aW9uPSJkcm9wIi8+Cg==",
    "PFJ1bGUgcGF0dGVybj0iY21kLmV4ZSIgYWN0aW9uPSJsb2ciLz4KPFJ1bGUgcGF0dGVybj0iL2V0Yy9wYXNzd2QiIGFjdGlvbj0iZHJvcCIvPgo=",
};
const char kEngine[] = "PEVuZ2luZSBzdGF0ZT0ib24iLz4K";

std::string Mac(int interface) {
  char text[32];
  std::snprintf(text, sizeof text, "00:1a:2b:3c:4d:%02x", interface);
  return text;
}

std::string Ip(int n) {
  char text[32];
  std::snprintf(text, sizeof text, "10.%d.%d.%d", (n >> 16) & 255, (n >> 8) & 255, n & 255);
  return text;
}

// At least one of everything, so that the smallest policy refers to
// existing lists too.
int Share(int filters, int per) { return filters / per > 0 ? filters / per : 1; }

struct Counts {
  int connectionTypes, ipLists, macLists, portLists, schedules, ruleContexts;
};

void WriteInterfaces(FILE* out) {
  std::fputs("<Interfaces>\n", out);
  for (int i = 1; i <= kInterfaces; ++i) {
    std::fprintf(out, "<Interface id=\"%d\" mac=\"%s\" name=\"LAN %d\" typeId=\"%d\"><IPs>\n", i, Mac(i).c_str(), i,
                 1 + i % 2);
    for (int n = 0; n < kIpsPerInterface; ++n) {
      int id = i * 100 + n;
      std::fprintf(out, "<IP id=\"%d\" ipAddress=\"192.168.%d.%d\"/>\n", id, i, 10 + n);
    }
    std::fputs("</IPs></Interface>\n", out);
  }
  std::fputs("</Interfaces>\n", out);
}

void WriteConnectionTypes(FILE* out, const Counts& counts) {
  std::fputs("<ConnectionTypes>\n", out);
  static const char* const kProtocols[] = {"6", "17", "4358", "1"};
  for (int c = 1; c <= counts.connectionTypes; ++c) {
    const char* protocol = kProtocols[c % 4];
    std::fprintf(out, "<ConnectionType id=\"%d\" name=\"Connection %d\" direction=\"%d\" protocol=\"%s\"", c, c, c % 2,
                 protocol);
    if (c % 4 == 3) std::fprintf(out, " icmpType1=\"%d\" icmpType2=\"%d\"", c % 16, (c + 3) % 16);
    if (c % 5 == 0) std::fprintf(out, " engine=\"%s\"", kEngine);
    std::fputs(">", out);
    switch (c % 3) {
      case 0:
        std::fputs("<AddressInfo macType=\"0\" ipType=\"0\" portType=\"0\"/>", out);
        break;
      case 1:
        std::fprintf(out, "<AddressInfo macType=\"0\" ipType=\"0\" portType=\"1\" ports=\"80,443,%d-%d\"/>",
                     8000 + c % 1000, 9000 + c % 1000);
        break;
      default:
        std::fprintf(out, "<AddressInfo macType=\"0\" ipType=\"0\" portType=\"3\" portListId=\"%d\"/>",
                     1 + c % counts.portLists);
    }
    std::fputs("</ConnectionType>\n", out);
  }
  std::fputs("</ConnectionTypes>\n", out);
}

void WritePacketFilters(FILE* out, int filters, const Counts& counts) {
  std::fputs("<PacketFilters>\n", out);
  static const char* const kActions[] = {"allow", "deny", "bypass", "force"};
  for (int f = 1; f <= filters; ++f) {
    std::fprintf(out, "<PacketFilter id=\"%d\" name=\"Packet filter %d\" packetDirection=\"%d\" action=\"%s\"", f, f,
                 1 + f % 2, kActions[f % 4]);
    if (f % 7 == 0) std::fprintf(out, " scheduleId=\"%d\"", 1 + f % counts.schedules);
    std::fputs(">", out);
    if (f % 3 == 0)
      std::fprintf(out, "<SourceInfo ipListId=\"%d\" macListId=\"%d\"/>", 1 + f % counts.ipLists,
                   1 + f % counts.macLists);
    else
      std::fprintf(out, "<SourceInfo ip=\"%s\" port=\"%d\"/>", Ip(f).c_str(), 1024 + f % 60000);
    std::fprintf(out, "<DestinationInfo ip=\"%s\" portListId=\"%d\"/>", Ip(f + 7).c_str(), 1 + f % counts.portLists);
    std::fputs("</PacketFilter>\n", out);
  }
  std::fputs("</PacketFilters>\n", out);
}

void WritePayloadFilters(FILE* out, int filters, const Counts& counts) {
  std::fputs("<PayloadFilter2s>\n", out);
  for (int f = 1; f <= filters; ++f) {
    std::fprintf(out,
                 "<PayloadFilter2 id=\"%d\" name=\"Payload filter %d\" priority=\"%d\" connectionTypeId=\"%d\""
                 " mode=\"%s\" logPacketDrop=\"%s\" logFirstPduTimeout=\"%d\" rules=\"%s\"",
                 kPayloadIdBase + f, f, f % 4, 1 + f % counts.connectionTypes, f % 2 ? "prevent" : "detect",
                 f % 3 ? "true" : "false", 30 + f % 90, kRules[f % 2]);
    if (f % 5 == 0) std::fprintf(out, " scheduleId=\"%d\"", 1 + f % counts.schedules);
    if (f % 10 == 0) std::fprintf(out, " ruleContextId=\"%d\"", 1 + f % counts.ruleContexts);
    std::fputs("/>\n", out);
  }
  std::fputs("</PayloadFilter2s>\n", out);
}

// One third of the filters for all interfaces, one third by interface (id,
// or type for every fourth), one third by an IP of the first interface.
void WriteAssignment(FILE* out, const char* element, const char* key, int id, int f) {
  std::fprintf(out, "<%s %s=\"%d\"", element, key, id);
  switch (f % 3) {
    case 0:
      std::fputs(" all=\"true\"", out);
      break;
    case 1:
      if (f % 4 == 1)
        std::fprintf(out, " all=\"false\" interfaceTypeId=\"%d\"", 1 + f % 2);
      else
        std::fprintf(out, " all=\"false\" interfaceId=\"%d\"", 1 + f % kInterfaces);
      break;
    default:
      std::fprintf(out, " all=\"false\" ipId=\"%d\"", 100 + f % kIpsPerInterface);
  }
  std::fputs("/>\n", out);
}

void WriteLists(FILE* out, const Counts& counts) {
  std::fputs("<IPLists>\n", out);
  for (int l = 1; l <= counts.ipLists; ++l)
    std::fprintf(out, "<IPList id=\"%d\" name=\"Servers %d\" items=\"%s,%s-%s\"/>\n", l, l, Ip(l).c_str(),
                 Ip(l * 3).c_str(), Ip(l * 3 + 9).c_str());
  std::fputs("</IPLists>\n<MacLists>\n", out);
  for (int l = 1; l <= counts.macLists; ++l)
    std::fprintf(out, "<MacList id=\"%d\" name=\"Hosts %d\" items=\"00:11:22:%02x:%02x:55,00:11:22:33:44:%02x\"/>\n",
                 l, l, (l >> 8) & 255, l & 255, l & 255);
  std::fputs("</MacLists>\n<PortLists>\n", out);
  for (int l = 1; l <= counts.portLists; ++l)
    std::fprintf(out, "<PortList id=\"%d\" name=\"Ports %d\" items=\"80,443,%d-%d\"/>\n", l, l, 1024 + l % 5000,
                 2048 + l % 5000);
  std::fputs("</PortLists>\n<Schedules>\n", out);
  std::string allWeek(168, 'F');
  for (int s = 1; s <= counts.schedules; ++s)
    std::fprintf(out, "<Schedule id=\"%d\" name=\"Schedule %d\" hourOfWeek=\"%s\"/>\n", s, s, allWeek.c_str());
  std::fputs("</Schedules>\n<RuleContexts>\n", out);
  for (int r = 1; r <= counts.ruleContexts; ++r)
    std::fprintf(out, "<RuleContext id=\"%d\" name=\"Context %d\" ruleCode=\"%s\"/>\n", r, r, kRules[r % 2]);
  std::fputs("</RuleContexts>\n<LoggingPolicys>\n<LoggingPolicy id=\"1\" name=\"Log all\"/>\n</LoggingPolicys>\n", out);
}

}  // namespace

bool WriteGeneratedPolicy(const std::string& path, int filters) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "wb"), &std::fclose);
  if (!file) return false;
  FILE* out = file.get();
  Counts counts{Share(filters, 10), Share(filters, 20), Share(filters, 20),
                Share(filters, 20), Share(filters, 50), Share(filters, 100)};
  std::fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Message><Request><SecurityConfiguration>\n", out);
  std::fputs(
      "<AgentConfiguration allowEncryptedDataCollection=\"false\">\n"
      "<LogConfiguration logInspectionStorageClip=\"10\" logInspectionSyslogClip=\"20\">"
      "<PacketFilterLog size=\"2048\" keep=\"5\" cacheSize=\"256\" logFlushInterval=\"30000\"/></LogConfiguration>\n"
      "<Features><Feature name=\"FW\" state=\"1\"/><Feature name=\"DPI\" state=\"1\"/></Features>\n"
      "<PacketFilterSetting defaultAction=\"allow\"/>\n<PayloadFilterSetting maxPayload=\"1500\"/>\n"
      "</AgentConfiguration>\n",
      out);
  WritePacketFilters(out, filters, counts);
  WriteConnectionTypes(out, counts);
  WritePayloadFilters(out, filters, counts);
  WriteInterfaces(out);
  WriteLists(out, counts);
  std::fputs("<SecurityProfile><PacketFilterAssignments>\n", out);
  for (int f = 1; f <= filters; ++f) WriteAssignment(out, "PacketFilterAssignment", "packetFilterId", f, f);
  std::fputs("</PacketFilterAssignments></SecurityProfile>\n<HostFilters><PayloadFilter2Assignments>\n", out);
  for (int f = 1; f <= filters; ++f)
    WriteAssignment(out, "PayloadFilter2Assignment", "payloadFilter2Id", kPayloadIdBase + f, f);
  std::fputs("</PayloadFilter2Assignments></HostFilters>\n", out);
  std::fputs("</SecurityConfiguration></Request></Message>\n", out);
  return std::ferror(out) == 0;
}

void AddGeneratedAdapters(RawConfig& rawConfig) {
  for (int i = 1; i <= kInterfaces; ++i) {
    auto platform = std::make_unique<AttrMap>();
    InsertAttr(*platform, "mac", Mac(i));
    InsertAttrMap(rawConfig.platformIfByMACMap, Mac(i), std::move(platform));
    auto driver = std::make_unique<AttrMap>();
    InsertAttr(*driver, "id", std::to_string(i));
    InsertAttr(*driver, "mac", Mac(i));
    InsertAttrMap(rawConfig.driverIfByMACMap, Mac(i), std::move(driver));
  }
}
