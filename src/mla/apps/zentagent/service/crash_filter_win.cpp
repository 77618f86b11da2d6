// ZentCrashFilter runs on the crashing thread while the other threads go on:
// it writes nothing to the debug log, takes no lock of the agent and works
// on the stack and on what PrepareCrashDumpSecurity made at start.
#include "service/crash_filter_win.h"

// dbghelp.h's MINIDUMP_EXCEPTION_INFORMATION is packed to 4 bytes; Wine's
// MiniDumpWriteDump reads it so, and faults on a naturally aligned copy.
#include <dbghelp.h>

#include "records/entry_points_win.h"
#include "records/settings.h"
#include "util/private_file_acl_win.h"

namespace {

constexpr wchar_t kDumpName[] = L"\\zent_agent.dmp";
constexpr wchar_t kDumpWritten[] = L"Application crash dump written to ";
// The working directory is the module path cut at its last backslash,
// read into 260 characters; the debugger text has 324.
constexpr size_t kDumpPathSize = MAX_PATH + sizeof(kDumpName) / sizeof(wchar_t);
constexpr size_t kDumpWrittenSize = 324;

// The dump holds a SYSTEM process's memory: it gets the private files'
// protected DACL when it is created. Null when that could not be made.
SECURITY_DESCRIPTOR s_dumpDescriptor;
SECURITY_ATTRIBUTES* s_dumpSecurity = nullptr;
SECURITY_ATTRIBUTES s_dumpAttributes;

// Appends text to a buffer of size characters, always terminated, cut where
// it does not fit; the next free position.
size_t Append(wchar_t* buffer, size_t size, size_t at, const wchar_t* text) {
  while (*text != L'\0' && at + 1 < size) buffer[at++] = *text++;
  buffer[at] = L'\0';
  return at;
}

void ReportDumpEvent(const wchar_t* dumpPath) {
  HANDLE eventLog = OpenEventLogW(nullptr, L"ZentCrashEvent");
  if (eventLog == nullptr) return;
  const wchar_t* strings[] = {dumpPath};
  ReportEventW(eventLog, EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0, strings, nullptr);
  CloseEventLog(eventLog);
}

}  // namespace

void PrepareCrashDumpSecurity() {
  PACL acl = nullptr;
  const wchar_t* failedTrustee = nullptr;
  if (MakePrivateFileAcl(&acl, &failedTrustee) != ERROR_SUCCESS) return;
  // The ACL stays for the life of the process: a crash may come at any time.
  if (!InitializeSecurityDescriptor(&s_dumpDescriptor, SECURITY_DESCRIPTOR_REVISION) ||
      !SetSecurityDescriptorDacl(&s_dumpDescriptor, TRUE, acl, FALSE) ||
      !SetSecurityDescriptorControl(&s_dumpDescriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
    LocalFree(acl);
    return;
  }
  s_dumpAttributes.nLength = sizeof(s_dumpAttributes);
  s_dumpAttributes.lpSecurityDescriptor = &s_dumpDescriptor;
  s_dumpAttributes.bInheritHandle = FALSE;
  s_dumpSecurity = &s_dumpAttributes;
}

LONG WINAPI ZentCrashFilter(EXCEPTION_POINTERS* exception) {
  if (s_dumpSecurity == nullptr) return EXCEPTION_EXECUTE_HANDLER;
  wchar_t dumpPath[kDumpPathSize];
  size_t end = Append(dumpPath, kDumpPathSize, 0, s_Settings.workingDirectory.c_str());
  Append(dumpPath, kDumpPathSize, end, kDumpName);

  // Always the same name: a later crash replaces the earlier dump.
  HANDLE file = CreateFileW(dumpPath, GENERIC_WRITE, 0, s_dumpSecurity, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return EXCEPTION_EXECUTE_HANDLER;
  if (s_pfnMiniDumpWriteDump != nullptr) {
    MINIDUMP_EXCEPTION_INFORMATION information;
    information.ThreadId = GetCurrentThreadId();
    information.ExceptionPointers = exception;
    information.ClientPointers = FALSE;
    if (s_pfnMiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpWithFullMemory,
                               exception != nullptr ? &information : nullptr, nullptr, nullptr)) {
      wchar_t written[kDumpWrittenSize];
      Append(written, kDumpWrittenSize, Append(written, kDumpWrittenSize, 0, kDumpWritten), dumpPath);
      OutputDebugStringW(written);
      ReportDumpEvent(dumpPath);
    }
  }
  // A dump that failed leaves its empty file behind.
  CloseHandle(file);
  return EXCEPTION_EXECUTE_HANDLER;
}
