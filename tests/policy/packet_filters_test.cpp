// The PacketEngine element: the shared lists and the packet filters bound by
// host IP or by interface.
#include "policy/packet_filters.h"

#include <memory>
#include <string>
#include <vector>

#include "agent_document_support.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;

namespace {

// A packet filter bound to host IP 11, the first Interface's IP; IP 12
// belongs to a second Interface and so is unknown to ipsMap.
std::string HostPolicy(const std::string& packetFilters) {
  return PolicyDocument("<PacketFilters>" + packetFilters +
                        "</PacketFilters>"
                        "<Interfaces>"
                        "<Interface id=\"1\" mac=\"00:00:00:00:00:01\"><IPs>"
                        "<IP id=\"11\" ipAddress=\"192.168.1.10\"/><IP id=\"13\"/></IPs></Interface>"
                        "<Interface id=\"2\" mac=\"00:00:00:00:00:02\"><IPs>"
                        "<IP id=\"12\" ipAddress=\"10.1.1.1\"/></IPs></Interface>"
                        "</Interfaces>");
}

std::string WriteAll(RawConfig& raw) {
  return PrintFset([&](tinyxml2::XMLPrinter& out) { WritePacketFilters(raw, out); });
}

void AddWorkingInterface(RawConfig& raw, const std::string& id, const std::string& driverId) {
  InsertAttrMap(raw.workingIfMap, id, std::make_unique<AttrMap>(AttrMap{{"id", id}, {"driverIfconfig.id", driverId}}));
}

}  // namespace

TEST_F(PolicyTest, EmptyPolicyWithFirewallOnGivesEmptyPacketEngine) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PolicyDocument("<AgentConfiguration><Features><Feature name=\"FW\" state=\"1\"/>"
                                               "</Features></AgentConfiguration>")),
            0);
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, ListsComeInTableOrderEachInKeyOrder) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PolicyDocument("<LoggingPolicys><LoggingPolicy id=\"40\" level=\"2\"/></LoggingPolicys>"
                                               "<Schedules><Schedule id=\"30\" hourOfWeek=\"FF\"/></Schedules>"
                                               "<PortLists><PortList id=\"12\" items=\"80,443\"/></PortLists>"
                                               "<MacLists><MacList id=\"21\" items=\"00:11\"/></MacLists>"
                                               "<IPLists><IPList id=\"9\" name=\"Nine\"/>"
                                               "<IPList name=\"Ten\" id=\"10\"/></IPLists>")),
            0);
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <IPList id=\"10\" name=\"Ten\"/>\n"
            "        <IPList id=\"9\" name=\"Nine\"/>\n"
            "        <MacList id=\"21\" items=\"00:11\"/>\n"
            "        <PortList id=\"12\" items=\"80,443\"/>\n"
            "        <Schedule hourOfWeek=\"FF\" id=\"30\"/>\n"
            "        <LoggingPolicy id=\"40\" level=\"2\"/>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, HostBindingWithDirectionOneReplacesTheDestination) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\" packetDirection=\"1\" action=\"deny\">"
                                           "<SourceInfo ip=\"10.0.0.1\"/><DestInfo ip=\"10.0.0.2\" port=\"80\"/>"
                                           "</PacketFilter>")),
            0);
  raw.filterIpIdMap["100"] = {"11"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter action=\"deny\" id=\"100\" packetDirection=\"1\">\n"
            "            <DestInfo/>\n"
            "            <SourceInfo ip=\"10.0.0.1\"/>\n"
            "            <DestInfo ip=\"192.168.1.10\" ipNot=\"false\" ipType=\"1\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, HostBindingWithDirectionZeroReplacesTheSource) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\" packetDirection=\"0\">"
                                           "<SourceInfo ip=\"10.0.0.1\"/><DestInfo ip=\"10.0.0.2\"/>"
                                           "</PacketFilter>")),
            0);
  raw.filterIpIdMap["100"] = {"11"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\" packetDirection=\"0\">\n"
            "            <DestInfo ip=\"10.0.0.2\"/>\n"
            "            <SourceInfo/>\n"
            "            <SourceInfo ip=\"192.168.1.10\" ipNot=\"false\" ipType=\"1\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, HostBindingWithoutDirectionReplacesTheSource) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\"><SourceInfo ip=\"10.0.0.1\"/></PacketFilter>")), 0);
  raw.filterIpIdMap["100"] = {"11"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\">\n"
            "            <SourceInfo/>\n"
            "            <SourceInfo ip=\"192.168.1.10\" ipNot=\"false\" ipType=\"1\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, DirectionThatIsNotANumberReadsAsZeroAndFailsNothing) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\" packetDirection=\"in\">"
                                           "<SourceInfo ip=\"10.0.0.1\"/></PacketFilter>")),
            0);
  raw.filterIpIdMap["100"] = {"11"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\" packetDirection=\"in\">\n"
            "            <SourceInfo/>\n"
            "            <SourceInfo ip=\"192.168.1.10\" ipNot=\"false\" ipType=\"1\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
  EXPECT_FALSE(raw.badNumber);
}

TEST_F(PolicyTest, HostBindingWithoutAddressOnTheReplacedSideGetsNoHostAddress) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\" packetDirection=\"1\">"
                                           "<SourceInfo ip=\"10.0.0.1\"/></PacketFilter>")),
            0);
  raw.filterIpIdMap["100"] = {"11"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\" packetDirection=\"1\">\n"
            "            <SourceInfo ip=\"10.0.0.1\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, HostIpWithoutAddressLeavesIpOutAndSaysSo) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\"><SourceInfo ip=\"10.0.0.1\"/></PacketFilter>")), 0);
  s_Settings.DebugLevel = 1;
  raw.filterIpIdMap["100"] = {"13"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\">\n"
            "            <SourceInfo/>\n"
            "            <SourceInfo ipNot=\"false\" ipType=\"1\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find ipAddress"}));
  EXPECT_EQ(LogFunctions(), (Strings{"WritePacketFilters"}));
}

TEST_F(PolicyTest, IpOfASecondInterfaceIsNotFoundAndItsFilterDisappears) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\"><SourceInfo ip=\"10.0.0.1\"/></PacketFilter>")), 0);
  s_Settings.DebugLevel = 1;
  raw.filterIpIdMap["100"] = {"12"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find ipId=12"}));
  EXPECT_EQ(LogFunctions(), (Strings{"WritePacketFilters"}));
}

TEST_F(PolicyTest, UnknownPacketFilterIdIsLoggedForBothBindings) {
  s_Settings.DebugLevel = 1;
  RawConfig raw;
  raw.filterIpIdMap["101"] = {"11"};
  raw.filterInterfaceIdMap["102"] = {"0"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find packet filter id 101", "cannot find packet filter id 102"}));
  EXPECT_EQ(LogFunctions(), (Strings{"WritePacketFilters", "WritePacketFilters"}));
}

TEST_F(PolicyTest, FilterBoundToAllInterfacesHasNoInterfacesAttribute) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\" packetDirection=\"1\">"
                                           "<DestInfo ip=\"10.0.0.2\"/></PacketFilter>")),
            0);
  raw.filterInterfaceIdMap["100"] = {"0"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\" packetDirection=\"1\">\n"
            "            <DestInfo ip=\"10.0.0.2\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, InterfaceBindingWritesItsMaskBeforeAllOtherAttributes) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter action=\"allow\" id=\"100\"/>")), 0);
  AddWorkingInterface(raw, "1", "3");
  AddWorkingInterface(raw, "2", "0");
  raw.filterInterfaceIdMap["100"] = {"1", "2"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter interfaces=\"9\" action=\"allow\" id=\"100\"/>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, FilterOwnInterfacesAttributeTakesTheMaskPlace) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter action=\"allow\" id=\"100\" interfaces=\"77\"/>")), 0);
  AddWorkingInterface(raw, "1", "3");
  raw.filterInterfaceIdMap["100"] = {"1"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter interfaces=\"77\" action=\"allow\" id=\"100\"/>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, HostBindingsComeBeforeInterfaceBindings) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, HostPolicy("<PacketFilter id=\"100\"/><PacketFilter id=\"200\"/>")), 0);
  raw.filterInterfaceIdMap["100"] = {"0"};
  raw.filterIpIdMap["200"] = {"11"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"200\"/>\n"
            "        <packetFilter id=\"100\"/>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, KeyWithTwoDotsMakesAChildWithADottedAttribute) {
  RawConfig raw;
  InsertAttrMap(raw.packetFilterMap, "100", std::make_unique<AttrMap>(AttrMap{{"id", "100"}, {"a.b.c", "v"}}));
  raw.filterInterfaceIdMap["100"] = {"0"};
  EXPECT_EQ(WriteAll(raw),
            "<fset>\n"
            "    <PacketEngine>\n"
            "        <packetFilter id=\"100\">\n"
            "            <a b.c=\"v\"/>\n"
            "        </packetFilter>\n"
            "    </PacketEngine>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, EachChildAttributeSetIsLoggedUnderTheWriter) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  InsertAttrMap(raw.packetFilterMap, "100",
                std::make_unique<AttrMap>(AttrMap{{"id", "100"}, {"packetDirection", "1"},
                                                  {"DestInfo.ip", "10.0.0.2"}, {"SourceInfo.port", "80"}}));
  raw.filterInterfaceIdMap["100"] = {"0"};
  raw.filterIpIdMap["100"] = {"11"};
  InsertAttrMap(raw.ipsMap, "11", std::make_unique<AttrMap>(AttrMap{{"id", "11"}, {"ipAddress", "192.168.1.10"}}));
  WriteAll(raw);
  // The host binding leaves out the destination it replaces; the interface
  // binding sets both.
  EXPECT_EQ(LogMessages(), (Strings{"add elementName=SourceInfo, attrName=port, attrValue=80",
                                    "add elementName=DestInfo, attrName=ip, attrValue=10.0.0.2",
                                    "add elementName=SourceInfo, attrName=port, attrValue=80"}));
  EXPECT_EQ(LogFunctions(), (Strings{"WritePacketFilters", "WritePacketFilters", "WritePacketFilters"}));
}
