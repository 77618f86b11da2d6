// mlfilter.exe under the service control manager, registered under a name of
// each test's own; its knobs and records are under that name.
#include "build_outputs.h"
#include "stand_in_key.h"
#include "test_service_win.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using zentsim::testing::BuildOutput;
using zentsim::testing::StandInKey;
using zentsim::testing::TestService;

class Mlfilter : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(service.Registered()) << GetLastError(); }
  // The service writes its records until it has stopped.
  void TearDown() override {
    service.Stop();
    knobs.Delete();
  }

  bool Start() { return StartServiceW(service.Handle(), 0, nullptr) != FALSE; }

  TestService service{L"mlfilter_test", BuildOutput(L"ZENT_SIM_MLFILTER_EXE")};
  StandInKey knobs{service.Name()};
};

TEST_F(Mlfilter, StartsRunsAndStopsOnTheStopControl) {
  ASSERT_TRUE(Start()) << GetLastError();
  SERVICE_STATUS_PROCESS status = service.WaitWhile(SERVICE_START_PENDING);
  EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_EQ(status.dwControlsAccepted,
            static_cast<DWORD>(SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN));
  EXPECT_EQ(knobs.Dword(L"Started"), 1u);

  SERVICE_STATUS stopping{};
  ASSERT_TRUE(ControlService(service.Handle(), SERVICE_CONTROL_STOP, &stopping));
  service.WaitWhile(SERVICE_RUNNING);
  status = service.WaitWhile(SERVICE_STOP_PENDING);
  EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_EQ(status.dwWin32ExitCode, 0u);
  EXPECT_EQ(knobs.Dword(L"Stopped"), 1u);
}

TEST_F(Mlfilter, StartingARunningServiceIsRefused) {
  ASSERT_TRUE(Start());
  service.WaitWhile(SERVICE_START_PENDING);
  EXPECT_FALSE(Start());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SERVICE_ALREADY_RUNNING));
}

TEST_F(Mlfilter, StartFailsKnobStopsTheServiceWithThatExitCode) {
  knobs.Set(L"StartFails", ERROR_GEN_FAILURE);
  ASSERT_TRUE(Start()) << GetLastError();
  service.WaitWhile(SERVICE_START_PENDING);
  SERVICE_STATUS_PROCESS status = service.WaitWhile(SERVICE_STOP_PENDING);
  EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_STOPPED));
  EXPECT_EQ(status.dwWin32ExitCode, static_cast<DWORD>(ERROR_GEN_FAILURE));
}

TEST_F(Mlfilter, StartDelayKeepsStartPendingWithGrowingCheckPoints) {
  knobs.Set(L"StartDelayMs", 1500);
  DWORD start = GetTickCount();
  ASSERT_TRUE(Start()) << GetLastError();
  DWORD firstCheckPoint = service.Status().dwCheckPoint;
  DWORD lastCheckPoint = firstCheckPoint;
  SERVICE_STATUS_PROCESS status = service.Status();
  while (status.dwCurrentState == SERVICE_START_PENDING && GetTickCount() - start < 20000) {
    EXPECT_NE(status.dwWaitHint, 0u);
    lastCheckPoint = std::max(lastCheckPoint, status.dwCheckPoint);
    Sleep(50);
    status = service.Status();
  }
  EXPECT_EQ(status.dwCurrentState, static_cast<DWORD>(SERVICE_RUNNING));
  EXPECT_GE(GetTickCount() - start, 1400u);
  EXPECT_GT(lastCheckPoint, firstCheckPoint);
}

}  // namespace
