// The result shell that every query family builds in the response, and the
// attribute helper they all use. The server reads these elements and
// attributes by name and in this order, and ComputeHash walks them.
#pragma once

#include <tinyxml2.h>

#include <string>

struct HmdResultShell {
  tinyxml2::XMLElement* result;         // HostMetaDataQueryResult, for ComputeHash
  tinyxml2::XMLElement* hostMetaDatas;  // where the family's objects go
};

// Appends a HostMetaDataQueryResult with its HostMetaDatas to results, with
// commandVersion, id and hashAlg "SHA1" in that order; ComputeHash adds hash
// as the fourth attribute once the family has added its objects.
HmdResultShell AddResultShell(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                              const char* commandVersion, const std::string& id);

// Appends one reported object, a HostMetaData with type and identifier in
// that order, and returns its Attributes element.
tinyxml2::XMLElement* AddHostMetaData(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas,
                                      const char* type, const std::string& identifier);

// Appends an Attribute to attributesElement, with name and value in that
// order. Values are stored as they stand; tinyxml2 escapes them when it
// prints.
void AddAttribute(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributesElement,
                  const std::string& name, const std::string& value);
