// The attributes of one element of the agent configuration document,
// gathered before the element is printed.
#pragma once

#include <tinyxml2.h>

#include <cstring>
#include <utility>
#include <vector>

// Attributes in the order they were first set. A name set again keeps its
// place and takes the new value, as an attribute set twice on a tinyxml2
// element does; the document's bytes have always followed that rule. The
// texts are not copied: they must outlive the Print.
class ElementAttributes {
 public:
  void Set(const char* name, const char* value) {
    for (auto& entry : entries_) {
      if (std::strcmp(entry.first, name) == 0) {
        entry.second = value;
        return;
      }
    }
    entries_.emplace_back(name, value);
  }
  // For a name that no other attribute of the element can bear.
  void Add(const char* name, const char* value) { entries_.emplace_back(name, value); }
  // Onto the element the printer has just opened.
  void Print(tinyxml2::XMLPrinter& out) const {
    for (const auto& [name, value] : entries_) out.PushAttribute(name, value);
  }

 private:
  std::vector<std::pair<const char*, const char*>> entries_;
};

// Prints a copy of each child element of the fragment's root element, as
// they were parsed.
inline void PrintChildElements(const tinyxml2::XMLElement* root, tinyxml2::XMLPrinter& out) {
  if (root == nullptr) return;
  for (const tinyxml2::XMLElement* child = root->FirstChildElement(); child != nullptr;
       child = child->NextSiblingElement())
    child->Accept(&out);
}
