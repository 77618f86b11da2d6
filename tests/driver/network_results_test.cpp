// The network configuration's results as the driver's installer reads them.
#include "driver/network_results.h"

#include <gtest/gtest.h>

namespace {

constexpr int32_t kNoWriteLock = static_cast<int32_t>(0x8004A024u);
constexpr int32_t kAccessDenied = static_cast<int32_t>(0x80070005u);

TEST(JudgeInfAttempt, SuccessStops) { EXPECT_EQ(JudgeInfAttempt(0), InfAttempt::Installed); }

TEST(JudgeInfAttempt, RebootRequiredStops) { EXPECT_EQ(JudgeInfAttempt(0x0004A020), InfAttempt::InstalledReboot); }

TEST(JudgeInfAttempt, NeedRebootStops) { EXPECT_EQ(JudgeInfAttempt(kNetcfgENeedReboot), InfAttempt::NeedReboot); }

TEST(JudgeInfAttempt, FilterLimitStops) { EXPECT_EQ(JudgeInfAttempt(kNetcfgEMaxFilterLimit), InfAttempt::FilterLimit); }

TEST(JudgeInfAttempt, AnythingElseTriesTheNextInf) {
  for (int32_t result : {kEFail, kNoWriteLock, kInstallCancelled, kAccessDenied, 1, 0x0004A024,
                         static_cast<int32_t>(0x8004A028u)}) {
    EXPECT_EQ(JudgeInfAttempt(result), InfAttempt::TryNext) << result;
  }
}

TEST(DriverInstallFailureCode, NeedRebootIsMinus111) { EXPECT_EQ(DriverInstallFailureCode(kNetcfgENeedReboot), -111); }

TEST(DriverInstallFailureCode, FilterLimitIs201512009) {
  EXPECT_EQ(DriverInstallFailureCode(kNetcfgEMaxFilterLimit), 201512009);
}

TEST(DriverInstallFailureCode, OtherNegativeIsMinus112) {
  for (int32_t result : {kEFail, kNoWriteLock, kInstallCancelled, kAccessDenied, INT32_MIN}) {
    EXPECT_EQ(DriverInstallFailureCode(result), -112) << result;
  }
}

TEST(DriverInstallFailureCode, NonNegativeGoesOn) {
  EXPECT_EQ(DriverInstallFailureCode(0), 0);
  EXPECT_EQ(DriverInstallFailureCode(0x0004A020), 0);
  EXPECT_EQ(DriverInstallFailureCode(1), 0);
}

TEST(DriverInstalledCode, RebootIsMinus110) {
  EXPECT_EQ(DriverInstalledCode(0x0004A020), -110);
  EXPECT_EQ(DriverInstalledCode(0), 0);
  EXPECT_EQ(DriverInstalledCode(1), 0);
}

TEST(InstallWantsApply, SuccessAndRebootAreAppliedOnceMore) {
  EXPECT_TRUE(InstallWantsApply(0));
  EXPECT_TRUE(InstallWantsApply(0x0004A020));
  EXPECT_FALSE(InstallWantsApply(1));
  EXPECT_FALSE(InstallWantsApply(kEFail));
}

TEST(InstallFailureIsLogged, CancelledIsQuiet) {
  EXPECT_FALSE(InstallFailureIsLogged(kInstallCancelled));
  EXPECT_FALSE(InstallFailureIsLogged(0));
  EXPECT_FALSE(InstallFailureIsLogged(0x0004A020));
  EXPECT_TRUE(InstallFailureIsLogged(kEFail));
  EXPECT_TRUE(InstallFailureIsLogged(1));
  EXPECT_TRUE(InstallFailureIsLogged(kNetcfgENeedReboot));
}

TEST(JudgeUninstall, SuccessRebootAndTheRest) {
  EXPECT_EQ(JudgeUninstall(0), UninstallOutcome::Uninstalled);
  EXPECT_EQ(JudgeUninstall(0x0004A020), UninstallOutcome::UninstalledReboot);
  // An absent component (1) is reported as a failure, though callers go on.
  EXPECT_EQ(JudgeUninstall(1), UninstallOutcome::Failed);
  EXPECT_EQ(JudgeUninstall(kEFail), UninstallOutcome::Failed);
  EXPECT_EQ(JudgeUninstall(kNoWriteLock), UninstallOutcome::Failed);
}

TEST(HresultFromWin32, PositiveErrorsTakeTheWin32Facility) {
  EXPECT_EQ(HresultFromWin32(2), static_cast<int32_t>(0x80070002u));
  EXPECT_EQ(HresultFromWin32(5), static_cast<int32_t>(0x80070005u));
  EXPECT_EQ(HresultFromWin32(0x12345), static_cast<int32_t>(0x80072345u));
  EXPECT_EQ(HresultFromWin32(0), 0);
  EXPECT_EQ(HresultFromWin32(0x80004005u), kEFail);
}

}  // namespace
