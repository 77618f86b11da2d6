// The status telemetry: once an hour, three registry values under the agent's
// key tell the suite whether the rule file is older than the configuration it
// was built from (ConfigBinStatus), whether the policy in force is the one
// last asked for (PolicyStatus), and how the driver's service stands
// (DriverStatus). The agent never reads them back.
#pragma once

#include <windows.h>

// The hour between passes; fixed, not a setting. The first pass comes one
// hour after the start, none at the start.
inline constexpr DWORD kTelemetryPeriodMs = 3600000;

// The telemetry thread: the loop below with hStopEvent and the hour.
DWORD WINAPI ProcessTelemetryFn(LPVOID);

// Waits periodMs on stopEvent alone and makes a pass at each time-out, until
// the event is signalled. Its lines carry the thread's name. Returns 0.
DWORD RunTelemetryLoop(HANDLE stopEvent, DWORD periodMs);

// 1 when config.rbf is older than config.xml, by whole seconds; a missing
// config.xml counts as time 0 and gives 0, a missing config.rbf beside it 1.
DWORD compareConfigBinStatus();
// 1 when DeployedPolicy and RequestPolicy of the ini file differ, as they
// stand in the file now.
DWORD comparePolicyStatus();
// The state of the mlfilter service, SERVICE_STOPPED (1) to SERVICE_PAUSED
// (7), or 0 when it cannot be found out.
DWORD getDriverStatus();
