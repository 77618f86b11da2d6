// The heartbeat message, in its long form (host details and versions) and
// its short form (the policy only), and the waits between heartbeats.
#pragma once

#include <cstdint>
#include <string>

// What the long form tells the server about this host.
struct HeartBeatHost {
  uint32_t major = 0, minor = 0, build = 0;  // as GetVersionExW reports them
  std::string servicePack;                   // szCSDVersion in the ANSI code page
  uint16_t processorArchitecture = 0;        // wProcessorArchitecture of GetSystemInfo
  uint16_t suiteMask = 0;
  uint8_t productType = 0;
  std::string installerVersion;  // the executable's product version; empty when unread
  std::string hostname;          // NetBIOS name; empty when unread
};

// The description labels the transport sees before the policy text.
constexpr char kLongHeartBeatLabel[] = "Heartbeat_with_basic_Info+";
constexpr char kShortHeartBeatLabel[] = "Heartbeat+";

// "i386", "ia64", "x86_64" or "unknown".
const char* ProcessorArchitectureName(uint16_t architecture);
// "%d.%d.%d.%d" cut to the 19 characters the message has room for.
std::string FormatInstallerVersion(const uint32_t version[4]);

// Values go in as they stand, unescaped: a quote in the policy label breaks
// the JSON, and the server copes with that.
std::string FormatLongHeartBeat(const HeartBeatHost& host, const std::wstring& deployedPolicy);
std::string FormatShortHeartBeat(const std::wstring& deployedPolicy);

// The wait after a cycle: a rapid heartbeat asked for by the server, else
// the scheduled timer, which runs only when it is not disabled.
struct HeartBeatWait {
  bool timerInUse;
  uint32_t timeout;
};
// True when the server's rapidHeartbeat is longer than the timer allows.
bool RapidHeartBeatTooLong(uint32_t rapid, uint32_t heartBeatTimer);
HeartBeatWait NextHeartBeatWait(uint32_t rapid, uint32_t heartBeatTimer, bool disableScheduleHeartBeat);
// The reason logged for a cycle that the time-out started.
const char* TimeoutReason(bool retrying, uint32_t rapid);
