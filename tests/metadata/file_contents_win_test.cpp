// The file contents query through the system's calls under Wine: real files,
// a file held by the test without sharing, a sparse file past 4 GiB, the
// handler's returns and its log lines.
#include <windows.h>

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>

#include "metadata/file_contents.h"
#include "support/scratch_folder.h"
#include "support/test_files.h"
#include "util/captured_log.h"
#include "util/low_byte_text.h"

namespace {

class FileContentsWin : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = LowByteText(MakeScratchFolder());
    results_ = document_.NewElement("HostMetaDataQueryResults");
    document_.InsertEndChild(results_);
  }

  std::string Write(const std::string& name, const std::string& bytes) {
    std::string path = folder_ + "\\" + name;
    WriteTestFile(std::wstring(path.begin(), path.end()), bytes);
    return path;
  }

  bool Ask(const std::string& path, const std::string& pattern, const std::string& limit = "") {
    return GetHmdFileContents(document_, results_, "1", path, pattern, limit);
  }

  // matchedStrings of the one result, or "none" when there is no result.
  std::string Matched() {
    const tinyxml2::XMLElement* result = results_->FirstChildElement("HostMetaDataQueryResult");
    if (result == nullptr) return "none";
    return result->FirstChildElement("HostMetaDatas")
        ->FirstChildElement("HostMetaData")
        ->FirstChildElement("Attributes")
        ->FirstChildElement("Attribute")
        ->Attribute("value");
  }

  std::string folder_;
  tinyxml2::XMLDocument document_;
  tinyxml2::XMLElement* results_ = nullptr;
};

TEST_F(FileContentsWin, ReadsTheLinesOfARealFile) {
  std::string path = Write("ends.txt", "dos\r\nunix\nmac\rlast");
  EXPECT_TRUE(Ask(path, "a"));
  EXPECT_EQ(Matched(), "mac\r\nlast\r\n");
}

TEST_F(FileContentsWin, DirectoryAndMissingFileHaveNoResult) {
  EXPECT_FALSE(Ask(folder_, ""));
  EXPECT_FALSE(Ask(folder_ + "\\", ""));
  EXPECT_FALSE(Ask(folder_ + "\\absent.txt", ""));
  EXPECT_EQ(Matched(), "none");
}

TEST_F(FileContentsWin, FileHeldWithoutSharingHasNoResult) {
  CapturedLog log(1);
  std::string path = Write("held.txt", "held\n");
  HANDLE held = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(Ask(path, ""));
  CloseHandle(held);
  EXPECT_EQ(Matched(), "none");
  EXPECT_NE(log.Text().find("] CreateFileA failed\n"), std::string::npos);
  EXPECT_TRUE(Ask(path, ""));
  EXPECT_EQ(Matched(), "held\r\n");
}

TEST_F(FileContentsWin, SparseFileOfFourGibAndSixteenBytesIsRefusedUnread) {
  std::string path = Write("huge.bin", "leading line\n");
  HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  LARGE_INTEGER end;
  end.QuadPart = (4LL << 30) + 16;
  ASSERT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_BEGIN));
  ASSERT_TRUE(SetEndOfFile(file));
  CloseHandle(file);
  CapturedLog log(1);
  EXPECT_FALSE(Ask(path, "", "-1"));
  EXPECT_EQ(Matched(), "none");
  EXPECT_NE(log.Text().find("size is unknown or 4 GiB or more: high=1, low=16, err=0\n"), std::string::npos);
  DeleteFileA(path.c_str());
}

TEST_F(FileContentsWin, LimitInHexadecimalAdmitsTheFileOfThatSize) {
  std::string path = Write("sixteen.txt", "0123456789abcde\n");
  EXPECT_FALSE(Ask(path, "", "0xf"));
  EXPECT_TRUE(Ask(path, "", "0x10"));
  EXPECT_EQ(Matched(), "0123456789abcde\r\n");
}

TEST_F(FileContentsWin, BadPatternIsLoggedAndHasNoResult) {
  CapturedLog log(1);
  std::string path = Write("lines.txt", "aa\n");
  EXPECT_FALSE(Ask(path, "(a*)*\\1x"));
  EXPECT_EQ(Matched(), "none");
  EXPECT_NE(log.Text().find("][Compile:"), std::string::npos);
  EXPECT_NE(log.Text().find("] Invalid regular expression '(a*)*\\1x'\n"), std::string::npos);
}

}  // namespace
