#include "policy/connection_types.h"

#include <string>

#include "log/debug_log.h"
#include "policy/element_attributes.h"
#include "policy/get_ports.h"
#include "policy/port_items.h"
#include "policy/strict_attribute.h"
#include "util/base64_decode.h"

using tinyxml2::XMLDocument;

namespace {

constexpr int32_t kProtocolIcmp = 1;
constexpr int32_t kProtocolTcp = 6;
constexpr int32_t kProtocolUdp = 17;
constexpr int32_t kProtocolTcpUdp = 0x1106;  // the two numbers side by side
// A connection type without a protocol counts as neither TCP nor UDP.
constexpr int32_t kProtocolNone = 77;

const std::string* FindAttr(const AttrMap& attrs, const char* key) {
  auto it = attrs.find(key);
  return it == attrs.end() ? nullptr : &it->second;
}

}  // namespace

int16_t IcmpTypeValue(bool inbound, int32_t icmpType1, int32_t icmpType2) {
  // A type of 255 counts as -1 and gives a negative text; the rule compiler
  // reads it that way.
  int32_t type1 = static_cast<int8_t>(icmpType1);
  int32_t type2 = static_cast<int8_t>(icmpType2);
  int32_t value = inbound ? type1 * 256 + type2 : type2 * 256 + type1;
  return static_cast<int16_t>(static_cast<uint16_t>(value));
}

void WriteConnectionTypes(RawConfig& rawConfig, tinyxml2::XMLPrinter& out) {
  int ctype = 0;
  for (auto& [key, entry] : rawConfig.connectionMap) {
    AttrMap& attrs = *entry;
    // Every entry takes a number, also one left out below: payload filters
    // that name it then refer to a ctype that no conType bears.
    std::string ctypeText = std::to_string(++ctype);
    // First insertion stands: a policy's own `ctype` attribute is what the
    // payload filters read.
    InsertAttr(attrs, "ctype", ctypeText);
    const std::string* nameAttr = FindAttr(attrs, "name");
    const std::string* idAttr = FindAttr(attrs, "id");
    std::string name = nameAttr ? *nameAttr : std::string();
    std::string id = idAttr ? *idAttr : std::string();

    int32_t macType = 0, ipType = 0;
    StrictAttribute(rawConfig, "connectionMap", key, attrs, "AddressInfo.macType", macType);
    if (macType != 0) {
      ZENT_LOG(1, L"macType is not zero, name(%S), id(%S)\n", name, id);
      continue;
    }
    StrictAttribute(rawConfig, "connectionMap", key, attrs, "AddressInfo.ipType", ipType);
    if (ipType != 0) {
      ZENT_LOG(1, L"ipType is not zero, name(%S), id(%S)\n", name, id);
      continue;
    }

    XMLDocument engine;
    if (const std::string* engineAttr = FindAttr(attrs, "engine")) {
      std::string engineCode = "<conType>\n" + Base64Decode(engineAttr->c_str()) + "</conType>\n";
      ZENT_LOG(6, L"engineCode=>\n%S\n", engineCode);
      if (engine.Parse(engineCode.c_str(), engineCode.size()) != tinyxml2::XML_SUCCESS) {
        ZENT_LOG(1, L"XML Parse failed for engineCode, name(%S), id(%S)\n", name, id);
        continue;
      }
      if (engine.FirstChild() == nullptr) {
        ZENT_LOG(1, L"XML read failed for engineCode, name(%S), id(%S)\n", name, id);
        continue;
      }
    }

    int32_t direction = 0, protocol = 0;
    bool inbound = StrictAttribute(rawConfig, "connectionMap", key, attrs, "direction", direction) && direction == 1;
    if (!StrictAttribute(rawConfig, "connectionMap", key, attrs, "protocol", protocol)) protocol = kProtocolNone;

    ElementAttributes element;
    element.Add("ctype", ctypeText.c_str());
    element.Add("inbound", inbound ? "1" : "0");
    if (!name.empty()) element.Add("name", name.c_str());
    if (!id.empty()) element.Add("mlm_id", id.c_str());

    if (protocol == kProtocolIcmp) {
      int32_t icmpType1 = 0, icmpType2 = 0;
      StrictAttribute(rawConfig, "connectionMap", key, attrs, "icmpType1", icmpType1);
      StrictAttribute(rawConfig, "connectionMap", key, attrs, "icmpType2", icmpType2);
      std::string icmpType = std::to_string(IcmpTypeValue(inbound, icmpType1, icmpType2));
      element.Add("icmp_type", icmpType.c_str());
      out.OpenElement("conType");
      element.Print(out);
      PrintChildElements(engine.FirstChildElement("conType"), out);
      out.CloseElement();
    } else {
      bool tcp = protocol == kProtocolTcp || protocol == kProtocolTcpUdp;
      bool udp = protocol == kProtocolUdp || protocol == kProtocolTcpUdp;
      element.Add("tcp", tcp ? "1" : "0");
      element.Add("udp", udp ? "1" : "0");
      if (const std::string* dynamicPort = FindAttr(attrs, "virtualPortName"))
        element.Add("dynamic_port", dynamicPort->c_str());

      std::string portRange;
      if (!GetPorts(rawConfig, attrs, portRange)) {
        ZENT_LOG(1, L"GetPorts failed, name(%S), id(%S)\n", name, id);
        continue;
      }
      ZENT_LOG(6, L"portRange(%S)\n", portRange);

      PortRange range;
      std::string lastPort;
      bool lastSeen = false;
      for (const PortItem& item : SplitPorts(portRange)) {
        std::string badText;
        StrictIntegerResult result = ApplyPortItem(item.text, item.last, range, badText);
        if (result != StrictIntegerResult::Ok) {
          ZENT_LOG(1, L"connectionMap(%S): bad number in port range(%S), value(%S): %S\n", key, item.text, badText,
                   StrictIntegerError(result));
          rawConfig.badNumber = true;
        }
        if (item.last) {
          lastPort = PortText(range);
          lastSeen = true;
          ZENT_LOG(6, L"port(%S), portHigh(%S), portLow(%S), more=false\n", item.text, range.portHigh,
                   range.portLow);
          continue;
        }
        // Each element but the last bears `more` "1": another element of
        // the same connection follows, for the rule compiler. The engine
        // children stand on the last element only.
        std::string port = PortText(range);
        out.OpenElement("conType");
        element.Print(out);
        out.PushAttribute("more", "1");
        out.PushAttribute("port", port.c_str());
        out.CloseElement();
        ZENT_LOG(6, L"port(%S), portHigh(%S), portLow(%S), more=true\n", item.text, range.portHigh, range.portLow);
      }
      if (lastSeen) element.Add("port", lastPort.c_str());
      out.OpenElement("conType");
      element.Print(out);
      PrintChildElements(engine.FirstChildElement("conType"), out);
      out.CloseElement();
    }
    ZENT_LOG(6, L"connection: ID(%S), attr(%p)\n", key, static_cast<const void*>(&attrs));
  }
}
