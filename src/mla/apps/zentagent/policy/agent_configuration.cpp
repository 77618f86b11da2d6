// AgentConfiguration: the feature flags and the system settings.
#include <cstring>

#include "log/debug_log.h"
#include "policy/policy_tree.h"
#include "policy/raw_config_passes.h"

using tinyxml2::XMLElement;

void ReadFeatures(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  for (const XMLElement* e = FirstPolicyElement(doc, {"AgentConfiguration", "Features", "Feature"}); e != nullptr;
       e = e->NextSiblingElement()) {
    const char* name = e->Attribute("name");
    const char* state = e->Attribute("state");
    // Only the exact text "1" is on: "11" and "1 " are off.
    if (name == nullptr || state == nullptr || std::strcmp(state, "1") != 0) continue;
    // A flag once set is never cleared by a later Feature.
    if (std::strcmp(name, "FW") == 0) {
      rawConfig.FW = 1;
      ZENT_LOG(5, L"FW is enabled\n");
    } else if (std::strcmp(name, "DPI") == 0) {
      rawConfig.DPI = 1;
      ZENT_LOG(5, L"DPI is enabled\n");
    } else if (std::strcmp(name, "WQX") == 0) {
      rawConfig.WQX = 1;
      ZENT_LOG(5, L"WQX is enabled\n");
    }
  }
}

void ReadSystemSettings(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  // Every element from AgentConfiguration on among its siblings adds the
  // three settings, so a policy with one always yields at least these.
  for (const XMLElement* e = FirstPolicyElement(doc, {"AgentConfiguration"}); e != nullptr;
       e = e->NextSiblingElement()) {
    for (const char* name :
         {"allowEncryptedDataCollection", "networkDriverGlobalDetectOnlyMode", "vulnerabilityShieldPassiveMode"}) {
      const char* value = e->Attribute(name);
      InsertAttr(rawConfig.systemSettings, name, value != nullptr ? value : "false");
    }
  }
  // Inserted after the three: an attribute of the same name cannot change
  // them.
  for (const char* element : {"PacketFilterSetting", "PayloadFilterSetting"}) {
    for (const XMLElement* e = FirstPolicyElement(doc, {"AgentConfiguration", element}); e != nullptr;
         e = e->NextSiblingElement())
      CopyAttributes(*e, rawConfig.systemSettings);
  }
}
