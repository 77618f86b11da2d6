// The "fileInfo" object's attributes made from hand-built records: which
// attributes, in which order, with which text. Expectations are written
// from the query's rules.
#include "metadata/file_info_attributes.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs Attributes(const std::string& path, bool directory, const FileInfoRecord& record) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* attributes = document.NewElement("Attributes");
  document.InsertEndChild(attributes);
  AddFileInfoAttributes(document, attributes, path, directory, record);
  Pairs out;
  for (const tinyxml2::XMLElement* a = attributes->FirstChildElement(); a; a = a->NextSiblingElement()) {
    out.emplace_back(a->Attribute("name"), a->Attribute("value"));
  }
  return out;
}

// A plain file whose times differ and whose second _stat succeeded.
FileInfoRecord PlainFile(const std::string& path) {
  FileInfoRecord record;
  record.first = FileStatFields{.mode = 0100666, .accessTime = 1700000003, .modifyTime = 1700000002,
                                .changeTime = 1700000001, .size = 5};
  record.secondStat = true;
  record.second = record.first;
  record.shortForm = path;
  return record;
}

TEST(FileInfoAttributes, DistinctTimesInMillisecondsThenSizeAndMode) {
  FileInfoRecord record = PlainFile("C:\\d\\f.txt");
  EXPECT_EQ(Attributes("C:\\d\\f.txt", false, record),
            (Pairs{{"lastAccess", "1700000003000"}, {"lastModified", "1700000002000"},
                   {"created", "1700000001000"}, {"size", "5"}, {"mode", "0100666"}}));
}

TEST(FileInfoAttributes, SizeAndModeComeFromTheSecondStat) {
  FileInfoRecord record = PlainFile("C:\\f");
  record.second.size = 7;
  record.second.mode = 0100444;
  Pairs attributes = Attributes("C:\\f", false, record);
  EXPECT_EQ(attributes[3], (std::pair<std::string, std::string>{"size", "7"}));
  EXPECT_EQ(attributes[4], (std::pair<std::string, std::string>{"mode", "0100444"}));
}

TEST(FileInfoAttributes, FailedSecondStatLeavesOutSizeAndMode) {
  FileInfoRecord record = PlainFile("C:\\f");
  record.secondStat = false;
  EXPECT_EQ(Attributes("C:\\f", false, record),
            (Pairs{{"lastAccess", "1700000003000"}, {"lastModified", "1700000002000"},
                   {"created", "1700000001000"}}));
}

TEST(FileInfoAttributes, SizeOverTwoGibibytesShowsAsTheSignedField) {
  FileInfoRecord record = PlainFile("C:\\big");
  record.second.size = static_cast<int32_t>(3221225472u);
  EXPECT_EQ(Attributes("C:\\big", false, record)[3], (std::pair<std::string, std::string>{"size", "-1073741824"}));
}

TEST(FileInfoAttributes, DirectoryModeAndZeroSize) {
  FileInfoRecord record = PlainFile("C:\\d/");
  record.second.mode = 040777;
  record.second.size = 0;
  Pairs attributes = Attributes("C:\\d", true, record);
  EXPECT_EQ(attributes[3], (std::pair<std::string, std::string>{"size", "0"}));
  EXPECT_EQ(attributes[4], (std::pair<std::string, std::string>{"mode", "040777"}));
}

TEST(FileInfoAttributes, DirectoryBackslashAloneHasNoTimes) {
  FileInfoRecord record = PlainFile("\\/");
  record.second.mode = 040777;
  record.second.size = 0;
  EXPECT_EQ(Attributes("\\", true, record),
            (Pairs{{"size", "0"}, {"mode", "040777"}, {"shortName", "\\/"}}));
}

TEST(FileInfoAttributes, FileUnderABareBackslashKeepsItsTimes) {
  FileInfoRecord record = PlainFile("\\x.txt");
  EXPECT_EQ(Attributes("\\x.txt", false, record).size(), 5u);
  EXPECT_EQ(Attributes("\\x.txt", false, record)[0].first, "lastAccess");
}

TEST(FileInfoAttributes, ShortNameWhenTheShortFormDiffers) {
  FileInfoRecord record = PlainFile("C:\\LONG~LMQ.TXT");
  record.secondStat = false;
  EXPECT_EQ(Attributes("C:\\long file name.txt", false, record).back(),
            (std::pair<std::string, std::string>{"shortName", "C:\\LONG~LMQ.TXT"}));
}

TEST(FileInfoAttributes, NoShortNameWhenOnlyTheCaseDiffers) {
  FileInfoRecord record = PlainFile("C:\\SHORT.TXT");
  record.secondStat = false;
  EXPECT_EQ(Attributes("c:\\short.txt", false, record).size(), 3u);
}

TEST(FileInfoAttributes, LinkTargetAfterShortName) {
  FileInfoRecord record = PlainFile("C:\\A~1.LNK");
  record.secondStat = false;
  record.hasLinkTarget = true;
  record.linkTarget = "C:\\target.txt";
  Pairs attributes = Attributes("C:\\a link.lnk", false, record);
  ASSERT_EQ(attributes.size(), 5u);
  EXPECT_EQ(attributes[3], (std::pair<std::string, std::string>{"shortName", "C:\\A~1.LNK"}));
  EXPECT_EQ(attributes[4], (std::pair<std::string, std::string>{"linkTo", "C:\\target.txt"}));
}

TEST(FileInfoAttributes, FixedVersionBlockAlone) {
  FileInfoRecord record = PlainFile("C:\\v.dll");
  record.secondStat = false;
  record.hasFixedVersion = true;
  uint16_t file[4] = {1, 2, 3, 65535};
  uint16_t product[4] = {10, 0, 0, 7};
  std::copy(file, file + 4, record.fileVersion);
  std::copy(product, product + 4, record.productVersion);
  EXPECT_EQ(Attributes("C:\\v.dll", false, record),
            (Pairs{{"lastAccess", "1700000003000"}, {"lastModified", "1700000002000"},
                   {"created", "1700000001000"}, {"fileVersion", "1.2.3.65535"}, {"productVersion", "10.0.0.7"}}));
}

TEST(FileInfoAttributes, VersionStringsLast) {
  FileInfoRecord record = PlainFile("C:\\v.dll");
  record.secondStat = false;
  record.versionStrings = {{"companyName", "0409:Zent;"}, {"productName", "0409:Widget;0407:Ding;"}};
  Pairs attributes = Attributes("C:\\v.dll", false, record);
  ASSERT_EQ(attributes.size(), 5u);
  EXPECT_EQ(attributes[3], (std::pair<std::string, std::string>{"companyName", "0409:Zent;"}));
  EXPECT_EQ(attributes[4], (std::pair<std::string, std::string>{"productName", "0409:Widget;0407:Ding;"}));
}

TEST(FileInfoKind, DirectoryBitFirstThenRegularFile) {
  EXPECT_STREQ(FileInfoKind(040777), "directory");
  EXPECT_STREQ(FileInfoKind(0100666), "file");
  EXPECT_STREQ(FileInfoKind(0140000), "directory");
  EXPECT_EQ(FileInfoKind(020666), nullptr);
  EXPECT_EQ(FileInfoKind(0), nullptr);
}

TEST(FileInfoName, DirectoryGetsAClosingSlashAndAFileStaysAsItIs) {
  EXPECT_EQ(FileInfoName("C:\\dir", true).GetFullText(), "C:\\dir/");
  EXPECT_EQ(FileInfoName("C:\\dir\\f.txt", false).GetFullText(), "C:\\dir\\f.txt");
}

TEST(VersionAttributeTable, RowsInOrder) {
  const char* names[] = {"fileVersionOVI", "productVersionOVI", "comments", "companyName", "fileDescription",
                         "internalName", "originalFilename", "productName", "privateBuild", "specialBuild"};
  for (int row = 0; row < kVersionAttributeRows; ++row) {
    EXPECT_STREQ(VersionAttributeTable[row].attributeName, names[row]);
  }
}

TEST(VersionSubBlock, LanguageAndCodePageInLowerCaseHex) {
  EXPECT_EQ(VersionSubBlock(0, 0x0409, 0x04b0), "\\StringFileInfo\\040904b0\\FileVersion");
  EXPECT_EQ(VersionSubBlock(6, 0x0407, 0x04E4), "\\StringFileInfo\\040704e4\\OriginalFileName");
  EXPECT_EQ(VersionSubBlock(9, 0x0c0a, 0x0000), "\\StringFileInfo\\0c0a0000\\SpecialBuild");
}

TEST(VersionGroup, LanguageColonValueSemicolon) {
  std::string text;
  AppendVersionGroup(text, 0x0409, "Widget");
  AppendVersionGroup(text, 0x0407, "Ding");
  EXPECT_EQ(text, "0409:Widget;0407:Ding;");
}

TEST(VersionGroup, ValueCutAtSixtyFourBytes) {
  std::string value(70, 'C');
  std::string text;
  AppendVersionGroup(text, 0x0409, value);
  EXPECT_EQ(text, "0409:" + std::string(64, 'C') + ";");
}

TEST(VersionGroup, CutMayFallInsideACharacter) {
  std::string value = std::string(63, 'a') + "\xc3\xa9";
  std::string text;
  AppendVersionGroup(text, 0x0407, value);
  EXPECT_EQ(text, "0407:" + std::string(63, 'a') + "\xc3;");
}

TEST(VersionGroup, EmptyValueKeepsItsGroup) {
  std::string text;
  AppendVersionGroup(text, 0x0409, "");
  EXPECT_EQ(text, "0409:;");
}

}  // namespace
