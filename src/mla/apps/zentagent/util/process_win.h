// The agent's dealings with other processes: running an external tool (the
// rule compiler, the driver tools, uninstallers) to its end, and finding out
// who started the agent.
#pragma once

#include <windows.h>

#include <string>

namespace utilProcess {

// Runs program (a full path) with arguments (may be null) to its end. The
// child's standard output and standard error share one pipe, so both arrive
// interleaved and are appended to output, which is not cleared first. True
// when the child ran to its end and its output was read to the end; the exit
// code (or the Windows error of a failed launch) is the caller's to judge.
bool LaunchCmd(const wchar_t* program, const wchar_t* arguments, DWORD* exitCode, std::string& output);

// Starts the child with the two handles as its standard output and error,
// waits for it without limit and reads its exit code.
bool PrepAndLaunchRedirectedChild(const wchar_t* program, const wchar_t* arguments, DWORD* exitCode,
                                  HANDLE hStdOut, HANDLE hStdErr);

// 0 and the parent's process id, or the Windows error.
DWORD getParentProcessPid(DWORD pid, DWORD* parentPid);
// 0 and the full path of the process's image, or the Windows error.
DWORD getProcessImagePath(DWORD pid, std::wstring& path);

}  // namespace utilProcess
