// The command lines of Corvel's uninstaller and control program.
#include "upkeep/corvel_command_lines.h"

#include <gtest/gtest.h>

#include <string>

TEST(CorvelUninstallArguments, WithLogFile) {
  std::wstring log = L"C:\\Temp\\corA1.tmp";
  EXPECT_EQ(CorvelUninstallArguments(L"{6B1C2D3E-4F50-4A61-9B72-8C93D4E5F601}", &log),
            L"/quiet /norestart /x {6B1C2D3E-4F50-4A61-9B72-8C93D4E5F601} /L*V \"C:\\Temp\\corA1.tmp\"");
}

TEST(CorvelUninstallArguments, WithoutLogFile) {
  EXPECT_EQ(CorvelUninstallArguments(L"{6B1C2D3E-4F50-4A61-9B72-8C93D4E5F601}", nullptr),
            L"/quiet /norestart /x {6B1C2D3E-4F50-4A61-9B72-8C93D4E5F601}");
}

TEST(CorvelUninstallArguments, LogPathWithBlanksIsQuoted) {
  std::wstring log = L"C:\\Documents and Settings\\x\\Temp\\corB2.tmp";
  EXPECT_EQ(CorvelUninstallArguments(L"{G}", &log),
            L"/quiet /norestart /x {G} /L*V \"C:\\Documents and Settings\\x\\Temp\\corB2.tmp\"");
}

TEST(CorvelUninstallArguments, LineFillingTheBufferIsKept) {
  // 21 characters of options and a code of 1,002 fill 1,023 characters.
  std::wstring code(1002, L'A');
  EXPECT_EQ(CorvelUninstallArguments(code, nullptr), L"/quiet /norestart /x " + code);
  EXPECT_EQ(CorvelUninstallArguments(code + L"B", nullptr), L"/quiet /norestart /x " + code);
}

TEST(CorvelUninstallArguments, LongerLineIsCutToTheBuffer) {
  std::wstring log(2000, L'l');
  std::wstring line = CorvelUninstallArguments(L"{G}", &log);
  ASSERT_EQ(line.size(), 1023u);
  EXPECT_EQ(line, L"/quiet /norestart /x {G} /L*V \"" + std::wstring(1023 - 31, L'l'));
}

TEST(MlaControlArguments, ResetThroughCmd) {
  EXPECT_EQ(MlaControlArguments(L"C:\\Program Files\\Corvel\\", kMlaControlReset),
            L"/c \"C:\\Program Files\\Corvel\\mla_control\" -r");
}

TEST(MlaControlArguments, SelfProtectionOffThroughCmd) {
  EXPECT_EQ(MlaControlArguments(L"C:\\Corvel\\", kMlaControlSelfProtectionOff),
            L"/c \"C:\\Corvel\\mla_control\" -s off");
}
