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

// translate's operands after its options were taken out: the policy file.
std::string ApplyTranslate(const std::vector<std::string>& operands, ZentpolicyOptions& o) {
  if (operands.empty()) return "translate needs a POLICY file: zentpolicy translate POLICY.xml";
  if (operands.size() > 1) return "translate takes one POLICY, not also '" + operands[1] + "'";
  o.action = Action::Translate;
  o.file = operands[0];
  return {};
}

constexpr Subcommand kSubcommands[] = {
    {"decrypt", ApplyDecrypt},
    {"translate", ApplyTranslate},
};

// translate's options; the error for a bad one, empty when taken. `next`
// is the index of the option's value, advanced past it.
std::string ApplyTranslateOption(const std::vector<std::string>& args, size_t& i, ZentpolicyOptions& o) {
  const std::string& option = args[i];
  if (option == "--encrypt" || option == "--clear") {
    o.encrypt = option == "--encrypt";
    return {};
  }
  if (option != "-o" && option != "--interfaces" && option != "--log-level") return "unknown option '" + option + "' for translate";
  if (i + 1 >= args.size() || args[i + 1].empty()) return option + " needs a value";
  const std::string& value = args[++i];
  if (option == "-o") {
    o.output = value;
  } else if (option == "--interfaces") {
    o.interfaces = value;
  } else {
    if (value.size() != 1 || value[0] < '0' || value[0] > '6') return "--log-level takes 0 to 6, not '" + value + "'";
    o.logLevel = value[0] - '0';
  }
  return {};
}

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
    parsed.error = "unknown subcommand '" + name + "': zentpolicy translate POLICY, zentpolicy decrypt FILE, or zentpolicy --help";
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
      parsed.error = name == "translate" ? ApplyTranslateOption(args, i, parsed.options)
                                         : "unknown option '" + arg + "' for " + name;
      if (!parsed.error.empty()) return parsed;
    } else {
      operands.push_back(arg);
    }
  }
  parsed.error = subcommand->apply(operands, parsed.options);
  return parsed;
}

}  // namespace zentpolicy
