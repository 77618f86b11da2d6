// The installer's tables and text rules: INF names, the INF's source
// folder, the store's copies, and the system text of an error.
#include <gtest/gtest.h>

#include <string>

#include "driver/inf_names.h"
#include "driver/inf_source_folder.h"
#include "driver/oem_inf_file.h"
#include "driver/system_error_text.h"

namespace {

TEST(InfNames, FiveNamesInTheirOrder) {
  EXPECT_EQ(std::wstring(kInfNames[0]), L"netmlfilter.inf");
  EXPECT_EQ(std::wstring(kInfNames[1]), L"netmlfilterm.inf");
  EXPECT_EQ(std::wstring(kInfNames[2]), L"netmlfilterp.inf");
  EXPECT_EQ(std::wstring(kInfNames[3]), L"netnrxim.inf");
  EXPECT_EQ(std::wstring(kInfNames[4]), L"netnrxip.inf");
}

TEST(InfNames, SearchStopsAfterTheThirdRow) { EXPECT_EQ(kInfNamesSearched, 3u); }

TEST(SplitInfPath, DriveAndDirectoryWithItsSeparator) {
  std::wstring drive, directory;
  EXPECT_TRUE(SplitInfPath(L"C:\\Zent\\infsys\\Win7Release\\netmlfilter.inf", drive, directory));
  EXPECT_EQ(drive, L"C:");
  EXPECT_EQ(directory, L"\\Zent\\infsys\\Win7Release\\");
}

TEST(SplitInfPath, ForwardSlashesSeparateToo) {
  std::wstring drive, directory;
  EXPECT_TRUE(SplitInfPath(L"Z:/tmp/pkg/netmlfilter.inf", drive, directory));
  EXPECT_EQ(drive, L"Z:");
  EXPECT_EQ(directory, L"/tmp/pkg/");
}

TEST(SplitInfPath, NoDriveNoDirectory) {
  std::wstring drive = L"x", directory = L"y";
  EXPECT_TRUE(SplitInfPath(L"netmlfilter.inf", drive, directory));
  EXPECT_EQ(drive, L"");
  EXPECT_EQ(directory, L"");
  EXPECT_TRUE(SplitInfPath(L"C:netmlfilter.inf", drive, directory));
  EXPECT_EQ(drive, L"C:");
  EXPECT_EQ(directory, L"");
}

TEST(SplitInfPath, DirectoryOf255CharactersFits) {
  std::wstring drive, directory;
  std::wstring path = L"C:\\" + std::wstring(253, L'd') + L"\\netmlfilter.inf";
  EXPECT_TRUE(SplitInfPath(path, drive, directory));
  EXPECT_EQ(directory.size(), 255u);
}

TEST(SplitInfPath, DirectoryOf256CharactersDoesNotFit) {
  std::wstring drive, directory;
  std::wstring path = L"C:\\" + std::wstring(254, L'd') + L"\\netmlfilter.inf";
  EXPECT_FALSE(SplitInfPath(path, drive, directory));
}

TEST(IsOemInfName, BeginsWithOemEndsWithInf) {
  EXPECT_TRUE(IsOemInfName(L"oem12.inf"));
  EXPECT_TRUE(IsOemInfName(L"oem.inf"));
  EXPECT_TRUE(IsOemInfName(L"OEM3.INF"));
  EXPECT_TRUE(IsOemInfName(L"oemx.y.inf"));
  EXPECT_FALSE(IsOemInfName(L"xoem1.inf"));
  EXPECT_FALSE(IsOemInfName(L"oem1.inf.bak"));
  EXPECT_FALSE(IsOemInfName(L"oem1.pnf"));
  EXPECT_FALSE(IsOemInfName(L"oem1"));
  EXPECT_FALSE(IsOemInfName(L"oe.inf"));
  EXPECT_FALSE(IsOemInfName(L""));
  EXPECT_FALSE(IsOemInfName(L"netmlfilter.inf"));
}

TEST(NamesDriver, EightBitNameAnywhereWithItsCase) {
  EXPECT_TRUE(NamesDriver("mlfilter"));
  EXPECT_TRUE(NamesDriver("%Desc% = Install, mlfilter\r\n"));
  EXPECT_TRUE(NamesDriver(std::string("\0\0mlfilter", 10)));
  EXPECT_FALSE(NamesDriver("MLFILTER"));
  EXPECT_FALSE(NamesDriver("mlfilte"));
  EXPECT_FALSE(NamesDriver(""));
  EXPECT_FALSE(NamesDriver(std::string("m\0l\0f\0i\0l\0t\0e\0r\0", 16)));
}

TEST(CutSystemErrorText, LastCharacterDropped) {
  EXPECT_EQ(CutSystemErrorText(L"Call failed.\r\n"), L"Call failed.\r");
  EXPECT_EQ(CutSystemErrorText(L"x"), L"");
  EXPECT_EQ(CutSystemErrorText(L""), L"");
}

TEST(CutSystemErrorText, NoTextIsUnknow) { EXPECT_EQ(CutSystemErrorText(nullptr), L"Unknow"); }

TEST(CutSystemErrorText, AtMost400CharactersThenOneDropped) {
  std::wstring long_text(500, L'a');
  long_text[399] = L'b';
  long_text[398] = L'c';
  std::wstring cut = CutSystemErrorText(long_text.c_str());
  EXPECT_EQ(cut.size(), 399u);
  EXPECT_EQ(cut.back(), L'c');
  EXPECT_EQ(CutSystemErrorText(std::wstring(400, L'a').c_str()).size(), 399u);
  EXPECT_EQ(CutSystemErrorText(std::wstring(401, L'a').c_str()).size(), 399u);
}

}  // namespace
