// The uninstaller's exit code as "-install" reads it: every row of the
// judgement, and the look into the pending file renames for 1603.
#include "upkeep/corvel_uninstall_result.h"

#include <gtest/gtest.h>

#include <string>

namespace {

int Result(uint32_t exitCode, bool driverPending) {
  return CorvelUninstallResult(JudgeCorvelUninstall(exitCode, driverPending));
}

}  // namespace

TEST(CorvelUninstallJudgement, ZeroIsRemoved) {
  EXPECT_EQ(JudgeCorvelUninstall(0, false), CorvelUninstallOutcome::Removed);
  EXPECT_EQ(Result(0, false), 0);
  // Renames waiting for a reboot do not matter once the removal worked.
  EXPECT_EQ(Result(0, true), 0);
}

TEST(CorvelUninstallJudgement, RebootRequiredIsSuccessWithReboot) {
  EXPECT_EQ(JudgeCorvelUninstall(3010, false), CorvelUninstallOutcome::RebootRequired);
  EXPECT_EQ(Result(3010, false), -110);
  EXPECT_EQ(Result(3010, true), -110);
}

TEST(CorvelUninstallJudgement, FailureWithTheDriverPendingWantsAReboot) {
  EXPECT_EQ(JudgeCorvelUninstall(1603, true), CorvelUninstallOutcome::DriverPendingRemoval);
  EXPECT_EQ(Result(1603, true), -111);
}

TEST(CorvelUninstallJudgement, FailureWithoutTheDriverPendingIsNotRemoved) {
  EXPECT_EQ(JudgeCorvelUninstall(1603, false), CorvelUninstallOutcome::Failed1603);
  EXPECT_EQ(Result(1603, false), 130);
}

TEST(CorvelUninstallJudgement, AnyOtherCodeIsNotRemoved) {
  for (uint32_t code : {1u, 2u, 1602u, 1604u, 1605u, 1618u, 3011u, 0xFFFFFFFFu, 0x80000000u}) {
    EXPECT_EQ(JudgeCorvelUninstall(code, true), CorvelUninstallOutcome::Failed) << code;
    EXPECT_EQ(Result(code, true), 130) << code;
    EXPECT_EQ(Result(code, false), 130) << code;
  }
}

TEST(PendingFilesHoldCorvelDriver, DriverNameAnywhereInTheText) {
  EXPECT_TRUE(PendingFilesHoldCorvelDriver("\\??\\C:\\Windows\\system32\\drivers\\hvactmon.sys"));
  EXPECT_TRUE(PendingFilesHoldCorvelDriver("hvactmon.sys"));
  EXPECT_TRUE(PendingFilesHoldCorvelDriver("xhvactmon.sysx"));
}

TEST(PendingFilesHoldCorvelDriver, LaterFileOfTheMultiStringCounts) {
  std::string text("\\??\\C:\\a.tmp\0\0\\??\\C:\\Windows\\system32\\drivers\\hvactmon.sys\0", 59);
  EXPECT_TRUE(PendingFilesHoldCorvelDriver(text));
}

TEST(PendingFilesHoldCorvelDriver, OtherCaseOrNameIsNotTheDriver) {
  EXPECT_FALSE(PendingFilesHoldCorvelDriver("HVACTMON.SYS"));
  EXPECT_FALSE(PendingFilesHoldCorvelDriver("hvactmon.sy"));
  EXPECT_FALSE(PendingFilesHoldCorvelDriver("hvactmon_sys"));
  EXPECT_FALSE(PendingFilesHoldCorvelDriver(std::string("hvactmon\0.sys", 13)));
  EXPECT_FALSE(PendingFilesHoldCorvelDriver(""));
}
