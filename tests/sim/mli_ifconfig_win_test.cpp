// The driver stand-in's interface list: 2 bytes of count, then entries of
// 276 bytes (id, 8 MAC bytes, MAC length, 260 bytes of UTF-16 name).
#include "platform/mli.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;

class MliIfconfig : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(handle, nullptr); }
  void TearDown() override { mli_close(handle); }

  std::vector<unsigned char> Call(int expected = 0) {
    std::vector<unsigned char> buffer(4 + 32 * 276, 0xEE);
    EXPECT_EQ(mli_ifconfig(handle, buffer.data()), expected);
    return buffer;
  }
  static uint32_t U32(const unsigned char* at) {
    uint32_t value;
    std::memcpy(&value, at, 4);
    return value;
  }

  SimScope scope;
  StandInKey mli = scope.Key(L"mli");
  MLI_HANDLE handle = mli_open();
};

TEST_F(MliIfconfig, NoInterfacesGivesACountOfZero) {
  std::vector<unsigned char> buffer = Call();
  EXPECT_EQ(buffer[0], 0);
  EXPECT_EQ(buffer[1], 0);
}

TEST_F(MliIfconfig, EntriesCarryIdMacAndUtf16Name) {
  mli.Set(L"Interfaces", std::wstring(L"3 00:0c:29:AA:bb:cc Ethernet0\n17 02:00:4c:4f:4f:50 Loopback \u00e9\n"));
  std::vector<unsigned char> buffer = Call();
  EXPECT_EQ(buffer[0] | buffer[1] << 8, 2);
  const unsigned char* first = buffer.data() + 4;
  EXPECT_EQ(U32(first), 3u);
  const unsigned char mac[8] = {0x00, 0x0c, 0x29, 0xaa, 0xbb, 0xcc, 0, 0};
  EXPECT_EQ(std::memcmp(first + 4, mac, 8), 0);
  EXPECT_EQ(U32(first + 12), 6u);
  EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(first + 16)), L"Ethernet0");
  const unsigned char* second = first + 276;
  EXPECT_EQ(U32(second), 17u);
  EXPECT_EQ(std::wstring(reinterpret_cast<const wchar_t*>(second + 16)), L"Loopback \u00e9");
}

TEST_F(MliIfconfig, AtMostThirtyTwoEntries) {
  std::wstring lines;
  for (int i = 0; i < 40; ++i) lines += std::to_wstring(i) + L" 02:00:00:00:00:" + std::to_wstring(10 + i) + L" if\n";
  mli.Set(L"Interfaces", lines);
  std::vector<unsigned char> buffer = Call();
  EXPECT_EQ(buffer[0] | buffer[1] << 8, 32);
}

TEST_F(MliIfconfig, KnobMakesTheCallFailWithItsText) {
  mli.Set(L"IfconfigFails", 5);
  Call(5);
  char text[128] = {};
  mli_get_error(handle, text, sizeof text);
  EXPECT_STREQ(text, "interface list refused by driver");
}

}  // namespace
