#include "server/check_xml_cmd_type.h"

#include <gtest/gtest.h>

#include "util/captured_log.h"
#include "support/test_files.h"
#include "support/scratch_folder.h"

namespace {

class CheckXmlCmdType : public ::testing::Test {
 protected:
  int TypeOf(const std::string& document) {
    WriteTestFile(path_, document);
    return checkXmlCmdType(path_);
  }
  CapturedLog log_{4};
  std::wstring path_ = MakeScratchFolder() + kScratchSeparator + L"command.xml";
};

TEST_F(CheckXmlCmdType, MetadataQueryIsTwo) {
  EXPECT_EQ(TypeOf("<Message><Request cmd=\"GetHostMetaData\"/></Message>"), 2);
  EXPECT_NE(log_.Text().find("] GetHostMetaData command received\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, DeploymentIsOne) {
  EXPECT_EQ(TypeOf("<Message><Request cmd=\"SendSecurityConfiguration\"><Policy/></Request></Message>"), 1);
  EXPECT_NE(log_.Text().find("] SendSecurityConfiguration command received\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, OnlyTheFirstCommandCounts) {
  EXPECT_EQ(TypeOf("<Message><Request cmd=\"Other\"/><Next cmd=\"GetHostMetaData\"/></Message>"), 0);
  EXPECT_EQ(log_.Text(), "");
}

TEST_F(CheckXmlCmdType, NameComparesExactly) {
  EXPECT_EQ(TypeOf("<Message><Request cmd=\"gethostmetadata\"/></Message>"), 0);
}

TEST_F(CheckXmlCmdType, EmptyCmdIsRefused) {
  EXPECT_EQ(TypeOf("<Message><Request cmd=\"\"/></Message>"), 0);
  EXPECT_NE(log_.Text().find("] cannot find Attribute cmd\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, MissingRequestIsRefused) {
  EXPECT_EQ(TypeOf("<Message><Other cmd=\"GetHostMetaData\"/></Message>"), 0);
  EXPECT_NE(log_.Text().find("] cannot find Tag Message.Request\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, RootOtherThanMessageIsRefusedWithoutAFault) {
  EXPECT_EQ(TypeOf("<Other><Request cmd=\"GetHostMetaData\"/></Other>"), 0);
  EXPECT_NE(log_.Text().find("] cannot find Tag Message.Request\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, MalformedDocumentIsRefused) {
  EXPECT_EQ(TypeOf("<Message><Request cmd=\"GetHostMetaData\">"), 0);
  EXPECT_NE(log_.Text().find("] XML LoadFile failed\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, DocumentWithoutElementIsRefused) {
  EXPECT_EQ(TypeOf("<!-- nothing -->"), 0);
  EXPECT_NE(log_.Text().find("] XML read failed\n"), std::string::npos);
}

TEST_F(CheckXmlCmdType, MissingFileIsRefused) {
  std::wstring missing = MakeScratchFolder() + kScratchSeparator + L"absent.xml";
  EXPECT_EQ(checkXmlCmdType(missing), 0);
  EXPECT_NE(log_.Text().find("] can't open " + WidePathText(missing) + "\n"), std::string::npos);
}

}  // namespace
