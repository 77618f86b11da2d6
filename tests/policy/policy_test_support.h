// Inputs and observations shared by the policy tests: policies to load, and
// the messages the debug log received meanwhile.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "policy/load_raw_config_xml_file.h"
#include "policy/platform_interfaces.h"
#include "records/settings.h"

// body inside Message, Request, SecurityConfiguration.
std::string PolicyDocument(const std::string& body);

// Loads a policy given as text, through a temporary file.
int LoadPolicyText(RawConfig& rawConfig, const std::string& xml);
// Loads a policy given as text with the debug log off, so that a test sees
// only the lines of what it runs next; the log level is restored after.
int LoadPolicyTextQuietly(RawConfig& rawConfig, const std::string& xml);
// Loads a policy file of tests/policy/data.
int LoadPolicyFile(RawConfig& rawConfig, const char* name);

// A whole file's bytes; empty when it cannot be read.
std::string ReadFileBytes(const std::string& path);

// An Ethernet adapter that is up, MTU 1500, its friendly name in ASCII.
PlatformAdapter EthernetAdapter(const std::string& address, const std::string& name);

// The keys of a map, in iteration order.
std::vector<std::string> Keys(const AttrMapIndex& map);

// Every test starts with the event log's cache parameters at their defaults
// and a fresh debug log file at the given level.
class PolicyTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // The messages of the lines written so far: each line without its stamp,
  // its "[thread][ZTENG][function:line] " prefix and its line end.
  std::vector<std::string> LogMessages();
  // The function named in each line's prefix, in order.
  std::vector<std::string> LogFunctions();

 private:
  std::vector<std::pair<std::string, std::string>> LogLines();
};
