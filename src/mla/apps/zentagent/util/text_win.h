// Conversions between the agent's text encodings.
#pragma once

#include <string>

// UTF-8 to 16-bit text; empty when the system converts nothing.
std::wstring utf8ToWide(const char* text);
// 16-bit text to UTF-8. With a length, the buffer is converted segment by
// segment, each with its closing zero, so a multi-string keeps its inner
// zero bytes; with 0, up to the first zero unit. A surrogate without its
// partner becomes U+FFFD.
std::string wideToUtf8(const wchar_t* text, size_t length = 0);
// ANSI code page text, as the command line brings it, to 16-bit text.
std::wstring ansiToWide(const char* text);
// 16-bit text to the ANSI code page.
std::string wideToAnsi(const wchar_t* text);
