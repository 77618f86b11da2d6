// Runs a program of the build as a child process with its standard streams
// captured, for tests that check what a tool prints and its exit status.
#pragma once

#include <windows.h>

#include <string>

struct ChildRun {
  DWORD exitCode = 0;
  std::string out;  // standard output, carriage returns removed
  std::string err;  // standard error, likewise
};

// Runs `program arguments` with `input` on its standard input; a child that
// outlives timeoutMs is ended with exit code 0xDEAD.
ChildRun RunChild(const std::wstring& program, const std::wstring& arguments, const std::string& input = "",
                  DWORD timeoutMs = 30000);
