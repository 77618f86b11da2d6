// Whole-file reads and writes by the agent's 16-bit paths.
#pragma once

#include <string>

// True when the whole file is in bytes. After a short read bytes keeps its
// size and holds what came.
bool loadFileToString(const std::wstring& path, std::string& bytes);
// True when all of bytes is written; an existing file is replaced.
bool putStringToFile(const std::wstring& path, const std::string& bytes);
