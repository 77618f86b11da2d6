// The agent configuration document in the section writers' tests: an fset
// root, and its clear form as the rule compiler receives it.
#pragma once

#include <tinyxml2.h>

#include <string>

// The section a writer prints into an open fset root, in tinyxml2's
// indented form as the rule compiler receives it.
template <class Writer>
std::string PrintFset(Writer writer) {
  tinyxml2::XMLPrinter printer;
  printer.OpenElement("fset");
  writer(printer);
  printer.CloseElement();
  return printer.CStr();
}
