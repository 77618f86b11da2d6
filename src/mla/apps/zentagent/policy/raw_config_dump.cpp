#include "policy/raw_config.h"

#include "log/debug_log.h"

std::array<RawConfigMapRef, kRawConfigMapCount> RawConfigMaps(RawConfig& c) {
  return {{
      {"workingIfMap", &c.workingIfMap},
      {"platformIfByMACMap", &c.platformIfByMACMap},
      {"driverIfByMACMap", &c.driverIfByMACMap},
      {"interfaceMap", &c.interfaceMap},
      {"interfaceByMacMap", &c.interfaceByMacMap},
      {"connectionMap", &c.connectionMap},
      {"packetFilterMap", &c.packetFilterMap},
      {"statefulMap", &c.statefulMap},
      {"payloadFilterMap", &c.payloadFilterMap},
      {"packetFilterAssignmentMap", &c.packetFilterAssignmentMap},
      {"statefulAssignmentMap", &c.statefulAssignmentMap},
      {"payloadFilterAssignmentMap", &c.payloadFilterAssignmentMap},
      {"ipsMap", &c.ipsMap},
      {"ipListMap", &c.ipListMap},
      {"macListMap", &c.macListMap},
      {"portListMap", &c.portListMap},
      {"scheduleMap", &c.scheduleMap},
      {"loggingPolicyMap", &c.loggingPolicyMap},
      {"ruleContextMap", &c.ruleContextMap},
  }};
}

void DumpAndFreeRawConfigMaps(RawConfig& rawConfig) {
  auto maps = RawConfigMaps(rawConfig);
  for (int number = 0; number < kRawConfigMapCount; ++number) {
    AttrMapIndex& map = *maps[number].map;
    ZENT_LOG(6, L"%S=>\n", maps[number].name);
    for (const auto& [key, attrs] : map) {
      // "seperator" is the message's spelling; log readers search for it.
      ZENT_LOG(6, L"<attribute seperator>: key=%S\n", key);
      for (const auto& [name, value] : *attrs) ZENT_LOG(6, L"remove map(%d): key(%S), value(%S)\n", number, name, value);
    }
    map.clear();
  }
}
