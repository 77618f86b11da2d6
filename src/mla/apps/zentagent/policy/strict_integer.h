// The strict integer rule for attribute text of the manager's policy: a
// decimal number at the start of the text, after optional blanks and sign;
// trailing text is ignored. The lax rule, where a Part of the translator
// asks for it, is plain atoi.
#pragma once

#include <cstdint>
#include <string>

enum class StrictIntegerResult { Ok, Invalid, OutOfRange };

// Converts text as the standard library's stoi does, but reports a bad number
// instead of throwing it: a translation fails on it, and never ends the
// process.
StrictIntegerResult StrictStoi(const std::string& text, int32_t& value);

// The standard library's text for a bad number: "invalid stoi argument" or
// "stoi argument out of range".
const char* StrictIntegerError(StrictIntegerResult result);
