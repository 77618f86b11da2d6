// What the framework answers to a system call, decided from the request and
// the stand-in's knobs alone.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zentsim::klf {

struct SystemCallKnobs {
  // The service self-protection state the suite reports.
  uint32_t selfProtection = 0;
  // Non-zero: the suite answers with this error and no content.
  uint32_t responseError = 0;
  // When set, the answer to every request, exactly.
  std::optional<std::string> response;
};

// The response text for a request text (without its closing zero).
std::string AnswerSystemCall(std::string_view request, const SystemCallKnobs& knobs);

}  // namespace zentsim::klf
