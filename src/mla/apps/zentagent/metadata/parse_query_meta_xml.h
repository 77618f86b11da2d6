// ParseQueryMetaXml: answers a host metadata request file with a response
// file. The multi-command processor, the direct HTTP path and pipe command
// 106 all come this way; each lays out its own two files, and nothing is
// deleted here.
#pragma once

#include <span>
#include <string>

#include "metadata/query_families.h"

// Returns 0 when responsePath holds the response; the C runtime's error
// number when requestPath cannot be opened; -1 when the request is not well
// formed, lacks a required element or any query with an id, or when
// responsePath cannot be written.
int ParseQueryMetaXml(const std::wstring& requestPath, const std::wstring& responsePath);

// The same with the families given, for a caller that brings its own.
int ParseQueryMetaXml(const std::wstring& requestPath, const std::wstring& responsePath,
                      std::span<const HmdQueryFamily> families);
