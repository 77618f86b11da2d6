#include "zentpolicy.h"

#include <filesystem>

#include "exit_status.h"
#include "interfaces_file.h"
#include "log/debug_log.h"
#include "policy/agent_config_document.h"
#include "records/settings.h"
#include "usage_text.h"
#include "util/cred_machine_decrypt.h"
#include "util/wide_path_file.h"
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

// The same translation as the agent's, with the interfaces from a file and
// the translator's log lines on standard error.
int RunTranslate(const ZentpolicyOptions& o, const FileReader& readFile, std::string& out, std::string& err) {
  std::vector<DriverInterface> driver;
  std::vector<PlatformAdapter> adapters;
  if (!o.interfaces.empty()) {
    std::string json, error;
    if (!readFile(o.interfaces, json, error)) {
      err = "zentpolicy: cannot read " + o.interfaces + ": " + error + "\n";
      return kExitCannotRead;
    }
    if (!ReadInterfacesFile(json, driver, adapters, error)) {
      err = "zentpolicy: " + o.interfaces + ": " + error + "\n";
      return kExitUsage;
    }
  }
  s_Settings.s_bConfigEncrypt = o.encrypt;
  s_Settings.DebugLevel = o.logLevel;
  s_DebugLog.stream = stderr;
  RawConfig rawConfig;
  GetDriverInterfaces(rawConfig.driverIfByMACMap, driver);
  GetPlatformInterfaces(rawConfig.platformIfByMACMap, adapters, {});

  // Without -o the document goes through a file of its own to standard
  // output, as the agent writes it.
  std::filesystem::path scratch;
  std::string outputPath = o.output;
  if (outputPath.empty()) {
    scratch = std::filesystem::temp_directory_path() / ("zentpolicy-" + std::to_string(std::rand()) + ".xml");
    outputPath = scratch.string();
  }
  int result = ParseRawConfigXml(rawConfig, WidePathFromUtf8(o.file), WidePathFromUtf8(outputPath));
  std::fflush(stderr);
  s_DebugLog.stream = nullptr;
  if (result == 0 && !scratch.empty()) {
    std::string error;
    readFile(outputPath, out, error);
  }
  if (!scratch.empty()) std::filesystem::remove(scratch);
  if (result > 0) {
    err = "zentpolicy: cannot read " + o.file + "\n";
    return kExitCannotRead;
  }
  if (result != 0) {
    err = "zentpolicy: the translation of " + o.file + " failed; the log lines above tell why\n";
    return kExitTranslationFailed;
  }
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
    case Action::Translate:
      return RunTranslate(parsed.options, readFile, out, err);
  }
  return kExitUsage;
}

}  // namespace zentpolicy
