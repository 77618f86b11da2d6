// getFileInfo and getDirectoryListing called as the engine calls them,
// under Wine, on files the test makes: what each returns, what it leaves in
// the document and what it logs; and the link target that only a thread
// with COM reads.
#include <windows.h>
#include <tinyxml2.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "metadata/get_hmd_directory_listing.h"
#include "metadata/get_hmd_file_info.h"
#include "support/scratch_folder.h"
#include "support/shell_link_win.h"
#include "support/test_files.h"
#include "util/captured_log.h"
#include "util/low_byte_text.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Strings = std::vector<std::string>;

class FileQueries : public ::testing::Test {
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
  const tinyxml2::XMLElement* Result() const { return results_->FirstChildElement("HostMetaDataQueryResult"); }
  Pairs Attributes() const {
    Pairs out;
    const tinyxml2::XMLElement* attributes =
        Result()->FirstChildElement("HostMetaDatas")->FirstChildElement("HostMetaData")->FirstChildElement(
            "Attributes");
    for (const tinyxml2::XMLElement* a = attributes->FirstChildElement(); a; a = a->NextSiblingElement()) {
      out.emplace_back(a->Attribute("name"), a->Attribute("value"));
    }
    return out;
  }
  std::string Find(const std::string& name) const {
    for (const auto& [n, v] : Attributes()) {
      if (n == name) return v;
    }
    return "<absent>";
  }

  std::string folder_;
  tinyxml2::XMLDocument document_;
  tinyxml2::XMLElement* results_ = nullptr;
};


TEST_F(FileQueries, FileInfoOfAPlainFile) {
  std::string path = Write("plain.txt", "hello");
  EXPECT_TRUE(GetHmdFileInfo(document_, results_, "f1", path));
  ASSERT_NE(Result(), nullptr);
  EXPECT_STREQ(Result()->Attribute("commandVersion"), "2");
  EXPECT_STREQ(Result()->Attribute("id"), "f1");
  EXPECT_NE(Result()->Attribute("hash"), nullptr);
  // The scratch folder's name is longer than 8.3, so a shortName follows.
  Pairs attributes = Attributes();
  ASSERT_EQ(attributes.size(), 7u);
  EXPECT_EQ(attributes[0], (std::pair<std::string, std::string>{"type", "file"}));
  EXPECT_EQ(attributes[4], (std::pair<std::string, std::string>{"size", "5"}));
  EXPECT_EQ(attributes[5], (std::pair<std::string, std::string>{"mode", "0100666"}));
  EXPECT_EQ(attributes[6].first, "shortName");
}

TEST_F(FileQueries, MissingFileHasNoResultAndALevelSixLine) {
  CapturedLog log(6);
  std::string path = folder_ + "\\absent.txt";
  EXPECT_FALSE(GetHmdFileInfo(document_, results_, "f1", path));
  EXPECT_EQ(Result(), nullptr);
  Strings messages = LogMessages(log.Text());
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].rfind("GetHmdFileInfo: _stat result is invalid: file(" + path + "), err=", 0), 0u);
}

TEST_F(FileQueries, LinkTargetOnAThreadWithCom) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  std::string target = Write("target.txt", "t");
  std::string link = folder_ + "\\to.lnk";
  ASSERT_TRUE(MakeShellLink(link, target));
  EXPECT_TRUE(GetHmdFileInfo(document_, results_, "l1", link));
  EXPECT_EQ(Find("linkTo"), target);
  CoUninitialize();
}

TEST_F(FileQueries, UpperCaseLinkOnAThreadWithCom) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  std::string target = Write("target.txt", "t");
  std::string link = folder_ + "\\TO.LNK";
  ASSERT_TRUE(MakeShellLink(link, target));
  EXPECT_TRUE(GetHmdFileInfo(document_, results_, "l1", link));
  EXPECT_EQ(Find("linkTo"), target);
  CoUninitialize();
}

TEST_F(FileQueries, LinkToItselfHasNoLinkTo) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  std::string link = folder_ + "\\self.lnk";
  ASSERT_TRUE(MakeShellLink(link, link));
  EXPECT_TRUE(GetHmdFileInfo(document_, results_, "l1", link));
  EXPECT_EQ(Find("linkTo"), "<absent>");
  CoUninitialize();
}

TEST_F(FileQueries, ListingOfFilesAndASubdirectory) {
  Write("one.txt", "1");
  CreateDirectoryA((folder_ + "\\two").c_str(), nullptr);
  EXPECT_TRUE(GetHmdDirectoryListing(document_, results_, "d1", folder_));
  ASSERT_NE(Result(), nullptr);
  EXPECT_STREQ(Result()->Attribute("commandVersion"), "1");
  EXPECT_EQ(Attributes(), (Pairs{{"entries", "one.txt|two|"}}));
}

TEST_F(FileQueries, ListingOfAFileOrNothingHasNoResult) {
  std::string file = Write("f.txt", "f");
  EXPECT_FALSE(GetHmdDirectoryListing(document_, results_, "d1", file));
  EXPECT_FALSE(GetHmdDirectoryListing(document_, results_, "d2", ""));
  EXPECT_FALSE(GetHmdDirectoryListing(document_, results_, "d3", folder_ + "\\absent"));
  EXPECT_EQ(Result(), nullptr);
}

}  // namespace
