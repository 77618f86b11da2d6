// LogConfiguration and its PacketFilterLog: the event log's cache
// parameters.
#include <cstring>

#include "eventlog/cache_parameters.h"
#include "log/debug_log.h"
#include "policy/policy_tree.h"
#include "policy/raw_config_passes.h"

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;

int ReadLogConfiguration(const tinyxml2::XMLDocument& doc) {
  for (const XMLElement* e = FirstPolicyElement(doc, {"AgentConfiguration", "LogConfiguration"}); e != nullptr;
       e = e->NextSiblingElement()) {
    for (const XMLAttribute* a = e->FirstAttribute(); a != nullptr; a = a->Next()) {
      ZENT_LOG(6, L"LogConfiguration: name(%S), value(%S)\n", a->Name(), a->Value());
      // The two clips are read and thrown away: their only effect is that a
      // bad number fails the load here.
      if (std::strcmp(a->Name(), "logInspectionStorageClip") == 0 ||
          std::strcmp(a->Name(), "logInspectionSyslogClip") == 0) {
        int32_t unused = 0;
        if (ReadStrictAttribute("LogConfiguration", *a, unused) != 0) return -1;
      }
    }
  }
  return 0;
}

int ReadPacketFilterLog(const tinyxml2::XMLDocument& doc) {
  int32_t keep = 0, size = 0, cacheSize = 128, logFlushInterval = 60000;
  bool seen = false;
  for (const XMLElement* e = FirstPolicyElement(doc, {"AgentConfiguration", "LogConfiguration", "PacketFilterLog"});
       e != nullptr; e = e->NextSiblingElement()) {
    seen = true;
    for (const XMLAttribute* a = e->FirstAttribute(); a != nullptr; a = a->Next()) {
      ZENT_LOG(6, L"PacketFilterLog: name(%S), value(%S)\n", a->Name(), a->Value());
      int32_t* target = nullptr;
      if (std::strcmp(a->Name(), "keep") == 0) target = &keep;
      else if (std::strcmp(a->Name(), "size") == 0) target = &size;
      else if (std::strcmp(a->Name(), "cacheSize") == 0) target = &cacheSize;
      else if (std::strcmp(a->Name(), "logFlushInterval") == 0) target = &logFlushInterval;
      if (target != nullptr && ReadStrictAttribute("PacketFilterLog", *a, *target) != 0) return -1;
    }
  }
  // Without any PacketFilterLog the defaults stand unclamped.
  if (seen) {
    // Clamped as an unsigned number, so a negative cacheSize gives 1024.
    uint32_t records = static_cast<uint32_t>(cacheSize);
    if (records > 1024) records = 1024;
    if (records == 0) records = 1;
    cacheSize = static_cast<int32_t>(records);
    if (logFlushInterval < 1000) logFlushInterval = 1000;
  }
  // Called on every load, even for an empty document.
  SetCacheParameters(size, keep, static_cast<uint64_t>(cacheSize), logFlushInterval);
  return 0;
}
