#include "zentpolicy.h"

#include "exit_status.h"
#include "usage_text.h"
#include "util/cred_machine_decrypt.h"
#include "zentpolicy_arguments.h"

namespace zentpolicy {

namespace {

int RunDecrypt(const std::string& file, const FileReader& readFile, std::string& out, std::string& err) {
  std::string bytes, error;
  if (!readFile(file, bytes, error)) {
    err = "zentpolicy: cannot read " + file + ": " + error + "\n";
    return kExitCannotRead;
  }
  std::string text;
  if (!Cred_MachineDecrypt(bytes, text, error)) {
    err = "zentpolicy: " + file + " is not an encrypted policy file: " + error + "\n";
    return kExitNotEncrypted;
  }
  out = std::move(text);
  return kExitSuccess;
}

}  // namespace

int RunZentpolicy(const std::vector<std::string>& args, const FileReader& readFile, std::string& out,
                  std::string& err) {
  ParsedArguments parsed = ParseZentpolicyArguments(args);
  if (!parsed.error.empty()) {
    err = "zentpolicy: " + parsed.error + "\n";
    return kExitUsage;
  }
  switch (parsed.options.action) {
    case Action::ShowUsage:
      err = kUsageText;
      return kExitUsage;
    case Action::Help:
      out = kUsageText;
      return kExitSuccess;
    case Action::Decrypt:
      return RunDecrypt(parsed.options.file, readFile, out, err);
  }
  return kExitUsage;
}

}  // namespace zentpolicy
