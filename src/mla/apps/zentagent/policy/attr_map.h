// AttrMap: the attributes of one element of the manager's policy, and the
// maps of RawConfig that hold AttrMaps by a key attribute.
#pragma once

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Keys order bytewise, common length by memcmp and then the shorter first:
// "10" comes before "9". The agent configuration document shows this order.
inline bool BytewiseBefore(std::string_view a, std::string_view b) {
  // Attribute names mostly differ in their first byte: told apart here
  // without a call.
  if (!a.empty() && !b.empty() && a[0] != b[0])
    return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]);
  size_t common = a.size() < b.size() ? a.size() : b.size();
  int c = common == 0 ? 0 : std::memcmp(a.data(), b.data(), common);
  return c != 0 ? c < 0 : a.size() < b.size();
}

struct BytewiseLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return BytewiseBefore(a, b); }
};

// Attribute name to attribute value, 8-bit text as the XML holds it, in
// bytewise key order. An element has a handful of attributes and the
// translator holds one map per element, hundreds of thousands of them for a
// large policy: a sorted vector keeps them in one block each, where a tree
// took a block per attribute.
class AttrMap {
 public:
  using value_type = std::pair<std::string, std::string>;
  using iterator = std::vector<value_type>::iterator;
  using const_iterator = std::vector<value_type>::const_iterator;

  AttrMap() = default;
  AttrMap(std::initializer_list<value_type> entries) {
    entries_.reserve(entries.size());
    for (const value_type& entry : entries) emplace(entry.first, entry.second);
  }

  iterator begin() { return entries_.begin(); }
  iterator end() { return entries_.end(); }
  const_iterator begin() const { return entries_.begin(); }
  const_iterator end() const { return entries_.end(); }
  size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  void clear() { entries_.clear(); }
  void reserve(size_t count) { entries_.reserve(count); }

  iterator find(std::string_view key) {
    auto it = LowerBound(key);
    return it != entries_.end() && it->first == key ? it : entries_.end();
  }
  const_iterator find(std::string_view key) const { return const_cast<AttrMap*>(this)->find(key); }
  size_t count(std::string_view key) const { return find(key) == end() ? 0 : 1; }
  const std::string& at(std::string_view key) const {
    auto it = find(key);
    if (it == end()) throw std::out_of_range("AttrMap::at");
    return it->second;
  }

  // As std::map: the value of key, made empty if absent.
  std::string& operator[](std::string_view key) { return emplace(key, std::string_view()).first->second; }

  // As std::map: a key already present keeps its value.
  template <class Key, class Value>
  std::pair<iterator, bool> emplace(Key&& key, Value&& value) {
    std::string_view keyView(key);
    auto it = LowerBound(keyView);
    if (it != entries_.end() && it->first == keyView) return {it, false};
    return {entries_.emplace(it, std::string(std::forward<Key>(key)), std::string(std::forward<Value>(value))), true};
  }
  // As emplace for each entry of batch in turn, at one go: a key already
  // present, or met earlier in batch, keeps its first value. Reorders
  // batch. An element's attributes come in any order; sorting views of them
  // once costs less than inserting the strings one by one into the middle.
  void InsertAll(std::vector<std::pair<std::string_view, std::string_view>>& batch) {
    auto before = [](const auto& a, const auto& b) { return BytewiseBefore(a.first, b.first); };
    if (batch.size() > kShortBatch) {
      std::stable_sort(batch.begin(), batch.end(), before);
    } else {
      // An element's handful of attributes: sorted in place, equal keys in
      // batch order.
      for (size_t i = 1; i < batch.size(); ++i) {
        auto item = batch[i];
        size_t j = i;
        for (; j > 0 && before(item, batch[j - 1]); --j) batch[j] = batch[j - 1];
        batch[j] = item;
      }
    }
    if (entries_.empty()) {
      entries_.reserve(batch.size());
      for (size_t i = 0; i < batch.size(); ++i)
        if (i == 0 || batch[i].first != batch[i - 1].first) entries_.emplace_back(batch[i].first, batch[i].second);
      return;
    }
    std::vector<value_type> merged;
    merged.reserve(entries_.size() + batch.size());
    auto old = entries_.begin();
    for (size_t i = 0; i < batch.size(); ++i) {
      if (i > 0 && batch[i].first == batch[i - 1].first) continue;
      while (old != entries_.end() && BytewiseBefore(old->first, batch[i].first)) merged.push_back(std::move(*old++));
      if (old != entries_.end() && old->first == batch[i].first) continue;
      merged.emplace_back(batch[i].first, batch[i].second);
    }
    while (old != entries_.end()) merged.push_back(std::move(*old++));
    entries_ = std::move(merged);
  }
  size_t erase(std::string_view key) {
    auto it = find(key);
    if (it == entries_.end()) return 0;
    entries_.erase(it);
    return 1;
  }

  friend bool operator==(const AttrMap& a, const AttrMap& b) { return a.entries_ == b.entries_; }
  friend bool operator!=(const AttrMap& a, const AttrMap& b) { return !(a == b); }

 private:
  iterator LowerBound(std::string_view key) {
    return std::lower_bound(entries_.begin(), entries_.end(), key,
                            [](const value_type& entry, std::string_view k) { return BytewiseBefore(entry.first, k); });
  }

  static constexpr size_t kShortBatch = 32;
  std::vector<value_type> entries_;
};

// Key attribute's value to the element's attributes. The map owns what it
// holds.
using AttrMapIndex = std::map<std::string, std::unique_ptr<AttrMap>, BytewiseLess>;

// Looks key up in index for keys asked in ascending order: `from` only moves
// forward, so a walk over another map in the same key order finds all its
// entries in one pass over index. index.end() when the key is absent.
inline AttrMapIndex::const_iterator FindInOrder(const AttrMapIndex& index, AttrMapIndex::const_iterator& from,
                                                std::string_view key) {
  while (from != index.end() && BytewiseBefore(from->first, key)) ++from;
  return from != index.end() && from->first == key ? from : index.end();
}

// Filter id to a set of ids as decimal text.
using IdSetMap = std::map<std::string, std::set<std::string, BytewiseLess>, BytewiseLess>;

// First insertion stands: a key already present keeps its first value.
inline void InsertAttr(AttrMap& map, std::string_view key, std::string_view value) { map.emplace(key, value); }

// First insertion stands: a duplicate key keeps the first entry, and the
// newcomer is freed here rather than left behind unowned.
inline void InsertAttrMap(AttrMapIndex& index, std::string key, std::unique_ptr<AttrMap> entry) {
  index.try_emplace(std::move(key), std::move(entry));
}
