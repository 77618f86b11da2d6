// The 8-bit copy of a 16-bit path that the runtime's stat and the suite's
// transport library are given: one byte from each unit, no conversion.
#pragma once

#include <string>

std::string LowByteText(const std::wstring& text);
