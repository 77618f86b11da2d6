#include "upkeep/corvel_command_lines.h"

namespace {

std::wstring CutToBuffer(std::wstring text) {
  if (text.size() > kCorvelCommandLineChars - 1) text.resize(kCorvelCommandLineChars - 1);
  return text;
}

}  // namespace

std::wstring CorvelUninstallArguments(const std::wstring& productCode, const std::wstring* logPath) {
  std::wstring arguments = L"/quiet /norestart /x " + productCode;
  if (logPath != nullptr) arguments += L" /L*V \"" + *logPath + L"\"";
  return CutToBuffer(arguments);
}

std::wstring MlaControlArguments(const std::wstring& installFolder, const wchar_t* option) {
  return CutToBuffer(L"/c \"" + installFolder + L"mla_control\" " + option);
}
