// The system text of an error as the driver's installer logs it.
#pragma once

#include <string>

// At most kSystemErrorTextMax characters of the text are kept, and then the
// last one is dropped: it is meant to be the line end, so that a system text
// ending "\r\n" leaves its "\r". Without a text (null) the word is "Unknow".
inline constexpr size_t kSystemErrorTextMax = 400;
std::wstring CutSystemErrorText(const wchar_t* text);
