// The registry query families called as the engine calls them, against keys
// the test makes under HKEY_CURRENT_USER: what each returns and what it
// leaves in the document.
#include <openssl/sha.h>
#include <tinyxml2.h>
#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "metadata/get_hmd_registry_key.h"
#include "metadata/get_hmd_registry_value.h"
#include "util/captured_log.h"

namespace {

// The hash attribute of a result whose digest input is these bytes.
std::string Digest(const std::string& bytes) {
  unsigned char sum[SHA_DIGEST_LENGTH];
  SHA1(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), sum);
  std::string text;
  const char* digits = "0123456789ABCDEF";
  for (unsigned char b : sum) {
    text += digits[b >> 4];
    text += digits[b & 15];
    text += ':';
  }
  text.pop_back();
  return text;
}

class RegistryQueries : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = "Software\\ZentTests\\RegQuery" + std::to_string(GetCurrentProcessId());
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_,
                              nullptr),
              ERROR_SUCCESS);
    results_ = document_.NewElement("HostMetaDataQueryResults");
    document_.InsertEndChild(results_);
  }
  void TearDown() override {
    RegCloseKey(key_);
    RegDeleteTreeA(HKEY_CURRENT_USER, path_.c_str());
  }
  void Set(const wchar_t* name, DWORD type, const void* data, DWORD size) {
    ASSERT_EQ(RegSetValueExW(key_, name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
  }
  std::string KeyPath() const { return "HKCU\\" + path_; }
  std::string Printed() {
    tinyxml2::XMLPrinter printer;
    document_.Print(&printer);
    return printer.CStr();
  }

  std::string path_;
  HKEY key_ = nullptr;
  tinyxml2::XMLDocument document_;
  tinyxml2::XMLElement* results_ = nullptr;
};

TEST_F(RegistryQueries, ValueOfEachKindIsOneObjectWithItsHash) {
  const wchar_t text[] = L"one";
  Set(L"S", REG_SZ, text, sizeof text);
  ASSERT_TRUE(GetHmdRegistryValue(document_, results_, "7", KeyPath(), "S"));
  std::string identifier = KeyPath() + "\\S";
  EXPECT_EQ(Printed(), "<HostMetaDataQueryResults>\n"
                       "    <HostMetaDataQueryResult commandVersion=\"1\" id=\"7\" hashAlg=\"SHA1\" hash=\"" +
                           Digest("registryValue" + identifier + "type1valueone") +
                           "\">\n"
                           "        <HostMetaDatas>\n"
                           "            <HostMetaData type=\"registryValue\" identifier=\"" +
                           identifier +
                           "\">\n"
                           "                <Attributes>\n"
                           "                    <Attribute name=\"type\" value=\"1\"/>\n"
                           "                    <Attribute name=\"value\" value=\"one\"/>\n"
                           "                </Attributes>\n"
                           "            </HostMetaData>\n"
                           "        </HostMetaDatas>\n"
                           "    </HostMetaDataQueryResult>\n"
                           "</HostMetaDataQueryResults>\n");
}

TEST_F(RegistryQueries, AbsentValueIsUnderstoodWithoutResult) {
  EXPECT_TRUE(GetHmdRegistryValue(document_, results_, "1", KeyPath(), "Absent"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
}

TEST_F(RegistryQueries, AbsentDefaultValueIsUnderstoodWithoutResult) {
  EXPECT_TRUE(GetHmdRegistryValue(document_, results_, "1", KeyPath(), "@"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
}

TEST_F(RegistryQueries, AbsentKeyFailsWithoutResultAndIsLogged) {
  CapturedLog log(1);
  EXPECT_FALSE(GetHmdRegistryValue(document_, results_, "1", KeyPath() + "\\None", "S"));
  EXPECT_FALSE(GetHmdRegistryKey(document_, results_, "2", KeyPath() + "\\None"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
  std::string line = "Open: Can't open registry key 'HKEY_CURRENT_USER\\" + path_ + "\\None', err=2";
  EXPECT_EQ(LogMessages(log.Text()), (std::vector<std::string>{line, line}));
}

TEST_F(RegistryQueries, RootWithEmptyPathFailsWithoutResultOrLog) {
  CapturedLog log(1);
  EXPECT_FALSE(GetHmdRegistryKey(document_, results_, "1", "HKCU\\"));
  EXPECT_FALSE(GetHmdRegistryValue(document_, results_, "2", "HKCU\\", "x"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(RegistryQueries, KeyPathThatIsNotUtf8FailsAndIsLogged) {
  CapturedLog log(1);
  EXPECT_FALSE(GetHmdRegistryKey(document_, results_, "1", "HKCU\\Software\\\xff"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
  EXPECT_EQ(LogMessages(log.Text()),
            (std::vector<std::string>{"OpenQueriedRegistryKey: Can't open registry key 'HKCU\\Software\\\xff', err=1113"}));
}

TEST_F(RegistryQueries, ValueNameThatIsNotUtf8FailsAndIsLogged) {
  CapturedLog log(1);
  EXPECT_FALSE(GetHmdRegistryValue(document_, results_, "1", KeyPath(), "\xc3"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
  EXPECT_EQ(LogMessages(log.Text()),
            (std::vector<std::string>{"GetHmdRegistryValue: Can't read value of '" + KeyPath() + "\\\xc3', err=1113"}));
}

TEST_F(RegistryQueries, PerformanceAndDynamicDataRootsAreRefused) {
  CapturedLog log(1);
  EXPECT_FALSE(GetHmdRegistryKey(document_, results_, "1", "HKPD\\Global"));
  EXPECT_FALSE(GetHmdRegistryKey(document_, results_, "2", "hkdd\\Config Manager"));
  EXPECT_EQ(results_->FirstChildElement(), nullptr);
  EXPECT_EQ(LogMessages(log.Text()),
            (std::vector<std::string>{
                "OpenQueriedRegistryKey: Can't open registry key 'HKEY_PERFORMANCE_DATA\\Global', err=1010",
                "OpenQueriedRegistryKey: Can't open registry key 'HKEY_DYN_DATA\\Config Manager', err=1010"}));
}

TEST_F(RegistryQueries, KeyThatOpensIsReportedEvenEmpty) {
  ASSERT_TRUE(GetHmdRegistryKey(document_, results_, "k", KeyPath()));
  tinyxml2::XMLElement* object =
      results_->FirstChildElement("HostMetaDataQueryResult")->FirstChildElement("HostMetaDatas")->FirstChildElement();
  ASSERT_NE(object, nullptr);
  EXPECT_STREQ(object->Attribute("identifier"), KeyPath().c_str());
  EXPECT_EQ(object->FirstChildElement("Attributes")->FirstChildElement(), nullptr);
  EXPECT_STREQ(results_->FirstChildElement()->Attribute("hash"), Digest("registryKey" + KeyPath()).c_str());
}

TEST_F(RegistryQueries, ShortDwordIsZeroExtendedAndLongDwordHasOnlyItsType) {
  const unsigned char shortData[] = {0xff};
  const unsigned char longData[] = {1, 0, 0, 0, 0};
  Set(L"Short", REG_DWORD, shortData, sizeof shortData);
  Set(L"Long", REG_DWORD, longData, sizeof longData);
  ASSERT_TRUE(GetHmdRegistryValue(document_, results_, "1", KeyPath(), "Short"));
  ASSERT_TRUE(GetHmdRegistryValue(document_, results_, "2", KeyPath(), "Long"));
  tinyxml2::XMLElement* first = results_->FirstChildElement()->FirstChildElement()->FirstChildElement()
                                    ->FirstChildElement("Attributes")->FirstChildElement();
  EXPECT_STREQ(first->NextSiblingElement()->Attribute("value"), "255");
  tinyxml2::XMLElement* second = results_->LastChildElement()->FirstChildElement()->FirstChildElement()
                                     ->FirstChildElement("Attributes")->FirstChildElement();
  EXPECT_STREQ(second->Attribute("value"), "4");
  EXPECT_EQ(second->NextSiblingElement(), nullptr);
}

}  // namespace
