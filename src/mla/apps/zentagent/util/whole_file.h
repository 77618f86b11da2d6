// Whole-file reads and writes of byte strings, for files named by the
// agent's 16-bit paths.
#pragma once

#include <string>

// True when the whole file is in `text`. After a short read the string keeps
// its size and holds what came.
bool loadFileToString(const std::wstring& path, std::string& text);
// True when all of `text` was written; an existing file is replaced.
bool putStringToFile(const std::wstring& path, const std::string& text);
