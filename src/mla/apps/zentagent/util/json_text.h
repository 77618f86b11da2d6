// Small helpers for the JSON texts the agent exchanges.
#pragma once

#include <string_view>

// The text without a leading UTF-8 byte order mark.
std::string_view SkipByteOrderMark(std::string_view text);
