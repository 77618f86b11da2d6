#include "server/command_file_names.h"

#include <gtest/gtest.h>

TEST(CommandFileNames, NumberGoesBeforeTheDot) {
  CommandFileNames names = MakeCommandFileNames(L"C:\\Agent\\notify_request.xml", 0);
  EXPECT_EQ(names.commandFile, L"C:\\Agent\\notify_request0.xml");
  EXPECT_EQ(names.resultFile, L"C:\\Agent\\notify_requesttemp0.xml");
}

TEST(CommandFileNames, SecondCommandGetsNumberOne) {
  CommandFileNames names = MakeCommandFileNames(L"C:\\Agent\\multicommand.xml", 1);
  EXPECT_EQ(names.commandFile, L"C:\\Agent\\multicommand1.xml");
  EXPECT_EQ(names.resultFile, L"C:\\Agent\\multicommandtemp1.xml");
}

TEST(CommandFileNames, NumbersAreDecimal) {
  CommandFileNames names = MakeCommandFileNames(L"C:\\Agent\\notify_request.xml", 12);
  EXPECT_EQ(names.commandFile, L"C:\\Agent\\notify_request12.xml");
  EXPECT_EQ(names.resultFile, L"C:\\Agent\\notify_requesttemp12.xml");
}

TEST(CommandFileNames, PathWithoutDotGetsNumberAtTheEnd) {
  CommandFileNames names = MakeCommandFileNames(L"C:\\Agent\\request", 3);
  EXPECT_EQ(names.commandFile, L"C:\\Agent\\request3");
  EXPECT_EQ(names.resultFile, L"C:\\Agent\\requesttemp3");
}

TEST(CommandFileNames, DotInADirectoryTakesTheNumber) {
  CommandFileNames names = MakeCommandFileNames(L"C:\\Agent.v2\\notify_request.xml", 0);
  EXPECT_EQ(names.commandFile, L"C:\\Agent0.v2\\notify_request.xml");
  EXPECT_EQ(names.resultFile, L"C:\\Agenttemp0.v2\\notify_request.xml");
}
