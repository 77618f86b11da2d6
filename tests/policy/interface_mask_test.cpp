#include "policy/interface_mask.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

void AddInterface(RawConfig& raw, const std::string& id, const char* driverId) {
  auto attrs = std::make_unique<AttrMap>();
  (*attrs)["id"] = id;
  if (driverId != nullptr) (*attrs)["driverIfconfig.id"] = driverId;
  raw.workingIfMap.emplace(id, std::move(attrs));
}

TEST(InterfaceMask, BitOfEachDriverIdInDecimal) {
  RawConfig raw;
  AddInterface(raw, "1", "3");
  AddInterface(raw, "2", "0");
  EXPECT_EQ(GetInterfaceMask(raw, {"1", "2"}), "9");  // bits 3 and 0
}

TEST(InterfaceMask, DriverIdIsTakenModulo32) {
  RawConfig raw;
  AddInterface(raw, "1", "33");
  AddInterface(raw, "2", "31");
  EXPECT_EQ(GetInterfaceMask(raw, {"1", "2"}), "2147483650");  // bits 1 and 31, unsigned
}

TEST(InterfaceMask, MissingDriverIdCountsAsZero) {
  RawConfig raw;
  AddInterface(raw, "4", nullptr);
  EXPECT_EQ(GetInterfaceMask(raw, {"4"}), "1");
}

TEST(InterfaceMask, IdsNotInTheWorkingMapAreSkippedAndAnEmptyMaskIsEmptyText) {
  RawConfig raw;
  AddInterface(raw, "1", "5");
  EXPECT_EQ(GetInterfaceMask(raw, {"0", "7"}), "");
  EXPECT_EQ(GetInterfaceMask(raw, {}), "");
}

TEST(InterfaceMask, BadDriverIdFailsTheTranslation) {
  RawConfig raw;
  AddInterface(raw, "1", "x5");
  AddInterface(raw, "2", "2");
  EXPECT_EQ(GetInterfaceMask(raw, {"1", "2"}), "5");  // the bad one as 0, bit 2 from the other
  EXPECT_TRUE(raw.badNumber);
}

TEST(InterfaceMask, StrictRuleTakesTheLeadingNumber) {
  RawConfig raw;
  AddInterface(raw, "1", " 4abc");
  EXPECT_EQ(GetInterfaceMask(raw, {"1"}), "16");
  EXPECT_FALSE(raw.badNumber);
}

}  // namespace
