// mli.dll's stand-in, linked as the agent links it.
#include "pe_file.h"
#include "platform/mli.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <set>
#include <string>

namespace {

using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;

class Mli : public ::testing::Test {
 protected:
  SimScope scope;
  StandInKey mli = scope.Key(L"mli");
};

// The calls on a channel the engine holds open.
class MliChannel : public Mli {
 protected:
  void SetUp() override { ASSERT_NE(handle, nullptr); }
  void TearDown() override { mli_close(handle); }

  std::string Error() {
    char text[128] = "unchanged";
    EXPECT_EQ(mli_get_error(handle, text, sizeof text), 0);
    return text;
  }

  MLI_HANDLE handle = mli_open();
};

TEST_F(Mli, ExportsExactlyTheTenDriverCalls) {
  std::set<std::string> expected = {
      "mli_open",        "mli_close",   "mli_get_version", "mli_register_event",
      "mli_get_error",   "mli_ifconfig", "mli_load_config", "mli_clear_config",
      "mli_get_log",     "mli_flush_logs"};
  EXPECT_EQ(zentsim::testing::ExportedNames(GetModuleHandleW(L"mli.dll")), expected);
}

TEST_F(Mli, OpenGivesAHandleAndCountsIt) {
  MLI_HANDLE handle = mli_open();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(mli.Dword(L"Opened"), 1u);
  EXPECT_EQ(mli_close(handle), 0);
}

TEST_F(Mli, OpenFailsKnobGivesNoHandle) {
  mli.Set(L"OpenFails", 1);
  EXPECT_EQ(mli_open(), nullptr);
  EXPECT_EQ(mli.Dword(L"Opened"), std::nullopt);
}

TEST_F(Mli, CloseCountsAndEndsTheHandle) {
  MLI_HANDLE handle = mli_open();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(mli_close(handle), 0);
  EXPECT_EQ(mli.Dword(L"Closed"), 1u);
  EXPECT_EQ(mli_close(handle), ERROR_INVALID_HANDLE);
  EXPECT_EQ(mli.Dword(L"Closed"), 1u);
  EXPECT_EQ(mli.Dword(L"BadHandleCalls"), 1u);
}

TEST_F(MliChannel, VersionIsTheDefaultDriversWithoutKnob) {
  char version[32] = {};
  EXPECT_EQ(mli_get_version(handle, version, sizeof version), 0);
  EXPECT_STREQ(version, "5.1.0.12");
}

TEST_F(MliChannel, VersionKnobNamesTheRunningDriver) {
  mli.Set(L"Version", L"6.2.0.7");
  char version[32] = {};
  EXPECT_EQ(mli_get_version(handle, version, sizeof version), 0);
  EXPECT_STREQ(version, "6.2.0.7");
}

TEST_F(MliChannel, VersionRefusesABufferWithoutRoomForTheZero) {
  char version[8] = {};
  EXPECT_NE(mli_get_version(handle, version, sizeof version), 0);
  EXPECT_EQ(Error(), "version buffer too small");
}

TEST_F(MliChannel, ErrorIsEmptyBeforeAnyFailure) { EXPECT_EQ(Error(), ""); }

TEST_F(MliChannel, RegisterEventCountsEachRegistration) {
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(mli_register_event(handle, 0, stop), 0);
  EXPECT_EQ(mli.Dword(L"EventsRegistered"), 1u);
  CloseHandle(stop);
}

TEST_F(MliChannel, RegisterEventFailsKnobIsTheResultWithItsText) {
  mli.Set(L"RegisterEventFails", 31);
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  EXPECT_EQ(mli_register_event(handle, 0, stop), 31);
  EXPECT_EQ(Error(), "register event refused by driver");
  EXPECT_EQ(mli.Dword(L"EventsRegistered"), std::nullopt);
  CloseHandle(stop);
}

TEST_F(MliChannel, ErrorTextIsCutToTheBuffer) {
  mli.Set(L"RegisterEventFails", 1);
  mli_register_event(handle, 0, nullptr);
  char text[9] = "xxxxxxxx";
  EXPECT_EQ(mli_get_error(handle, text, sizeof text), 0);
  EXPECT_STREQ(text, "register");
}

}  // namespace
