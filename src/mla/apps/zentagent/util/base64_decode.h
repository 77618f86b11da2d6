// Base64 decoding of the fragments a manager policy carries in its
// attributes (engine, rules, ruleCode).
#pragma once

#include <string>

// The decoded bytes of the text up to its first zero byte, after leading
// white space. Invalid input gives a short or empty result, with no report.
std::string Base64Decode(const char* text);
