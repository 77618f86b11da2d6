#include "policy/connection_types.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "agent_document_support.h"
#include "policy/get_ports.h"
#include "policy/port_items.h"
#include "policy_test_support.h"

namespace {

// "<rule id="7"/>\n<match text="GET"/>\n" in Base64.
const char kEngine[] = "PHJ1bGUgaWQ9IjciLz4KPG1hdGNoIHRleHQ9IkdFVCIvPgo=";
// "<rule id="7">" in Base64: an element that is never closed.
const char kBrokenEngine[] = "PHJ1bGUgaWQ9IjciPg==";

class ConnectionTypes : public PolicyTest {
 protected:
  // Loads the ConnectionTypes (and any other sections) of a policy body.
  void Load(const std::string& body) {
    ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(body)), 0);
    loadLines = LogMessages().size();
  }

  // The log lines written after the load: the writer's own.
  std::vector<std::string> WriterMessages() {
    std::vector<std::string> messages = LogMessages();
    return std::vector<std::string>(messages.begin() + loadLines, messages.end());
  }
  std::vector<std::string> WriterFunctions() {
    std::vector<std::string> functions = LogFunctions();
    return std::vector<std::string>(functions.begin() + loadLines, functions.end());
  }

  // The printed document after WriteConnectionTypes ran into an empty fset.
  std::string Write() {
    return PrintFset([&](tinyxml2::XMLPrinter& out) { WriteConnectionTypes(raw, out); });
  }

  std::string Ctype(const std::string& id) { return raw.connectionMap.at(id)->at("ctype"); }

  RawConfig raw;
  size_t loadLines = 0;
};

std::string Connection(const std::string& attributes, const std::string& addressInfo = "") {
  return "<ConnectionTypes><ConnectionType " + attributes + ">" +
         (addressInfo.empty() ? "" : "<AddressInfo " + addressInfo + "/>") + "</ConnectionType></ConnectionTypes>";
}

TEST_F(ConnectionTypes, NoAddressInfoCoversAllPorts) {
  Load(Connection(R"(id="1" name="web" protocol="6")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" name=\"web\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, PortTypeZeroCoversAllPorts) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="0" ports="80")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, IcmpIgnoresPorts) {
  Load(Connection(R"(id="3" name="ping" protocol="1" direction="1" icmpType1="8" icmpType2="0")",
                  R"(portType="1" ports="80,443")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"1\" name=\"ping\" mlm_id=\"3\" icmp_type=\"2048\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, InboundIcmpPutsFirstTypeHigh) {
  Load(Connection(R"(id="3" protocol="1" direction="1" icmpType1="8" icmpType2="0")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"1\" mlm_id=\"3\" icmp_type=\"2048\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, OutboundIcmpPutsFirstTypeLow) {
  Load(Connection(R"(id="3" protocol="1" direction="2" icmpType1="8" icmpType2="0")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"3\" icmp_type=\"8\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, IcmpCarriesEngineChildren) {
  Load(Connection(std::string(R"(id="3" protocol="1" engine=")") + kEngine + "\""));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"3\" icmp_type=\"0\">\n"
            "        <rule id=\"7\"/>\n"
            "        <match text=\"GET\"/>\n"
            "    </conType>\n"
            "</fset>\n");
}

TEST(IcmpTypeValue, TypesAreSignedEightBitsAndTheSumSignedSixteen) {
  EXPECT_EQ(IcmpTypeValue(true, 8, 0), 2048);
  EXPECT_EQ(IcmpTypeValue(false, 8, 0), 8);
  EXPECT_EQ(IcmpTypeValue(true, 255, 0), -256);  // 255 counts as -1
  EXPECT_EQ(IcmpTypeValue(false, 255, 0), -1);
  EXPECT_EQ(IcmpTypeValue(true, 8, 255), 2047);
  EXPECT_EQ(IcmpTypeValue(true, 127, 127), 32639);
  EXPECT_EQ(IcmpTypeValue(true, 264, 0), 2048);  // 264 cut to 8 bits is 8
}

TEST_F(ConnectionTypes, IcmpFirstType255GivesNegativeText) {
  Load(Connection(R"(id="3" protocol="1" direction="1" icmpType1="255" icmpType2="3")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"1\" mlm_id=\"3\" icmp_type=\"-253\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, CommaSeparatedPortsPutMoreFirstAndEngineOnLast) {
  Load(Connection(std::string(R"(id="1" name="web" protocol="6" engine=")") + kEngine + "\"",
                  R"(portType="1" ports="80,443")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" name=\"web\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" "
            "port=\"80\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" name=\"web\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"443\">\n"
            "        <rule id=\"7\"/>\n"
            "        <match text=\"GET\"/>\n"
            "    </conType>\n"
            "</fset>\n");
}

const char kTwoPorts[] =
    "<fset>\n"
    "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"80\"/>\n"
    "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"443\"/>\n"
    "</fset>\n";

TEST_F(ConnectionTypes, BlankSeparatesPortsLikeComma) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="80 443")"));
  EXPECT_EQ(Write(), kTwoPorts);
}

TEST_F(ConnectionTypes, EmptyItemBetweenSeparatorsIsSkipped) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="80, 443")"));
  EXPECT_EQ(Write(), kTwoPorts);
}

TEST_F(ConnectionTypes, TrailingSeparatorLeavesLastElementWithoutPort) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="80,")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"80\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, LeadingSeparatorIsSkippedAndTheScanGoesOn) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports=", ,80,443")"));
  EXPECT_EQ(Write(), kTwoPorts);
}

TEST_F(ConnectionTypes, EmptyPortsGiveOneElementWithoutPort) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, RangeEndsAreOrderedLowToHigh) {
  Load(Connection(R"(id="1" protocol="17")", R"(portType="1" ports="90-80")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"0\" udp=\"1\" port=\"80-90\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, LastSinglePortKeepsHighEndOfThePreviousRange) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="80-90,100")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"80-90\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"100-90\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, SinglePortBeforeTheLastClearsHighEnd) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="80-90,100,200")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"80-90\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"100\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"200\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, ProtocolSelectsTcpAndUdp) {
  Load("<ConnectionTypes>"
       "<ConnectionType id=\"1\" protocol=\"17\"/>"
       "<ConnectionType id=\"2\" protocol=\"4358\"/>"
       "<ConnectionType id=\"3\" protocol=\"99\"/>"
       "<ConnectionType id=\"4\"/>"
       "</ConnectionTypes>");
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"0\" udp=\"1\" port=\"0-65535\"/>\n"
            "    <conType ctype=\"2\" inbound=\"0\" mlm_id=\"2\" tcp=\"1\" udp=\"1\" port=\"0-65535\"/>\n"
            "    <conType ctype=\"3\" inbound=\"0\" mlm_id=\"3\" tcp=\"0\" udp=\"0\" port=\"0-65535\"/>\n"
            "    <conType ctype=\"4\" inbound=\"0\" mlm_id=\"4\" tcp=\"0\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, DirectionTwoIsNotInbound) {
  Load(Connection(R"(id="1" protocol="6" direction="2")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, VirtualPortNameGivesDynamicPortOnEveryElement) {
  Load(Connection(R"(id="1" protocol="6" direction="1" virtualPortName="FTP data")", R"(portType="1" ports="20 21")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"1\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" dynamic_port=\"FTP data\" "
            "more=\"1\" port=\"20\"/>\n"
            "    <conType ctype=\"1\" inbound=\"1\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" dynamic_port=\"FTP data\" "
            "port=\"21\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, EmptyVirtualPortNameStillGivesDynamicPort) {
  Load(Connection(R"(id="1" protocol="6" virtualPortName="")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" dynamic_port=\"\" "
            "port=\"0-65535\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, PortListGivesItsItems) {
  Load("<PortLists><PortList id=\"5\" items=\"21,22-23\"/></PortLists>" +
       Connection(R"(id="1" protocol="6")", R"(portType="3" portListId="5")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"21\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"22-23\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, CtypeFollowsTheByteOrderOfIds) {
  Load("<ConnectionTypes>"
       "<ConnectionType id=\"9\" protocol=\"6\"/>"
       "<ConnectionType id=\"10\" protocol=\"17\"/>"
       "</ConnectionTypes>");
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"10\" tcp=\"0\" udp=\"1\" port=\"0-65535\"/>\n"
            "    <conType ctype=\"2\" inbound=\"0\" mlm_id=\"9\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
  EXPECT_EQ(Ctype("10"), "1");
  EXPECT_EQ(Ctype("9"), "2");
}

TEST_F(ConnectionTypes, MacTypeZeroPassesAndNonZeroSkipsUsingUpItsCtype) {
  Load("<ConnectionTypes>"
       "<ConnectionType id=\"1\" name=\"a\" protocol=\"6\"><AddressInfo macType=\"0\"/></ConnectionType>"
       "<ConnectionType id=\"2\" name=\"b\" protocol=\"6\"><AddressInfo macType=\"1\"/></ConnectionType>"
       "<ConnectionType id=\"3\" name=\"c\" protocol=\"6\"/>"
       "</ConnectionTypes>");
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" name=\"a\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "    <conType ctype=\"3\" inbound=\"0\" name=\"c\" mlm_id=\"3\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
  EXPECT_EQ(Ctype("2"), "2");
  EXPECT_EQ(WriterMessages(), std::vector<std::string>{"macType is not zero, name(b), id(2)"});
  EXPECT_EQ(WriterFunctions(), std::vector<std::string>{"WriteConnectionTypes"});
  EXPECT_FALSE(raw.badNumber);
}

TEST_F(ConnectionTypes, IpTypeNonZeroSkips) {
  Load(Connection(R"(id="2" name="b" protocol="6")", R"(ipType="4")"));
  EXPECT_EQ(Write(), "<fset/>\n");
  EXPECT_EQ(Ctype("2"), "1");
  EXPECT_EQ(WriterMessages(), std::vector<std::string>{"ipType is not zero, name(b), id(2)"});
}

TEST_F(ConnectionTypes, EngineThatDoesNotParseSkipsTheConnection) {
  Load(Connection(std::string(R"(id="4" name="bad" protocol="6" engine=")") + kBrokenEngine + "\""));
  EXPECT_EQ(Write(), "<fset/>\n");
  EXPECT_EQ(Ctype("4"), "1");
  EXPECT_EQ(WriterMessages(), std::vector<std::string>{"XML Parse failed for engineCode, name(bad), id(4)"});
}

TEST_F(ConnectionTypes, GetPortsFailureLeavesTheConnectionOut) {
  Load(Connection(R"(id="1" name="web" protocol="6")", R"(portType="1")"));
  EXPECT_EQ(Write(), "<fset/>\n");
  EXPECT_EQ(WriterMessages(), (std::vector<std::string>{"cannot find ports attribute in AddressInfo",
                                                     "GetPorts failed, name(web), id(1)"}));
  EXPECT_EQ(WriterFunctions(), (std::vector<std::string>{"GetPorts", "WriteConnectionTypes"}));
}

TEST_F(ConnectionTypes, PolicyCtypeAttributeStandsInTheMap) {
  Load(Connection(R"(id="1" protocol="6" ctype="42")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
  EXPECT_EQ(Ctype("1"), "42");
}

TEST_F(ConnectionTypes, BadPortNumberFailsTheTranslation) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="80-x,443")"));
  Write();
  EXPECT_TRUE(raw.badNumber);
  EXPECT_EQ(WriterMessages(),
            std::vector<std::string>{
                "connectionMap(1): bad number in port range(80-x), value(x): invalid stoi argument"});
}

TEST_F(ConnectionTypes, BadProtocolFailsTheTranslation) {
  Load(Connection(R"(id="1" protocol="tcp")"));
  Write();
  EXPECT_TRUE(raw.badNumber);
}

TEST_F(ConnectionTypes, BadPortTypeFailsTheTranslation) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="one")"));
  Write();
  EXPECT_TRUE(raw.badNumber);
}

TEST_F(ConnectionTypes, DetailsAreLoggedAtLevelSix) {
  Load(Connection(R"(id="1" protocol="6")", R"(portType="1" ports="90-80,100")"));
  s_Settings.DebugLevel = 6;
  Write();
  std::vector<std::string> messages = WriterMessages();
  ASSERT_EQ(messages.size(), 4u);
  EXPECT_EQ(messages[0], "portRange(90-80,100)");
  EXPECT_EQ(messages[1], "port(90-80), portHigh(90), portLow(80), more=true");
  EXPECT_EQ(messages[2], "port(100), portHigh(90), portLow(100), more=false");
  EXPECT_EQ(messages[3].rfind("connection: ID(1), attr(", 0), 0u) << messages[3];
}

TEST_F(ConnectionTypes, EmptyEngineGivesNoChildren) {
  Load(Connection(R"(id="1" protocol="6" engine="")"));
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"0-65535\"/>\n"
            "</fset>\n");
}

TEST_F(ConnectionTypes, ElementsOfOneConnectionStayTogether) {
  Load("<ConnectionTypes>"
       "<ConnectionType id=\"1\" protocol=\"6\"><AddressInfo portType=\"1\" ports=\"80,443\"/></ConnectionType>"
       "<ConnectionType id=\"2\" protocol=\"17\"><AddressInfo portType=\"1\" ports=\"53\"/></ConnectionType>"
       "</ConnectionTypes>");
  EXPECT_EQ(Write(),
            "<fset>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" more=\"1\" port=\"80\"/>\n"
            "    <conType ctype=\"1\" inbound=\"0\" mlm_id=\"1\" tcp=\"1\" udp=\"0\" port=\"443\"/>\n"
            "    <conType ctype=\"2\" inbound=\"0\" mlm_id=\"2\" tcp=\"0\" udp=\"1\" port=\"53\"/>\n"
            "</fset>\n");
}

std::vector<std::string> Texts(const std::vector<PortItem>& items) {
  std::vector<std::string> texts;
  for (const PortItem& item : items) texts.push_back(item.text + (item.last ? " (last)" : ""));
  return texts;
}

TEST(PortSplitting, CommaAndBlankSeparate) {
  EXPECT_EQ(Texts(SplitPorts("80,443 8080")), (std::vector<std::string>{"80", "443", "8080 (last)"}));
}

TEST(PortSplitting, TextWithoutSeparatorIsTheLastItem) {
  EXPECT_EQ(Texts(SplitPorts("1000-2000")), std::vector<std::string>{"1000-2000 (last)"});
}

TEST(PortSplitting, EmptyItemsAndAnEmptyLastItemAreLeftOut) {
  EXPECT_EQ(Texts(SplitPorts(",80,,443,")), (std::vector<std::string>{"80", "443"}));
  EXPECT_TRUE(SplitPorts("").empty());
}

TEST(PortSplitting, RangeThenSingleKeepsHighBound) {
  PortRange range;
  std::string badText;
  EXPECT_EQ(ApplyPortItem("80-90", false, range, badText), StrictIntegerResult::Ok);
  EXPECT_EQ(PortText(range), "80-90");
  EXPECT_EQ(ApplyPortItem("100", true, range, badText), StrictIntegerResult::Ok);
  EXPECT_EQ(PortText(range), "100-90");
}

TEST(PortSplitting, RangeEndsCompareAsNumbers) {
  PortRange range;
  std::string badText;
  EXPECT_EQ(ApplyPortItem("100-9", true, range, badText), StrictIntegerResult::Ok);
  EXPECT_EQ(PortText(range), "9-100");
}

TEST(PortSplitting, BadRangeEndIsReported) {
  PortRange range;
  std::string badText;
  EXPECT_EQ(ApplyPortItem("80-", false, range, badText), StrictIntegerResult::Invalid);
  EXPECT_EQ(badText, "");
  EXPECT_EQ(ApplyPortItem("99999999999-1", false, range, badText), StrictIntegerResult::OutOfRange);
  EXPECT_EQ(badText, "99999999999");
}

// GetPorts on its own.
class GetPortsTest : public PolicyTest {
 protected:
  RawConfig raw;
  AttrMap attrs{{"id", "1"}};
  std::string portRange;
};

TEST_F(GetPortsTest, MissingPortTypeGivesAllPorts) {
  EXPECT_TRUE(GetPorts(raw, attrs, portRange));
  EXPECT_EQ(portRange, "0-65535");
}

TEST_F(GetPortsTest, PortTypeOneGivesPorts) {
  attrs["AddressInfo.portType"] = "1";
  attrs["AddressInfo.ports"] = "8080";
  EXPECT_TRUE(GetPorts(raw, attrs, portRange));
  EXPECT_EQ(portRange, "8080");
}

TEST_F(GetPortsTest, PortTypeThreeWithoutListIdFails) {
  attrs["AddressInfo.portType"] = "3";
  EXPECT_FALSE(GetPorts(raw, attrs, portRange));
  EXPECT_EQ(LogMessages(), std::vector<std::string>{"cannot find portListId attribute in AddressInfo"});
}

TEST_F(GetPortsTest, PortTypeThreeWithUnknownListFails) {
  attrs["AddressInfo.portType"] = "3";
  attrs["AddressInfo.portListId"] = "6";
  EXPECT_FALSE(GetPorts(raw, attrs, portRange));
  EXPECT_EQ(LogMessages(),
            std::vector<std::string>{"cannot find corresponding entry in portListMap for portListId(6)"});
}

TEST_F(GetPortsTest, PortListWithoutItemsFails) {
  raw.portListMap.emplace("6", std::make_unique<AttrMap>(AttrMap{{"id", "6"}}));
  attrs["AddressInfo.portType"] = "3";
  attrs["AddressInfo.portListId"] = "6";
  EXPECT_FALSE(GetPorts(raw, attrs, portRange));
  EXPECT_EQ(LogMessages(), std::vector<std::string>{"cannot find items attritbute"});
}

TEST_F(GetPortsTest, OtherPortTypeFailsQuietly) {
  attrs["AddressInfo.portType"] = "2";
  EXPECT_FALSE(GetPorts(raw, attrs, portRange));
  EXPECT_TRUE(LogMessages().empty());
}

}  // namespace
