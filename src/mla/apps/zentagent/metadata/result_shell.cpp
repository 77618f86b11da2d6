#include "metadata/result_shell.h"

HmdResultShell AddResultShell(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                              const char* commandVersion, const std::string& id) {
  tinyxml2::XMLElement* result = document.NewElement("HostMetaDataQueryResult");
  tinyxml2::XMLElement* hostMetaDatas = document.NewElement("HostMetaDatas");
  results->InsertEndChild(result);
  result->InsertEndChild(hostMetaDatas);
  result->SetAttribute("commandVersion", commandVersion);
  result->SetAttribute("id", id.c_str());
  result->SetAttribute("hashAlg", "SHA1");
  return {result, hostMetaDatas};
}

tinyxml2::XMLElement* AddHostMetaData(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas,
                                      const char* type, const std::string& identifier) {
  tinyxml2::XMLElement* hostMetaData = document.NewElement("HostMetaData");
  hostMetaDatas->InsertEndChild(hostMetaData);
  hostMetaData->SetAttribute("type", type);
  hostMetaData->SetAttribute("identifier", identifier.c_str());
  tinyxml2::XMLElement* attributes = document.NewElement("Attributes");
  hostMetaData->InsertEndChild(attributes);
  return attributes;
}

void AddAttribute(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributesElement,
                  const std::string& name, const std::string& value) {
  tinyxml2::XMLElement* attribute = document.NewElement("Attribute");
  attributesElement->InsertEndChild(attribute);
  attribute->SetAttribute("name", name.c_str());
  attribute->SetAttribute("value", value.c_str());
}
