// The port text of a connection type cut into the items that become the
// `port` attributes of its conType elements.
#pragma once

#include <string>
#include <vector>

#include "policy/strict_integer.h"

// One item of the port text. `last` marks what lies behind the last
// separator, or the whole text when there is none.
struct PortItem {
  std::string text;
  bool last;
};

// The items between the separators " " and ",", in order, empty ones left
// out: an empty last item gives no element of its own, and a separator at
// the start gives only an empty item, skipped like any other.
std::vector<PortItem> SplitPorts(const std::string& text);

// The two ends that live across the items of one connection, both empty at
// its start. portLow is the low end, or a single port.
struct PortRange {
  std::string portLow;
  std::string portHigh;
};

// Applies one item to the range. A range "a-b" sets portHigh to a and
// portLow to b, swapped when a is less than b, both by the strict rule; a
// single port sets portLow and clears portHigh, but not for the last item.
// A bad end gives its result and, in badText, the text that held it; the
// ends are then left as read, unswapped.
StrictIntegerResult ApplyPortItem(const std::string& item, bool lastItem, PortRange& range, std::string& badText);

// The `port` attribute: portLow, then "-" and portHigh when it isn't empty.
std::string PortText(const PortRange& range);
