#include "util/whole_file.h"

#include <gtest/gtest.h>

#include "support/test_files.h"
#include "support/scratch_folder.h"
#include "util/captured_log.h"

namespace {

TEST(LoadFileToString, EmptyFileGivesTrueAndEmptyText) {
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"empty.txt";
  WriteTestFile(path, "");
  std::string text = "old";
  EXPECT_TRUE(loadFileToString(path, text));
  EXPECT_EQ(text, "");
}

TEST(LoadFileToString, BytesComeAsTheyAre) {
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"bytes.bin";
  std::string bytes("a\r\nb\0c\xff", 7);
  WriteTestFile(path, bytes);
  std::string text;
  EXPECT_TRUE(loadFileToString(path, text));
  EXPECT_EQ(text, bytes);
}

TEST(LoadFileToString, MissingFileIsLogged) {
  CapturedLog log(1);
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"absent.txt";
  std::string text;
  EXPECT_FALSE(loadFileToString(path, text));
  EXPECT_NE(log.Text().find("] can't open " + WidePathText(path) + "\n"), std::string::npos);
}

TEST(PutStringToFile, ReplacesTheFile) {
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"out.bin";
  WriteTestFile(path, "a much longer earlier text");
  std::string bytes("x\ny\0", 4);
  EXPECT_TRUE(putStringToFile(path, bytes));
  EXPECT_EQ(ReadTestFile(path), bytes);
}

TEST(PutStringToFile, EmptyTextEmptiesTheFile) {
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"out.bin";
  WriteTestFile(path, "earlier");
  EXPECT_TRUE(putStringToFile(path, ""));
  EXPECT_EQ(ReadTestFile(path), "");
}

TEST(PutStringToFile, UnopenableFileIsLogged) {
  CapturedLog log(1);
  std::wstring path = MakeScratchFolder() + kScratchSeparator + L"none" + kScratchSeparator + L"out.bin";
  EXPECT_FALSE(putStringToFile(path, "x"));
  EXPECT_NE(log.Text().find("] can't open " + WidePathText(path) + "\n"), std::string::npos);
}

}  // namespace
