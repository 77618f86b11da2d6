#include "rule_compiler.h"

#include <openssl/evp.h>
#include <tinyxml2.h>

#include <cstring>
#include <map>
#include <memory>
#include <set>

#include "platform/config_pass_phrase.h"

namespace zentsim::mlc {

namespace {

// The encrypted form as the compiler reads it.
constexpr char kSaltMagic[] = "Salted__";
constexpr size_t kMagicSize = 8, kSaltSize = 16, kKeySize = 32, kIvSize = 16;
constexpr int kIterations = 1000;

// What the compiler requires of each element it knows: its place among the
// document's sections, the attributes that must be there, and those that
// must be integers where present.
struct ElementShape {
  int section;  // order of the top-level groups; 0 inside PacketEngine
  std::set<std::string> required;
  std::set<std::string> integers;
};

const std::map<std::string, ElementShape>& TopLevelShapes() {
  static const std::map<std::string, ElementShape> shapes = {
      {"SystemSetting", {1, {"name", "value"}, {}}},
      {"context", {2, {"id"}, {"id"}}},
      {"InterfaceConfig", {3, {"name", "interface"}, {"interface", "id"}}},
      {"PacketEngine", {4, {}, {}}},
      {"conType", {5, {"ctype", "inbound"}, {"ctype", "inbound", "tcp", "udp", "more", "icmp_type"}}},
      {"PayloadFilter",
       {6, {"ctype", "id"}, {"ctype", "id", "log_first_pdu", "log_first_pdu_time_interval", "ruleContextId", "interfaces"}}},
  };
  return shapes;
}

const std::map<std::string, ElementShape>& PacketEngineShapes() {
  static const std::map<std::string, ElementShape> shapes = {
      {"IPList", {0, {"id"}, {"id"}}},
      {"MacList", {0, {"id"}, {"id"}}},
      {"PortList", {0, {"id"}, {"id"}}},
      {"Schedule", {0, {"id"}, {"id"}}},
      {"LoggingPolicy", {0, {"id"}, {"id"}}},
      {"packetFilter", {0, {"id"}, {"id", "interfaces"}}},
  };
  return shapes;
}

bool IsInteger(const char* text) {
  if (*text == '-') ++text;
  if (*text == '\0') return false;
  for (; *text; ++text) {
    if (*text < '0' || *text > '9') return false;
  }
  return true;
}

std::string Where(const tinyxml2::XMLElement* element) {
  return "line " + std::to_string(element->GetLineNum()) + ": " + element->Name();
}

void CheckShape(const tinyxml2::XMLElement* element, const ElementShape& shape, std::vector<std::string>& errors) {
  for (const std::string& name : shape.required) {
    if (element->Attribute(name.c_str()) == nullptr) errors.push_back(Where(element) + " lacks " + name);
  }
  for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a; a = a->Next()) {
    if (shape.integers.count(a->Name()) && !IsInteger(a->Value())) {
      errors.push_back(Where(element) + " " + a->Name() + "=\"" + a->Value() + "\" is not an integer");
    }
  }
}

// One rule: the element's name and attributes, indented by its depth below
// fset, and then the rules of its children.
void AddRules(const tinyxml2::XMLElement* element, int depth, std::vector<std::string>& rules) {
  std::string rule(2 * depth, ' ');
  rule += element->Name();
  for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a; a = a->Next()) {
    rule += std::string(" ") + a->Name() + "=\"" + a->Value() + "\"";
  }
  rules.push_back(rule);
  for (const tinyxml2::XMLElement* child = element->FirstChildElement(); child; child = child->NextSiblingElement()) {
    AddRules(child, depth + 1, rules);
  }
}

}  // namespace

bool DecryptDocument(const std::string& encrypted, std::string& text, std::string& error) {
  const size_t headerSize = kMagicSize + kSaltSize;
  if (encrypted.size() < headerSize + 16 || encrypted.compare(0, kMagicSize, kSaltMagic) != 0 ||
      (encrypted.size() - headerSize) % 16 != 0) {
    error = "not an encrypted configuration document";
    return false;
  }
  const auto* salt = reinterpret_cast<const unsigned char*>(encrypted.data() + kMagicSize);
  unsigned char derived[kKeySize + kIvSize];
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> ctx(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  text.assign(encrypted.size() - headerSize + 16, '\0');
  int first = 0, last = 0;
  bool ok = ctx && PKCS5_PBKDF2_HMAC(reinterpret_cast<const char*>(kConfigPassPhrase), kConfigPassPhraseSize, salt,
                                     kSaltSize, kIterations, EVP_sha512(), sizeof derived, derived) == 1 &&
            EVP_DecryptInit_ex(ctx.get(), EVP_aes_256_cbc(), nullptr, derived, derived + kKeySize) == 1 &&
            EVP_DecryptUpdate(ctx.get(), reinterpret_cast<unsigned char*>(text.data()), &first,
                              reinterpret_cast<const unsigned char*>(encrypted.data() + headerSize),
                              static_cast<int>(encrypted.size() - headerSize)) == 1 &&
            EVP_DecryptFinal_ex(ctx.get(), reinterpret_cast<unsigned char*>(text.data()) + first, &last) == 1;
  std::memset(derived, 0, sizeof derived);
  if (!ok) {
    error = "the document does not decrypt with the configuration pass phrase";
    return false;
  }
  text.resize(static_cast<size_t>(first + last));
  return true;
}

Compilation CompileDocument(const std::string& text) {
  Compilation out;
  tinyxml2::XMLDocument document;
  if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
    out.errors.push_back(std::string("not XML: ") + document.ErrorStr());
    return out;
  }
  const tinyxml2::XMLElement* root = document.RootElement();
  if (root == nullptr || std::strcmp(root->Name(), "fset") != 0) {
    out.errors.push_back("the root element is not fset");
    return out;
  }
  int section = 0;
  int packetEngines = 0;
  std::set<std::string> ctypes;
  std::vector<const tinyxml2::XMLElement*> payloadFilters;
  for (const tinyxml2::XMLElement* child = root->FirstChildElement(); child; child = child->NextSiblingElement()) {
    auto shape = TopLevelShapes().find(child->Name());
    if (shape == TopLevelShapes().end()) {
      out.errors.push_back(Where(child) + " is not an element of fset");
      continue;
    }
    if (shape->second.section < section) out.errors.push_back(Where(child) + " is out of order");
    section = shape->second.section;
    CheckShape(child, shape->second, out.errors);
    if (shape->first == "PacketEngine") {
      ++packetEngines;
      for (const tinyxml2::XMLElement* item = child->FirstChildElement(); item; item = item->NextSiblingElement()) {
        auto itemShape = PacketEngineShapes().find(item->Name());
        if (itemShape == PacketEngineShapes().end()) {
          out.errors.push_back(Where(item) + " is not an element of PacketEngine");
        } else {
          CheckShape(item, itemShape->second, out.errors);
        }
      }
    } else if (shape->first == "conType" && child->Attribute("ctype")) {
      ctypes.insert(child->Attribute("ctype"));
    } else if (shape->first == "PayloadFilter") {
      payloadFilters.push_back(child);
    }
  }
  if (packetEngines != 1) out.errors.push_back(std::to_string(packetEngines) + " PacketEngine elements, not one");
  for (const tinyxml2::XMLElement* filter : payloadFilters) {
    const char* ctype = filter->Attribute("ctype");
    if (ctype && !ctypes.count(ctype)) {
      out.errors.push_back(Where(filter) + " ctype=\"" + ctype + "\" names no conType");
    }
  }
  if (!out.errors.empty()) return out;

  std::map<std::string, int> counts;
  for (const tinyxml2::XMLElement* child = root->FirstChildElement(); child; child = child->NextSiblingElement()) {
    AddRules(child, 0, out.rules);
    ++counts[child->Name()];
    if (std::strcmp(child->Name(), "PacketEngine") == 0) {
      for (const tinyxml2::XMLElement* item = child->FirstChildElement(); item; item = item->NextSiblingElement()) {
        ++counts[item->Name()];
      }
    }
  }
  for (const auto& [name, count] : counts) out.report += "  " + name + ": " + std::to_string(count) + "\n";
  return out;
}

}  // namespace zentsim::mlc
