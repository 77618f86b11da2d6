// The driver's rule set: mli_load_config checks a rule file and keeps it as
// the loaded rules, where tests and the demo read it back; mli_clear_config
// removes it. A refused load or clear leaves the rules as they were.
//
// Knobs: "LoadConfigFails" non-zero makes every load fail with that result,
// "ClearConfigFails" every clear. Records: "LoadedRuleFile" (REG_BINARY, the
// bytes of the rule file in force), "LoadedRuleCount", and the counts
// "ConfigLoads" and "ConfigClears" of successful calls.
#include <string>

#include "channel.h"
#include "crash_in.h"
#include "rule_file.h"
#include "sim_registry.h"

using namespace zentsim::mli;

extern "C" int mli_load_config(MLI_HANDLE handle, const void* buffer, uint32_t length) {
  CrashIfAsked("mli_load_config");
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  if (uint32_t refused = zentsim::ReadDword(kStandIn, L"LoadConfigFails", 0)) {
    return Fail(*channel, "rule file refused by driver", static_cast<int>(refused));
  }
  zentsim::RuleFileContents contents;
  std::string problem = zentsim::CheckRuleFile(buffer, length, contents);
  if (!problem.empty()) return Fail(*channel, problem);
  zentsim::WriteBinary(kStandIn, L"LoadedRuleFile", std::string(static_cast<const char*>(buffer), length));
  zentsim::WriteDword(kStandIn, L"LoadedRuleCount", contents.ruleCount);
  zentsim::Count(kStandIn, L"ConfigLoads");
  return 0;
}

extern "C" int mli_clear_config(MLI_HANDLE handle) {
  CrashIfAsked("mli_clear_config");
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  if (uint32_t refused = zentsim::ReadDword(kStandIn, L"ClearConfigFails", 0)) {
    return Fail(*channel, "clear refused by driver", static_cast<int>(refused));
  }
  zentsim::DeleteValue(kStandIn, L"LoadedRuleFile");
  zentsim::DeleteValue(kStandIn, L"LoadedRuleCount");
  zentsim::Count(kStandIn, L"ConfigClears");
  return 0;
}
