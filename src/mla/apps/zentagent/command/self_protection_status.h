// The data of command 2: {"service":1} turns self-protection on, 0 off.
#pragma once

#include <string_view>

enum class SelfProtectionRequest { Empty, Unparsable, Invalid, On, Off };

// Reads the whole message (header included). The handler logs the outcome,
// so that its lines carry the handler's name.
SelfProtectionRequest ParseSelfProtectionStatus(std::string_view message);
