#include "log/debug_log.h"
#include "policy/agent_config_document.h"
#include "policy/driver_interfaces.h"
#include "policy/platform_interfaces.h"

int ParseRawConfigXml(const std::wstring& inputPath, const std::wstring& outputPath) {
  RawConfig rawConfig;
  // The interfaces are read before the policy is opened, so a translation
  // needs a working driver handle. One message for either failure.
  if (!GetDriverInterfaces(rawConfig.driverIfByMACMap) || !GetPlatformInterfaces(rawConfig.platformIfByMACMap)) {
    ZENT_LOG(1, L"GetPlatformInterfaces failed\n");
    DumpAndFreeRawConfigMaps(rawConfig);
    return -1;
  }
  return ParseRawConfigXml(rawConfig, inputPath, outputPath);
}
