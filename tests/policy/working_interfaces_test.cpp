// workingIfMap: the machine's adapters joined with the policy's interfaces
// and the driver's by MAC address.
#include "policy/working_interfaces.h"

#include <gtest/gtest.h>

#include "log/debug_log.h"
#include "policy/interface_mask.h"
#include "policy_test_support.h"

namespace {

void AddAdapter(RawConfig& raw, const std::string& mac, const std::string& name) {
  raw.platformIfByMACMap.emplace(
      mac, std::make_unique<AttrMap>(AttrMap{{"id", "0"}, {"mac", mac}, {"name", name}, {"dhcp", "false"}}));
}

void AddDriverInterface(RawConfig& raw, const std::string& mac, const std::string& id) {
  raw.driverIfByMACMap.emplace(mac, std::make_unique<AttrMap>(AttrMap{{"id", id}, {"mac", mac}, {"name", "drv"}}));
}

class WorkingInterfaces : public PolicyTest {};

TEST_F(WorkingInterfaces, KnownAdapterCarriesThePolicysAttributesIfidxAndDriverId) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces>
  <Interface id="12" mac="00:0C:29:AA:BB:CC" name="LAN" typeId="1" virtualDeviceKey="vk"><IPs><IP id="5" ipAddress="10.0.0.5"/></IPs></Interface>
</Interfaces>)")),
            0);
  AddAdapter(raw, "00:0c:29:aa:bb:cc", "Ethernet0");
  AddDriverInterface(raw, "00:0c:29:aa:bb:cc", "3");
  GetInterfaces(raw);
  EXPECT_EQ(Keys(raw.workingIfMap), std::vector<std::string>{"12"});
  EXPECT_EQ(*raw.workingIfMap.at("12"), (AttrMap{{"IPs.IP.0.id", "5"},
                                                 {"IPs.IP.0.ipAddress", "10.0.0.5"},
                                                 {"driverIfconfig.id", "3"},
                                                 {"id", "12"},
                                                 {"ifidx", "1"},
                                                 {"mac", "00:0c:29:aa:bb:cc"},
                                                 {"name", "LAN"},
                                                 {"typeId", "1"},
                                                 {"virtualDeviceKey", "vk"}}));
}

TEST_F(WorkingInterfaces, UnknownAdaptersGetNegativeIdsInMacOrderAndTypeIdMinusOne) {
  RawConfig raw;
  AddAdapter(raw, "02:00:00:00:00:09", "second");
  AddAdapter(raw, "02:00:00:00:00:01", "first");
  GetInterfaces(raw);
  EXPECT_EQ(Keys(raw.workingIfMap), (std::vector<std::string>{"-1", "-2"}));
  EXPECT_EQ(*raw.workingIfMap.at("-1"), (AttrMap{{"id", "-1"}, {"ifidx", "1"}, {"typeId", "-1"}}));
  EXPECT_EQ(*raw.workingIfMap.at("-2"), (AttrMap{{"id", "-2"}, {"ifidx", "2"}, {"typeId", "-1"}}));
}

TEST_F(WorkingInterfaces, AdapterUnknownToTheDriverHasNoDriverIdAndCountsAsBitZero) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces><Interface id="4" mac="02:00:00:00:00:01"/></Interfaces>)")),
            0);
  AddAdapter(raw, "02:00:00:00:00:01", "LAN");
  AddDriverInterface(raw, "02:00:00:00:00:02", "5");
  GetInterfaces(raw);
  EXPECT_EQ(raw.workingIfMap.at("4")->count("driverIfconfig.id"), 0u);
  EXPECT_EQ(GetInterfaceMask(raw, {"4"}), "1");
}

TEST_F(WorkingInterfaces, DriverId33SetsTheSameBitAsDriverId1) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces>
  <Interface id="1" mac="02:00:00:00:00:01"/><Interface id="2" mac="02:00:00:00:00:02"/>
</Interfaces>)")),
            0);
  AddAdapter(raw, "02:00:00:00:00:01", "a");
  AddAdapter(raw, "02:00:00:00:00:02", "b");
  AddDriverInterface(raw, "02:00:00:00:00:01", "33");
  AddDriverInterface(raw, "02:00:00:00:00:02", "1");
  GetInterfaces(raw);
  EXPECT_EQ(raw.workingIfMap.at("1")->at("driverIfconfig.id"), "33");
  EXPECT_EQ(GetInterfaceMask(raw, {"1"}), "2");
  EXPECT_EQ(GetInterfaceMask(raw, {"2"}), "2");
  EXPECT_EQ(GetInterfaceMask(raw, {"1", "2"}), "2");
}

TEST_F(WorkingInterfaces, EmptyPlatformMapLeavesTheWorkingMapEmpty) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces><Interface id="1" mac="02:00:00:00:00:01"/></Interfaces>)")),
            0);
  GetInterfaces(raw);
  EXPECT_TRUE(raw.workingIfMap.empty());
}

TEST_F(WorkingInterfaces, PolicyInterfaceNotOnTheMachineIsNotUsed) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces>
  <Interface id="1" mac="02:00:00:00:00:01"/><Interface id="2" mac="02:00:00:00:00:07"/>
</Interfaces>)")),
            0);
  AddAdapter(raw, "02:00:00:00:00:01", "a");
  GetInterfaces(raw);
  EXPECT_EQ(Keys(raw.workingIfMap), std::vector<std::string>{"1"});
}

TEST_F(WorkingInterfaces, PolicyMacInUpperCaseMatchesTheAdapter) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces><Interface id="1" mac="AA:BB:CC:DD:EE:FF"/></Interfaces>)")),
            0);
  AddAdapter(raw, "aa:bb:cc:dd:ee:ff", "a");
  GetInterfaces(raw);
  EXPECT_EQ(Keys(raw.workingIfMap), std::vector<std::string>{"1"});
}

TEST_F(WorkingInterfaces, TwoPolicyInterfacesWithOneIdKeepTheFirstAdapterInMacOrder) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces>
  <Interface id="7" mac="02:00:00:00:00:09" name="late"/><Interface id="7" mac="02:00:00:00:00:01" name="early"/>
</Interfaces>)")),
            0);
  AddAdapter(raw, "02:00:00:00:00:09", "b");
  AddAdapter(raw, "02:00:00:00:00:01", "a");
  GetInterfaces(raw);
  ASSERT_EQ(Keys(raw.workingIfMap), std::vector<std::string>{"7"});
  EXPECT_EQ(raw.workingIfMap.at("7")->at("name"), "early");
  EXPECT_EQ(raw.workingIfMap.at("7")->at("ifidx"), "1");
}

TEST_F(WorkingInterfaces, PolicyInterfaceWithoutIdIsDroppedAndStillCountsInIfidx) {
  s_Settings.DebugLevel = 0;  // loading the policy logs nothing
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(R"(<Interfaces><Interface mac="02:00:00:00:00:01" name="noid"/></Interfaces>)")),
            0);
  AddAdapter(raw, "02:00:00:00:00:01", "a");
  AddAdapter(raw, "02:00:00:00:00:02", "b");
  s_Settings.DebugLevel = 1;
  GetInterfaces(raw);
  EXPECT_EQ(Keys(raw.workingIfMap), std::vector<std::string>{"-1"});
  EXPECT_EQ(raw.workingIfMap.at("-1")->at("ifidx"), "2");
  EXPECT_EQ(LogMessages(), std::vector<std::string>{"cannot find id attribute"});
  EXPECT_EQ(LogFunctions(), std::vector<std::string>{"GetInterfaces"});
}

TEST_F(WorkingInterfaces, EachAdapterIsLoggedWithItsIdsAndEmptyTextsForWhatIsAbsent) {
  s_Settings.DebugLevel = 0;  // loading the policy logs nothing
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument(
                                    R"(<Interfaces><Interface id="12" mac="02:00:00:00:00:01" name="LAN" virtualDeviceKey="vk"/></Interfaces>)")),
            0);
  AddAdapter(raw, "02:00:00:00:00:01", "a");
  AddAdapter(raw, "02:00:00:00:00:02", "b");
  AddDriverInterface(raw, "02:00:00:00:00:01", "3");
  s_Settings.DebugLevel = 4;
  GetInterfaces(raw);
  EXPECT_EQ(LogMessages(), (std::vector<std::string>{
                               "Interface(LAN) MAC(02:00:00:00:00:01) virtual(vk) has MLM ID(12) and driver ID(3)",
                               "MLA Interface is NOT found in config XML",
                               "Interface() MAC() virtual() has MLM ID(-1) and driver ID()",
                           }));
}

}  // namespace
