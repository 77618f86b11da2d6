// The decisions of Corvel's removal over any input: the display name of the
// ml_agent service, the uninstaller's exit code with any pending renames,
// and the command lines made of any product code, log path and folder. The
// results stay within their contracts, and nothing reads out of bounds.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "upkeep/corvel_command_lines.h"
#include "upkeep/corvel_uninstall_result.h"
#include "upkeep/sibling_agent.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

std::wstring Wide(const std::string& bytes) {
  std::wstring text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text += static_cast<wchar_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  uint32_t exitCode;
  std::memcpy(&exitCode, data, 4);
  std::string text(reinterpret_cast<const char*>(data + 4), size - 4);

  SiblingAgent agent = SiblingAgentByDisplayName(text);
  Check((agent == SiblingAgent::Corvel) == (text == "Corvel Agent"));
  Check((agent == SiblingAgent::Marlune) == (text == "Halvane Marlune Agent"));

  bool pending = PendingFilesHoldCorvelDriver(text);
  Check(pending == (text.find("hvactmon.sys") != std::string::npos));
  int result = CorvelUninstallResult(JudgeCorvelUninstall(exitCode, pending));
  Check(result == 0 || result == -110 || result == -111 || result == 130);
  Check((result == 0) == (exitCode == 0));
  Check(result != -111 || (exitCode == 1603 && pending));

  // The text split in two: product code and log path.
  std::wstring wide = Wide(text);
  std::wstring code = wide.substr(0, wide.size() / 2);
  std::wstring log = wide.substr(wide.size() / 2);
  std::wstring withLog = CorvelUninstallArguments(code, &log);
  std::wstring withoutLog = CorvelUninstallArguments(code, nullptr);
  std::wstring full = L"/quiet /norestart /x " + code + L" /L*V \"" + log + L"\"";
  Check(withLog.size() < kCorvelCommandLineChars);
  Check(full.compare(0, withLog.size(), withLog) == 0);
  Check(withLog.size() == full.size() || withLog.size() == kCorvelCommandLineChars - 1);
  Check(withoutLog.size() < kCorvelCommandLineChars);
  Check(withLog.compare(0, withoutLog.size(), withoutLog) == 0);
  std::wstring control = MlaControlArguments(wide, kMlaControlReset);
  Check(control.size() < kCorvelCommandLineChars && control.compare(0, 4, L"/c \"") == 0);
  return 0;
}
