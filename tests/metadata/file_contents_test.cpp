// The file contents query over a file system of the test's own, passed in
// through FileContentsCalls: which lines are kept, the document's object,
// every refusal. Expected values are written from the query's rules.
#include "metadata/file_contents.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <climits>
#include <map>
#include <string>
#include <vector>

#include "util/captured_log.h"
#include "util/reg_ex_impl.h"

namespace {

struct FakeFile {
  bool isFile = true;
  int64_t size = 0;
  bool readable = true;
  std::vector<std::string> lines;
};

std::map<std::string, FakeFile> g_Files;
std::vector<std::string> g_Calls;

const FileContentsCalls kFakeCalls = {
    [](const std::string& path) {
      g_Calls.push_back("isFile " + path);
      auto found = g_Files.find(path);
      return found != g_Files.end() && found->second.isFile;
    },
    [](const std::string& path) {
      g_Calls.push_back("fileSize " + path);
      return g_Files.at(path).size;
    },
    [](const std::string& path, std::vector<std::string>& lines) {
      g_Calls.push_back("readLines " + path);
      const FakeFile& file = g_Files.at(path);
      if (!file.readable || file.lines.empty()) return false;
      lines = file.lines;
      return true;
    },
};

class FileContentsQuery : public ::testing::Test {
 protected:
  void SetUp() override {
    g_Files.clear();
    g_Calls.clear();
    results_ = document_.NewElement("HostMetaDataQueryResults");
    document_.InsertEndChild(results_);
  }

  void AddFile(const std::string& path, std::vector<std::string> lines, int64_t size = 100) {
    g_Files[path] = FakeFile{.isFile = true, .size = size, .readable = true, .lines = std::move(lines)};
  }

  bool Ask(const std::string& path, const std::string& searchString, const std::string& sizeLimit = "") {
    return GetHmdFileContents(document_, results_, "q1", path, searchString, sizeLimit, kFakeCalls);
  }

  std::string Printed() {
    tinyxml2::XMLPrinter printer(nullptr, true);
    results_->Accept(&printer);
    return printer.CStr();
  }

  // The one result the query left, as the compact printer writes it.
  static std::string Result(const std::string& identifier, const std::string& matched, const std::string& search,
                            const std::string& hash) {
    return "<HostMetaDataQueryResults><HostMetaDataQueryResult commandVersion=\"1\" id=\"q1\" hashAlg=\"SHA1\" "
           "hash=\"" + hash + "\"><HostMetaDatas><HostMetaData type=\"fileContents\" identifier=\"" + identifier +
           "\"><Attributes><Attribute name=\"matchedStrings\" value=\"" + matched +
           "\"/><Attribute name=\"searchString\" value=\"" + search +
           "\"/></Attributes></HostMetaData></HostMetaDatas></HostMetaDataQueryResult></HostMetaDataQueryResults>";
  }

  tinyxml2::XMLDocument document_;
  tinyxml2::XMLElement* results_ = nullptr;
};

TEST(FileContentsSizeLimit, EmptyArgumentIsOneMillionBytes) {
  EXPECT_EQ(FileContentsSizeLimit(""), 1000000u);
}

TEST(FileContentsSizeLimit, ReadAsTheCRuntimeReadsBaseZero) {
  EXPECT_EQ(FileContentsSizeLimit("0"), 0u);
  EXPECT_EQ(FileContentsSizeLimit("16"), 16u);
  EXPECT_EQ(FileContentsSizeLimit("0x10"), 16u);
  EXPECT_EQ(FileContentsSizeLimit("0X1f"), 31u);
  EXPECT_EQ(FileContentsSizeLimit("010"), 8u);
  EXPECT_EQ(FileContentsSizeLimit("08"), 0u);
  EXPECT_EQ(FileContentsSizeLimit("  +12"), 12u);
  EXPECT_EQ(FileContentsSizeLimit("12 bytes"), 12u);
  EXPECT_EQ(FileContentsSizeLimit("bytes"), 0u);
  EXPECT_EQ(FileContentsSizeLimit("-1"), ULLONG_MAX);
  EXPECT_EQ(FileContentsSizeLimit("99999999999999999999"), ULLONG_MAX);
}

TEST(FileContentsSizeAllowed, UpToTheLimitItselfAndNeverAnUnknownSize) {
  EXPECT_TRUE(FileContentsSizeAllowed(16, 16));
  EXPECT_FALSE(FileContentsSizeAllowed(17, 16));
  EXPECT_TRUE(FileContentsSizeAllowed(0, 0));
  EXPECT_FALSE(FileContentsSizeAllowed(1, 0));
  EXPECT_FALSE(FileContentsSizeAllowed(-1, ULLONG_MAX));
  EXPECT_TRUE(FileContentsSizeAllowed(INT64_MAX, ULLONG_MAX));
}

TEST(MatchedLines, KeepsWholeLinesEachEndedInCrLf) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("o"));
  EXPECT_EQ(MatchedLines({"one", "two", "three", "four", ""}, regex), "one\r\ntwo\r\nfour\r\n");
}

TEST(MatchedLines, DotStarKeepsEveryLineTheEmptyOnesToo) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile(".*"));
  EXPECT_EQ(MatchedLines({"a", "", "b"}, regex), "a\r\n\r\nb\r\n");
}

TEST(MatchedLines, NothingMatchedIsEmpty) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("z"));
  EXPECT_EQ(MatchedLines({"a", "b"}, regex), "");
}

TEST_F(FileContentsQuery, KeptLinesAndThePatternAsSent) {
  AddFile("C:\\logs\\a.log", {"GET /x 200", "POST /y 500", "GET /z 404"});
  EXPECT_TRUE(Ask("C:\\logs\\a.log", "^GET"));
  // SHA-1 of "fileContents" "C:\logs\a.log" "matchedStrings" "GET /x 200\r\nGET /z 404\r\n" "searchString" "^GET".
  EXPECT_EQ(Printed(), Result("C:\\logs\\a.log", "GET /x 200\r\nGET /z 404\r\n", "^GET",
                              "43:20:55:2B:29:DC:30:DF:23:14:88:E6:A2:33:68:E0:A3:43:9C:BC"));
  EXPECT_EQ(g_Calls, std::vector<std::string>(
                         {"isFile C:\\logs\\a.log", "fileSize C:\\logs\\a.log", "readLines C:\\logs\\a.log"}));
}

TEST_F(FileContentsQuery, WithoutPatternEveryLineAndAnEmptySearchString) {
  AddFile("f.txt", {"a", "", "b"});
  EXPECT_TRUE(Ask("f.txt", ""));
  // SHA-1 of "fileContents" "f.txt" "matchedStrings" "a\r\n\r\nb\r\n" "searchString".
  EXPECT_EQ(Printed(), Result("f.txt", "a\r\n\r\nb\r\n", "",
                              "63:C4:FB:7D:C5:61:55:2E:5E:82:19:3A:6D:DE:94:BA:F8:1E:41:F1"));
}

TEST_F(FileContentsQuery, NoLineMatchedIsStillAResult) {
  AddFile("f.txt", {"a"});
  EXPECT_TRUE(Ask("f.txt", "zzz"));
  // SHA-1 of "fileContents" "f.txt" "matchedStrings" "searchString" "zzz".
  EXPECT_EQ(Printed(), Result("f.txt", "", "zzz", "07:49:2A:2D:21:24:6E:8F:23:98:CD:7C:E7:2E:FC:A5:4D:2C:89:C0"));
}

TEST_F(FileContentsQuery, ZeroInAKeptLineEndsMatchedStringsThere) {
  AddFile("f.txt", {"first", std::string("sec\0ond", 7), "third"});
  EXPECT_TRUE(Ask("f.txt", ""));
  // SHA-1 of "fileContents" "f.txt" "matchedStrings" "first\r\nsec" "searchString".
  EXPECT_EQ(Printed(), Result("f.txt", "first\r\nsec", "",
                              "49:80:92:2A:89:DD:D2:EC:38:25:17:06:47:90:7B:AF:A9:FC:A7:3B"));
}

TEST_F(FileContentsQuery, EmptyPathIsRefusedBeforeAnyCall) {
  EXPECT_FALSE(Ask("", "a"));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
  EXPECT_TRUE(g_Calls.empty());
}

TEST_F(FileContentsQuery, MissingFileOrDirectoryHasNoResult) {
  g_Files["dir"] = FakeFile{.isFile = false, .size = 0, .readable = true, .lines = {}};
  EXPECT_FALSE(Ask("absent.txt", "a"));
  EXPECT_FALSE(Ask("dir", "a"));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
  EXPECT_EQ(g_Calls, std::vector<std::string>({"isFile absent.txt", "isFile dir"}));
}

TEST_F(FileContentsQuery, FileAboveTheLimitIsNotRead) {
  AddFile("f.txt", {"a"}, 17);
  EXPECT_FALSE(Ask("f.txt", "", "16"));
  EXPECT_FALSE(Ask("f.txt", "", "0x10"));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
  for (const std::string& call : g_Calls) EXPECT_NE(call, "readLines f.txt");
}

TEST_F(FileContentsQuery, FileOfExactlyTheLimitIsRead) {
  AddFile("f.txt", {"a"}, 16);
  EXPECT_TRUE(Ask("f.txt", "", "0x10"));
  EXPECT_NE(Printed(), "<HostMetaDataQueryResults/>");
}

TEST_F(FileContentsQuery, LimitZeroRefusesAnyNonEmptyFile) {
  AddFile("f.txt", {"a"}, 1);
  EXPECT_FALSE(Ask("f.txt", "", "0"));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
}

TEST_F(FileContentsQuery, DefaultLimitIsOneMillionBytes) {
  AddFile("big.txt", {"a"}, 1000000);
  AddFile("bigger.txt", {"a"}, 1000001);
  EXPECT_TRUE(Ask("big.txt", ""));
  EXPECT_FALSE(Ask("bigger.txt", ""));
}

TEST_F(FileContentsQuery, UnknownSizeIsRefused) {
  AddFile("f.txt", {"a"}, -1);
  EXPECT_FALSE(Ask("f.txt", "", "-1"));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
}

TEST_F(FileContentsQuery, BadPatternHasNoResultAndIsLoggedBeforeAnyRead) {
  CapturedLog log(1);
  AddFile("f.txt", {"a"});
  EXPECT_FALSE(Ask("f.txt", "(a)\\1"));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
  EXPECT_EQ(LogMessages(log.Text()), std::vector<std::string>({"Compile: Invalid regular expression '(a)\\1'"}));
  EXPECT_EQ(g_Calls, std::vector<std::string>({"isFile f.txt", "fileSize f.txt"}));
}

TEST_F(FileContentsQuery, EmptyOrUnreadableFileHasNoResult) {
  AddFile("empty.txt", {}, 0);
  AddFile("locked.txt", {"a"});
  g_Files["locked.txt"].readable = false;
  EXPECT_FALSE(Ask("empty.txt", ""));
  EXPECT_FALSE(Ask("locked.txt", ""));
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults/>");
}

}  // namespace
