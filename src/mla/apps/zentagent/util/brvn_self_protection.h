// The self-protection question to the suite's framework, and its answer.
#pragma once

#include <string>
#include <string_view>

// {"system_call_id":"KLF_SYSCALL_GET_SELF_PROTECTION","product_id":"KLF_IPRODUCT_ZENT"}
std::string BuildSelfProtectionRequest();

// What the framework's answer says. `detail` is the parser's error code for
// Unparsable and the framework's error code for FrameworkError.
enum class SelfProtectionAnswer { Enabled, Disabled, Unparsable, MissingErrorCode, FrameworkError, InvalidContent };

// The caller logs the outcome, so that the lines carry its name.
SelfProtectionAnswer ParseSelfProtectionResponse(std::string_view response, int& detail);
