// The running processes query's system calls under Wine, on the test's own
// process, whose command line, image and owner the test knows from other
// calls: what the table reads must be what the process itself sees.
#include "metadata/running_process_calls_win.h"

#include <gtest/gtest.h>
#include <sddl.h>

#include <string>

#include "metadata/get_hmd_running_processes.h"
#include "metadata/process_owner.h"
#include "metadata/process_reads.h"
#include "records/entry_points_win.h"
#include "util/text_win.h"

namespace {

std::u16string Utf16(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

std::wstring OwnSid(TOKEN_INFORMATION_CLASS tokenClass) {
  HANDLE token = nullptr;
  OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token);
  alignas(8) BYTE buffer[256];
  DWORD length = 0;
  GetTokenInformation(token, tokenClass, buffer, sizeof buffer, &length);
  CloseHandle(token);
  PSID sid = tokenClass == TokenUser ? reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid
                                     : reinterpret_cast<TOKEN_PRIMARY_GROUP*>(buffer)->PrimaryGroup;
  wchar_t* text = nullptr;
  ConvertSidToStringSidW(sid, &text);
  std::wstring out = text;
  LocalFree(text);
  return out;
}

class SystemCallsOnOwnProcess : public testing::Test {
 protected:
  void SetUp() override {
    s_pfnNtQueryInformationProcess = reinterpret_cast<PFN_NtQueryInformationProcess>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess")));
    calls_ = SystemRunningProcessCalls(snapshot_);
    uint32_t error = 0;
    process_ = calls_.openProcess(GetCurrentProcessId(), error);
    ASSERT_NE(process_, 0u) << error;
  }
  void TearDown() override {
    if (process_) calls_.closeProcess(process_);
    s_pfnNtQueryInformationProcess = nullptr;
  }

  HANDLE snapshot_ = INVALID_HANDLE_VALUE;
  RunningProcessCalls calls_;
  InspectedHandle process_ = 0;
};

TEST_F(SystemCallsOnOwnProcess, CommandLineReadFromTheProcessParametersIsTheProcesssOwn) {
  std::u16string commandLine;
  ASSERT_TRUE(ReadProcessCommandLine(calls_, process_, commandLine));
  EXPECT_EQ(commandLine, Utf16(GetCommandLineW()));
}

TEST_F(SystemCallsOnOwnProcess, ImagePathIsTheModulesLongPath) {
  wchar_t own[MAX_PATH] = {}, longForm[1040] = {};
  GetModuleFileNameW(nullptr, own, MAX_PATH);
  GetLongPathNameW(own, longForm, 1040);
  std::u16string path;
  ASSERT_TRUE(ReadProcessImagePath(calls_, process_, path));
  EXPECT_EQ(path, Utf16(longForm));
}

TEST_F(SystemCallsOnOwnProcess, OwnerIsTheTokensUserAndPrimaryGroup) {
  std::string userId, user, groupId, group;
  ASSERT_TRUE(GetProcessInfo(calls_, process_, userId, user, groupId, group));
  EXPECT_EQ(userId, wideToAnsi(OwnSid(TokenUser).c_str()));
  EXPECT_EQ(groupId, wideToAnsi(OwnSid(TokenPrimaryGroup).c_str()));
  EXPECT_EQ(userId, "S-1-5-21-0-0-0-1000");
  EXPECT_EQ(groupId, "S-1-5-21-0-0-0-513");
  EXPECT_FALSE(user.empty());
  EXPECT_FALSE(group.empty());
}

TEST_F(SystemCallsOnOwnProcess, SystemNamesTheSystemSidAsTheTableDoes) {
  std::u16string name;
  ASSERT_TRUE(LookupSid(calls_, u"S-1-5-18", name));
  EXPECT_EQ(name, u"NT AUTHORITY\\SYSTEM");
}

// Wine reads the table's nameless "S-1-5-32-" as "S-1-5-32", where Windows
// refuses it; so under Wine such an owner is named, and through the system.
TEST_F(SystemCallsOnOwnProcess, WineNamesTheNamelessPrefixRowAsBuiltin) {
  std::u16string name;
  EXPECT_TRUE(LookupSid(calls_, u"S-1-5-32-", name));
  EXPECT_EQ(name, u"BUILTIN\\BUILTIN");
}

TEST_F(SystemCallsOnOwnProcess, CreationTimeIsBeforeNow) {
  int64_t created = 0;
  ASSERT_TRUE(calls_.creationTime(process_, created));
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  int64_t nowCount = static_cast<int64_t>((static_cast<uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
  EXPECT_GT(created, 0);
  EXPECT_LE(created, nowCount);
}

TEST(SystemRunningProcesses, OwnProcessIsInTheAnswerWithItsCommandLine) {
  s_pfnNtQueryInformationProcess = reinterpret_cast<PFN_NtQueryInformationProcess>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess")));
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  ASSERT_TRUE(GetHmdRunningProcesses(document, results, "own"));
  s_pfnNtQueryInformationProcess = nullptr;
  std::string suffix = "\\" + std::to_string(GetCurrentProcessId());
  const tinyxml2::XMLElement* own = nullptr;
  for (const tinyxml2::XMLElement* o =
           results->FirstChildElement("HostMetaDataQueryResult")->FirstChildElement("HostMetaDatas")->FirstChildElement();
       o; o = o->NextSiblingElement()) {
    std::string identifier = o->Attribute("identifier");
    if (identifier.size() > suffix.size() && identifier.ends_with(suffix)) own = o;
  }
  ASSERT_NE(own, nullptr);
  const tinyxml2::XMLElement* last = own->FirstChildElement("Attributes")->LastChildElement("Attribute");
  EXPECT_STREQ(last->Attribute("name"), "commandLine");
}

}  // namespace
