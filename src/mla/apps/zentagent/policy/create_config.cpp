// CreateConfig: the order of the agent configuration document's sections.
#include "log/debug_log.h"
#include "policy/agent_config_document.h"
#include "policy/config_sections.h"

int CreateConfig(RawConfig& rawConfig, tinyxml2::XMLPrinter& document) {
  // WQX plays no part; with DPI alone the packet filters are written all
  // the same.
  if (!rawConfig.FW && !rawConfig.DPI) {
    ZENT_LOG(1, L"both FW and DPI are off, no need to update config\n");
    return -1;
  }
  if (!rawConfig.platformIfByMACMap.empty()) GetInterfaces(rawConfig);

  // Printed as it is made, element by element: the bytes are those of the
  // same elements built into a tinyxml2 document and printed.
  document.OpenElement("fset");
  for (const auto& [name, value] : rawConfig.systemSettings) {
    document.OpenElement("SystemSetting");
    document.PushAttribute("name", name.c_str());
    document.PushAttribute("value", value.c_str());
    document.CloseElement();
    ZENT_LOG(6, L"systeming setting: k(%S), v(%S)\n", name, value);
  }
  InstallRuleContexts(rawConfig, document);
  ProcessInterfaceAssignments(rawConfig, document);

  rawConfig.filterInterfaceIdMap.clear();
  rawConfig.filterIpIdMap.clear();
  ProcessFilters(rawConfig, L"FW", rawConfig.packetFilterAssignmentMap, rawConfig.packetFilterMap);
  WritePacketFilters(rawConfig, document);

  rawConfig.filterInterfaceIdMap.clear();
  rawConfig.filterIpIdMap.clear();
  ProcessFilters(rawConfig, L"DPI", rawConfig.payloadFilterAssignmentMap, rawConfig.payloadFilterMap);
  // The connection types first: they number the ctype that the payload
  // filters then read.
  WriteConnectionTypes(rawConfig, document);
  WriteDpiFilters(rawConfig, document);
  document.CloseElement();

  // A bad number met by any writer fails the translation: no document is
  // written from it.
  return rawConfig.badNumber ? -1 : 0;
}
