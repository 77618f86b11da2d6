#include "upkeep/remove_incompatible_agent_win.h"

#include "log/debug_log.h"
#include "upkeep/incompatible_agent_codes.h"
#include "upkeep/remove_corvel_win.h"
#include "upkeep/sibling_agent.h"
#include "util/reg_key_win.h"

namespace {

const char kPellorClientKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\Pellor Client";
const char kSiblingServiceKey[] = "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\ml_agent";

}  // namespace

int RemoveIncompatibleAgent() {
  utilRegKey pellorClient(kPellorClientKey);
  if (pellorClient.KeyExists()) {
    // The line says 101 while the code is -101: the patch agent's readers
    // know both as they stand.
    ZENT_LOG(1, L"Pellor Client exists, return error code 101 to BRVN patch agent.\n");
    return kPellorClientExists;
  }
  utilRegKey service(kSiblingServiceKey);
  if (!service.KeyExists()) return 0;
  if (!service.Open(0)) {
    ZENT_LOG(1, L"cannot open registry %S, return error code %d to BRVN patch agent.\n", service.GetStdKeyFromHkey(),
             kUnknownAgentExists);
    return kUnknownAgentExists;
  }
  std::string displayName;
  service.QueryValue("DisplayName", displayName, false);
  ZENT_LOG(1, L"Display name of agent: %S\n", displayName.c_str());
  switch (SiblingAgentByDisplayName(displayName)) {
    case SiblingAgent::Corvel:
      ZENT_LOG(3, L"Corvel exists, start to uninstall it\n");
      return RemoveCorvel();
    case SiblingAgent::Marlune:
      ZENT_LOG(1, L"MLA exists, return error code %d to BRVN patch agent.\n", kMarluneAgentExists);
      return kMarluneAgentExists;
    case SiblingAgent::Unknown:
      break;
  }
  ZENT_LOG(1, L"Unknow MLA/Corvel exists, return error code %d to BRVN patch agent.\n", kUnknownAgentExists);
  return kUnknownAgentExists;
}
