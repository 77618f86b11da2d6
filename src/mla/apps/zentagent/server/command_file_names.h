// The per-command files of a multi-command document: each command is cut out
// into a file of its own, and its handler writes a result file beside it.
#pragma once

#include <string>

struct CommandFileNames {
  std::wstring commandFile;
  std::wstring resultFile;
};

// The names for command number `index` of the document at `documentPath`.
CommandFileNames MakeCommandFileNames(const std::wstring& documentPath, int index);
