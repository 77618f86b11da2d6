// The agent configuration document under construction in the section
// writers' tests: an fset root, and its clear form as the rule compiler
// receives it.
#pragma once

#include <tinyxml2.h>

#include <string>

// Appends the fset root to an empty document.
inline tinyxml2::XMLElement* NewFset(tinyxml2::XMLDocument& document) {
  return document.InsertEndChild(document.NewElement("fset"))->ToElement();
}

// tinyxml2's normal indented print, the clear form of the document.
inline std::string PrintDocument(const tinyxml2::XMLDocument& document) {
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return printer.CStr();
}
