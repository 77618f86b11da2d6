#include "windows_command_line.h"

std::wstring QuoteWindowsArgument(const std::wstring& argument) {
  if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) return argument;
  std::wstring quoted = L"\"";
  size_t backslashes = 0;
  for (wchar_t c : argument) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    // Backslashes count only before a quote: doubled there, and one more
    // escapes the quote itself.
    quoted.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    quoted += c;
  }
  quoted.append(2 * backslashes, L'\\');  // before the closing quote
  return quoted + L"\"";
}

std::wstring JoinWindowsCommandLine(const std::vector<std::wstring>& arguments) {
  std::wstring line;
  for (const std::wstring& argument : arguments) {
    if (!line.empty()) line += L' ';
    line += QuoteWindowsArgument(argument);
  }
  return line;
}
