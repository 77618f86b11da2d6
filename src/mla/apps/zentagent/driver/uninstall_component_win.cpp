#include "driver/component_setup_win.h"
#include "driver/driver_files_win.h"
#include "driver/net_cfg_win.h"
#include "driver/network_results.h"
#include "log/debug_log.h"

namespace {

// The removal itself, on an acquired configuration; each step stops the
// chain with its own message.
HRESULT RemoveComponent(INetCfg* netCfg) {
  INetCfgComponent* component = nullptr;
  INetCfgClass* componentClass = nullptr;
  INetCfgClassSetup* classSetup = nullptr;
  GUID classGuid = {};
  HRESULT result = netCfg->FindComponent(kDriverComponentId, &component);
  if (result != S_OK) {
    // S_FALSE, no such component, comes back as the result too.
    ZENT_LOG_AS("UninstallComponent", 1, L"Couldn't get an interface pointer to %s. error=0x%08lx, %s\n", kDriverComponentId, result,
             SystemErrorText(result).c_str());
  } else if ((result = component->GetClassGuid(&classGuid)) != S_OK) {
    ZENT_LOG_AS("UninstallComponent", 1, L"Couldn't get the class guid of %s. error=0x%08lx, %s\n", kDriverComponentId, result,
             SystemErrorText(result).c_str());
  } else if ((result = netCfg->QueryNetCfgClass(&classGuid, IID_INetCfgClass,
                                                reinterpret_cast<void**>(&componentClass))) != S_OK) {
    ZENT_LOG_AS("UninstallComponent", 1, L"Couldn't get a pointer to class interface of %s. error=0x%08lx, %s\n", kDriverComponentId, result,
             SystemErrorText(result).c_str());
  } else if ((result = componentClass->QueryInterface(IID_INetCfgClassSetup, reinterpret_cast<void**>(&classSetup))) !=
             S_OK) {
    ZENT_LOG_AS("UninstallComponent", 1, L"Couldn't get an interface to setup class. error=0x%08lx, %s\n", result,
             SystemErrorText(result).c_str());
  } else {
    OBO_TOKEN obo = {};
    obo.Type = OBO_USER;
    result = classSetup->DeInstall(component, &obo, nullptr);
    if (result != S_OK && result != kNetcfgSReboot) {
      ZENT_LOG_AS("UninstallComponent", 1, L"Failed to uninstall %s. error=0x%08lx, %s\n", kDriverComponentId, result,
               SystemErrorText(result).c_str());
    } else {
      result = netCfg->Apply();
      if (result != S_OK && result != kNetcfgSReboot) {
        ZENT_LOG_AS("UninstallComponent", 1, L"Couldn't apply the changes after uninstalling %s. error=0x%08lx, %s\n", kDriverComponentId,
                 result, SystemErrorText(result).c_str());
      }
    }
  }
  ReleaseRef(classSetup);
  ReleaseRef(componentClass);
  ReleaseRef(component);
  return result;
}

}  // namespace

HRESULT UninstallComponent() {
  INetCfg* netCfg = nullptr;
  LPWSTR lockedBy = nullptr;
  HRESULT result = AcquireNetCfg(&netCfg, &lockedBy);
  if (result != S_OK) {
    if (result == kNetcfgENoWriteLock && lockedBy != nullptr) {
      ZENT_LOG(1, L"%s currently holds the lock, try later.\n", lockedBy);
    } else {
      ZENT_LOG(1, L"Couldn't get the notify object interface. error=0x%08lx, %s\n", result,
               SystemErrorText(result).c_str());
    }
    CoTaskMemFree(lockedBy);
    return result;
  }
  result = RemoveComponent(netCfg);
  ReleaseNetCfg(netCfg);
  return result;
}
