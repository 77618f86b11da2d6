// The self-protection question to the suite's framework, and its answer.
#pragma once

#include <string>
#include <string_view>

// {"system_call_id":"KLF_SYSCALL_GET_SELF_PROTECTION","product_id":"KLF_IPRODUCT_ZENT"}
std::string BuildSelfProtectionRequest();

// 0 and the service's protection state from a good answer; -1, logged, for
// anything else, with `enabled` left alone.
int ParseSelfProtectionResponse(std::string_view response, bool& enabled);
