// Opening a file named by a 16-bit path, the agent's form of a path, in the
// portable code: _wfopen on Windows, the path as UTF-8 elsewhere.
#pragma once

#include <cstdio>
#include <string>

FILE* OpenWidePathFile(const std::wstring& path, const char* mode);
// The path as 8-bit text for log lines and tools: UTF-8.
std::string WidePathText(const std::wstring& path);
// UTF-8 text, as tools take it from their command line, as a 16-bit path.
std::wstring WidePathFromUtf8(const std::string& text);
