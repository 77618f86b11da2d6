// The display name of the ml_agent service tells which agent of the family
// is installed; only Corvel's is removed, the others refuse the install.
#include "upkeep/sibling_agent.h"

#include <gtest/gtest.h>

#include <string>

TEST(SiblingAgentByDisplayName, CorvelAgentIsCorvel) {
  EXPECT_EQ(SiblingAgentByDisplayName("Corvel Agent"), SiblingAgent::Corvel);
}

TEST(SiblingAgentByDisplayName, HalvaneMarluneAgentIsMarlune) {
  EXPECT_EQ(SiblingAgentByDisplayName("Halvane Marlune Agent"), SiblingAgent::Marlune);
}

TEST(SiblingAgentByDisplayName, OtherCaseIsUnknown) {
  EXPECT_EQ(SiblingAgentByDisplayName("corvel agent"), SiblingAgent::Unknown);
  EXPECT_EQ(SiblingAgentByDisplayName("CORVEL AGENT"), SiblingAgent::Unknown);
  EXPECT_EQ(SiblingAgentByDisplayName("Halvane marlune Agent"), SiblingAgent::Unknown);
}

TEST(SiblingAgentByDisplayName, EmptyNameIsUnknown) {
  EXPECT_EQ(SiblingAgentByDisplayName(""), SiblingAgent::Unknown);
}

TEST(SiblingAgentByDisplayName, ProductNameOfTheHalvaneBuildIsNoServiceName) {
  EXPECT_EQ(SiblingAgentByDisplayName("Halvane Corvel Agent"), SiblingAgent::Unknown);
}

TEST(SiblingAgentByDisplayName, BlanksAroundTheNameCount) {
  EXPECT_EQ(SiblingAgentByDisplayName("Corvel Agent "), SiblingAgent::Unknown);
  EXPECT_EQ(SiblingAgentByDisplayName(" Corvel Agent"), SiblingAgent::Unknown);
  EXPECT_EQ(SiblingAgentByDisplayName("Halvane Marlune Agent\n"), SiblingAgent::Unknown);
}

TEST(SiblingAgentByDisplayName, TextAfterAZeroCounts) {
  EXPECT_EQ(SiblingAgentByDisplayName(std::string("Corvel Agent\0x", 14)), SiblingAgent::Unknown);
}

TEST(SiblingAgentByDisplayName, TenThousandCharactersAreUnknown) {
  EXPECT_EQ(SiblingAgentByDisplayName(std::string(10000, 'C')), SiblingAgent::Unknown);
  EXPECT_EQ(SiblingAgentByDisplayName("Corvel Agent" + std::string(9988, ' ')), SiblingAgent::Unknown);
}
