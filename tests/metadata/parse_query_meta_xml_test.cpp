// ParseQueryMetaXml: request file in, response file out, byte for byte.
// Expected documents are written from the response's rules: no declaration,
// four blanks of indent per level, results in the order of the ids, then
// RequestID. Hashes are the SHA-1 of the concatenation noted beside them,
// computed apart from the agent (sha1sum over those bytes).
#include "metadata/parse_query_meta_xml.h"

#include <gtest/gtest.h>

#include <string>

#include "metadata_test_support.h"
#include "util/captured_log.h"

namespace {

std::string Request(const std::string& queries, const std::string& requestId = "r1") {
  return "<Message>\n  <Request>\n    <RequestID>" + requestId + "</RequestID>\n    <HostMetaDataQueries>\n" +
         queries + "    </HostMetaDataQueries>\n  </Request>\n</Message>\n";
}

class QueryEngine : public ::testing::Test {
 protected:
  void SetUp() override { g_EchoRuns.clear(); }

  // Runs the request text through the engine with the tests' families.
  int Run(const std::string& requestText) {
    folder.Write("meta_request.xml", requestText);
    return ParseQueryMetaXml(folder.WidePath("meta_request.xml"), folder.WidePath("meta_response.xml"),
                             kTestFamilies);
  }
  std::string Response() const { return folder.Read("meta_response.xml"); }

  ScratchFolder folder{"zent_meta"};
};

TEST_F(QueryEngine, QueriesRunInTheOrderOfTheirIds) {
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"2\" query=\"echo\" arg1=\"two\"/>\n"
                        "<HostMetaDataQuery id=\"10\" query=\"echo\" arg1=\"ten\"/>\n"
                        "<HostMetaDataQuery id=\"1\" query=\"echo\" arg1=\"one\"/>\n")),
            0);
  // echo one arg2 arg3; echo ten arg2 arg3; echo two arg2 arg3
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults>
            <HostMetaDataQueryResult commandVersion="9" id="1" hashAlg="SHA1" hash="23:1B:9F:2B:28:9F:AA:73:08:49:4A:3F:4A:4C:E6:7D:28:09:F7:58">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="one">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
            <HostMetaDataQueryResult commandVersion="9" id="10" hashAlg="SHA1" hash="75:5F:FE:D0:E9:7F:48:A2:88:EC:07:76:D3:6E:B2:BC:FC:3A:CA:0D">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="ten">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
            <HostMetaDataQueryResult commandVersion="9" id="2" hashAlg="SHA1" hash="1B:37:52:51:E9:11:92:C5:70:4D:60:77:35:FD:80:22:A9:06:68:AE">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="two">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
        </HostMetaDataQueryResults>
        <RequestID>r1</RequestID>
    </Response>
</Message>
)");
}

TEST_F(QueryEngine, OfTwoQueriesWithOneIdTheFirstRunsOnce) {
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"7\" query=\"echo\" arg1=\"seven\" arg2=\"first\"/>\n"
                        "<HostMetaDataQuery id=\"7\" query=\"echo\" arg1=\"seven\" arg2=\"second\"/>\n")),
            0);
  EXPECT_EQ(g_EchoRuns, (std::map<std::string, int>{{"7", 1}}));
  // echo seven arg2 first arg3
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults>
            <HostMetaDataQueryResult commandVersion="9" id="7" hashAlg="SHA1" hash="45:90:A6:D3:63:FA:36:21:06:B3:64:C5:A0:66:B2:69:34:3A:A6:B8">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="seven">
                        <Attributes>
                            <Attribute name="arg2" value="first"/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
        </HostMetaDataQueryResults>
        <RequestID>r1</RequestID>
    </Response>
</Message>
)");
}

TEST_F(QueryEngine, SiblingNamedOtherwiseRunsAsAQuery) {
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"echo\" arg1=\"one\"/>\n"
                        "<SomethingElse id=\"2\" query=\"echo\" arg1=\"others\"/>\n")),
            0);
  EXPECT_EQ(g_EchoRuns, (std::map<std::string, int>{{"1", 1}, {"2", 1}}));
  // echo one arg2 arg3; echo others arg2 arg3
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults>
            <HostMetaDataQueryResult commandVersion="9" id="1" hashAlg="SHA1" hash="23:1B:9F:2B:28:9F:AA:73:08:49:4A:3F:4A:4C:E6:7D:28:09:F7:58">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="one">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
            <HostMetaDataQueryResult commandVersion="9" id="2" hashAlg="SHA1" hash="85:DD:A2:61:3F:00:BD:FC:AB:60:CA:C8:9D:E7:7A:93:82:90:C8:D1">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="others">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
        </HostMetaDataQueryResults>
        <RequestID>r1</RequestID>
    </Response>
</Message>
)");
}

TEST_F(QueryEngine, UnknownQueryBesideAGoodOneLeavesOneResult) {
  CapturedLog log(1);
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"getNothing\"/>\n"
                        "<HostMetaDataQuery id=\"2\" query=\"echo\" arg1=\"good\"/>\n")),
            0);
  EXPECT_EQ(LogMessages(log.Text()), Strings{"MakeResponseXMlFile: unknown query(getNothing)"});
  // echo good arg2 arg3
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults>
            <HostMetaDataQueryResult commandVersion="9" id="2" hashAlg="SHA1" hash="FC:DE:64:1B:1D:19:B6:F4:6C:0B:76:B1:4F:F2:AE:E1:05:AE:16:2C">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="good">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
        </HostMetaDataQueryResults>
        <RequestID>r1</RequestID>
    </Response>
</Message>
)");
}

TEST_F(QueryEngine, QueryNamesCompareExactly) {
  CapturedLog log(1);
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"Echo\"/>\n"
                        "<HostMetaDataQuery id=\"2\" query=\"echo \"/>\n")),
            0);
  EXPECT_TRUE(g_EchoRuns.empty());
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"MakeResponseXMlFile: unknown query(Echo)", "MakeResponseXMlFile: unknown query(echo )"}));
}

TEST_F(QueryEngine, QueryWithoutQueryAttributeHasNoResult) {
  CapturedLog log(1);
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" arg1=\"x\"/>\n", "r9")), 0);
  EXPECT_EQ(LogMessages(log.Text()), Strings{"MakeResponseXMlFile: cannot find query attr for this query"});
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults/>
        <RequestID>r9</RequestID>
    </Response>
</Message>
)");
}

TEST_F(QueryEngine, FailedHandlerLeavesNoResultAndCodeStaysZero) {
  CapturedLog log(6);
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"fail\"/>\n")), 0);
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults/>
        <RequestID>r1</RequestID>
    </Response>
</Message>
)");
  for (const std::string& line : LogMessages(log.Text())) EXPECT_EQ(line.find("succeeded"), std::string::npos) << line;
}

TEST_F(QueryEngine, ValuesAreEscapedInPrintAndHashedAsTheyStand) {
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"echo\" arg1=\"a&lt;b&gt;&quot;c&quot;&amp;d&apos;\"/>\n",
                        "x&amp;y&lt;z")),
            0);
  // echo a<b>"c"&d' arg2 arg3
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults>
            <HostMetaDataQueryResult commandVersion="9" id="1" hashAlg="SHA1" hash="E1:49:34:DC:FD:50:27:63:47:C8:55:8D:E9:75:72:C0:82:7B:BA:0E">
                <HostMetaDatas>
                    <HostMetaData type="echo" identifier="a&lt;b&gt;&quot;c&quot;&amp;d&apos;">
                        <Attributes>
                            <Attribute name="arg2" value=""/>
                            <Attribute name="arg3" value=""/>
                        </Attributes>
                    </HostMetaData>
                </HostMetaDatas>
            </HostMetaDataQueryResult>
        </HostMetaDataQueryResults>
        <RequestID>x&amp;y&lt;z</RequestID>
    </Response>
</Message>
)");
}

TEST_F(QueryEngine, SuccessLinesAndTheMapDumpAtLevelSix) {
  CapturedLog log(6);
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"echo\" arg1=\"a\"/>\n"
                        "<HostMetaDataQuery id=\"2\" query=\"echoPlain\"/>\n")),
            0);
  EXPECT_EQ(LogMessages(log.Text()), (Strings{
                                         "LoadRequestXMlFile: Request ID: r1",
                                         "MakeResponseXMlFile: EchoQuery succeeded: key(a)",
                                         "MakeResponseXMlFile: EchoPlain succeeded",
                                         "ParseQueryMetaXml: idMap=>",
                                         "ParseQueryMetaXml: <attribute seperator>: key=1",
                                         "ParseQueryMetaXml: remove map(3): key(arg1), value(a)",
                                         "ParseQueryMetaXml: remove map(3): key(id), value(1)",
                                         "ParseQueryMetaXml: remove map(3): key(query), value(echo)",
                                         "ParseQueryMetaXml: <attribute seperator>: key=2",
                                         "ParseQueryMetaXml: remove map(2): key(id), value(2)",
                                         "ParseQueryMetaXml: remove map(2): key(query), value(echoPlain)",
                                     }));
}

TEST_F(QueryEngine, SuccessLinesWithKeyAndValueOrFile) {
  CapturedLog log(6);
  ASSERT_EQ(Run(Request("<HostMetaDataQuery id=\"1\" query=\"echoKeyValue\" arg1=\"HKLM\\Soft\" arg2=\"Ver\"/>\n"
                        "<HostMetaDataQuery id=\"2\" query=\"echoFile\" arg1=\"C:\\a.txt\"/>\n")),
            0);
  Strings lines = LogMessages(log.Text());
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[1], "MakeResponseXMlFile: EchoKeyValue succeeded: key(HKLM\\Soft), value(Ver)");
  EXPECT_EQ(lines[2], "MakeResponseXMlFile: EchoFile succeeded: file(C:\\a.txt)");
}

TEST_F(QueryEngine, QueriesAllWithoutIdGiveMinusOneAndNoResponse) {
  CapturedLog log(1);
  EXPECT_EQ(Run(Request("<HostMetaDataQuery query=\"echo\"/>\n<HostMetaDataQuery query=\"echoPlain\"/>\n")), -1);
  EXPECT_FALSE(folder.Exists("meta_response.xml"));
  EXPECT_TRUE(g_EchoRuns.empty());
  EXPECT_EQ(LogMessages(log.Text()), Strings{"ParseQueryMetaXml: MakeResponseXMlFile failed, return code: -1"});
}

TEST_F(QueryEngine, MalformedRequestGivesMinusOneAndNoResponse) {
  CapturedLog log(1);
  EXPECT_EQ(Run("<Message><Request><RequestID>1</RequestID>"), -1);
  EXPECT_FALSE(folder.Exists("meta_response.xml"));
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"LoadRequestXMlFile: XML LoadFile failed",
                                              "ParseQueryMetaXml: LoadRequestXMlFile failed, return code: -1"}));
}

TEST_F(QueryEngine, MissingRequestFileGivesTheRuntimesErrorNumber) {
  CapturedLog log(1);
  std::wstring missing = folder.WidePath("no_such_request.xml");
  EXPECT_EQ(ParseQueryMetaXml(missing, folder.WidePath("meta_response.xml"), kTestFamilies), 2);  // ENOENT
  EXPECT_FALSE(folder.Exists("meta_response.xml"));
  EXPECT_EQ(LogMessages(log.Text()),
            Strings{"ParseQueryMetaXml: can't open " + folder.Path("no_such_request.xml").string()});
}

TEST_F(QueryEngine, ResponseThatCannotBeOpenedGivesMinusOne) {
  CapturedLog log(1);
  folder.Write("meta_request.xml", Request("<HostMetaDataQuery id=\"1\" query=\"echo\"/>\n"));
  std::filesystem::path response = folder.Path("no_such_folder") / "r.xml";
  EXPECT_EQ(ParseQueryMetaXml(folder.WidePath("meta_request.xml"), response.wstring(), kTestFamilies), -1);
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"MakeResponseXMlFile: can't open " + response.string(),
                     "ParseQueryMetaXml: MakeResponseXMlFile failed, return code: -1"}));
}

TEST_F(QueryEngine, ResponseReplacesAnOlderFileAndTheRequestStays) {
  folder.Write("meta_response.xml", std::string(5000, 'x'));
  std::string requestText = Request("<HostMetaDataQuery id=\"1\" query=\"fail\"/>\n", "new");
  ASSERT_EQ(Run(requestText), 0);
  EXPECT_EQ(Response(), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults/>
        <RequestID>new</RequestID>
    </Response>
</Message>
)");
  EXPECT_EQ(folder.Read("meta_request.xml"), requestText);
}

// The build's own families: the native build has none, and no build knows
// these names, so each query is an unknown query and the document is still
// written.
TEST(QueryEngineWithTheBuildsFamilies, UnknownQueriesStillGetTheirDocument) {
  ScratchFolder folder("zent_meta");
  CapturedLog log(1);
  folder.Write("meta_request.xml", Request("<HostMetaDataQuery id=\"b\" query=\"getWeather\" arg1=\"x\"/>\n"
                                           "<HostMetaDataQuery id=\"a\" query=\"getNothing\"/>\n",
                                           "42"));
  ASSERT_EQ(ParseQueryMetaXml(folder.WidePath("meta_request.xml"), folder.WidePath("meta_response.xml")), 0);
  EXPECT_EQ(folder.Read("meta_response.xml"), R"(<Message>
    <Response cmd="GetHostMetaData" code="0">
        <HostMetaDataQueryResults/>
        <RequestID>42</RequestID>
    </Response>
</Message>
)");
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"MakeResponseXMlFile: unknown query(getNothing)",
                                              "MakeResponseXMlFile: unknown query(getWeather)"}));
}

}  // namespace
