#include "telemetry_host_win.h"

#include <regex>

#include "build_outputs.h"
#include "upkeep/telemetry_win.h"

namespace telemetrytest {

namespace {

constexpr wchar_t kAgentKey[] = L"SOFTWARE\\Halvane\\ZentAgent";
constexpr wchar_t kDriverKnobs[] = L"SOFTWARE\\ZentSim\\mlfilter";
constexpr wchar_t kDriverService[] = L"mlfilter";
// How long a test waits for one line or one service state before it fails;
// a loop at 300 ms gives a line far sooner.
constexpr DWORD kGiveUpMs = 60000;
constexpr DWORD kStateGiveUpMs = 20000;

LineGate* g_gate = nullptr;

// OutputDebugStringA raises this exception first, on the writing thread,
// for a debugger to see; the handler stands in for that debugger.
LONG CALLBACK OnDebuggerText(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* record = info->ExceptionRecord;
  if (record->ExceptionCode != DBG_PRINTEXCEPTION_C || record->NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
  if (g_gate == nullptr || GetCurrentThreadId() != g_gate->watched) return EXCEPTION_CONTINUE_SEARCH;
  g_gate->Hand(reinterpret_cast<const char*>(record->ExceptionInformation[1]));
  return EXCEPTION_CONTINUE_EXECUTION;
}

std::string Message(const std::string& text) {
  static const std::regex line("\\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[(\\w+):[0-9]+\\] ([^\n]*)\n");
  std::smatch match;
  return std::regex_match(text, match, line) ? match[1].str() + ": " + match[2].str() : "?" + text;
}

SC_HANDLE OpenManager() { return OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS); }

DWORD StateOf(SC_HANDLE service) {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                            &needed))
    return 0;
  return status.dwCurrentState;
}

DWORD WaitForState(SC_HANDLE service, DWORD state) {
  DWORD start = GetTickCount();
  DWORD now = StateOf(service);
  while (now != state && GetTickCount() - start < kStateGiveUpMs) {
    Sleep(50);
    now = StateOf(service);
  }
  return now;
}

// Opens the driver's service for one use; false when it cannot be opened.
template <class Use>
bool OnDriverService(DWORD access, Use use) {
  SC_HANDLE manager = OpenManager();
  SC_HANDLE service = OpenServiceW(manager, kDriverService, access);
  bool done = service != nullptr && use(service);
  if (service) CloseServiceHandle(service);
  CloseServiceHandle(manager);
  return done;
}

struct LoopStart {
  HANDLE stop;
  DWORD periodMs;
};

DWORD WINAPI LoopMain(LPVOID argument) {
  auto* start = static_cast<LoopStart*>(argument);
  DWORD result = RunTelemetryLoop(start->stop, start->periodMs);
  delete start;
  return result;
}

}  // namespace

LineGate::LineGate() {
  InitializeCriticalSection(&lock_);
  lineReady_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  go_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  g_gate = this;
  handler_ = AddVectoredExceptionHandler(1, OnDebuggerText);
}

LineGate::~LineGate() {
  RemoveVectoredExceptionHandler(handler_);
  g_gate = nullptr;
  CloseHandle(go_);
  CloseHandle(lineReady_);
  DeleteCriticalSection(&lock_);
}

void LineGate::Watch(DWORD threadId) { watched = threadId; }

void LineGate::Hand(const char* text) {
  EnterCriticalSection(&lock_);
  lines_.push_back(Message(text));
  bool open = open_;
  LeaveCriticalSection(&lock_);
  if (open) return;
  SetEvent(lineReady_);
  WaitForSingleObject(go_, INFINITE);
}

std::optional<std::string> LineGate::Take() {
  for (;;) {
    EnterCriticalSection(&lock_);
    if (!lines_.empty()) {
      std::string line = lines_.front();
      lines_.erase(lines_.begin());
      LeaveCriticalSection(&lock_);
      return line;
    }
    LeaveCriticalSection(&lock_);
    if (WaitForSingleObject(lineReady_, kGiveUpMs) != WAIT_OBJECT_0) return std::nullopt;
  }
}

std::vector<std::string> LineGate::Through(const std::string& prefix) {
  std::vector<std::string> lines;
  for (;;) {
    if (holding_) SetEvent(go_);
    holding_ = false;
    std::optional<std::string> line = Take();
    if (!line) return {};
    holding_ = true;
    lines.push_back(*line);
    if (line->compare(0, prefix.size(), prefix) == 0) return lines;
  }
}

void LineGate::Open() {
  EnterCriticalSection(&lock_);
  open_ = true;
  LeaveCriticalSection(&lock_);
  if (holding_) SetEvent(go_);
  holding_ = false;
}

TelemetryThread::TelemetryThread(LineGate& gate, DWORD periodMs) : gate_(gate), periodMs_(periodMs) {
  stop_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  thread_ = CreateThread(nullptr, 0, LoopMain, new LoopStart{stop_, periodMs}, CREATE_SUSPENDED, nullptr);
  gate_.Watch(GetThreadId(thread_));
  ResumeThread(thread_);
}

std::vector<std::string> TelemetryThread::Stop() {
  SetEvent(stop_);
  std::vector<std::string> lines = gate_.Through("ProcessTelemetryFn: ProcessTelemetryFn: exits");
  gate_.Open();
  WaitForSingleObject(thread_, INFINITE);
  return lines;
}

TelemetryThread::~TelemetryThread() {
  SetEvent(stop_);
  gate_.Open();
  WaitForSingleObject(thread_, INFINITE);
  CloseHandle(thread_);
  CloseHandle(stop_);
}

std::optional<DWORD> AgentValue(const wchar_t* name) {
  DWORD value = 0;
  DWORD size = sizeof value;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kAgentKey, name, RRF_RT_REG_DWORD, nullptr, &value, &size) != ERROR_SUCCESS)
    return std::nullopt;
  return value;
}

void SetAgentValue(const wchar_t* name, DWORD value) {
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, name, REG_DWORD, &value, sizeof value);
}

void DeleteAgentValue(const wchar_t* name) { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kAgentKey, name); }

bool RegisterDriverService() {
  SC_HANDLE manager = OpenManager();
  std::wstring command = L"\"" + zentsim::testing::BuildOutput(L"ZENT_SIM_MLFILTER_EXE") + L"\"";
  SC_HANDLE service = CreateServiceW(manager, kDriverService, kDriverService, SERVICE_ALL_ACCESS,
                                     SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                     command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
  bool made = service != nullptr;
  if (service) CloseServiceHandle(service);
  CloseServiceHandle(manager);
  return made;
}

void RemoveDriverService() {
  SC_HANDLE manager = OpenManager();
  SC_HANDLE service = OpenServiceW(manager, kDriverService, SERVICE_ALL_ACCESS);
  if (service) {
    // A start in progress takes no stop: it is waited out first.
    if (StateOf(service) == SERVICE_START_PENDING) WaitForState(service, SERVICE_RUNNING);
    SERVICE_STATUS status{};
    if (ControlService(service, SERVICE_CONTROL_STOP, &status)) WaitForState(service, SERVICE_STOPPED);
    DeleteService(service);
    CloseServiceHandle(service);
  }
  // The registration goes when the last handle to it is closed.
  DWORD start = GetTickCount();
  while (GetTickCount() - start < kStateGiveUpMs) {
    SC_HANDLE left = OpenServiceW(manager, kDriverService, SERVICE_QUERY_STATUS);
    if (left == nullptr) break;
    CloseServiceHandle(left);
    Sleep(50);
  }
  CloseServiceHandle(manager);
}

bool StartDriverService() {
  return OnDriverService(SERVICE_ALL_ACCESS, [](SC_HANDLE service) { return StartServiceW(service, 0, nullptr) != FALSE; });
}

bool StopDriverService() {
  return OnDriverService(SERVICE_ALL_ACCESS, [](SC_HANDLE service) {
    SERVICE_STATUS status{};
    return ControlService(service, SERVICE_CONTROL_STOP, &status) != FALSE;
  });
}

DWORD WaitForDriverState(DWORD state) {
  DWORD now = 0;
  OnDriverService(SERVICE_QUERY_STATUS, [&](SC_HANDLE service) {
    now = WaitForState(service, state);
    return true;
  });
  return now;
}

void SetDriverKnob(const wchar_t* name, DWORD value) {
  if (value == 0) {
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kDriverKnobs, name);
    return;
  }
  RegSetKeyValueW(HKEY_LOCAL_MACHINE, kDriverKnobs, name, REG_DWORD, &value, sizeof value);
}

bool WriteBytes(const std::wstring& path, const std::string& bytes) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  bool ok = WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
            written == bytes.size();
  CloseHandle(file);
  return ok;
}

bool WriteFileAt(const std::wstring& path, const std::string& bytes, int64_t seconds, int64_t hundredNs) {
  if (!WriteBytes(path, bytes)) return false;
  HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  // FILETIME counts hundreds of nanoseconds since 1601.
  uint64_t ticks = static_cast<uint64_t>(seconds) * 10000000ull + 116444736000000000ull + static_cast<uint64_t>(hundredNs);
  FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  bool ok = SetFileTime(file, nullptr, nullptr, &time);
  CloseHandle(file);
  return ok;
}

}  // namespace telemetrytest
