#include "metadata/get_hmd_running_processes.h"
#include "metadata/running_process_calls_win.h"

bool GetHmdRunningProcesses(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id) {
  HANDLE snapshot = INVALID_HANDLE_VALUE;
  return GetHmdRunningProcesses(document, results, id, SystemRunningProcessCalls(snapshot));
}
