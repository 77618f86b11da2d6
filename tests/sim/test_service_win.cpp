#include "test_service_win.h"

#include <atomic>

namespace zentsim::testing {

namespace {

constexpr DWORD kPollMs = 50;

}  // namespace

TestService::TestService(const std::wstring& namePrefix, const std::wstring& exePath) {
  static std::atomic<unsigned> made{0};
  name_ = namePrefix + L"_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
          std::to_wstring(++made);
  manager_ = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (!manager_) return;
  std::wstring command = L"\"" + exePath + L"\"";
  service_ = CreateServiceW(manager_, name_.c_str(), name_.c_str(), SERVICE_ALL_ACCESS,
                            SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                            command.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr);
}

TestService::~TestService() {
  if (service_) {
    Stop();
    DeleteService(service_);
    CloseServiceHandle(service_);
  }
  if (manager_) CloseServiceHandle(manager_);
}

void TestService::Stop() const {
  // A start in progress takes no stop: it is waited out first.
  if (WaitWhile(SERVICE_START_PENDING).dwCurrentState != SERVICE_RUNNING) return;
  SERVICE_STATUS status{};
  ControlService(service_, SERVICE_CONTROL_STOP, &status);
  WaitWhile(SERVICE_RUNNING);
  WaitWhile(SERVICE_STOP_PENDING);
}

SERVICE_STATUS_PROCESS TestService::Status() const {
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  QueryServiceStatusEx(service_, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                       sizeof status, &needed);
  return status;
}

SERVICE_STATUS_PROCESS TestService::WaitWhile(DWORD state, DWORD timeoutMs) const {
  DWORD start = GetTickCount();
  SERVICE_STATUS_PROCESS status = Status();
  while (status.dwCurrentState == state && GetTickCount() - start < timeoutMs) {
    Sleep(kPollMs);
    status = Status();
  }
  return status;
}

}  // namespace zentsim::testing
