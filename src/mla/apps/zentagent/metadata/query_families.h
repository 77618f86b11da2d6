// The table by which the query engine finds the handler of a query's family.
// A family plugs in with one file of its own (its handler, which builds the
// result shell, adds its objects and ends with ComputeHash) and one row in
// HmdQueryFamilies. See docs/metadata.md.
#pragma once

#include <tinyxml2.h>

#include <span>
#include <string>

// Every handler is called with the document, the HostMetaDataQueryResults
// element, the query's id and its three arguments (empty when absent). A
// family that takes fewer arguments gets them through a captureless lambda
// in its row. The result only decides whether the success line is logged.
using HmdQueryHandler = bool (*)(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                                 const std::string& id, const std::string& arg1, const std::string& arg2,
                                 const std::string& arg3);

// The shape of a family's success line at level 6, after the handler's name:
// "%S succeeded", "%S succeeded: key(%S)",
// "%S succeeded: key(%S), value(%S)" or "%S succeeded: file(%S)", the
// arguments being the handler's name, then arg1 and arg2 as needed.
enum class HmdSuccessLine { Plain, Key, KeyValue, File };

struct HmdQueryFamily {
  const char* query;        // the query attribute's value, compared exactly
  const char* handlerName;  // as the success line names the handler
  HmdQueryHandler handler;
  HmdSuccessLine successLine;
};

// The families this build answers; any other query is an unknown query.
// The Windows build's table holds the families; the native build, which has
// no host to ask, answers every query as unknown.
std::span<const HmdQueryFamily> HmdQueryFamilies();
