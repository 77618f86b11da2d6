#include "policy/policy_tree.h"

#include <string>
#include <utility>
#include <vector>

#include "log/debug_log.h"
#include "policy/strict_integer.h"

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;

const XMLElement* FirstPolicyElement(const tinyxml2::XMLDocument& doc, std::initializer_list<const char*> path) {
  const XMLElement* e = doc.FirstChildElement("Message");
  if (e != nullptr) e = e->FirstChildElement("Request");
  if (e != nullptr) e = e->FirstChildElement("SecurityConfiguration");
  for (const char* name : path) {
    if (e == nullptr) return nullptr;
    e = e->FirstChildElement(name);
  }
  return e;
}

size_t AttributeCount(const XMLElement& element) {
  size_t count = 0;
  for (const XMLAttribute* a = element.FirstAttribute(); a != nullptr; a = a->Next()) ++count;
  return count;
}

void CopyAttributes(const XMLElement& element, AttrMap& map, std::string_view prefix) {
  size_t count = AttributeCount(element);
  std::vector<std::pair<std::string_view, std::string_view>> batch;
  batch.reserve(count);
  // The prefixed names, whole before any view is taken of them.
  std::vector<std::string> keys;
  if (!prefix.empty()) {
    keys.reserve(count);
    for (const XMLAttribute* a = element.FirstAttribute(); a != nullptr; a = a->Next()) {
      keys.emplace_back(prefix);
      keys.back() += a->Name();
    }
  }
  size_t i = 0;
  for (const XMLAttribute* a = element.FirstAttribute(); a != nullptr; a = a->Next(), ++i)
    batch.emplace_back(prefix.empty() ? std::string_view(a->Name()) : std::string_view(keys[i]), a->Value());
  map.InsertAll(batch);
}

void StoreByKey(AttrMapIndex& index, const char* keyName, std::unique_ptr<AttrMap> entry) {
  auto key = entry->find(keyName);
  if (key == entry->end()) return;
  std::string keyValue = key->second;
  InsertAttrMap(index, std::move(keyValue), std::move(entry));
}

void ReadById(const tinyxml2::XMLDocument& doc, std::initializer_list<const char*> path, AttrMapIndex& index) {
  for (const XMLElement* e = FirstPolicyElement(doc, path); e != nullptr; e = e->NextSiblingElement()) {
    auto entry = std::make_unique<AttrMap>();
    CopyAttributes(*e, *entry);
    StoreByKey(index, "id", std::move(entry));
  }
}

int ReadStrictAttribute(const char* element, const XMLAttribute& attribute, int32_t& value) {
  StrictIntegerResult result = StrictStoi(attribute.Value(), value);
  if (result == StrictIntegerResult::Ok) return 0;
  // Where the number used to end the process, the translation fails and
  // says where the bad text stood.
  ZENT_LOG(1, L"%S: bad number in attribute(%S), value(%S): %S\n", element, attribute.Name(), attribute.Value(),
           StrictIntegerError(result));
  return -1;
}
