// 16-bit text to UTF-8 without the platform's converter, so that the native
// build and the Windows build turn the same units into the same bytes.
#pragma once

#include <cstddef>
#include <string>

// Converts count units. A zero unit is converted like any other, to a zero
// byte, so a text of several zero-ended segments keeps its zeros. A surrogate
// without its partner becomes U+FFFD (bytes EF BF BD); nothing throws.
std::string Utf16ToUtf8(const char16_t* units, size_t count);

// Appends the UTF-8 bytes of one code point, whatever it is (a lone
// surrogate too: the caller decides what it hands over).
void AppendUtf8(std::string& out, char32_t c);
