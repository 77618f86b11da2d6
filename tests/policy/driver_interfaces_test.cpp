// The driver's interfaces: mli_ifconfig's buffer, and driverIfByMACMap.
#include "policy/driver_interfaces.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

// A buffer as mli_ifconfig fills it: 2-byte count, then 276-byte entries.
struct IfconfigBuffer {
  std::vector<unsigned char> bytes = std::vector<unsigned char>(4 + 32 * 276, 0);

  void Add(uint32_t id, const std::vector<unsigned char>& mac, const std::u16string& name, uint32_t macLength) {
    size_t count = bytes[0] | bytes[1] << 8;
    unsigned char* entry = bytes.data() + 4 + count * 276;
    std::memcpy(entry, &id, 4);
    std::memcpy(entry + 4, mac.data(), mac.size());
    std::memcpy(entry + 12, &macLength, 4);
    for (size_t i = 0; i < name.size(); ++i) {
      entry[16 + 2 * i] = static_cast<unsigned char>(name[i] & 0xFF);
      entry[16 + 2 * i + 1] = static_cast<unsigned char>(name[i] >> 8);
    }
    ++count;
    bytes[0] = static_cast<unsigned char>(count & 0xFF);
    bytes[1] = static_cast<unsigned char>(count >> 8);
  }
};

TEST(IfconfigBuffer, EntriesCarryIdMacBytesInUseAndName) {
  IfconfigBuffer buffer;
  buffer.Add(3, {0x00, 0x0c, 0x29, 0xaa, 0xbb, 0xcc, 0x11, 0x22}, u"Ethernet0", 6);
  buffer.Add(70000, {0x02, 0x00}, u"Wi-Fi \u00e9", 2);
  std::vector<IfconfigEntry> entries = ReadIfconfigBuffer(buffer.bytes.data());
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].id, 3u);
  EXPECT_EQ(entries[0].address, std::string("\x00\x0c\x29\xaa\xbb\xcc", 6));
  EXPECT_EQ(entries[0].name, u"Ethernet0");
  EXPECT_EQ(entries[1].id, 70000u);
  EXPECT_EQ(entries[1].address, std::string("\x02\x00", 2));
  EXPECT_EQ(entries[1].name, u"Wi-Fi \u00e9");
}

TEST(IfconfigBuffer, CountOfZeroGivesNoEntry) {
  IfconfigBuffer buffer;
  EXPECT_TRUE(ReadIfconfigBuffer(buffer.bytes.data()).empty());
}

TEST(IfconfigBuffer, MacLengthAboveEightTakesTheEightBytes) {
  IfconfigBuffer buffer;
  buffer.Add(1, {1, 2, 3, 4, 5, 6, 7, 8}, u"x", 4000);
  std::vector<IfconfigEntry> entries = ReadIfconfigBuffer(buffer.bytes.data());
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].address, std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8));
}

TEST(IfconfigBuffer, CountBeyondTheRoomReadsThirtyTwoEntries) {
  IfconfigBuffer buffer;
  buffer.bytes[0] = 0xFF;
  buffer.bytes[1] = 0xFF;
  EXPECT_EQ(ReadIfconfigBuffer(buffer.bytes.data()).size(), 32u);
}

TEST(IfconfigBuffer, NameFillingItsFieldEndsAtTheFieldEnd) {
  IfconfigBuffer buffer;
  buffer.Add(1, {1}, std::u16string(130, u'n'), 1);
  buffer.Add(2, {2}, u"next", 1);
  std::vector<IfconfigEntry> entries = ReadIfconfigBuffer(buffer.bytes.data());
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].name, std::u16string(130, u'n'));
  EXPECT_EQ(entries[1].name, u"next");
}

TEST(DriverInterfaces, EntryHasNameMacAndDecimalIdUnderItsMac) {
  AttrMapIndex map;
  GetDriverInterfaces(map, {{7, std::string("\x00\x0C\x29\xAA\xBB\xCC", 6), "Ethernet0"}});
  ASSERT_EQ(map.size(), 1u);
  const AttrMap& attrs = *map.at("00:0c:29:aa:bb:cc");
  EXPECT_EQ(attrs, (AttrMap{{"id", "7"}, {"mac", "00:0c:29:aa:bb:cc"}, {"name", "Ethernet0"}}));
}

TEST(DriverInterfaces, FirstOfTwoEntriesWithOneMacStands) {
  AttrMapIndex map;
  GetDriverInterfaces(map, {{1, "\x02\x01", "first"}, {2, "\x02\x01", "second"}});
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at("02:01")->at("id"), "1");
  EXPECT_EQ(map.at("02:01")->at("name"), "first");
}

}  // namespace
