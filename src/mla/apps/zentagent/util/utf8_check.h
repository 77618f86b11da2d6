#pragma once

#include <string>

// True when the bytes are well-formed UTF-8: no overlong form, no surrogate,
// nothing beyond U+10FFFF.
bool IsValidUtf8(const std::string& text);
