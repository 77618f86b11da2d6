// The text form of a MAC address, in which every MAC comparison of the
// agent is made: "00:0a:ff".
#pragma once

#include <string>

// Two lower-case hexadecimal digits per byte, joined with ":". The bytes are
// consumed: bytes is empty afterwards.
std::string BytesToMacText(std::string& bytes);
