#include "server/get_file_modify_time.h"

#include <gtest/gtest.h>

#include <ctime>

#include "support/test_files.h"
#include "support/scratch_folder.h"
#include "util/captured_log.h"

namespace {

TEST(GetFileModifyTime, FreshFileIsNow) {
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"policy.xml";
  int64_t before = static_cast<int64_t>(std::time(nullptr));
  WriteTestFile(path, "x");
  int64_t after = static_cast<int64_t>(std::time(nullptr));
  int32_t time = GetFileModifyTime(path);
  // File systems keep times to 2 s at worst.
  EXPECT_GE(time, before - 2);
  EXPECT_LE(time, after + 2);
}

TEST(GetFileModifyTime, MissingFileIsZeroAndLogged) {
  CapturedLog log(1);
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"absent.xml";
  EXPECT_EQ(GetFileModifyTime(path), 0);
  EXPECT_NE(log.Text().find("] Get File Info fails\n"), std::string::npos);
}

TEST(GetFileModifyTime, PathGoesByTheLowByteOfEachUnit) {
  // U+0161 has the low byte 0x61, 'a': the runtime is asked for "a.xml".
  std::wstring folder = MakeScratchFolder() + kScratchSeparator;
  WriteTestFile(folder + L"a.xml", "x");
  EXPECT_NE(GetFileModifyTime(folder + L"\u0161.xml"), 0);
}

}  // namespace
