// The walker over the agent's own files: numbering, the sweep, the command
// files, unknown commands and the query command's road to the callback. The
// deployment command needs the driver and the rule compiler and is tested
// end to end.
#include "server/parse_multi_cmd_xml_win.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "policy/deployment_lock.h"
#include "support/test_files.h"
#include "support/scratch_folder.h"
#include "util/captured_log.h"

namespace {

struct Posted {
  std::string content;
  int type;
};
std::vector<Posted> posted;
bool accept = true;

bool RecordResponse(const std::string& content, int responseType) {
  posted.push_back({content, responseType});
  return accept;
}

// A query document of the server's with one query that no family answers.
constexpr char kQuery[] =
    "<Request cmd=\"GetHostMetaData\"><RequestID>r-17</RequestID><HostMetaDataQueries>"
    "<HostMetaDataQuery id=\"1\" query=\"NoSuchQuery\"/></HostMetaDataQueries></Request>";

class ParseMultiCmdXmlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    s_Settings.workingDirectory = folder_;
    posted.clear();
    accept = true;
  }
  std::wstring File(const wchar_t* name) const { return folder_ + L"\\" + name; }
  bool Exists(const wchar_t* name) const { return GetFileAttributesW(File(name).c_str()) != INVALID_FILE_ATTRIBUTES; }
  int Run(const std::string& document, ClientResponseCallback callback = RecordResponse) {
    WriteTestFile(File(L"notify_request.xml"), document);
    return ParseMultiCmdXml(File(L"notify_request.xml"), callback);
  }

  CapturedLog log_{6};
  std::wstring folder_ = MakeScratchFolder();
};

TEST_F(ParseMultiCmdXmlTest, MessageWithoutRequestRunsNothing) {
  s_Settings.s_bTestMode = true;
  EXPECT_EQ(Run("<Message><Other cmd=\"GetHostMetaData\"/></Message>"), 0);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
  EXPECT_TRUE(posted.empty());
}

TEST_F(ParseMultiCmdXmlTest, TwoCommandsGetNumbersZeroAndOne) {
  s_Settings.s_bTestMode = true;
  EXPECT_EQ(Run("<Message><Request cmd=\"Nothing\"/><Other cmd=\"Else\"><Body/></Other></Message>"), 0);
  EXPECT_EQ(ReadTestFile(File(L"notify_request0.xml")), "<Message>\n    <Request cmd=\"Nothing\"/>\n</Message>\n");
  EXPECT_EQ(ReadTestFile(File(L"notify_request1.xml")),
            "<Message>\n    <Other cmd=\"Else\">\n        <Body/>\n    </Other>\n</Message>\n");
  std::string text = log_.Text();
  EXPECT_NE(text.find("[ParseMultiCmdXml:"), std::string::npos);
  EXPECT_NE(text.find("] unknown xml command(0): Nothing\n"), std::string::npos);
  EXPECT_NE(text.find("] unknown xml command(1): Else\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, ElementWithoutCmdUsesUpItsNumber) {
  s_Settings.s_bTestMode = true;
  EXPECT_EQ(Run("<Message><Request/><Other cmd=\"Else\"/></Message>"), 0);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
  EXPECT_TRUE(Exists(L"notify_request1.xml"));
  EXPECT_NE(log_.Text().find("] cannot find cmd attribute for Request tag\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, UnknownCommandFilesGoWithoutTestMode) {
  s_Settings.s_bTestMode = false;
  EXPECT_EQ(Run("<Message><Request cmd=\"Nothing\"/></Message>"), 0);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
  EXPECT_NE(log_.Text().find("] unknown xml command(0): Nothing\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, QueryResultReachesTheCallbackAsTypeOne) {
  s_Settings.s_bTestMode = true;
  EXPECT_EQ(Run(std::string("<Message>") + kQuery + "</Message>"), 0);
  ASSERT_EQ(posted.size(), 1u);
  EXPECT_EQ(posted[0].type, 1);
  EXPECT_EQ(posted[0].content, ReadTestFile(File(L"notify_requesttemp0.xml")));
  EXPECT_NE(posted[0].content.find("<RequestID>r-17</RequestID>"), std::string::npos);
  std::string text = log_.Text();
  EXPECT_NE(text.find("] process xml command(0): GetHostMetaData\n"), std::string::npos);
  EXPECT_NE(text.find("] MetaData Result is ready to be posted back to Zent Server\n"), std::string::npos);
  EXPECT_EQ(text.find("send client response failed"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, RefusedResponseIsLoggedAndTheWalkGoesOn) {
  s_Settings.s_bTestMode = false;
  accept = false;
  EXPECT_EQ(Run(std::string("<Message>") + kQuery + "<Other cmd=\"Else\"/></Message>"), 0);
  EXPECT_EQ(posted.size(), 1u);
  std::string text = log_.Text();
  EXPECT_NE(text.find("] send client response failed\n"), std::string::npos);
  EXPECT_NE(text.find("] unknown xml command(1): Else\n"), std::string::npos);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
  EXPECT_FALSE(Exists(L"notify_requesttemp0.xml"));
}

TEST_F(ParseMultiCmdXmlTest, WithoutCallbackTheQueryRunsAndItsFilesGo) {
  s_Settings.s_bTestMode = false;
  EXPECT_EQ(Run(std::string("<Message>") + kQuery + "</Message>", nullptr), 0);
  EXPECT_NE(log_.Text().find("] MetaData Result is ready to be posted back to Zent Server\n"), std::string::npos);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
  EXPECT_FALSE(Exists(L"notify_requesttemp0.xml"));
}

TEST_F(ParseMultiCmdXmlTest, FailedQueryKeepsItsFilesUntilTheNextSweep) {
  s_Settings.s_bTestMode = false;
  // A query document without RequestID fails in the engine.
  EXPECT_EQ(Run("<Message><Request cmd=\"GetHostMetaData\"/></Message>"), 0);
  EXPECT_TRUE(posted.empty());
  EXPECT_TRUE(Exists(L"notify_request0.xml"));
  EXPECT_EQ(Run("<Message/>"), 0);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
}

TEST_F(ParseMultiCmdXmlTest, SweepStopsAtTheFirstGap) {
  for (const wchar_t* name : {L"notify_request0.xml", L"notify_requesttemp0.xml", L"notify_requesttemp1.xml",
                              L"notify_request2.xml", L"notify_requesttemp2.xml"}) {
    WriteTestFile(File(name), "left");
  }
  EXPECT_EQ(Run("<Message/>"), 0);
  EXPECT_FALSE(Exists(L"notify_request0.xml"));
  EXPECT_FALSE(Exists(L"notify_requesttemp0.xml"));
  // No command file 1: the sweep ends there, and what lies behind stays.
  EXPECT_TRUE(Exists(L"notify_requesttemp1.xml"));
  EXPECT_TRUE(Exists(L"notify_request2.xml"));
  EXPECT_TRUE(Exists(L"notify_requesttemp2.xml"));
}

TEST_F(ParseMultiCmdXmlTest, MissingDocumentIsMinusOne) {
  EXPECT_EQ(ParseMultiCmdXml(File(L"absent.xml"), RecordResponse), -1);
  EXPECT_NE(log_.Text().find("] can't open " + WidePathText(File(L"absent.xml")) + "\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, MalformedDocumentIsMinusOne) {
  EXPECT_EQ(Run("<Message><Request cmd=\"x\">"), -1);
  EXPECT_NE(log_.Text().find("] XML LoadFile failed\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, DocumentWithoutElementIsMinusOne) {
  EXPECT_EQ(Run("<!-- only a comment -->"), -1);
  EXPECT_NE(log_.Text().find("] XML read failed\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, DotInTheWorkingDirectoryFailsTheFirstCommandFile) {
  std::wstring dotted = folder_ + L"\\agent.v2";
  CreateDirectoryW(dotted.c_str(), nullptr);
  std::wstring path = dotted + L"\\notify_request.xml";
  WriteTestFile(path, "<Message><Request cmd=\"Nothing\"/></Message>");
  EXPECT_EQ(ParseMultiCmdXml(path, RecordResponse), -1);
  std::wstring commandFile = folder_ + L"\\agent0.v2\\notify_request.xml";
  EXPECT_NE(log_.Text().find("] can't open " + WidePathText(commandFile) + "\n"), std::string::npos);
}

TEST_F(ParseMultiCmdXmlTest, DeploymentWaitsForTheOneInProgress) {
  s_Settings.s_bTestMode = true;
  WriteTestFile(File(L"notify_request.xml"),
                "<Message><Request cmd=\"SendSecurityConfiguration\"><SecurityConfiguration/></Request></Message>");
  std::unique_lock<std::mutex> other(g_DeploymentLock);
  std::thread server([this] { ParseMultiCmdXml(File(L"notify_request.xml"), RecordResponse); });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  // Cut out, but not started while another deployment holds the files.
  EXPECT_TRUE(Exists(L"notify_request0.xml"));
  EXPECT_EQ(log_.Text().find("process xml command(0): SendSecurityConfiguration"), std::string::npos);
  other.unlock();
  server.join();
  EXPECT_NE(log_.Text().find("] process xml command(0): SendSecurityConfiguration\n"), std::string::npos);
}

}  // namespace
