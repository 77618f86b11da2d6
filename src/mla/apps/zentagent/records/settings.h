// The agent's settings record: one instance, filled from zent_agent.ini and
// the system's version, and read by every thread without a lock.
#pragma once

#include <cstdint>
#include <string>

struct ZentSettings {
  std::wstring workingDirectory;  // folder of the executable, no closing backslash
  std::wstring driverDirectory;   // working directory + "\infsys\" + OS folder
  std::wstring iniFile;           // working directory + "\config\zent_agent.ini"
  std::wstring logFile;           // the debug log's live file
  bool isService = false;         // the argument was "-service"

  // Section ZENTSETTINGS, in the order they are read.
  bool s_bTestMode = false;
  bool s_bConfigEncrypt = true;
  bool DisableScheduleHeartBeat = true;
  uint32_t HeartBeatTimer = 600000;
  uint32_t FirstHeartBeat = 30000;
  int32_t HeartBeatRetryMax = 1;
  uint32_t FlushDebugLogTimer = 1000;
  int32_t DebugLevel = 3;
  bool DbgviewLog = false;
  bool LogFile = true;
  int32_t LogFileSizeLimit = 10485760;
  // Section Policy.
  std::wstring DeployedPolicy;
  // The label of the policy the server delivered last; kept in memory for the
  // deployment that follows, and written to the ini beside DeployedPolicy.
  std::wstring RequestPolicy;

  // The system's version, as reported to the server and used to pick the
  // driver package.
  uint32_t osMajor = 0, osMinor = 0, osBuild = 0;
  std::wstring osServicePack;
  uint16_t osSuiteMask = 0;
  uint8_t osProductType = 0;

  // Filled when the driver's version is decided.
  uint16_t packageDriverVersion[4] = {};
  uint16_t installedDriverVersion[4] = {};
  bool driverRunning = false;
};

extern ZentSettings s_Settings;

// The folder of the driver package for a Windows version; "???" below 5.1.
const wchar_t* OsFolderName(uint32_t major, uint32_t minor);
