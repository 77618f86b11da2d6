// Rule contexts, address and port lists, schedules and logging policies:
// stored attribute for attribute by id, for the writers that pass them on.
#include "policy/policy_tree.h"
#include "policy/raw_config_passes.h"

void ReadRuleContexts(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  ReadById(doc, {"RuleContexts", "RuleContext"}, rawConfig.ruleContextMap);
}

void ReadIdLists(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  ReadById(doc, {"IPLists", "IPList"}, rawConfig.ipListMap);
  ReadById(doc, {"MacLists", "MacList"}, rawConfig.macListMap);
  ReadById(doc, {"PortLists", "PortList"}, rawConfig.portListMap);
  ReadById(doc, {"Schedules", "Schedule"}, rawConfig.scheduleMap);
  // "LoggingPolicys" is the manager's spelling.
  ReadById(doc, {"LoggingPolicys", "LoggingPolicy"}, rawConfig.loggingPolicyMap);
}
