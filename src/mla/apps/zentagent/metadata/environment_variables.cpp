#include "metadata/environment_variables.h"

#include <cstring>

#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"

EnvironmentVariable SplitEnvironmentEntry(const char* entry) {
  const char* equals = std::strchr(entry, '=');
  if (equals == nullptr) return {entry, ""};
  return {std::string(entry, equals), equals + 1};
}

bool ReportEnvironment(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                       const char* const* entries) {
  HmdResultShell shell = AddResultShell(document, results, "1", id);
  for (const char* const* entry = entries; entry != nullptr && *entry != nullptr; ++entry) {
    EnvironmentVariable variable = SplitEnvironmentEntry(*entry);
    tinyxml2::XMLElement* attributes =
        AddHostMetaData(document, shell.hostMetaDatas, "environmentVariable", variable.name);
    AddAttribute(document, attributes, "value", variable.value);
  }
  ComputeHash(shell.result);
  return true;
}
