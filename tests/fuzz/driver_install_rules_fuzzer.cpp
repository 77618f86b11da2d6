// The driver installer's portable rules over any input: the running
// driver's version text, the version decision, the INF store's name and
// content rules, the INF's source folder and the cut of a system text. Each
// is checked against what must hold whatever the input.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "driver/driver_version.h"
#include "driver/network_results.h"
#include "driver/inf_source_folder.h"
#include "driver/oem_inf_file.h"
#include "driver/system_error_text.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

std::wstring Wide(const uint8_t* data, size_t size) {
  std::wstring text;
  for (size_t i = 0; i + 1 < size; i += 2) {
    wchar_t c = static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
    if (c != 0) text.push_back(c);
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  std::string zeroTerminated = text.c_str();

  uint16_t running[4] = {1, 2, 3, 4};
  bool parsed = ParseRunningDriverVersion(zeroTerminated.c_str(), running);
  if (!parsed) Check(running[0] == 1 && running[1] == 2 && running[2] == 3 && running[3] == 4);

  uint16_t package[4] = {};
  for (size_t i = 0; i < 4 && 2 * i + 1 < size; ++i) package[i] = static_cast<uint16_t>(data[2 * i] | (data[2 * i + 1] << 8));
  DriverVersionDecision forward = DecideDriverVersion(running, package, true);
  DriverVersionDecision backward = DecideDriverVersion(package, running, false);
  Check((forward == DriverVersionDecision::KeepNewer) == (backward == DriverVersionDecision::Upgrade));
  Check((forward == DriverVersionDecision::KeepRunning) == (backward == DriverVersionDecision::FinishPartialInstall));

  int32_t result = size >= 4 ? static_cast<int32_t>(data[0] | (data[1] << 8) | (data[2] << 16) | (uint32_t{data[3]} << 24)) : 0;
  int code = DriverInstallFailureCode(result);
  Check((code != 0) == (result < 0));
  Check(JudgeInfAttempt(result) != InfAttempt::Installed || result == 0);

  Check(NamesDriver(text) == (text.find("mlfilter") != std::string::npos));

  std::wstring wide = Wide(data, size);
  bool oem = IsOemInfName(wide);
  if (oem) Check(wide.size() >= 4 && (wide[0] == L'o' || wide[0] == L'O'));

  std::wstring drive, directory;
  if (SplitInfPath(wide, drive, directory)) {
    Check(drive.size() < kInfDriveRoom && directory.size() < kInfDirectoryRoom);
    Check(wide.compare(0, drive.size() + directory.size(), drive + directory) == 0);
  }

  std::wstring cut = CutSystemErrorText(wide.c_str());
  size_t kept = wide.size() < kSystemErrorTextMax ? wide.size() : kSystemErrorTextMax;
  Check(cut.size() == (kept == 0 ? 0 : kept - 1));
  Check(wide.compare(0, cut.size(), cut) == 0);
  return 0;
}
