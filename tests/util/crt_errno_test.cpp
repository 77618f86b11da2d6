// A failed file write's error as the C runtime reports it: the full disk,
// the refused access and the dead handle keep their own numbers, anything
// else is an invalid argument.
#include <gtest/gtest.h>

#include "util/crt_errno.h"

TEST(CrtErrnoFromWin32, DiskFullIsNoSpace) { EXPECT_EQ(CrtErrnoFromWin32(112), 28); }
TEST(CrtErrnoFromWin32, AccessDeniedIsAccess) { EXPECT_EQ(CrtErrnoFromWin32(5), 13); }
TEST(CrtErrnoFromWin32, InvalidHandleIsBadFile) { EXPECT_EQ(CrtErrnoFromWin32(6), 9); }
TEST(CrtErrnoFromWin32, OthersAreInvalidArgument) {
  EXPECT_EQ(CrtErrnoFromWin32(0), 22);
  EXPECT_EQ(CrtErrnoFromWin32(32), 22);   // sharing violation
  EXPECT_EQ(CrtErrnoFromWin32(39), 22);   // ERROR_HANDLE_DISK_FULL is not the runtime's disk full
  EXPECT_EQ(CrtErrnoFromWin32(0xFFFFFFFFu), 22);
}
