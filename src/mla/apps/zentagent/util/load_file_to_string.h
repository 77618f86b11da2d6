#pragma once

#include <string>

// The whole file into text. False when it cannot be opened or fewer bytes
// came than its size; text then holds what came.
bool loadFileToString(const std::wstring& path, std::string& text);
