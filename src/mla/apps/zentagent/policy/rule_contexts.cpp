#include "policy/rule_contexts.h"

#include <cstdlib>
#include <iterator>
#include <string>

#include "log/debug_log.h"
#include "policy/element_attributes.h"
#include "util/base64_decode.h"

using tinyxml2::XMLElement;

const char* DomainStatusVariable(int onDomainStatus) {
  static const char* const kVariables[] = {
      nullptr,
      "/sys/connect/dc_connected",
      "/sys/connect/dc_local",
      "/sys/connect/dc_remote",
      "/sys/connect/dc_disconnected",
      "/sys/connect/",
  };
  // A value outside the table gets no variable, like 0.
  if (onDomainStatus < 0 || onDomainStatus >= static_cast<int>(std::size(kVariables))) return nullptr;
  return kVariables[onDomainStatus];
}

void InstallRuleContexts(RawConfig& rawConfig, tinyxml2::XMLPrinter& out) {
  for (const auto& [key, attrs] : rawConfig.ruleContextMap) {
    tinyxml2::XMLDocument scratch;
    const XMLElement* source = nullptr;
    auto ruleCode = attrs->find("ruleCode");
    if (ruleCode != attrs->end()) {
      // No wrapper, unlike the other fragments: ruleCode brings its own
      // context root.
      std::string fragment = Base64Decode(ruleCode->second.c_str());
      ZENT_LOG(6, L"ruleCode=>\n%S\n", fragment);
      if (scratch.Parse(fragment.data(), fragment.size()) != tinyxml2::XML_SUCCESS)
        ZENT_LOG(1, L"XML Parse failed for ruleCode\n");
      else
        source = scratch.FirstChildElement("context");
    }
    out.OpenElement("context");
    auto id = attrs->find("id");
    if (id != attrs->end()) out.PushAttribute("id", id->second.c_str());
    auto name = attrs->find("name");
    if (name != attrs->end()) out.PushAttribute("name", name->second.c_str());
    auto onLocked = attrs->find("onLockedInterface");
    if (onLocked != attrs->end()) out.PushAttribute("on_locked", onLocked->second.c_str());
    auto onDomainStatus = attrs->find("onDomainStatus");
    if (onDomainStatus != attrs->end()) {
      // The lax rule: a value that isn't a number reads as 0, no variable.
      const char* variable = DomainStatusVariable(std::atoi(onDomainStatus->second.c_str()));
      if (variable != nullptr) out.PushAttribute("byvar", variable);
    }
    PrintChildElements(source, out);
    out.CloseElement();
  }
}
