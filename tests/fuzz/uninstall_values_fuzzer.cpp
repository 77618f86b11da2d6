// The installed software family's rules over any uninstall subkey: any set
// of values, of any type, readable or not, with any text. Whether the subkey
// is listed follows the three listing values alone, attributes come in the
// server's order, and each formatted text keeps its shape.
//
// Input: for each value name in kNames, one byte (bit 0 present, bit 1
// unreadable, bits 2-4 type: 0 to 5, or 11 from 6 on), four bytes of DWORD
// data, one length byte and that many text bytes; missing bytes read as 0.
#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "metadata/compute_hash.h"
#include "metadata/installed_software.h"
#include "metadata/result_shell.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

struct Value {
  uint32_t type = 0;
  bool readable = true;
  uint32_t number = 0;
  std::string text;
};

const char* const kNames[] = {"DisplayName",  "UninstallString", "SystemComponent", "DisplayVersion",
                              "Version",      "VersionMajor",    "VersionMinor",    "InstallDate",
                              "Publisher",    "InstallLocation", "ParentKeyName",   "EstimatedSize"};

// The attribute names in the only order they may come.
const char* const kOrder[] = {"name", "version", "installedDate", "manufacturer", "installLocation", "parent", "size"};

class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : 0; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

bool IsDigits(const std::string& text, size_t from, size_t count) {
  for (size_t i = from; i < from + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  std::map<std::string, Value> key;
  for (const char* name : kNames) {
    uint8_t flags = input.Byte();
    Value value;
    uint32_t type = (flags >> 2) & 7;
    value.type = type <= 5 ? type : 11;
    value.readable = (flags & 2) == 0;
    for (int i = 0; i < 4; ++i) value.number |= static_cast<uint32_t>(input.Byte()) << (8 * i);
    uint8_t length = input.Byte();
    for (uint8_t i = 0; i < length; ++i) value.text += static_cast<char>(input.Byte());
    if (flags & 1) key[name] = value;
  }
  UninstallValueReads reads{
      [&key](const std::string& name) { return key.count(name) != 0; },
      [&key](const std::string& name) { return key.count(name) ? key[name].type : 0u; },
      [&key](const std::string& name, std::string& text) {
        if (!key.count(name) || !key[name].readable) return false;
        text = key[name].text;
        return true;
      },
      [&key](const std::string& name, uint32_t& value) {
        if (!key.count(name) || !key[name].readable) return false;
        value = key[name].number;
        return true;
      },
  };

  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "2", "1");
  bool added = AddInstalledSoftwareObject(document, shell.hostMetaDatas, "Sub", "HKEY_LOCAL_MACHINE\\U\\Sub", reads);
  bool listed = key.count("SystemComponent") == 0 && key.count("UninstallString") && key.count("DisplayName");
  Check(added == listed);
  const tinyxml2::XMLElement* object = shell.hostMetaDatas->FirstChildElement("HostMetaData");
  Check((object != nullptr) == added);
  if (object != nullptr) {
    size_t next = 0;
    for (const tinyxml2::XMLElement* a = object->FirstChildElement("Attributes")->FirstChildElement(); a;
         a = a->NextSiblingElement()) {
      std::string name = a->Attribute("name");
      std::string value = a->Attribute("value");
      while (next < std::size(kOrder) && name != kOrder[next]) ++next;
      Check(next < std::size(kOrder));
      if (name == "installLocation") Check(!value.empty());
      if (name == "size") {
        Check(key["EstimatedSize"].type == kUninstallRegDword);
        Check(std::stoll(value) == static_cast<int64_t>(static_cast<int32_t>(key["EstimatedSize"].number)) * 1024);
      }
      if (name == "installedDate" && value.size() == 10 && value[4] == '-' && value[7] == '-' &&
          IsDigits(value, 0, 4) && IsDigits(value, 5, 2) && IsDigits(value, 8, 2)) {
        Check(key["InstallDate"].type == kUninstallRegSz || key["InstallDate"].type == kUninstallRegExpandSz);
      }
      ++next;
    }
  }
  Check(InstalledDateText(key["InstallDate"].text).size() == key["InstallDate"].text.size() +
                                                                 (key["InstallDate"].text.size() == 8 &&
                                                                          IsDigits(key["InstallDate"].text, 0, 8)
                                                                      ? 2
                                                                      : 0));
  ComputeHash(shell.result);
  Check(shell.result->Attribute("hash") != nullptr);
  return 0;
}
