// RawConfig: one translation's record of the manager's policy, on the stack
// of the translation, read by every section writer of the agent
// configuration document.
#pragma once

#include <array>
#include <cstdint>

#include "policy/attr_map.h"

struct RawConfig {
  uint8_t FW = 0;   // firewall feature on
  uint8_t DPI = 0;  // payload inspection feature on
  uint8_t WQX = 0;  // third feature on; read nowhere
  AttrMap systemSettings;
  // The 19 maps below, from workingIfMap to ruleContextMap, are numbered 0
  // to 18 in this order when they are dumped and freed.
  AttrMapIndex workingIfMap;
  AttrMapIndex platformIfByMACMap;
  AttrMapIndex driverIfByMACMap;
  AttrMapIndex interfaceMap;
  AttrMapIndex interfaceByMacMap;
  AttrMapIndex connectionMap;
  AttrMapIndex packetFilterMap;
  AttrMapIndex statefulMap;
  AttrMapIndex payloadFilterMap;
  AttrMapIndex packetFilterAssignmentMap;
  AttrMapIndex statefulAssignmentMap;
  AttrMapIndex payloadFilterAssignmentMap;
  AttrMapIndex ipsMap;
  AttrMapIndex ipListMap;
  AttrMapIndex macListMap;
  AttrMapIndex portListMap;
  AttrMapIndex scheduleMap;
  AttrMapIndex loggingPolicyMap;
  AttrMapIndex ruleContextMap;
  IdSetMap filterInterfaceIdMap;
  IdSetMap filterIpIdMap;
  // A writer met a number that breaks the strict rule: it said where, and
  // the translation fails rather than write a document built on it.
  bool badNumber = false;
};

constexpr int kRawConfigMapCount = 19;

struct RawConfigMapRef {
  const char* name;
  AttrMapIndex* map;
};

// The 19 maps in their dump order, with their names.
std::array<RawConfigMapRef, kRawConfigMapCount> RawConfigMaps(RawConfig& rawConfig);

// Logs every entry of the 19 maps at level 6 and frees them all, at any log
// level. Ends each translation, so that nothing survives between two.
void DumpAndFreeRawConfigMaps(RawConfig& rawConfig);
