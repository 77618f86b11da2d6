// What svcstatus.exe prints: a service's QueryServiceStatusEx fields as one
// line of JSON, for end-to-end tests that need more than Wine's sc shows.
#pragma once

#include <cstdint>
#include <string>

// SERVICE_STATUS_PROCESS, field for field.
struct ServiceStatusRecord {
  uint32_t serviceType = 0;
  uint32_t currentState = 0;
  uint32_t controlsAccepted = 0;
  uint32_t win32ExitCode = 0;
  uint32_t serviceSpecificExitCode = 0;
  uint32_t checkPoint = 0;
  uint32_t waitHint = 0;
  uint32_t processId = 0;
  uint32_t serviceFlags = 0;
};

// The fields under their own names, plus "state", the state's name as
// winsvc.h spells it without "SERVICE_".
std::string ServiceStatusJson(const std::string& name, const ServiceStatusRecord& status);

// {"name": ..., "error": N}: the service could not be opened or queried.
std::string ServiceErrorJson(const std::string& name, uint32_t error);
