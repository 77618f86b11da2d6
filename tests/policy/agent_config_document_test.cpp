// The agent configuration document as a whole: its sections' order, the
// two refusals, and the file in clear and encrypted.
#include "policy/agent_config_document.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>

#include "policy_test_support.h"
#include "util/cred_machine_decrypt.h"
#include "util/wide_path_file.h"

namespace {

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
}

class AgentConfigDocument : public PolicyTest {
 protected:
  void SetUp() override {
    PolicyTest::SetUp();
    input_ = std::string(testing::TempDir()) + "zent_policy_in.xml";
    output_ = std::string(testing::TempDir()) + "zent_config_out.xml";
    std::remove(output_.c_str());
    s_Settings.s_bConfigEncrypt = false;
  }
  void TearDown() override {
    std::remove(input_.c_str());
    std::remove(output_.c_str());
    s_Settings.s_bConfigEncrypt = true;
    PolicyTest::TearDown();
  }
  int Translate(const std::string& body) {
    WriteBytes(input_, PolicyDocument(body));
    RawConfig rawConfig;
    return ParseRawConfigXml(rawConfig, WidePathFromUtf8(input_), WidePathFromUtf8(output_));
  }
  std::string input_, output_;
};

const char kFirewallOnly[] =
    "<AgentConfiguration><Features><Feature name=\"FW\" state=\"1\"/></Features></AgentConfiguration>";

// The features live in AgentConfiguration, whose presence brings the three
// settings with their default "false".
const char kFirewallOnlyDocument[] =
    "<fset>\n"
    "    <SystemSetting name=\"allowEncryptedDataCollection\" value=\"false\"/>\n"
    "    <SystemSetting name=\"networkDriverGlobalDetectOnlyMode\" value=\"false\"/>\n"
    "    <SystemSetting name=\"vulnerabilityShieldPassiveMode\" value=\"false\"/>\n"
    "    <PacketEngine/>\n"
    "</fset>\n";

TEST_F(AgentConfigDocument, FirewallOnAndNothingElseGivesAnEmptyPacketEngine) {
  ASSERT_EQ(Translate(kFirewallOnly), 0);
  EXPECT_EQ(ReadFileBytes(output_), kFirewallOnlyDocument);
}

TEST_F(AgentConfigDocument, SystemSettingsComeFirstInKeyOrder) {
  ASSERT_EQ(Translate("<AgentConfiguration allowEncryptedDataCollection=\"true\">"
                      "<Features><Feature name=\"FW\" state=\"1\"/></Features>"
                      "<PacketFilterSetting networkDriverGlobalDetectOnlyMode=\"false\"/>"
                      "</AgentConfiguration>"),
            0);
  std::string document = ReadFileBytes(output_);
  size_t allow = document.find("name=\"allowEncryptedDataCollection\"");
  size_t detect = document.find("name=\"networkDriverGlobalDetectOnlyMode\"");
  size_t passive = document.find("name=\"vulnerabilityShieldPassiveMode\"");
  size_t engine = document.find("<PacketEngine");
  ASSERT_NE(allow, std::string::npos) << document;
  ASSERT_NE(detect, std::string::npos) << document;
  ASSERT_NE(passive, std::string::npos) << document;
  EXPECT_LT(allow, detect);
  EXPECT_LT(detect, passive);
  EXPECT_LT(passive, engine);
  EXPECT_EQ(document.rfind("<fset>\n    <SystemSetting name=\"allowEncryptedDataCollection\" value=\"true\"/>\n", 0), 0u)
      << document;
}

TEST_F(AgentConfigDocument, BothFeaturesOffIsRefusedAndWritesNothing) {
  WriteBytes(output_, "previous document");
  EXPECT_EQ(Translate("<AgentConfiguration><Features><Feature name=\"FW\" state=\"0\"/>"
                      "<Feature name=\"DPI\" state=\"0\"/><Feature name=\"WQX\" state=\"1\"/></Features>"
                      "</AgentConfiguration>"),
            -1);
  EXPECT_EQ(ReadFileBytes(output_), "previous document");
  std::vector<std::string> messages = LogMessages();
  EXPECT_NE(std::find(messages.begin(), messages.end(), "both FW and DPI are off, no need to update config"),
            messages.end());
  EXPECT_NE(std::find(messages.begin(), messages.end(), "CreateConfig failed"), messages.end());
}

TEST_F(AgentConfigDocument, MissingPolicyGivesTheOpensErrorNumber) {
  RawConfig rawConfig;
  EXPECT_EQ(ParseRawConfigXml(rawConfig, WidePathFromUtf8(input_ + ".absent"), WidePathFromUtf8(output_)), ENOENT);
  EXPECT_EQ(ReadFileBytes(output_), "");
}

TEST_F(AgentConfigDocument, EncryptedFileDecryptsToTheClearDocument) {
  s_Settings.s_bConfigEncrypt = true;
  ASSERT_EQ(Translate(kFirewallOnly), 0);
  std::string bytes = ReadFileBytes(output_);
  const std::string clear = kFirewallOnlyDocument;
  ASSERT_EQ(bytes.size(), 24 + 16 * (clear.size() / 16 + 1));
  EXPECT_EQ(bytes.substr(0, 8), "Salted__");
  std::string text, error;
  ASSERT_TRUE(Cred_MachineDecrypt(bytes, text, error)) << error;
  EXPECT_EQ(text, clear);
}

}  // namespace
