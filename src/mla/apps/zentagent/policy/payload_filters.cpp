#include "policy/payload_filters.h"

#include <set>
#include <string>
#include <vector>

#include "log/debug_log.h"
#include "policy/element_attributes.h"
#include "policy/interface_mask.h"
#include "policy/strict_attribute.h"
#include "policy/strict_integer.h"
#include "util/base64_decode.h"

using tinyxml2::XMLElement;

namespace {

constexpr int kPriorityCount = 4;
// One character for each hour of the week.
constexpr size_t kHourOfWeekLength = 168;

const std::string* Find(const AttrMap& attrs, const char* key) {
  auto it = attrs.find(key);
  return it == attrs.end() ? nullptr : &it->second;
}

bool IsTrue(const AttrMap& attrs, const char* key) {
  const std::string* value = Find(attrs, key);
  return value != nullptr && *value == "true";
}

void CopyAttribute(const AttrMap& attrs, const char* key, ElementAttributes& element) {
  if (const std::string* value = Find(attrs, key)) element.Add(key, value->c_str());
}

// The `log` word, comma-joined in a fixed order; the first-PDU timeout goes
// into its two attributes on the way, so they stand before `log`;
// timeoutText holds the text of the second.
std::string LogFlagWord(RawConfig& rawConfig, const std::string& filterId, const AttrMap& filter,
                        ElementAttributes& element, std::string& timeoutText) {
  // "disable" ends the list: nothing after it is even read.
  if (IsTrue(filter, "disableLog")) return "disable";
  std::string word;
  auto add = [&word](const char* flag) {
    if (!word.empty()) word += ",";
    word += flag;
  };
  if (IsTrue(filter, "includePacketData")) {
    // Packet data already logs the first PDU: its timeout is not read.
    add("data");
  } else {
    int32_t timeout = 0;
    StrictAttribute(rawConfig, "payloadFilterMap", filterId, filter, "logFirstPduTimeout", timeout);
    if (timeout != 0) {
      element.Add("log_first_pdu", "1");
      // Rebuilt from the number: "007" is written "7".
      timeoutText = std::to_string(timeout);
      element.Add("log_first_pdu_time_interval", timeoutText.c_str());
    }
  }
  if (IsTrue(filter, "logPacketDrop")) add("drop");
  if (IsTrue(filter, "logPacketModify")) add("modify");
  if (IsTrue(filter, "debugMode")) add("debug");
  const std::string* mode = Find(filter, "mode");
  if (mode != nullptr && *mode == "1") add("passive");
  return word;
}

// A payload filter bound to interfaces, with its priority read once for
// the four passes.
struct BoundFilter {
  const std::string* filterId;
  const std::set<std::string, BytewiseLess>* interfaceIds;
  const AttrMap* filter;
  enum { Missing, Bad, Read } priorityState;
  int32_t priority;
};

// The entries of filterInterfaceIdMap whose filter is in payloadFilterMap,
// in key order. Both maps are in that order, and are walked side by side.
std::vector<BoundFilter> BoundPayloadFilters(const RawConfig& rawConfig) {
  std::vector<BoundFilter> bound;
  auto from = rawConfig.payloadFilterMap.cbegin();
  for (const auto& [filterId, interfaceIds] : rawConfig.filterInterfaceIdMap) {
    auto filterIt = FindInOrder(rawConfig.payloadFilterMap, from, filterId);
    if (filterIt == rawConfig.payloadFilterMap.end()) continue;
    const AttrMap& filter = *filterIt->second;
    BoundFilter entry{&filterId, &interfaceIds, &filter, BoundFilter::Missing, 0};
    if (const std::string* priority = Find(filter, "priority"))
      entry.priorityState =
          StrictStoi(*priority, entry.priority) == StrictIntegerResult::Ok ? BoundFilter::Read : BoundFilter::Bad;
    bound.push_back(entry);
  }
  return bound;
}

}  // namespace

void WriteDpiFilters(RawConfig& rawConfig, tinyxml2::XMLPrinter& out) {
  // Only interface bindings are written: a payload filter assigned by ipId
  // alone reaches no element.
  const std::vector<BoundFilter> bound = BoundPayloadFilters(rawConfig);
  // One scratch document for every rules fragment: each parse starts it
  // afresh.
  tinyxml2::XMLDocument scratch;
  for (int pass = 0; pass < kPriorityCount; ++pass) {
    for (const BoundFilter& entry : bound) {
      const std::string& filterId = *entry.filterId;
      const AttrMap& filter = *entry.filter;

      // A missing or bad priority is reported in each of the four passes.
      if (entry.priorityState == BoundFilter::Missing) {
        ZENT_LOG(1, L"cannot find priority in payload filter attributes\n");
        continue;
      }
      int32_t priority = entry.priority;
      if (entry.priorityState == BoundFilter::Bad &&
          !StrictAttribute(rawConfig, "payloadFilterMap", filterId, filter, "priority", priority))
        continue;
      // Priorities outside 0 to 3 are never written, and quietly.
      if (priority != pass) continue;

      // Everything the element shows is read before it is printed, in the
      // order of the log lines.
      ElementAttributes element;

      const std::string* connectionTypeId = Find(filter, "connectionTypeId");
      if (connectionTypeId == nullptr) {
        ZENT_LOG(1, L"cannot find connectionTypeId in payload filter attributes\n");
      } else {
        auto connection = rawConfig.connectionMap.find(*connectionTypeId);
        if (connection == rawConfig.connectionMap.end()) {
          ZENT_LOG(1, L"cannot find corresponding connection in connectionMap\n");
        } else if (const std::string* ctype = Find(*connection->second, "ctype")) {
          element.Add("ctype", ctype->c_str());
        } else {
          ZENT_LOG(1, L"cannot find ctype in this connection\n");
        }
      }

      CopyAttribute(filter, "id", element);
      CopyAttribute(filter, "name", element);

      // The two hourOfWeek tests stand in this order and sense on purpose: a
      // value of zeros and ones counts as illegal, so `schedbits` is never
      // written. The Schedule elements reach the compiler through
      // PacketEngine all the same.
      if (const std::string* scheduleId = Find(filter, "scheduleId")) {
        auto schedule = rawConfig.scheduleMap.find(*scheduleId);
        const std::string* hourOfWeek =
            schedule == rawConfig.scheduleMap.end() ? nullptr : Find(*schedule->second, "hourOfWeek");
        if (schedule == rawConfig.scheduleMap.end()) {
          // "assoicated" is the message's spelling; log readers search for it.
          ZENT_LOG(1, L"cannot find assoicated schedule\n");
        } else if (hourOfWeek == nullptr) {
          ZENT_LOG(1, L"cannot find hourOfWeek in schedule tag\n");
        } else if (hourOfWeek->size() != kHourOfWeekLength) {
          ZENT_LOG(1, L"hourOfWeek only contains %d bits\n", static_cast<int>(hourOfWeek->size()));
        } else if (hourOfWeek->find_first_of("01") != std::string::npos) {
          ZENT_LOG(1, L"hourOfWeek contains illegal value %S\n", *hourOfWeek);
        } else if (hourOfWeek->find('0') != std::string::npos) {
          element.Add("schedbits", hourOfWeek->c_str());
        }
      }

      std::string timeoutText;
      std::string log = LogFlagWord(rawConfig, filterId, filter, element, timeoutText);
      element.Add("log", log.c_str());

      CopyAttribute(filter, "ruleContextId", element);

      const XMLElement* ruleChildren = nullptr;
      if (const std::string* rules = Find(filter, "rules")) {
        std::string ruleCode = "<PayloadFilter>\n" + Base64Decode(rules->c_str()) + "</PayloadFilter>\n";
        ZENT_LOG(6, L"ruleCode=>\n%S\n", ruleCode);
        // The element stays in the document whatever the fragment holds.
        if (scratch.Parse(ruleCode.c_str(), ruleCode.size()) != tinyxml2::XML_SUCCESS) {
          ZENT_LOG(1, L"XML Parse failed for ruleCode\n");
        } else if (scratch.FirstChild() == nullptr) {
          ZENT_LOG(1, L"XML read failed for ruleCode\n");
        } else {
          ruleChildren = scratch.FirstChildElement("PayloadFilter");
        }
      }

      std::string interfaces = GetInterfaceMask(rawConfig, *entry.interfaceIds);
      if (!interfaces.empty()) element.Add("interfaces", interfaces.c_str());
      out.OpenElement("PayloadFilter");
      element.Print(out);
      PrintChildElements(ruleChildren, out);
      out.CloseElement();

      ZENT_LOG(6, L"Dpi filter added: ID(%S)\n", filterId);
    }
  }
}
