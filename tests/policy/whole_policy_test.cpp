// A manager policy that uses the whole vocabulary, translated on a machine
// of three adapters, against its agent document written out by hand.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "policy/agent_config_document.h"
#include "policy/driver_interfaces.h"
#include "policy/platform_interfaces.h"
#include "policy_test_support.h"
#include "util/wide_path_file.h"

namespace {

using namespace std::string_literals;

PlatformAdapter Ethernet(const std::string& address, const std::string& name, const std::string& ip) {
  PlatformAdapter adapter = EthernetAdapter(address, name);
  adapter.unicastAddresses = {ip};
  return adapter;
}

class WholePolicy : public PolicyTest {
 protected:
  void SetUp() override {
    PolicyTest::SetUp();
    output_ = std::string(testing::TempDir()) + "zent_whole_policy_out.xml";
    std::remove(output_.c_str());
    s_Settings.s_bConfigEncrypt = false;
  }
  void TearDown() override {
    std::remove(output_.c_str());
    s_Settings.s_bConfigEncrypt = true;
    PolicyTest::TearDown();
  }
  std::string output_;
};

// The machine: LAN (...:01) is driver interface 1 and WAN (...:02) driver
// interface 3; the third adapter (...:03) is unknown to the manager and to
// the driver, so it becomes interface "-1" of type "-1" and counts as bit 0.
TEST_F(WholePolicy, ClearDocumentIsTheOneWrittenByHand) {
  RawConfig rawConfig;
  GetDriverInterfaces(rawConfig.driverIfByMACMap, {{1, "\x00\x0c\x29\xaa\xbb\x01"s, "LAN"},
                                                   {3, "\x00\x0c\x29\xaa\xbb\x02"s, "WAN"}});
  GetPlatformInterfaces(rawConfig.platformIfByMACMap,
                        {Ethernet("\x00\x0c\x29\xaa\xbb\x03"s, "Spare", "10.1.0.1"),
                         Ethernet("\x00\x0c\x29\xaa\xbb\x01"s, "LAN", "10.0.0.5"),
                         Ethernet("\x00\x0c\x29\xaa\xbb\x02"s, "WAN", "192.168.1.9")},
                        {});
  ASSERT_EQ(ParseRawConfigXml(rawConfig, WidePathFromUtf8(ZENT_POLICY_DATA "whole_policy.xml"),
                              WidePathFromUtf8(output_)),
            0);
  EXPECT_EQ(ReadFileBytes(output_), ReadFileBytes(ZENT_POLICY_DATA "whole_policy_expected.xml"));
}

}  // namespace
