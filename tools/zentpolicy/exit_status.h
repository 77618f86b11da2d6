// zentpolicy's exit statuses. Scripts and tests read them, and the usage
// text lists them: a change here is a change of the tool's contract.
#pragma once

namespace zentpolicy {

enum ExitStatus : int {
  kExitSuccess = 0,       // the subcommand did its work
  kExitUsage = 2,         // bad arguments
  kExitCannotRead = 3,    // the input file cannot be read
  kExitNotEncrypted = 4,  // the file is not in the encrypted form, or does not decrypt
  kExitTranslationFailed = 5,  // the translator refused the policy; its log lines tell why
};

}  // namespace zentpolicy
