// A service registered by a test under a name of its own, so that test
// executables may run side by side; the registration goes with the object.
#pragma once

#include <windows.h>

#include <string>

namespace zentsim::testing {

class TestService {
 public:
  // Registers the own-process service program at exePath under a new name.
  TestService(const std::wstring& namePrefix, const std::wstring& exePath);
  // Stops the service if it runs, and deletes its registration.
  ~TestService();
  TestService(const TestService&) = delete;
  TestService& operator=(const TestService&) = delete;

  bool Registered() const { return service_ != nullptr; }
  const std::wstring& Name() const { return name_; }
  SC_HANDLE Handle() const { return service_; }

  SERVICE_STATUS_PROCESS Status() const;
  // Stops the service if it runs or is starting, and waits until it has.
  void Stop() const;
  // Polls until the service leaves state, or timeoutMs pass; the last status.
  SERVICE_STATUS_PROCESS WaitWhile(DWORD state, DWORD timeoutMs = 20000) const;

 private:
  std::wstring name_;
  SC_HANDLE manager_ = nullptr;
  SC_HANDLE service_ = nullptr;
};

}  // namespace zentsim::testing
