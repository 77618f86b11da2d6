// A network bridge: its members join platformIfByMACMap, its virtual adapter
// leaves it.
#include "policy/bridge_interfaces.h"

#include <gtest/gtest.h>

#include "policy_test_support.h"

namespace {

using namespace std::string_literals;

void AddAdapter(AttrMapIndex& map, const std::string& mac, const std::string& name) {
  map.emplace(mac, std::make_unique<AttrMap>(AttrMap{{"id", "0"}, {"mac", mac}, {"name", name}}));
}

BridgeBinding Member(const std::string& address, const std::string& name, bool enabled = true) {
  BridgeBinding binding;
  binding.name = name;
  binding.address = address;
  binding.componentId = "pci\\ven_8086";
  binding.pathEnabled = enabled;
  return binding;
}

BridgeBinding VirtualAdapter(const std::string& address) {
  BridgeBinding binding = Member(address, "MAC Bridge Miniport");
  binding.isVirtual = true;
  binding.componentId = "ms_bridgemp";
  return binding;
}

TEST(BridgeInterfaces, VirtualAdapterLeavesAndLaterMembersCarryItsName) {
  AttrMapIndex map;
  AddAdapter(map, "02:00:00:00:00:01", "Network Bridge");
  GetBridgeInterfaces(map, {VirtualAdapter("\x02\x00\x00\x00\x00\x01"s), Member("\x02\x00\x00\x00\x00\x0A"s, "LAN")});
  EXPECT_EQ(Keys(map), std::vector<std::string>{"02:00:00:00:00:0a"});
  EXPECT_EQ(*map.at("02:00:00:00:00:0a"), (AttrMap{{"BridgeName", "Network Bridge"},
                                                   {"MACBinary", "\x02\x00\x00\x00\x00\x0A"s},
                                                   {"mac", "02:00:00:00:00:0a"},
                                                   {"name", "LAN"}}));
}

TEST(BridgeInterfaces, MemberMetBeforeTheVirtualAdapterHasAnEmptyBridgeName) {
  AttrMapIndex map;
  AddAdapter(map, "02:00:00:00:00:01", "Network Bridge");
  GetBridgeInterfaces(map, {Member("\x02\x00\x00\x00\x00\x0A"s, "LAN"), VirtualAdapter("\x02\x00\x00\x00\x00\x01"s)});
  EXPECT_EQ(Keys(map), std::vector<std::string>{"02:00:00:00:00:0a"});
  EXPECT_EQ(map.at("02:00:00:00:00:0a")->at("BridgeName"), "");
}

TEST(BridgeInterfaces, DisabledPathAddsNoMember) {
  AttrMapIndex map;
  GetBridgeInterfaces(map, {Member("\x02\x00\x00\x00\x00\x0A"s, "LAN", false)});
  EXPECT_TRUE(map.empty());
}

TEST(BridgeInterfaces, ListedAdapterThatIsNotTheBridgeMiniportStays) {
  AttrMapIndex map;
  AddAdapter(map, "02:00:00:00:00:0a", "LAN");
  BridgeBinding otherVirtual = VirtualAdapter("\x02\x00\x00\x00\x00\x0A"s);
  otherVirtual.componentId = "ms_bridgemp2";
  GetBridgeInterfaces(map, {Member("\x02\x00\x00\x00\x00\x0A"s, "again"), otherVirtual});
  ASSERT_EQ(Keys(map), std::vector<std::string>{"02:00:00:00:00:0a"});
  EXPECT_EQ(*map.at("02:00:00:00:00:0a"), (AttrMap{{"id", "0"}, {"mac", "02:00:00:00:00:0a"}, {"name", "LAN"}}));
}

TEST(BridgeInterfaces, MemberWhoseDeviceGaveNoAddressGoesUnderTheEmptyText) {
  AttrMapIndex map;
  BridgeBinding silent = Member("", "Silent");
  silent.address.reset();
  GetBridgeInterfaces(map, {silent});
  ASSERT_EQ(Keys(map), std::vector<std::string>{""});
  EXPECT_EQ(*map.at(""), (AttrMap{{"BridgeName", ""}, {"name", "Silent"}}));
}

TEST(BridgeInterfaces, NoBindingChangesNothing) {
  AttrMapIndex map;
  AddAdapter(map, "02:00:00:00:00:0a", "LAN");
  GetBridgeInterfaces(map, {});
  EXPECT_EQ(Keys(map), std::vector<std::string>{"02:00:00:00:00:0a"});
}

}  // namespace
