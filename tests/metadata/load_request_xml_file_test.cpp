// LoadRequestXMlFile: which requests are refused, with which log line, and
// what the engine keeps of the others.
#include "metadata/load_request_xml_file.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "metadata_test_support.h"
#include "support/scratch_file.h"
#include "util/captured_log.h"

namespace {

// Loads the text as a request file; the log lines are kept in `log`.
int Load(MetaRequest& request, const std::string& text) {
  FILE* file = OpenScratchFile();
  if (file == nullptr) return 99;
  std::fwrite(text.data(), 1, text.size(), file);
  std::rewind(file);
  int rc = LoadRequestXMlFile(request, file);
  std::fclose(file);
  return rc;
}

std::string Wrapped(const std::string& queries) {
  return "<Message><Request><RequestID>r1</RequestID><HostMetaDataQueries>" + queries +
         "</HostMetaDataQueries></Request></Message>";
}

Strings Keys(const MetaRequest& request) {
  Strings keys;
  for (const auto& entry : request.idMap) keys.push_back(entry.first);
  return keys;
}

struct Refusal {
  const char* text;
  const char* message;
};

class RefusedRequest : public ::testing::TestWithParam<Refusal> {};

TEST_P(RefusedRequest, ReturnsMinusOneWithItsLogLine) {
  CapturedLog log(1);
  MetaRequest request;
  EXPECT_EQ(Load(request, GetParam().text), -1);
  EXPECT_EQ(LogMessages(log.Text()), Strings{std::string("LoadRequestXMlFile: ") + GetParam().message});
  EXPECT_TRUE(request.idMap.empty());
}

INSTANTIATE_TEST_SUITE_P(
    LoadRequestXMlFile, RefusedRequest,
    ::testing::Values(
        Refusal{"", "XML LoadFile failed"},
        Refusal{"<Message><Request>", "XML LoadFile failed"},
        Refusal{"not xml at all", "XML LoadFile failed"},
        Refusal{"<Other/>", "Invalid format. Missing 'Message'."},
        // Element names are case-sensitive.
        Refusal{"<message><Request/></message>", "Invalid format. Missing 'Message'."},
        Refusal{"<Message><Response/></Message>", "Invalid format. Missing 'Request'."},
        // RequestID is looked for before the queries.
        Refusal{"<Message><Request><HostMetaDataQueries><HostMetaDataQuery id=\"1\"/></HostMetaDataQueries>"
                "</Request></Message>",
                "Invalid format. Missing 'RequestID'."},
        Refusal{"<Message><Request><RequestID/><HostMetaDataQueries><HostMetaDataQuery id=\"1\"/>"
                "</HostMetaDataQueries></Request></Message>",
                "Invalid format. 'RequestID' has no text."},
        Refusal{"<Message><Request><RequestID>r1</RequestID></Request></Message>",
                "Invalid format. Missing 'HostMetaDataQueries'."},
        Refusal{"<Message><Request><RequestID>r1</RequestID><HostMetaDataQueries><Query id=\"1\"/>"
                "</HostMetaDataQueries></Request></Message>",
                "Invalid format. Missing 'HostMetaDataQuery'."}));

TEST(LoadRequestXMlFile, KeepsRequestIdAsItStands) {
  MetaRequest request;
  ASSERT_EQ(Load(request, "<Message><Request><RequestID> 4711-a&amp;b </RequestID><HostMetaDataQueries>"
                          "<HostMetaDataQuery id=\"1\"/></HostMetaDataQueries></Request></Message>"),
            0);
  EXPECT_EQ(request.requestId, " 4711-a&b ");
}

TEST(LoadRequestXMlFile, LogsRequestIdAtLevelFive) {
  CapturedLog log(5);
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<HostMetaDataQuery id=\"1\"/>")), 0);
  EXPECT_EQ(LogMessages(log.Text()), Strings{"LoadRequestXMlFile: Request ID: r1"});
}

TEST(LoadRequestXMlFile, AcceptedRequestLogsNothingBelowLevelFive) {
  CapturedLog log(4);
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<HostMetaDataQuery id=\"1\"/>")), 0);
  EXPECT_EQ(log.Text(), "");
}

TEST(LoadRequestXMlFile, QueryKeepsEveryAttribute) {
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<HostMetaDataQuery id=\"3\" query=\"getFileInfo\" arg1=\"C:\\x\" extra=\"e\"/>")), 0);
  ASSERT_EQ(Keys(request), Strings{"3"});
  EXPECT_EQ(*request.idMap.at("3"),
            (AttrMap{{"arg1", "C:\\x"}, {"extra", "e"}, {"id", "3"}, {"query", "getFileInfo"}}));
}

TEST(LoadRequestXMlFile, QueriesWithoutIdAreDroppedSilently) {
  CapturedLog log(6);
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<HostMetaDataQuery query=\"getEnvironment\"/>"
                                  "<HostMetaDataQuery id=\"2\" query=\"getEnvironment\"/>"
                                  "<HostMetaDataQuery ID=\"3\"/>")),
            0);
  EXPECT_EQ(Keys(request), Strings{"2"});
  EXPECT_EQ(LogMessages(log.Text()), Strings{"LoadRequestXMlFile: Request ID: r1"});
}

TEST(LoadRequestXMlFile, AllQueriesWithoutIdLeaveAnEmptyMap) {
  MetaRequest request;
  EXPECT_EQ(Load(request, Wrapped("<HostMetaDataQuery query=\"a\"/><HostMetaDataQuery query=\"b\"/>")), 0);
  EXPECT_TRUE(request.idMap.empty());
}

TEST(LoadRequestXMlFile, FirstQueryOfAnIdStands) {
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<HostMetaDataQuery id=\"7\" arg1=\"first\"/>"
                                  "<HostMetaDataQuery id=\"7\" arg1=\"second\"/>")),
            0);
  ASSERT_EQ(Keys(request), Strings{"7"});
  EXPECT_EQ(request.idMap.at("7")->at("arg1"), "first");
}

TEST(LoadRequestXMlFile, IdsOrderBytewise) {
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<HostMetaDataQuery id=\"2\"/><HostMetaDataQuery id=\"10\"/>"
                                  "<HostMetaDataQuery id=\"1\"/><HostMetaDataQuery id=\"b\"/>"
                                  "<HostMetaDataQuery id=\"B\"/><HostMetaDataQuery id=\"\xC3\xA9\"/>"
                                  "<HostMetaDataQuery id=\"\"/>")),
            0);
  EXPECT_EQ(Keys(request), (Strings{"", "1", "10", "2", "B", "b", "\xC3\xA9"}));
}

TEST(LoadRequestXMlFile, EverySiblingAfterTheFirstQueryIsAQuery) {
  MetaRequest request;
  ASSERT_EQ(Load(request, Wrapped("<Before id=\"0\" query=\"x\"/>"
                                  "<HostMetaDataQuery id=\"1\"/>"
                                  "<!-- a comment --><OtherQuery id=\"2\" query=\"y\"/>text"
                                  "<AnotherOne id=\"3\"><Child id=\"4\"/></AnotherOne>")),
            0);
  EXPECT_EQ(Keys(request), (Strings{"1", "2", "3"}));
  EXPECT_EQ(request.idMap.at("2")->at("query"), "y");
}

}  // namespace
