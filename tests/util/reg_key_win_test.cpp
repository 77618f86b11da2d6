// utilRegKey against the registry of the Wine prefix, under a key of its own.
#include "util/reg_key_win.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class RegistryKey : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = "SOFTWARE\\ZentTests\\RegKey" + std::to_string(GetCurrentProcessId());
    HKEY key;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  void TearDown() override { RegDeleteTreeA(HKEY_CURRENT_USER, path_.c_str()); }
  std::string Name() { return "HKEY_CURRENT_USER\\" + path_; }
  // A value written as it stands, type and bytes, behind utilRegKey's back.
  void SetRaw(const wchar_t* value, DWORD type, const void* data, DWORD size) {
    HKEY key;
    RegOpenKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, KEY_ALL_ACCESS, &key);
    RegSetValueExW(key, value, 0, type, static_cast<const BYTE*>(data), size);
    RegCloseKey(key);
  }
  std::string path_;
};

TEST_F(RegistryKey, NameOfTheKeyForLogLines) {
  utilRegKey key("hkcu\\Software\\");
  EXPECT_EQ(key.GetStdKeyFromHkey(), "HKEY_CURRENT_USER\\Software");
  EXPECT_EQ(key.subKey(), "Software");
}

TEST_F(RegistryKey, TextRoundTripInUtf8) {
  utilRegKey key(Name());
  ASSERT_TRUE(key.SetValue("Path", "C:\\Z\xC3\xBCrich\\agent"));
  std::string text;
  ASSERT_TRUE(key.QueryValue("Path", text, false));
  EXPECT_EQ(text, "C:\\Z\xC3\xBCrich\\agent");
  EXPECT_EQ(key.GetValueType("Path"), static_cast<DWORD>(REG_SZ));
}

TEST_F(RegistryKey, DwordRoundTrip) {
  utilRegKey key(Name());
  DWORD in = 0xCAFE;
  ASSERT_TRUE(key.SetDWordValue("DriverStatus", &in));
  DWORD out = 0;
  ASSERT_TRUE(key.QueryValue("DriverStatus", &out));
  EXPECT_EQ(out, 0xCAFEu);
}

TEST_F(RegistryKey, ReadThenWriteReopensForWritingButWriteThenReadDoesNot) {
  utilRegKey key(Name());
  std::string text;
  key.ValueExists("none");
  EXPECT_EQ(key.openMode(), 0);
  ASSERT_TRUE(key.SetValue("a", "1"));
  EXPECT_EQ(key.openMode(), 1);
  ASSERT_TRUE(key.QueryValue("a", text, false));
  EXPECT_EQ(key.openMode(), 1);
}

TEST_F(RegistryKey, ExpandStringIsExpandedUnlessRaw) {
  SetEnvironmentVariableW(L"ZENT_TEST_DIR", L"C:\\zt");
  const wchar_t value[] = L"%ZENT_TEST_DIR%\\x";
  SetRaw(L"Exp", REG_EXPAND_SZ, value, sizeof value);
  utilRegKey key(Name());
  std::string text;
  ASSERT_TRUE(key.QueryValue("Exp", text, false));
  EXPECT_EQ(text, "C:\\zt\\x");
  ASSERT_TRUE(key.QueryValue("Exp", text, true));
  EXPECT_EQ(text, "%ZENT_TEST_DIR%\\x");
}

TEST_F(RegistryKey, EmptyTextOfSizeZeroIsEmptyAndTrue) {
  SetRaw(L"Empty", REG_SZ, L"", 0);
  utilRegKey key(Name());
  std::string text = "stale";
  ASSERT_TRUE(key.QueryValue("Empty", text, false));
  EXPECT_EQ(text, "");
}

TEST_F(RegistryKey, MultiStringKeepsItsInnerZeros) {
  const wchar_t value[] = L"one\0two\0";  // ends in two zero units with the literal's own
  SetRaw(L"Multi", REG_MULTI_SZ, value, sizeof value);
  utilRegKey key(Name());
  std::string text;
  ASSERT_TRUE(key.QueryValue("Multi", text, false));
  EXPECT_EQ(text, std::string("one\0two\0", 8));
}

TEST_F(RegistryKey, TextQueryOfADwordHandsOverItsBytes) {
  DWORD number = 0x00420041;  // the units 'A' and 'B'
  SetRaw(L"Number", REG_DWORD, &number, sizeof number);
  utilRegKey key(Name());
  std::string text;
  EXPECT_TRUE(key.QueryValue("Number", text, false));
  EXPECT_EQ(text, "AB");
}

TEST_F(RegistryKey, MissingValueIsFalse) {
  utilRegKey key(Name());
  std::string text;
  EXPECT_FALSE(key.QueryValue("absent", text, false));
  EXPECT_EQ(key.lastError, ERROR_FILE_NOT_FOUND);
  EXPECT_FALSE(key.ValueExists("absent"));
}

TEST_F(RegistryKey, DeleteValue) {
  utilRegKey key(Name());
  ASSERT_TRUE(key.SetValue("gone", "x"));
  EXPECT_TRUE(key.DeleteValue("gone"));
  EXPECT_FALSE(key.ValueExists("gone"));
  EXPECT_FALSE(key.DeleteValue("gone"));
}

TEST_F(RegistryKey, KeyExists) {
  EXPECT_TRUE(utilRegKey(Name()).KeyExists());
  EXPECT_FALSE(utilRegKey(Name() + "\\absent").KeyExists());
  // An empty path is false even for an existing root.
  EXPECT_FALSE(utilRegKey("HKEY_CURRENT_USER\\").KeyExists());
}

TEST_F(RegistryKey, EnumerationEndsWithAllOnesAndStaysThere) {
  HKEY k;
  RegCreateKeyExA(HKEY_CURRENT_USER, (path_ + "\\child").c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &k, nullptr);
  RegCloseKey(k);
  utilRegKey key(Name());
  ASSERT_TRUE(key.Open(0));
  std::string name;
  DWORD index = 0;
  ASSERT_TRUE(key.GetNextKey(name, index));
  EXPECT_EQ(name, "child");
  EXPECT_EQ(index, 1u);
  EXPECT_FALSE(key.GetNextKey(name, index));
  EXPECT_EQ(index, 0xFFFFFFFFu);
  EXPECT_EQ(key.lastError, 0);
  EXPECT_FALSE(key.GetNextKey(name, index));
}

TEST_F(RegistryKey, ValueEnumeration) {
  utilRegKey key(Name());
  ASSERT_TRUE(key.SetValue("v1", "x"));
  std::string name;
  DWORD index = 0;
  ASSERT_TRUE(key.GetNextValue(name, index));
  EXPECT_EQ(name, "v1");
  EXPECT_FALSE(key.GetNextValue(name, index));
  EXPECT_EQ(index, 0xFFFFFFFFu);
}

TEST_F(RegistryKey, SetRegWithCreateMakesTheKeyUnderLocalMachine) {
  std::string sub = "SOFTWARE\\ZentTests\\Create" + std::to_string(GetCurrentProcessId());
  utilRegKey key("HKLM\\" + sub);
  DWORD value = 3;
  ASSERT_TRUE(key.SetRegWithCreate("ConfigBinStatus", &value));
  DWORD read = 0, size = sizeof read;
  EXPECT_EQ(RegGetValueA(HKEY_LOCAL_MACHINE, sub.c_str(), "ConfigBinStatus", RRF_RT_REG_DWORD, nullptr, &read, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(read, 3u);
  RegDeleteTreeA(HKEY_LOCAL_MACHINE, sub.c_str());
}

TEST(RegistryView, OnlyViewTwoAddsTheSixtyFourBitFlag) {
  EXPECT_EQ(GetMSWViewFlags(0), 0u);
  EXPECT_EQ(GetMSWViewFlags(1), 0u);
  EXPECT_EQ(GetMSWViewFlags(2), static_cast<REGSAM>(KEY_WOW64_64KEY));
  EXPECT_EQ(GetMSWViewFlags(3), 0u);
}

}  // namespace
