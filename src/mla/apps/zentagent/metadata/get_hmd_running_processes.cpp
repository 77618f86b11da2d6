#include "metadata/get_hmd_running_processes.h"

#include "log/debug_log.h"
#include "metadata/compute_hash.h"
#include "metadata/process_owner.h"
#include "metadata/process_reads.h"
#include "metadata/result_shell.h"
#include "util/utf16_text.h"

namespace {

constexpr uint32_t kErrorAccessDenied = 5;

std::string Utf8(const std::u16string& text) { return Utf16ToUtf8(text.data(), text.size()); }

// What an opened process lets be read of it, after its first four
// attributes.
void AddOpenedProcess(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributes,
                      const RunningProcessCalls& calls, InspectedHandle process) {
  std::u16string path;
  if (ReadProcessImagePath(calls, process, path)) AddAttribute(document, attributes, "path", Utf8(path));
  std::string userId, user, groupId, group;
  if (GetProcessInfo(calls, process, userId, user, groupId, group)) {
    if (!user.empty()) AddAttribute(document, attributes, "user", user);
    AddAttribute(document, attributes, "userId", userId);
    AddAttribute(document, attributes, "groupId", groupId);
    AddAttribute(document, attributes, "group", group);
  }
  int64_t created = 0;
  if (calls.creationTime(process, created)) AddAttribute(document, attributes, "created", std::to_string(created));
  std::u16string commandLine;
  if (ReadProcessCommandLine(calls, process, commandLine) && !commandLine.empty()) {
    AddAttribute(document, attributes, "commandLine", Utf8(commandLine));
  }
}

void AddProcess(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas,
                const RunningProcessCalls& calls, const ProcessEntry& entry) {
  std::string process = Utf8(entry.exeFile);
  tinyxml2::XMLElement* attributes =
      AddHostMetaData(document, hostMetaDatas, "runningProcess", process + "\\" + std::to_string(entry.pid));
  AddAttribute(document, attributes, "threads", std::to_string(entry.threads));
  AddAttribute(document, attributes, "process", process);
  AddAttribute(document, attributes, "pid", std::to_string(entry.pid));
  AddAttribute(document, attributes, "parent", std::to_string(entry.parentPid));

  uint32_t error = 0;
  InspectedHandle opened = calls.openProcess(entry.pid, error);
  if (opened == 0) {
    // The idle process and the processes we may not read are expected to
    // refuse; only other refusals are worth a line.
    if (entry.pid != 0 && error != kErrorAccessDenied) {
      ZENT_LOG_AS("GetHmdRunningProcesses", 1, L"OpenProcess() for pid %lu (%.256s) failed\n", entry.pid,
                  entry.exeFile);
    }
    return;
  }
  AddOpenedProcess(document, attributes, calls, opened);
  calls.closeProcess(opened);
}

}  // namespace

bool GetHmdRunningProcesses(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                            const RunningProcessCalls& calls) {
  if (!calls.openSnapshot()) {
    ZENT_LOG(1, L"CreateToolhelp32Snapshot failed\n");
    return false;
  }
  HmdResultShell shell = AddResultShell(document, results, "2", id);
  ProcessEntry entry;
  for (bool first = true; calls.nextEntry(first, entry); first = false) {
    AddProcess(document, shell.hostMetaDatas, calls, entry);
  }
  calls.closeSnapshot();
  ComputeHash(shell.result);
  return true;
}
