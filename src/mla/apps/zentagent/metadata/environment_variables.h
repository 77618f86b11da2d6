// The "getEnvironment" query family's rules: each entry of the C runtime's
// environment array becomes one object. The array is passed in, so that the
// rules can be tried on entries the runtime never hands over.
#pragma once

#include <tinyxml2.h>

#include <string>

struct EnvironmentVariable {
  std::string name;   // before the first "=": empty when the entry starts with one
  std::string value;  // after it: empty when the entry has none
};

EnvironmentVariable SplitEnvironmentEntry(const char* entry);

// Builds the result (commandVersion "1") with one "environmentVariable"
// object per entry of the null-terminated array, in its order, the bytes as
// they stand, and its hash. Always true.
bool ReportEnvironment(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                       const char* const* entries);
