// What zentctl prints of a reply: one field per line, then optionally its
// bytes in hexadecimal for tests that compare them byte for byte.
#pragma once

#include <string>
#include <string_view>

#include "command_header.h"

namespace zentctl {

// Lines "Magic:", "Command:", "RequestId:", "Result:", "DataLength:" and
// "Time:", the last in UTC as the agent stamps it.
std::string FormatReply(const CommandHeader& reply);

// Two lower-case digits per byte, separated by blanks.
std::string FormatHex(std::string_view bytes);

}  // namespace zentctl
