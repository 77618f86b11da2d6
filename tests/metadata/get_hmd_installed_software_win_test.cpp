// The installed software family's Windows half under Wine, over subkeys the
// test adds to the machine's uninstall key beside whatever the prefix holds:
// the values read through utilRegKey, as the handler reads them.
#include <tinyxml2.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "metadata/get_hmd_installed_software.h"
#include "util/captured_log.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Objects = std::vector<std::pair<std::string, Pairs>>;
using Texts = std::vector<std::pair<std::wstring, std::pair<DWORD, std::wstring>>>;
using Numbers = std::vector<std::pair<std::wstring, std::pair<DWORD, DWORD>>>;

const std::string kUninstall = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

class InstalledSoftwareWin : public ::testing::Test {
 protected:
  void SetUp() override { prefix_ = "ZentWinTest" + std::to_string(GetCurrentProcessId()); }
  void TearDown() override {
    for (const std::string& name : made_) RegDeleteTreeA(HKEY_LOCAL_MACHINE, (kUninstall + name).c_str());
  }

  // A subkey of the uninstall key named prefix_ + suffix, holding the values.
  void Make(const std::string& suffix, const Texts& texts, const Numbers& numbers) {
    std::string name = prefix_ + suffix;
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, (kUninstall + name).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              &key, nullptr),
              ERROR_SUCCESS);
    made_.push_back(name);
    for (const auto& [valueName, typed] : texts) {
      const std::wstring& text = typed.second;
      ASSERT_EQ(RegSetValueExW(key, valueName.c_str(), 0, typed.first, reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
                ERROR_SUCCESS);
    }
    for (const auto& [valueName, typed] : numbers) {
      ASSERT_EQ(RegSetValueExW(key, valueName.c_str(), 0, typed.first, reinterpret_cast<const BYTE*>(&typed.second),
                               sizeof(DWORD)),
                ERROR_SUCCESS);
    }
    RegCloseKey(key);
  }

  // The handler's objects whose identifier starts with prefix_.
  Objects Ours() {
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
    document.InsertEndChild(results);
    EXPECT_TRUE(GetHmdInstalledSoftware(document, results, "s"));
    const tinyxml2::XMLElement* result = results->FirstChildElement("HostMetaDataQueryResult");
    EXPECT_STREQ(result->Attribute("commandVersion"), "2");
    EXPECT_NE(result->Attribute("hash"), nullptr);
    Objects objects;
    for (const tinyxml2::XMLElement* object = result->FirstChildElement("HostMetaDatas")->FirstChildElement(); object;
         object = object->NextSiblingElement()) {
      std::string identifier = object->Attribute("identifier");
      if (identifier.rfind(prefix_, 0) != 0) continue;
      Pairs attributes;
      for (const tinyxml2::XMLElement* a = object->FirstChildElement("Attributes")->FirstChildElement(); a;
           a = a->NextSiblingElement()) {
        attributes.emplace_back(a->Attribute("name"), a->Attribute("value"));
      }
      objects.emplace_back(identifier, attributes);
    }
    return objects;
  }

  std::string prefix_;
  std::vector<std::string> made_;
};

TEST_F(InstalledSoftwareWin, ValuesAreReadAsUtilRegKeyReadsThem) {
  CapturedLog log(3);
  Make("B",
       {{L"DisplayName", {REG_SZ, L"Probe B"}},
        {L"UninstallString", {REG_SZ, L"u.exe"}},
        {L"InstallLocation", {REG_EXPAND_SZ, L"%SystemRoot%\\probe"}}},
       {{L"VersionMajor", {REG_DWORD, 7}}, {L"EstimatedSize", {REG_DWORD, 3}}});
  // A DWORD DisplayVersion reads as text: its four bytes taken as UTF-16,
  // here 31 00 33 00, "13"; the numbers after it are not asked.
  Make("A", {{L"DisplayName", {REG_SZ, L"Probe A"}}, {L"UninstallString", {REG_SZ, L"u.exe"}}},
       {{L"DisplayVersion", {REG_DWORD, 0x00330031}}, {L"VersionMajor", {REG_DWORD, 9}}});
  Make("Hidden", {{L"DisplayName", {REG_SZ, L"Hidden"}}, {L"UninstallString", {REG_SZ, L"u.exe"}}},
       {{L"SystemComponent", {REG_DWORD, 0}}});
  Objects expected = {
      {prefix_ + "A", {{"name", "Probe A"}, {"version", "13"}}},
      {prefix_ + "B",
       {{"name", "Probe B"}, {"version", "7"}, {"installLocation", "C:\\windows\\probe"}, {"size", "3072"}}},
  };
  EXPECT_EQ(Ours(), expected);
  // The DWORD read as text says so; the only other line a prefix may give is
  // the 32-bit programs' key missing, which counts as empty.
  std::vector<std::string> messages = LogMessages(log.Text());
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages[0], "QueryValue: Type mismatch in utilRegKey::QueryValue().");
  for (size_t i = 1; i < messages.size(); ++i) {
    EXPECT_EQ(messages[i],
              "Open: Can't open registry key "
              "'HKEY_LOCAL_MACHINE\\Software\\WOW6432node\\Microsoft\\Windows\\CurrentVersion\\Uninstall', err=2");
  }
  EXPECT_LE(messages.size(), 2u);
}

}  // namespace
