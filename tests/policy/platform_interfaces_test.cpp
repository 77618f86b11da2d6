// The operating system's adapters into platformIfByMACMap, and dial-up
// adapters matched with their connections.
#include "policy/platform_interfaces.h"

#include <gtest/gtest.h>

#include "log/debug_log.h"
#include "policy_test_support.h"

namespace {

using namespace std::string_literals;

PlatformAdapter Ethernet(const std::string& address, const std::string& name = "Ethernet") {
  return EthernetAdapter(address, name);
}

PlatformAdapter DialUp(const std::string& name) {
  PlatformAdapter adapter = Ethernet("\x00\x53\x45\x00\x00\x00"s, name);
  adapter.ifType = 23;
  return adapter;
}

RasConnection Connection(const std::string& entryName, std::optional<uint32_t> options) {
  const unsigned char data4[8] = {0, 0, 0, 0, 0, 0, 0, 0};
  return {entryName, RasGuidText(0xC0FFEE00, 0, 0, data4), options};
}

class PlatformInterfaces : public PolicyTest {};

TEST_F(PlatformInterfaces, AdapterEntryHasIdZeroMacNameMtuAndDhcp) {
  AttrMapIndex map;
  PlatformAdapter adapter = Ethernet("\x00\x0c\x29\xaa\xbb\xcc"s);
  adapter.dhcpEnabled = true;
  adapter.up = false;
  GetPlatformInterfaces(map, {adapter}, {});
  EXPECT_EQ(Keys(map), std::vector<std::string>{"00:0c:29:aa:bb:cc"});
  EXPECT_EQ(*map.at("00:0c:29:aa:bb:cc"), (AttrMap{{"MACBinary", "\x00\x0c\x29\xaa\xbb\xcc"s},
                                                   {"Mtu", "1500"},
                                                   {"dhcp", "true"},
                                                   {"id", "0"},
                                                   {"mac", "00:0c:29:aa:bb:cc"},
                                                   {"name", "Ethernet"}}));
}

TEST_F(PlatformInterfaces, DhcpFalseWithoutTheFlag) {
  AttrMapIndex map;
  GetPlatformInterfaces(map, {Ethernet("\x02\x00"s)}, {});
  EXPECT_EQ(map.at("02:00")->at("dhcp"), "false");
}

TEST_F(PlatformInterfaces, MacBinaryGetsTheLowerCasingPassOfTheText) {
  AttrMapIndex map;
  GetPlatformInterfaces(map, {Ethernet("\x41\x5A\x40\x5B\x61\xC1"s)}, {});
  const AttrMap& attrs = *map.at("41:5a:40:5b:61:c1");
  EXPECT_EQ(attrs.at("MACBinary"), "\x61\x7A\x40\x5B\x61\xC1"s);
}

TEST_F(PlatformInterfaces, NoAdapterPassingTheSkipRuleGivesAnEmptyMap) {
  AttrMapIndex map;
  PlatformAdapter loopback = Ethernet("\x01"s), tunnel = Ethernet("\x02"s), firewire = Ethernet("\x03"s);
  loopback.ifType = 24;
  tunnel.ifType = 131;
  firewire.ifType = 144;
  PlatformAdapter noAddress = Ethernet("");
  GetPlatformInterfaces(map, {loopback, tunnel, firewire, noAddress}, {});
  EXPECT_TRUE(map.empty());
}

TEST_F(PlatformInterfaces, AddressesJoinWithPlusLeavingOutZeroAndAnyFamily) {
  AttrMapIndex map;
  PlatformAdapter adapter = Ethernet("\x02\x01"s);
  adapter.unicastAddresses = {"10.0.0.5", "0.0.0.0", "10.0.0.6", "fe80::1"};
  GetPlatformInterfaces(map, {adapter}, {});
  EXPECT_EQ(map.at("02:01")->at("IPs"), "10.0.0.5+10.0.0.6+fe80::1");
}

TEST_F(PlatformInterfaces, TwoAddressesGivePlusJoinedIps) {
  AttrMapIndex map;
  PlatformAdapter adapter = Ethernet("\x02\x01"s);
  adapter.unicastAddresses = {"10.0.0.5", "0.0.0.0", "10.0.0.6"};
  GetPlatformInterfaces(map, {adapter}, {});
  EXPECT_EQ(map.at("02:01")->at("IPs"), "10.0.0.5+10.0.0.6");
}

TEST_F(PlatformInterfaces, DnsServersAndGatewaysJoinWithCommas) {
  AttrMapIndex map;
  PlatformAdapter adapter = Ethernet("\x02\x01"s);
  adapter.dnsServers = {"10.0.0.1", "10.0.0.2"};
  adapter.gateways = {"10.0.0.254", "fe80::1"};
  GetPlatformInterfaces(map, {adapter}, {});
  EXPECT_EQ(map.at("02:01")->at("DNSServers"), "10.0.0.1,10.0.0.2");
  EXPECT_EQ(map.at("02:01")->at("Gateway"), "10.0.0.254,fe80::1");
  EXPECT_EQ(map.at("02:01")->count("IPs"), 0u);
}

TEST_F(PlatformInterfaces, AdapterNotUpHasNoAddressesButIsListed) {
  AttrMapIndex map;
  PlatformAdapter adapter = Ethernet("\x02\x01"s);
  adapter.up = false;
  adapter.unicastAddresses = {"10.0.0.5"};
  adapter.dnsServers = {"10.0.0.1"};
  adapter.gateways = {"10.0.0.254"};
  GetPlatformInterfaces(map, {adapter}, {});
  ASSERT_EQ(map.size(), 1u);
  const AttrMap& attrs = *map.at("02:01");
  EXPECT_EQ(attrs.count("IPs"), 0u);
  EXPECT_EQ(attrs.count("DNSServers"), 0u);
  EXPECT_EQ(attrs.count("Gateway"), 0u);
}

TEST_F(PlatformInterfaces, FirstOfTwoAdaptersWithOneMacStands) {
  AttrMapIndex map;
  GetPlatformInterfaces(map, {Ethernet("\x02\x01"s, "first"), Ethernet("\x02\x01"s, "second")}, {});
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at("02:01")->at("name"), "first");
}

TEST_F(PlatformInterfaces, EachAdapterAndAddressIsLogged) {
  s_Settings.DebugLevel = 4;
  AttrMapIndex map;
  PlatformAdapter adapter = Ethernet("\x02\x01"s, "LAN");
  adapter.unicastAddresses = {"0.0.0.0", "10.0.0.5"};
  adapter.dnsServers = {"10.0.0.1"};
  adapter.gateways = {"10.0.0.254"};
  GetPlatformInterfaces(map, {adapter}, {});
  EXPECT_EQ(LogMessages(), (std::vector<std::string>{
                               "Adapter: MACAddress('02:01')",
                               "Adapter: Name('LAN')",
                               "Adapter: Ipaddress('0.0.0.0')",
                               "Adapter: Ipaddress('10.0.0.5')",
                               "Adapter: Dns Server('10.0.0.1')",
                               "Adapter: Gateway('10.0.0.254')",
                           }));
  for (const std::string& function : LogFunctions()) EXPECT_EQ(function, "GetPlatformInterfaces");
}

TEST_F(PlatformInterfaces, UpperCaseGuidNameOfDialUpKeepsItsNameAndDhcp) {
  AttrMapIndex map;
  GetPlatformInterfaces(map, {DialUp("{C0FFEE00-0000-0000-0000-000000000000}")}, {Connection("Office", 0x2)});
  const AttrMap& attrs = *map.begin()->second;
  EXPECT_EQ(attrs.at("name"), "{C0FFEE00-0000-0000-0000-000000000000}");
  EXPECT_EQ(attrs.at("dhcp"), "true");
}

TEST_F(PlatformInterfaces, DialUpIsDhcpWhateverItsFlag) {
  AttrMapIndex map;
  PlatformAdapter adapter = DialUp("Modem");
  adapter.dhcpEnabled = false;
  GetPlatformInterfaces(map, {adapter}, {});
  EXPECT_EQ(map.begin()->second->at("dhcp"), "true");
}

TEST_F(PlatformInterfaces, DialUpTakesItsConnectionsEntryNameAndDhcpFromTheOptions) {
  AttrMapIndex map;
  GetPlatformInterfaces(map, {DialUp("{c0ffee00-0000-0000-0000-000000000000}")}, {Connection("Office", 0x2)});
  const AttrMap& attrs = *map.begin()->second;
  EXPECT_EQ(attrs.at("name"), "Office");
  EXPECT_EQ(attrs.at("dhcp"), "false");
}

TEST(RasGuidText, LowerCaseHexWithoutBraces) {
  const unsigned char data4[8] = {0xAB, 0xCD, 0x01, 0x23, 0x45, 0x67, 0x89, 0xEF};
  EXPECT_EQ(RasGuidText(0xC0FFEE00, 0x1A2B, 0x0003, data4), "c0ffee00-1a2b-0003-abcd-0123456789ef");
}

class RasConnectionInfo : public PolicyTest {};

TEST_F(RasConnectionInfo, MatchByEntryNameReplacesNameAndDhcp) {
  AttrMap attrs{{"name", "Office"}, {"dhcp", "true"}};
  EXPECT_TRUE(GetRASConnectionInfo(attrs, {Connection("Home", 0), Connection("Office", 0x2)}));
  EXPECT_EQ(attrs.at("name"), "Office");
  EXPECT_EQ(attrs.at("dhcp"), "false");
}

TEST_F(RasConnectionInfo, WithoutTheSpecificAddressOptionDhcpIsTrue) {
  AttrMap attrs{{"name", "c0ffee00-0000-0000-0000-000000000000"}, {"dhcp", "false"}};
  EXPECT_TRUE(GetRASConnectionInfo(attrs, {Connection("Office", 0x1 | 0x4)}));
  EXPECT_EQ(attrs.at("name"), "Office");
  EXPECT_EQ(attrs.at("dhcp"), "true");
}

TEST_F(RasConnectionInfo, BracesOfAGuidNameAreStripped) {
  AttrMap attrs{{"name", "{c0ffee00-0000-0000-0000-000000000000}"}, {"dhcp", "true"}};
  EXPECT_TRUE(GetRASConnectionInfo(attrs, {Connection("Office", 0x2)}));
  EXPECT_EQ(attrs.at("name"), "Office");
}

TEST_F(RasConnectionInfo, UnreadableEntryLeavesDhcp) {
  AttrMap attrs{{"name", "Office"}, {"dhcp", "true"}};
  EXPECT_TRUE(GetRASConnectionInfo(attrs, {Connection("Office", std::nullopt)}));
  EXPECT_EQ(attrs.at("dhcp"), "true");
}

TEST_F(RasConnectionInfo, NoConnectionGivesFalse) {
  AttrMap attrs{{"name", "Office"}, {"dhcp", "true"}};
  EXPECT_FALSE(GetRASConnectionInfo(attrs, {}));
  EXPECT_EQ(attrs, (AttrMap{{"name", "Office"}, {"dhcp", "true"}}));
}

TEST_F(RasConnectionInfo, MissingNameIsLoggedAndGivesFalse) {
  s_Settings.DebugLevel = 1;
  AttrMap attrs{{"dhcp", "true"}};
  EXPECT_FALSE(GetRASConnectionInfo(attrs, {Connection("Office", 0)}));
  EXPECT_EQ(LogMessages(), std::vector<std::string>{"cannot find Name attr for platformIfAttr"});
  EXPECT_EQ(LogFunctions(), std::vector<std::string>{"GetRASConnectionInfo"});
}

// The older adapter list, which stands in when the newer one succeeds
// without a list.

PlatformAdapter InfoAdapter(const std::string& address, const std::string& description) {
  PlatformAdapter adapter = Ethernet(address, description);
  adapter.mtu = 0;
  adapter.up = false;
  return adapter;
}

TEST_F(PlatformInterfaces, OlderListEntryHasIdZeroMacDescriptionAndDhcpButNoMtu) {
  AttrMapIndex map;
  PlatformAdapter adapter = InfoAdapter("\x00\x0c\x29\xaa\xbb\xcc"s, "Intel(R) PRO/1000");
  adapter.dhcpEnabled = true;
  GetPlatformInterfaces(map, {adapter}, {}, AdapterList::Info);
  EXPECT_EQ(Keys(map), std::vector<std::string>{"00:0c:29:aa:bb:cc"});
  EXPECT_EQ(*map.at("00:0c:29:aa:bb:cc"), (AttrMap{{"MACBinary", "\x00\x0c\x29\xaa\xbb\xcc"s},
                                                   {"dhcp", "true"},
                                                   {"id", "0"},
                                                   {"mac", "00:0c:29:aa:bb:cc"},
                                                   {"name", "Intel(R) PRO/1000"}}));
}

TEST_F(PlatformInterfaces, OlderListSkipsOnlyLoopback) {
  AttrMapIndex map;
  PlatformAdapter loopback = InfoAdapter("\x01"s, "loopback"), tunnel = InfoAdapter("\x02"s, "tunnel"),
                  firewire = InfoAdapter("\x03"s, "firewire");
  loopback.ifType = 24;
  tunnel.ifType = 131;
  firewire.ifType = 144;
  PlatformAdapter noAddress = InfoAdapter("", "no address");
  GetPlatformInterfaces(map, {loopback, tunnel, firewire, noAddress}, {}, AdapterList::Info);
  // An adapter without address bytes stands under the empty MAC text.
  EXPECT_EQ(Keys(map), (std::vector<std::string>{"", "02", "03"}));
  EXPECT_EQ(map.at("")->at("name"), "no address");
}

TEST_F(PlatformInterfaces, OlderListTakesAddressesWithoutAnUpStateLeavingOutZero) {
  AttrMapIndex map;
  PlatformAdapter adapter = InfoAdapter("\x02\x01"s, "LAN");
  adapter.unicastAddresses = {"10.0.0.5", "0.0.0.0", "10.0.0.6"};
  GetPlatformInterfaces(map, {adapter}, {}, AdapterList::Info);
  const AttrMap& attrs = *map.at("02:01");
  EXPECT_EQ(attrs.at("IPs"), "10.0.0.5+10.0.0.6");
  EXPECT_EQ(attrs.count("DNSServers"), 0u);
  EXPECT_EQ(attrs.count("Gateway"), 0u);
}

TEST_F(PlatformInterfaces, OlderListAdapterWithOnlyTheZeroAddressHasNoIps) {
  AttrMapIndex map;
  PlatformAdapter adapter = InfoAdapter("\x02\x01"s, "LAN");
  adapter.unicastAddresses = {"0.0.0.0"};
  GetPlatformInterfaces(map, {adapter}, {}, AdapterList::Info);
  EXPECT_EQ(map.at("02:01")->count("IPs"), 0u);
}

TEST_F(PlatformInterfaces, OlderListCountsSlipAsDialUp) {
  AttrMapIndex map;
  PlatformAdapter adapter = InfoAdapter("\x00\x53\x45\x00\x00\x00"s, "{c0ffee00-0000-0000-0000-000000000000}");
  adapter.ifType = 28;
  GetPlatformInterfaces(map, {adapter}, {Connection("Office", 0x2)}, AdapterList::Info);
  const AttrMap& attrs = *map.begin()->second;
  EXPECT_EQ(attrs.at("name"), "Office");
  EXPECT_EQ(attrs.at("dhcp"), "false");
}

TEST_F(PlatformInterfaces, OlderListCountsPppAsDialUpWhateverItsFlag) {
  AttrMapIndex map;
  PlatformAdapter adapter = InfoAdapter("\x00\x53\x45\x00\x00\x00"s, "Modem");
  adapter.ifType = 23;
  GetPlatformInterfaces(map, {adapter}, {}, AdapterList::Info);
  EXPECT_EQ(map.begin()->second->at("dhcp"), "true");
}

TEST_F(PlatformInterfaces, NewerListDoesNotCountSlipAsDialUp) {
  AttrMapIndex map;
  PlatformAdapter adapter = DialUp("{c0ffee00-0000-0000-0000-000000000000}");
  adapter.ifType = 28;
  GetPlatformInterfaces(map, {adapter}, {Connection("Office", 0x2)});
  const AttrMap& attrs = *map.begin()->second;
  EXPECT_EQ(attrs.at("name"), "{c0ffee00-0000-0000-0000-000000000000}");
  EXPECT_EQ(attrs.at("dhcp"), "false");
}

}  // namespace
