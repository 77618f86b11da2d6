#include "service_status_json.h"

#include <cstdio>

namespace {

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

std::string StateName(uint32_t state) {
  static const char* const kNames[] = {"STOPPED",          "START_PENDING", "STOP_PENDING", "RUNNING",
                                       "CONTINUE_PENDING", "PAUSE_PENDING", "PAUSED"};
  if (state >= 1 && state <= 7) return kNames[state - 1];
  return "UNKNOWN";
}

std::string Member(const char* key, uint32_t value) { return ",\"" + std::string(key) + "\":" + std::to_string(value); }

}  // namespace

std::string ServiceStatusJson(const std::string& name, const ServiceStatusRecord& s) {
  return "{\"name\":" + JsonString(name) + ",\"state\":" + JsonString(StateName(s.currentState)) +
         Member("serviceType", s.serviceType) + Member("currentState", s.currentState) +
         Member("controlsAccepted", s.controlsAccepted) + Member("win32ExitCode", s.win32ExitCode) +
         Member("serviceSpecificExitCode", s.serviceSpecificExitCode) + Member("checkPoint", s.checkPoint) +
         Member("waitHint", s.waitHint) + Member("processId", s.processId) + Member("serviceFlags", s.serviceFlags) +
         "}";
}

std::string ServiceErrorJson(const std::string& name, uint32_t error) {
  return "{\"name\":" + JsonString(name) + Member("error", error) + "}";
}
