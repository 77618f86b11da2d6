// The driver's interfaces through the driver stand-in, and Wine's adapters
// through the IP helper, as GetDriverInterfaces and GetPlatformInterfaces
// gather them.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <set>
#include <sstream>

#include "log/debug_log.h"
#include "policy/driver_interfaces.h"
#include "policy/platform_interfaces.h"
#include "policy/working_interfaces.h"
#include "policy_test_support.h"
#include "records/engine_state_win.h"
#include "stand_in_key.h"

namespace {

using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;

class DriverInterfacesFromTheDriver : public PolicyTest {
 protected:
  void SetUp() override {
    PolicyTest::SetUp();
    g_Engine.hDriver = mli_open();
    ASSERT_NE(g_Engine.hDriver, nullptr);
  }
  void TearDown() override {
    mli_close(g_Engine.hDriver);
    g_Engine.hDriver = nullptr;
    PolicyTest::TearDown();
  }

  SimScope scope;
  StandInKey mli = scope.Key(L"mli");
};

TEST_F(DriverInterfacesFromTheDriver, EachInterfaceUnderItsLowerCaseMacWithUtf8Name) {
  mli.Set(L"Interfaces", std::wstring(L"3 00:0C:29:aa:bb:cc Ethernet0\n17 02:00:4c:4f:4f:50 Loopback \u00e9\n"));
  AttrMapIndex map;
  EXPECT_TRUE(GetDriverInterfaces(map));
  EXPECT_EQ(Keys(map), (std::vector<std::string>{"00:0c:29:aa:bb:cc", "02:00:4c:4f:4f:50"}));
  EXPECT_EQ(*map.at("00:0c:29:aa:bb:cc"), (AttrMap{{"id", "3"}, {"mac", "00:0c:29:aa:bb:cc"}, {"name", "Ethernet0"}}));
  EXPECT_EQ(*map.at("02:00:4c:4f:4f:50"),
            (AttrMap{{"id", "17"}, {"mac", "02:00:4c:4f:4f:50"}, {"name", "Loopback \xc3\xa9"}}));
}

TEST_F(DriverInterfacesFromTheDriver, FirstOfTwoInterfacesWithOneMacStands) {
  mli.Set(L"Interfaces", std::wstring(L"3 02:00:00:00:00:01 first\n4 02:00:00:00:00:01 second\n"));
  AttrMapIndex map;
  EXPECT_TRUE(GetDriverInterfaces(map));
  ASSERT_EQ(Keys(map), std::vector<std::string>{"02:00:00:00:00:01"});
  EXPECT_EQ(map.at("02:00:00:00:00:01")->at("name"), "first");
}

TEST_F(DriverInterfacesFromTheDriver, NoInterfaceIsASuccess) {
  AttrMapIndex map;
  EXPECT_TRUE(GetDriverInterfaces(map));
  EXPECT_TRUE(map.empty());
}

TEST_F(DriverInterfacesFromTheDriver, RefusedListIsLoggedAndFails) {
  s_Settings.DebugLevel = 1;
  mli.Set(L"IfconfigFails", 5);
  AttrMapIndex map;
  EXPECT_FALSE(GetDriverInterfaces(map));
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(LogMessages(), std::vector<std::string>{"mli_ifconfig failed"});
  EXPECT_EQ(LogFunctions(), std::vector<std::string>{"GetDriverInterfaces"});
}

class PlatformInterfacesOfWine : public PolicyTest {};

// getnameinfo's numeric text; a link-local IPv6 address carries its zone
// after "%".
bool IsNumericAddress(std::string text) {
  text = text.substr(0, text.find('%'));
  unsigned char bytes[16];
  return inet_pton(AF_INET, text.c_str(), bytes) == 1 || inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> items;
  std::istringstream in(text);
  for (std::string item; std::getline(in, item, separator);) items.push_back(item);
  return items;
}

TEST_F(PlatformInterfacesOfWine, EveryAdapterIsKeyedByItsMacTextAndCarriesTheListedAttributes) {
  AttrMapIndex map;
  ASSERT_TRUE(GetPlatformInterfaces(map));
  const std::regex macText("[0-9a-f]{2}(:[0-9a-f]{2})*");
  const std::regex decimal("[0-9]+");
  for (const auto& [mac, attrs] : map) {
    SCOPED_TRACE(mac);
    EXPECT_TRUE(std::regex_match(mac, macText));
    EXPECT_EQ(attrs->at("mac"), mac);
    EXPECT_EQ(attrs->at("id"), "0");
    EXPECT_EQ(attrs->at("MACBinary").size() * 3 - 1, mac.size());
    EXPECT_TRUE(attrs->at("dhcp") == "true" || attrs->at("dhcp") == "false");
    EXPECT_TRUE(std::regex_match(attrs->at("Mtu"), decimal));
    EXPECT_EQ(attrs->count("name"), 1u);
    if (attrs->count("IPs") != 0) {
      for (const std::string& ip : Split(attrs->at("IPs"), '+')) {
        EXPECT_TRUE(IsNumericAddress(ip)) << ip;
        EXPECT_NE(ip, "0.0.0.0");
      }
    }
    for (const char* key : {"DNSServers", "Gateway"}) {
      if (attrs->count(key) == 0) continue;
      for (const std::string& address : Split(attrs->at(key), ',')) EXPECT_TRUE(IsNumericAddress(address)) << address;
    }
  }
}

TEST_F(PlatformInterfacesOfWine, OnlyAdaptersPassingTheSkipRuleAreListed) {
  AttrMapIndex map;
  ASSERT_TRUE(GetPlatformInterfaces(map));
  ULONG size = 0;
  GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, nullptr, &size);
  std::vector<unsigned char> buffer(size + 1);
  auto* list = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data());
  ASSERT_EQ(GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, list, &size), 0u);
  std::set<std::string> listable;
  for (const IP_ADAPTER_ADDRESSES* a = list; a != nullptr; a = a->Next) {
    if (a->IfType == 24 || a->IfType == 131 || a->IfType == 144 || a->PhysicalAddressLength == 0) continue;
    std::string mac;
    for (ULONG i = 0; i < a->PhysicalAddressLength; ++i) {
      char pair[4];
      std::snprintf(pair, sizeof pair, i == 0 ? "%02x" : ":%02x", a->PhysicalAddress[i]);
      mac += pair;
    }
    listable.insert(mac);
  }
  EXPECT_EQ(Keys(map), std::vector<std::string>(listable.begin(), listable.end()));
}

TEST_F(PlatformInterfacesOfWine, ListingIsLoggedUnderItsFunction) {
  s_Settings.DebugLevel = 5;
  AttrMapIndex map;
  ASSERT_TRUE(GetPlatformInterfaces(map));
  std::vector<std::string> messages = LogMessages();
  ASSERT_GE(messages.size(), 2u);
  EXPECT_EQ(messages[0], "Calling GetAdaptersAddresses");
  EXPECT_NE(std::find(messages.begin(), messages.end(), "GetAdaptersAddresses Succeeded"), messages.end());
  for (const std::string& function : LogFunctions()) EXPECT_EQ(function, "GetPlatformInterfaces");
}

TEST_F(PlatformInterfacesOfWine, AdaptersThePolicyDoesNotNameGetNegativeIdsInMacOrder) {
  SimScope scope;
  g_Engine.hDriver = mli_open();
  RawConfig raw;
  ASSERT_TRUE(GetDriverInterfaces(raw.driverIfByMACMap));
  ASSERT_TRUE(GetPlatformInterfaces(raw.platformIfByMACMap));
  mli_close(g_Engine.hDriver);
  g_Engine.hDriver = nullptr;
  GetInterfaces(raw);
  ASSERT_EQ(raw.workingIfMap.size(), raw.platformIfByMACMap.size());
  for (size_t n = 1; n <= raw.platformIfByMACMap.size(); ++n) {
    const AttrMap& working = *raw.workingIfMap.at("-" + std::to_string(n));
    EXPECT_EQ(working, (AttrMap{{"id", "-" + std::to_string(n)}, {"ifidx", std::to_string(n)}, {"typeId", "-1"}}));
  }
}

// The older list, which GetPlatformInterfaces takes only when the newer one
// succeeds without a list; Wine always gives that list, so the older one is
// read here directly, as GetPlatformInterfaces would read it.
TEST_F(PlatformInterfacesOfWine, OlderListGivesEachAdapterWithItsDescriptionAndAddresses) {
  std::vector<PlatformAdapter> adapters;
  ASSERT_EQ(ListAdaptersInfo(adapters), AdapterListing::Listed);
  ULONG size = 0;
  ASSERT_EQ(GetAdaptersInfo(nullptr, &size), static_cast<ULONG>(ERROR_BUFFER_OVERFLOW));
  std::vector<unsigned char> buffer(size);
  auto* list = reinterpret_cast<IP_ADAPTER_INFO*>(buffer.data());
  ASSERT_EQ(GetAdaptersInfo(list, &size), 0u);
  ASSERT_FALSE(adapters.empty());
  size_t n = 0;
  for (const IP_ADAPTER_INFO* a = list; a != nullptr; a = a->Next, ++n) {
    ASSERT_LT(n, adapters.size());
    const PlatformAdapter& adapter = adapters[n];
    SCOPED_TRACE(a->Description);
    EXPECT_EQ(adapter.ifType, a->Type);
    EXPECT_EQ(adapter.address, std::string(reinterpret_cast<const char*>(a->Address), a->AddressLength));
    EXPECT_EQ(adapter.name, a->Description);
    EXPECT_EQ(adapter.dhcpEnabled, a->DhcpEnabled != 0);
    std::vector<std::string> addresses;
    for (const IP_ADDR_STRING* ip = &a->IpAddressList; ip != nullptr; ip = ip->Next)
      addresses.push_back(ip->IpAddress.String);
    EXPECT_EQ(adapter.unicastAddresses, addresses);
    EXPECT_TRUE(adapter.dnsServers.empty());
    EXPECT_TRUE(adapter.gateways.empty());
  }
  EXPECT_EQ(n, adapters.size());
}

TEST_F(PlatformInterfacesOfWine, OlderListBuildsEntriesWithoutMtuUnderTheMacsOfTheNewerList) {
  std::vector<PlatformAdapter> adapters;
  ASSERT_EQ(ListAdaptersInfo(adapters), AdapterListing::Listed);
  AttrMapIndex older;
  GetPlatformInterfaces(older, adapters, {}, AdapterList::Info);
  ASSERT_FALSE(older.empty());
  AttrMapIndex newer;
  ASSERT_TRUE(GetPlatformInterfaces(newer));
  for (const auto& [mac, attrs] : older) {
    SCOPED_TRACE(mac);
    EXPECT_EQ(attrs->count("Mtu"), 0u);
    EXPECT_EQ(attrs->at("id"), "0");
    EXPECT_EQ(attrs->at("mac"), mac);
    // An IPv4 adapter of the older list is one of the newer list too.
    EXPECT_EQ(newer.count(mac), 1u);
  }
}

}  // namespace
