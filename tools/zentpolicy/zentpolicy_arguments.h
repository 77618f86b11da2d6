// zentpolicy's command line, read into one record: a subcommand and its
// operands. Nothing here touches a file.
#pragma once

#include <string>
#include <vector>

namespace zentpolicy {

enum class Action {
  ShowUsage,  // no arguments: the usage text, as a usage error
  Help,       // --help: the usage text, as success
  Decrypt,    // decrypt FILE
  Translate,  // translate POLICY [-o OUT] [--encrypt|--clear] [--interfaces FILE] [--log-level N]
};

struct ZentpolicyOptions {
  Action action = Action::ShowUsage;
  std::string file;
  // translate
  std::string output;      // empty: the document goes to standard output
  bool encrypt = false;    // the agent's ConfigEncrypt for this translation
  std::string interfaces;  // file of the machine's interfaces; empty: none
  int logLevel = 3;        // the translator's DebugLevel; its lines go to standard error
};

struct ParsedArguments {
  ZentpolicyOptions options;
  std::string error;  // non-empty for a usage error
};

// The arguments after the program's name, in UTF-8.
ParsedArguments ParseZentpolicyArguments(const std::vector<std::string>& args);

}  // namespace zentpolicy
