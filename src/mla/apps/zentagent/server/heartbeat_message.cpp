#include "server/heartbeat_message.h"

#include "log/format.h"

const char* ProcessorArchitectureName(uint16_t architecture) {
  switch (architecture) {
    case 0: return "i386";
    case 6: return "ia64";
    case 9: return "x86_64";
    default: return "unknown";
  }
}

std::string FormatInstallerVersion(const uint32_t version[4]) {
  std::string text;
  zent::AppendFormat(text, "%d.%d.%d.%d", version[0], version[1],
                                                             version[2], version[3]);
  // The agent prints into a buffer of 20 bytes.
  if (text.size() > 19) text.resize(19);
  return text;
}

std::string FormatLongHeartBeat(const HeartBeatHost& host, const std::wstring& deployedPolicy) {
  std::string message;
  zent::AppendFormat(
      message,
      "{\"name\": \"HeartBeat\", \"hostType\": \"Windows;%d;%d;%d;%s;%s;%d;%d\", \"mlaInstallerVersion\": \"%s\", "
      "\"mlaVersion\": \"(%s)\", \"hostname\": \"%s\", \"policyInfo\": \"%S\"}",
      host.major, host.minor, host.build, host.servicePack, std::string(ProcessorArchitectureName(host.processorArchitecture)),
      host.suiteMask, host.productType, host.installerVersion,
      // The protocol's version of the agent, not the executable's.
      std::string("12.0.0.1026"), host.hostname, deployedPolicy);
  return message;
}

std::string FormatShortHeartBeat(const std::wstring& deployedPolicy) {
  std::string message;
  zent::AppendFormat(message, "{\"name\": \"HeartBeat\", \"policyInfo\": \"%S\"}", deployedPolicy);
  return message;
}

bool RapidHeartBeatTooLong(uint32_t rapid, uint32_t heartBeatTimer) { return rapid > heartBeatTimer; }

HeartBeatWait NextHeartBeatWait(uint32_t rapid, uint32_t heartBeatTimer, bool disableScheduleHeartBeat) {
  if (rapid != 0) return {true, rapid};
  return {!disableScheduleHeartBeat, heartBeatTimer};
}

const char* TimeoutReason(bool retrying, uint32_t rapid) {
  if (retrying) return "retry";
  return rapid != 0 ? "rapidHeartbeat" : "heartbeat";
}
