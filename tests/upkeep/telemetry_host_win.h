// The telemetry loop under test on the real host: a working directory with
// config.xml, config.rbf and the ini file, the agent's registry key, and the
// driver's service "mlfilter" played by its stand-in. The loop's lines reach
// the test through the debugger output, one at a time.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace telemetrytest {

// Holds the watched thread at each line it hands to the debugger, until the
// test takes the next one: the test changes the host between two lines of a
// pass and reads what the pass wrote so far. Lines are "Function: message",
// without the thread id, the source line and the line end.
class LineGate {
 public:
  LineGate();
  ~LineGate();
  LineGate(const LineGate&) = delete;
  LineGate& operator=(const LineGate&) = delete;

  void Watch(DWORD threadId);
  // Lets the held line go, then collects lines up to the first one that
  // begins with prefix, and holds that one; the lines include it. Empty
  // when no such line came within a minute.
  std::vector<std::string> Through(const std::string& prefix);
  // Lets every line go from now on.
  void Open();

  // The handler's side: the thread's text, handed over; waits for the test.
  void Hand(const char* text);
  DWORD watched = 0;

 private:
  std::optional<std::string> Take();
  void* handler_ = nullptr;
  HANDLE lineReady_ = nullptr;
  HANDLE go_ = nullptr;
  CRITICAL_SECTION lock_;
  std::vector<std::string> lines_;
  bool holding_ = false;
  bool open_ = false;
};

// RunTelemetryLoop on a thread of its own, watched by the gate, at periodMs.
class TelemetryThread {
 public:
  TelemetryThread(LineGate& gate, DWORD periodMs);
  // Signals the stop event and waits for the thread; the lines it wrote
  // from the held one on, the last its "exits".
  std::vector<std::string> Stop();
  ~TelemetryThread();

 private:
  LineGate& gate_;
  HANDLE stop_ = nullptr;
  HANDLE thread_ = nullptr;
  DWORD periodMs_;
};

// The values under the agent's key; nothing when absent.
std::optional<DWORD> AgentValue(const wchar_t* name);
void SetAgentValue(const wchar_t* name, DWORD value);
void DeleteAgentValue(const wchar_t* name);

// The "mlfilter" service, registered on the stand-in's program.
bool RegisterDriverService();
// Stops the service if it runs and deletes it; returns once it is gone.
void RemoveDriverService();
bool StartDriverService();
bool StopDriverService();
// Polls the service until it reports state, for up to 20 s; its state then.
DWORD WaitForDriverState(DWORD state);
// The stand-in's knob under HKLM\SOFTWARE\ZentSim\mlfilter; 0 removes it.
void SetDriverKnob(const wchar_t* name, DWORD value);

// Writes bytes to path and sets its modification time to the given seconds
// since 1970 plus hundreds of nanoseconds.
bool WriteFileAt(const std::wstring& path, const std::string& bytes, int64_t seconds, int64_t hundredNs = 0);
bool WriteBytes(const std::wstring& path, const std::string& bytes);

}  // namespace telemetrytest
