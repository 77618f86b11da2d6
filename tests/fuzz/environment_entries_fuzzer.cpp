// The environment family over any environment array: one object per entry,
// in order, and the name, "=" and value give the entry back whenever it had
// an "=".
//
// Input: the entries, each ended by a zero byte (the last one by the end).
#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "metadata/environment_variables.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> entries;
  std::string bytes(reinterpret_cast<const char*>(data), size);
  size_t start = 0;
  while (start < bytes.size()) {
    size_t end = bytes.find('\0', start);
    if (end == std::string::npos) end = bytes.size();
    entries.push_back(bytes.substr(start, end - start));
    start = end + 1;
  }
  std::vector<const char*> array;
  for (const std::string& entry : entries) array.push_back(entry.c_str());
  array.push_back(nullptr);

  for (const std::string& entry : entries) {
    EnvironmentVariable variable = SplitEnvironmentEntry(entry.c_str());
    Check(variable.name.find('=') == std::string::npos);
    if (entry.find('=') == std::string::npos) {
      Check(variable.name == entry && variable.value.empty());
    } else {
      Check(variable.name + "=" + variable.value == entry);
    }
  }

  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  Check(ReportEnvironment(document, results, "1", array.data()));
  const tinyxml2::XMLElement* result = results->FirstChildElement("HostMetaDataQueryResult");
  Check(result != nullptr && result->Attribute("hash") != nullptr);
  size_t count = 0;
  for (const tinyxml2::XMLElement* object = result->FirstChildElement("HostMetaDatas")->FirstChildElement(); object;
       object = object->NextSiblingElement()) {
    Check(count < entries.size());
    EnvironmentVariable variable = SplitEnvironmentEntry(entries[count].c_str());
    Check(variable.name == object->Attribute("identifier"));
    Check(variable.value == object->FirstChildElement("Attributes")->FirstChildElement()->Attribute("value"));
    ++count;
  }
  Check(count == entries.size());
  return 0;
}
