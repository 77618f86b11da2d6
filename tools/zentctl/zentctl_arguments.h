// zentctl's command line, read into one record. Nothing here touches the
// pipe or a file: the Windows half acts on the record.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zentctl {

// The agent's own pipe, where zentctl goes unless --pipe names another.
inline constexpr char kAgentPipeName[] = "BIPC_ZENTAGENT_PIPE_7C2D91AE_4F06_4b1d_8E35_A1C06D2F7B44";
inline constexpr uint32_t kDefaultTimeoutMs = 5000;
inline constexpr uint32_t kDefaultRequestId = 1;

enum class Action {
  ShowUsage,      // no arguments: the usage text, as a usage error
  Help,           // --help: the usage text, as success
  Send,           // send a message, read replies
  ConnectCycles,  // connect and disconnect, sending nothing
};

struct ZentctlOptions {
  Action action = Action::ShowUsage;
  std::string pipePath;                    // full path, "\\.\pipe\..."
  uint32_t command = 0;                    // unused with raw
  std::optional<std::string> builtinData;  // the data a command name implies
  std::optional<std::string> dataFile;     // "-" is standard input
  uint32_t requestId = kDefaultRequestId;
  bool raw = false;
  std::vector<size_t> pieces;
  uint32_t gapMs = 0;
  uint32_t delayMs = 0;  // pause after connecting, before the first write
  uint32_t holdMs = 0;
  uint32_t timeoutMs = kDefaultTimeoutMs;
  bool hex = false;
  bool noReply = false;
  uint32_t count = 1;
  uint32_t connectCycles = 0;
};

struct ParsedArguments {
  ZentctlOptions options;
  std::string error;  // non-empty for a usage error
};

// The arguments after the program's name, in UTF-8.
ParsedArguments ParseZentctlArguments(const std::vector<std::string>& args);

// A name under \\.\pipe\, or a full path kept as it is.
std::string PipePath(const std::string& name);

}  // namespace zentctl
