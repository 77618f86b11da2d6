#include "zentctl_arguments.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string_view>

namespace zentctl {

namespace {

struct NamedCommand {
  std::string_view name;
  uint32_t command;
};

// The agent's command numbers, under the names its engineers use for them.
constexpr NamedCommand kNamedCommands[] = {
    {"notify", 1},       {"self-protection", 2},  {"stop", 3},           {"ping", 101},         {"http", 102},
    {"set-config", 103}, {"set-raw-config", 104}, {"clear-config", 105}, {"get-metadata", 106}, {"multi", 107},
};

struct KnownOption {
  std::string_view name;
  bool takesValue;
};

constexpr KnownOption kOptions[] = {
    {"data", true},      {"request-id", true}, {"timeout", true}, {"pipe", true},
    {"raw", false},      {"pieces", true},     {"gap", true},     {"hex", false},
    {"no-reply", false}, {"hold", true},       {"count", true},   {"connect-cycles", true},
    {"delay", true},
};

// The only options that go with --connect-cycles: it sends nothing.
constexpr std::string_view kConnectCyclesOptions[] = {"connect-cycles", "pipe", "timeout"};

std::optional<uint32_t> ParseU32(std::string_view text) {
  if (text.empty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
    return std::nullopt;
  uint32_t value = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::string ApplyNumber(std::string_view option, std::string_view text, uint32_t minimum, uint32_t& into) {
  std::optional<uint32_t> value = ParseU32(text);
  if (!value || *value < minimum)
    return "--" + std::string(option) + " takes a whole number from " + std::to_string(minimum) +
           " to 4294967295, not '" + std::string(text) + "'";
  into = *value;
  return {};
}

std::string ApplyPieces(std::string_view text, std::vector<size_t>& into) {
  const std::string bad =
      "--pieces takes sizes of at least 1 byte separated by commas, as 10,26, not '" + std::string(text) + "'";
  size_t start = 0;
  while (true) {
    size_t comma = text.find(',', start);
    std::optional<uint32_t> size = ParseU32(text.substr(start, comma - start));
    if (!size || *size == 0) return bad;
    into.push_back(*size);
    if (comma == std::string_view::npos) return {};
    start = comma + 1;
  }
}

std::string ApplyOption(std::string_view name, const std::string& value, ZentctlOptions& o) {
  if (name == "data") {
    if (value.empty()) return "--data takes a file name, or - for standard input";
    o.dataFile = value;
    return {};
  }
  if (name == "pipe") {
    if (value.empty()) return "--pipe takes a pipe name";
    o.pipePath = PipePath(value);
    return {};
  }
  if (name == "request-id") return ApplyNumber(name, value, 0, o.requestId);
  if (name == "timeout") return ApplyNumber(name, value, 1, o.timeoutMs);
  if (name == "gap") return ApplyNumber(name, value, 0, o.gapMs);
  if (name == "delay") return ApplyNumber(name, value, 0, o.delayMs);
  if (name == "hold") return ApplyNumber(name, value, 0, o.holdMs);
  if (name == "count") return ApplyNumber(name, value, 1, o.count);
  if (name == "connect-cycles") return ApplyNumber(name, value, 1, o.connectCycles);
  if (name == "pieces") return ApplyPieces(value, o.pieces);
  if (name == "raw") o.raw = true;
  if (name == "hex") o.hex = true;
  if (name == "no-reply") o.noReply = true;
  return {};
}

// COMMAND and what follows it: a name or a number, and for self-protection
// its on or off. Returns the error, if any.
std::string ApplyCommand(const std::vector<std::string>& words, ZentctlOptions& o) {
  if (words.size() < 2) return "send needs a COMMAND: a name such as ping, or a number";
  const std::string& word = words[1];
  size_t used = 2;
  auto named = std::find_if(std::begin(kNamedCommands), std::end(kNamedCommands),
                            [&](const NamedCommand& c) { return c.name == word; });
  if (named != std::end(kNamedCommands)) {
    o.command = named->command;
  } else if (std::optional<uint32_t> number = ParseU32(word)) {
    o.command = *number;
  } else {
    return "unknown command '" + word + "': give a name from zentctl --help, or a number from 0 to 4294967295";
  }
  if (word == "self-protection") {
    if (words.size() > 2 && (words[2] == "on" || words[2] == "off")) {
      // The agent takes self-protection as a JSON document with an integer member.
      o.builtinData = words[2] == "on" ? R"({"service":1})" : R"({"service":0})";
      used = 3;
    } else if (!o.dataFile) {
      return "self-protection needs on or off (or --data FILE)";
    }
  }
  if (word == "http" && words.size() > 2 && !o.dataFile) {
    // The agent reads its destination as the data's text, no line end.
    o.builtinData = words[2];
    used = 3;
  }
  if (words.size() > used) return "unexpected argument '" + words[used] + "'";
  return {};
}

std::string CheckCombinations(const std::set<std::string_view>& given, const std::vector<std::string>& words,
                              ZentctlOptions& o) {
  if (given.count("connect-cycles")) {
    for (std::string_view name : given)
      if (std::find(std::begin(kConnectCyclesOptions), std::end(kConnectCyclesOptions), name) ==
          std::end(kConnectCyclesOptions))
        return "--connect-cycles sends nothing, so --" + std::string(name) + " does not go with it";
    if (!words.empty()) return "--connect-cycles sends nothing, so '" + words[0] + "' does not go with it";
    o.action = Action::ConnectCycles;
    return {};
  }
  if (words.empty()) return "nothing to do: zentctl send COMMAND [options], or zentctl --help";
  if (words[0] != "send") return "unknown verb '" + words[0] + "': zentctl send COMMAND [options]";
  if (o.raw) {
    if (words.size() > 1) return "--raw sends the data as the whole message, so no COMMAND goes with it";
    if (!o.dataFile) return "--raw needs --data FILE (or --data - for standard input)";
    if (given.count("request-id")) return "--raw builds no header, so --request-id does not go with it";
  } else if (std::string error = ApplyCommand(words, o); !error.empty()) {
    return error;
  }
  if (o.noReply && given.count("count")) return "--count reads each reply, so it does not go with --no-reply";
  if (o.noReply && o.hex) return "--hex prints the reply, so it does not go with --no-reply";
  o.action = Action::Send;
  return {};
}

}  // namespace

std::string PipePath(const std::string& name) {
  if (name.rfind("\\\\", 0) == 0) return name;
  return "\\\\.\\pipe\\" + name;
}

ParsedArguments ParseZentctlArguments(const std::vector<std::string>& args) {
  ParsedArguments parsed;
  ZentctlOptions& o = parsed.options;
  o.pipePath = PipePath(kAgentPipeName);
  if (args.empty()) return parsed;
  // Whoever asks for help gets it, whatever else the line holds.
  if (std::find_if(args.begin(), args.end(), [](const std::string& a) { return a == "-h" || a == "--help"; }) !=
      args.end()) {
    o.action = Action::Help;
    return parsed;
  }

  std::vector<std::string> words;
  std::set<std::string_view> given;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg.size() < 2 || arg[0] != '-') {
      words.push_back(arg);
      continue;
    }
    if (arg[1] != '-') {
      parsed.error = "unknown option '" + arg + "'";
      return parsed;
    }
    size_t equals = arg.find('=');
    std::string_view name =
        std::string_view(arg).substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
    auto known =
        std::find_if(std::begin(kOptions), std::end(kOptions), [&](const KnownOption& s) { return s.name == name; });
    if (known == std::end(kOptions)) {
      parsed.error = "unknown option '" + arg + "'";
      return parsed;
    }
    if (!given.insert(known->name).second) {
      parsed.error = "--" + std::string(name) + " is given twice";
      return parsed;
    }
    std::string value;
    if (equals != std::string::npos) {
      if (!known->takesValue) {
        parsed.error = "--" + std::string(name) + " takes no value";
        return parsed;
      }
      value = arg.substr(equals + 1);
    } else if (known->takesValue) {
      if (i + 1 == args.size()) {
        parsed.error = "--" + std::string(name) + " needs a value";
        return parsed;
      }
      value = args[++i];
    }
    parsed.error = ApplyOption(known->name, value, o);
    if (!parsed.error.empty()) return parsed;
  }
  parsed.error = CheckCombinations(given, words, o);
  return parsed;
}

}  // namespace zentctl
