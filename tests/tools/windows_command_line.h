// Joins arguments into one Windows command line that the C runtime's parser
// (and CommandLineToArgvW) splits back into the same arguments.
#pragma once

#include <string>
#include <vector>

std::wstring QuoteWindowsArgument(const std::wstring& argument);
std::wstring JoinWindowsCommandLine(const std::vector<std::wstring>& arguments);
