// MakeResponseXMlFile: runs the queries of a request and writes the response
// document.
#pragma once

#include <span>
#include <string>

#include "metadata/meta_request.h"
#include "metadata/query_families.h"

// Builds Message/Response (cmd "GetHostMetaData", code "0") with the
// results of the queries, in the order of idMap, and RequestID; runs each
// query through its family in HmdQueryFamilies(). Returns 0 when
// responsePath holds the document, -1 when idMap is empty (nothing is
// written) or the file cannot be written.
int MakeResponseXMlFile(const MetaRequest& request, const std::wstring& responsePath);

// The same with the families given, for a caller that brings its own.
int MakeResponseXMlFile(const MetaRequest& request, const std::wstring& responsePath,
                        std::span<const HmdQueryFamily> families);
