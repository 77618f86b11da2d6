#include "policy/port_items.h"

#include <utility>

std::vector<PortItem> SplitPorts(const std::string& text) {
  std::vector<PortItem> items;
  size_t start = 0;
  for (size_t sep = text.find_first_of(" ,"); sep != std::string::npos; sep = text.find_first_of(" ,", start)) {
    if (sep > start) items.push_back({text.substr(start, sep - start), false});
    start = sep + 1;
  }
  if (start < text.size()) items.push_back({text.substr(start), true});
  return items;
}

StrictIntegerResult ApplyPortItem(const std::string& item, bool lastItem, PortRange& range, std::string& badText) {
  size_t dash = item.find('-');
  if (dash == std::string::npos) {
    range.portLow = item;
    // The last item keeps the previous item's high end: "80-90,100" ends in
    // "100-90", and that is what the rule compiler receives.
    if (!lastItem) range.portHigh.clear();
    return StrictIntegerResult::Ok;
  }
  range.portHigh = item.substr(0, dash);
  range.portLow = item.substr(dash + 1);
  int32_t high = 0, low = 0;
  for (auto [text, value] : {std::pair{&range.portHigh, &high}, std::pair{&range.portLow, &low}}) {
    StrictIntegerResult result = StrictStoi(*text, *value);
    if (result != StrictIntegerResult::Ok) {
      badText = *text;
      return result;
    }
  }
  if (high < low) std::swap(range.portHigh, range.portLow);
  return StrictIntegerResult::Ok;
}

std::string PortText(const PortRange& range) {
  return range.portHigh.empty() ? range.portLow : range.portLow + "-" + range.portHigh;
}
