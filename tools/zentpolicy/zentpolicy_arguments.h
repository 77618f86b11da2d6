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
};

struct ZentpolicyOptions {
  Action action = Action::ShowUsage;
  std::string file;
};

struct ParsedArguments {
  ZentpolicyOptions options;
  std::string error;  // non-empty for a usage error
};

// The arguments after the program's name, in UTF-8.
ParsedArguments ParseZentpolicyArguments(const std::vector<std::string>& args);

}  // namespace zentpolicy
