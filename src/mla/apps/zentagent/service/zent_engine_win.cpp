// The engine's three stages: driver, pipes and six suspended workers; their
// start; and the teardown that gives each worker 10,000 ms.
#include <winsock2.h>
#include <windows.h>

#include <openssl/crypto.h>

#include "command/cmd_process_win.h"
#include "command/pipe_server_win.h"
#include "eventlog/fw_dpi_service_win.h"
#include "log/debug_log.h"
#include "log/debug_log_file_win.h"
#include "records/engine_state_win.h"
#include "server/process_notify_win.h"
#include "service/zent_control_win.h"
#include "upkeep/monitor_config_win.h"
#include "upkeep/telemetry_win.h"

namespace {

struct Worker {
  HANDLE ZentEngineState::*handle;
  LPTHREAD_START_ROUTINE function;
  zent::WideFormat<DWORD> failure;
};

// In the order of creation, resumption and stop. The log file thread's
// message repeats the notify thread's words, as the message table has it.
const Worker kWorkers[] = {
    {&ZentEngineState::hCmdThread, CmdProcessFn, L"CreateThread for command processing failed: error=%d\n"},
    {&ZentEngineState::hFwDpiThread, FwDpiServiceFn, L"CreateThread for fw/dpi service failed: error=%d\n"},
    {&ZentEngineState::hNotifyThread, ProcessNotifyFn, L"CreateThread for notify failed: error=%d\n"},
    {&ZentEngineState::hLogFileThread, ProcessLogFileFn, L"CreateThread for notify failed: error=%d\n"},
    {&ZentEngineState::hMonitorConfigThread, ProcessMonitorConfigFn,
     L"CreateThread for monitor config settings failed: error=%d\n"},
    {&ZentEngineState::hTelemetryThread, ProcessTelemetryFn, L"CreateThread for telemetry data failed: error=%d\n"},
};

// The monitor-config thread is not among them: it is neither waited for
// nor closed, and ends by itself on the stop event or with the process.
HANDLE ZentEngineState::*const kJoinedWorkers[] = {&ZentEngineState::hCmdThread, &ZentEngineState::hFwDpiThread,
                                                   &ZentEngineState::hNotifyThread, &ZentEngineState::hLogFileThread,
                                                   &ZentEngineState::hTelemetryThread};

}  // namespace

int CZentControl::ZentEngineInit() {
  WSADATA wsa;
  if (int rc = WSAStartup(MAKEWORD(2, 2), &wsa); rc != 0) {
    ZENT_LOG(1, L"WSAStartup failed with error: %d\n", rc);
    return -1;
  }
  g_Engine.hDriver = mli_open();
  if (g_Engine.hDriver == nullptr) {
    ZENT_LOG(1, L"Can't talk to driver.\nIs it loaded? Are you root?\n");
    return -1;
  }
  // A blocked read of the driver's log returns when the engine stops.
  if (mli_register_event(g_Engine.hDriver, 0, g_Engine.hStopEvent) != 0) {
    char text[128] = {};
    mli_get_error(g_Engine.hDriver, text, sizeof text);
    text[sizeof text - 1] = '\0';
    ZENT_LOG(1, L"mli_register_event(): %S\n", text);
    mli_close(g_Engine.hDriver);
    return -1;
  }
  for (int i = 0; i < kPipeCount; ++i) {
    g_Engine.pipes[i] = new CPipeServer();
    if (!g_Engine.pipes[i]->Initial()) {
      DWORD error = GetLastError();
      ZENT_LOG(1, L"CPipeServer[%d] Init failed: error=%d\n", i, error);
      mli_close(g_Engine.hDriver);
      return static_cast<int>(error);
    }
  }
  for (const Worker& worker : kWorkers) {
    HANDLE thread = CreateThread(nullptr, 0, worker.function, nullptr, CREATE_SUSPENDED, nullptr);
    if (thread == nullptr) {
      // Threads already made stay suspended and the pipes open: only the
      // driver handle is given back.
      DWORD error = GetLastError();
      ZENT_LOG(1, worker.failure, error);
      mli_close(g_Engine.hDriver);
      return static_cast<int>(error);
    }
    g_Engine.*worker.handle = thread;
  }
  // Algorithm tables and error strings for the configuration's encryption.
  OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS | OPENSSL_INIT_ADD_ALL_CIPHERS |
                          OPENSSL_INIT_ADD_ALL_DIGESTS,
                      nullptr);
  return 0;
}

int CZentControl::ZentEngineMain() {
  for (const Worker& worker : kWorkers) {
    if (ResumeThread(g_Engine.*worker.handle) == static_cast<DWORD>(-1)) {
      DWORD error = GetLastError();
      ZENT_LOG(1, L"ResumeThread failed: error=%d\n", error);
      return static_cast<int>(error);
    }
  }
  return 0;
}

int CZentControl::ZentEngineDeinit() {
  SetEvent(g_Engine.hStopEvent);
  for (HANDLE ZentEngineState::*member : kJoinedWorkers) {
    HANDLE& thread = g_Engine.*member;
    if (thread == nullptr || thread == INVALID_HANDLE_VALUE) continue;
    if (WaitForSingleObject(thread, 10000) == WAIT_TIMEOUT) TerminateThread(thread, 0);
    CloseHandle(thread);
    thread = nullptr;
  }
  for (CPipeServer* pipe : g_Engine.pipes) {
    // pipes[i] keeps its value; nothing reads it after this.
    delete pipe;
  }
  if (g_Engine.hDriver != nullptr) mli_close(g_Engine.hDriver);
  // libcrypto releases its tables itself when the process ends; releasing
  // them here would forbid a later initialisation in the same process.
  WSACleanup();
  return 0;
}
