#include "zentpolicy_arguments.h"

#include <algorithm>
#include <string_view>

namespace zentpolicy {

namespace {

// One subcommand: its name, and what it makes of the words after it.
struct Subcommand {
  std::string_view name;
  std::string (*apply)(const std::vector<std::string>& operands, ZentpolicyOptions& o);
};

std::string ApplyDecrypt(const std::vector<std::string>& operands, ZentpolicyOptions& o) {
  if (operands.empty()) return "decrypt needs a FILE: zentpolicy decrypt FILE";
  if (operands.size() > 1) return "decrypt takes one FILE, not also '" + operands[1] + "'";
  if (operands[0].empty()) return "decrypt needs a FILE name, not an empty one";
  o.action = Action::Decrypt;
  o.file = operands[0];
  return {};
}

constexpr Subcommand kSubcommands[] = {
    {"decrypt", ApplyDecrypt},
};

}  // namespace

ParsedArguments ParseZentpolicyArguments(const std::vector<std::string>& args) {
  ParsedArguments parsed;
  if (args.empty()) return parsed;
  // Whoever asks for help gets it, whatever else the line holds.
  if (std::find_if(args.begin(), args.end(), [](const std::string& a) { return a == "-h" || a == "--help"; }) !=
      args.end()) {
    parsed.options.action = Action::Help;
    return parsed;
  }
  const std::string& name = args[0];
  auto subcommand = std::find_if(std::begin(kSubcommands), std::end(kSubcommands),
                                 [&](const Subcommand& s) { return s.name == name; });
  if (subcommand == std::end(kSubcommands)) {
    parsed.error = "unknown subcommand '" + name + "': zentpolicy decrypt FILE, or zentpolicy --help";
    return parsed;
  }
  std::vector<std::string> operands;
  // "--" ends the options, so that a file may begin with a dash.
  bool optionsEnded = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!optionsEnded && arg == "--") {
      optionsEnded = true;
    } else if (!optionsEnded && arg.size() > 1 && arg[0] == '-') {
      parsed.error = "unknown option '" + arg + "' for " + name;
      return parsed;
    } else {
      operands.push_back(arg);
    }
  }
  parsed.error = subcommand->apply(operands, parsed.options);
  return parsed;
}

}  // namespace zentpolicy
