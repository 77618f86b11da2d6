// AttrMap: the attributes of one element of the manager's policy, and the
// maps of RawConfig that hold AttrMaps by a key attribute.
#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

// Keys order bytewise, common length by memcmp and then the shorter first:
// "10" comes before "9". The agent configuration document shows this order.
struct BytewiseLess {
  bool operator()(const std::string& a, const std::string& b) const {
    size_t common = a.size() < b.size() ? a.size() : b.size();
    int c = std::memcmp(a.data(), b.data(), common);
    return c != 0 ? c < 0 : a.size() < b.size();
  }
};

// Attribute name to attribute value, 8-bit text as the XML holds it.
using AttrMap = std::map<std::string, std::string, BytewiseLess>;

// Key attribute's value to the element's attributes. The map owns what it
// holds.
using AttrMapIndex = std::map<std::string, std::unique_ptr<AttrMap>, BytewiseLess>;

// Filter id to a set of ids as decimal text.
using IdSetMap = std::map<std::string, std::set<std::string, BytewiseLess>, BytewiseLess>;

// First insertion stands: a key already present keeps its first value.
inline void InsertAttr(AttrMap& map, const std::string& key, const std::string& value) {
  map.emplace(key, value);
}

// First insertion stands: a duplicate key keeps the first entry, and the
// newcomer is freed here rather than left behind unowned.
inline void InsertAttrMap(AttrMapIndex& index, const std::string& key, std::unique_ptr<AttrMap> entry) {
  index.try_emplace(key, std::move(entry));
}
