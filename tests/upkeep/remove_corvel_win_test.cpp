// Corvel removed by its own uninstaller, installed and answered by the
// stand-in's installer under sim/corvel through Wine's msiexec: each exit
// code the removal can end with, the log lines with DebugLevel 5, what is
// left on the host, what mla_control was asked, and the uninstaller's log.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "corvel_host_win.h"
#include "sim/stand_in_key.h"
#include "upkeep/remove_corvel_win.h"
#include "upkeep/remove_incompatible_agent_win.h"
#include "util/captured_log.h"
#include "util/whole_file.h"

namespace {

using namespace corvel_host;
using Lines = std::vector<std::string>;
using zentsim::testing::StandInKey;

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// Wine's taskkill knows no /T: it rejects the line with exit code 1 and
// prints its usage, which the removal logs and passes over.
const char kTaskkillOutput[] =
    "Error: Unknown or invalid command line option specified.\n"
    "Usage: taskkill [/?] [/f] [/im ProcessName | /pid ProcessID]\n";

Lines Begin(const std::string& guid) {
  return {"RemoveIncompatibleAgent: Display name of agent: Corvel Agent",
          "RemoveIncompatibleAgent: Corvel exists, start to uninstall it",
          "DisableCorvelSelfProtection: mla_control -s off exitCode=0, output=\n",
          "ResetCorvelSetting: mla_control -r exitCode=0, output=\n",
          "RemoveCorvel: start kill mla.exe",
          "RemoveCorvel: kill mla.exe failed, exitCode=1",
          std::string("RemoveCorvel: output=\n") + kTaskkillOutput,
          "RemoveCorvel: Corvel guid=" + guid,
          "RemoveCorvel: start uninstall corvel."};
}

Lines Join(Lines first, const Lines& then) {
  first.insert(first.end(), then.begin(), then.end());
  return first;
}

class RemoveCorvelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RestoreHost();
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    tempFolder = std::wstring(temp) + L"corvel_tmp_" + std::to_wstring(GetCurrentProcessId());
    CreateDirectoryW(tempFolder.c_str(), nullptr);
    EmptyTempFolder();
    // The uninstaller's log is prepared in a folder of the test's own.
    SetEnvironmentVariableW(L"TMP", tempFolder.c_str());
  }
  void TearDown() override {
    SetEnvironmentVariableW(L"TMP", nullptr);
    EmptyTempFolder();
    RemoveDirectoryW(tempFolder.c_str());
    RestoreHost();
  }

  void EmptyTempFolder() {
    for (const std::wstring& name : TempFiles()) DeleteFileW((tempFolder + L"\\" + name).c_str());
  }
  std::vector<std::wstring> TempFiles() {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    HANDLE find = FindFirstFileW((tempFolder + L"\\*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) return names;
    do {
      // The removal's temporary files begin "cor"; the installer may leave its own.
      if (wcsncmp(found.cFileName, L"cor", 3) == 0) names.push_back(found.cFileName);
    } while (FindNextFileW(find, &found));
    FindClose(find);
    return names;
  }
  // The one file prepared for the uninstaller's log.
  std::wstring PreparedLog() {
    std::vector<std::wstring> names = TempFiles();
    return names.size() == 1 ? tempFolder + L"\\" + names[0] : L"";
  }
  std::wstring KeptLog() { return OwnFolder() + L"\\corvel_uninstall.log"; }
  bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }
  // The uninstaller's command line as the launch logged it.
  bool LaunchedUninstaller(const std::wstring& arguments) {
    wchar_t system[MAX_PATH];
    GetSystemDirectoryW(system, MAX_PATH);
    std::string line = "PrepAndLaunchRedirectedChild: \"" + Narrow(system) + "\\MsiExec.exe\" " + Narrow(arguments) +
                       ", stdout(";
    return log.Text().find(line) != std::string::npos;
  }
  void MakeUpCorvelProduct() {
    SetString(kServiceKey, L"DisplayName", L"Corvel Agent");
    SetString(std::wstring(kUninstallKey) + L"\\{00000000-0000-0000-0000-0000000000C0}", L"DisplayName",
              L"Corvel Agent");
  }
  void ExpectCorvelGone() {
    EXPECT_FALSE(ProductInstalled(kCorvelProductCode));
    EXPECT_FALSE(ProductInstalled(kHvCorvelProductCode));
    EXPECT_FALSE(KeyExists(kServiceKey));
    EXPECT_FALSE(KeyExists(kCorvelKey));
    EXPECT_FALSE(Exists(std::wstring(kCorvelFolder) + L"mla.exe"));
    EXPECT_FALSE(Exists(std::wstring(kCorvelFolder) + L"mla_control.exe"));
  }

  CapturedLog log{5};
  StandInKey corvel{L"corvel"};
  std::wstring tempFolder;
  const std::string guid = Narrow(kCorvelProductCode);
  const Lines failedUninstall1603 = {"RemoveCorvel: Exit code=1603", "RemoveCorvel: uninstall corvel fail, error=1603",
                                     "RemoveCorvel: output=\n"};
};

TEST_F(RemoveCorvelTest, InstalledCorvelIsRemovedWithEverythingItInstalled) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI"), 0u);
  ASSERT_TRUE(ProductInstalled(kCorvelProductCode));
  EXPECT_EQ(RemoveIncompatibleAgent(), 0);
  EXPECT_EQ(RemovalLog(log.Text()), Join(Begin(guid), {"RemoveCorvel: Exit code=0"}));
  ExpectCorvelGone();
  EXPECT_EQ(corvel.String(L"Journal"), L"-s off\n-r\n");
  std::wstring prepared = PreparedLog();
  ASSERT_NE(prepared, L"");
  EXPECT_TRUE(LaunchedUninstaller(L"/quiet /norestart /x " + std::wstring(kCorvelProductCode) + L" /L*V \"" +
                                  prepared + L"\""))
      << log.Text();
  // Nothing to keep after a removal that worked.
  EXPECT_FALSE(Exists(KeptLog()));
}

TEST_F(RemoveCorvelTest, RebootAskedForIsRemovedWithReboot) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI"), 0u);
  corvel.Set(L"UninstallNeedsReboot", 1);
  EXPECT_EQ(RemoveIncompatibleAgent(), -110);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Begin(guid), {"RemoveCorvel: Exit code=3010", "RemoveCorvel: uninstall corvel fail, error=3010",
                               "RemoveCorvel: output=\n", "RemoveCorvel: require reboot"}));
  ExpectCorvelGone();
  // The uninstaller's own log is kept beside the agent.
  std::string kept;
  ASSERT_TRUE(loadFileToString(KeptLog(), kept));
  std::string prepared;
  ASSERT_TRUE(loadFileToString(PreparedLog(), prepared));
  EXPECT_EQ(kept, prepared);
  EXPECT_NE(kept, "");
}

TEST_F(RemoveCorvelTest, FailedUninstallerLeavesCorvelAndShowsPendingRenames) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI"), 0u);
  corvel.Set(L"UninstallFails", 1);
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Begin(guid), Join(failedUninstall1603,
                                   {"GetPendingFilesRegistryString: Reg value PendingFileRenameOperations not exists",
                                    "RemoveCorvel: PendingFileRenameOperations=[]"})));
  EXPECT_TRUE(ProductInstalled(kCorvelProductCode));
  EXPECT_TRUE(KeyExists(kServiceKey));
  EXPECT_TRUE(Exists(KeptLog()));
}

TEST_F(RemoveCorvelTest, FailedUninstallerWithOtherFilesPendingIsNotRemoved) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI"), 0u);
  corvel.Set(L"UninstallFails", 1);
  SetMultiString(kSessionManagerKey, L"PendingFileRenameOperations", std::wstring(L"\\??\\C:\\other.sys\0\0", 18));
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Begin(guid), Join(failedUninstall1603,
                                   {"GetPendingFilesRegistryString: PendingFileRenameOperations=[\\??\\C:\\other.sys]",
                                    "RemoveCorvel: PendingFileRenameOperations=[\\??\\C:\\other.sys]"})));
  EXPECT_TRUE(ProductInstalled(kCorvelProductCode));
}

TEST_F(RemoveCorvelTest, FailedUninstallerWithCorvelDriverPendingWantsAReboot) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI"), 0u);
  corvel.Set(L"UninstallFails", 1);
  // The driver's rename is the second of the list.
  std::wstring pending(L"\\??\\C:\\a.tmp\0\0\\??\\C:\\windows\\system32\\drivers\\hvactmon.sys\0\0", 59);
  SetMultiString(kSessionManagerKey, L"PendingFileRenameOperations", pending);
  EXPECT_EQ(RemoveIncompatibleAgent(), -111);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Begin(guid),
                 Join(failedUninstall1603,
                      {"GetPendingFilesRegistryString: PendingFileRenameOperations=[\\??\\C:\\a.tmp]",
                       "RemoveCorvel: hvactmon.sys was in PendingFileRenameOperations. require reboot to uninstall "
                       "corvel"})));
  EXPECT_TRUE(ProductInstalled(kCorvelProductCode));
  EXPECT_TRUE(Exists(KeptLog()));
}

TEST_F(RemoveCorvelTest, SelfProtectionIsTurnedOffBeforeTheUninstaller) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI", L"SELFPROTECTION=1"), 0u);
  EXPECT_EQ(RemoveIncompatibleAgent(), 0);
  EXPECT_EQ(RemovalLog(log.Text()), Join(Begin(guid), {"RemoveCorvel: Exit code=0"}));
  EXPECT_EQ(corvel.String(L"Journal"), L"-s off\n-r\n");
  ExpectCorvelGone();
}

TEST_F(RemoveCorvelTest, SelfProtectionLeftOnFailsTheUninstaller) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI", L"SELFPROTECTION=1"), 0u);
  corvel.Set(L"ControlExitCode", 5);
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  Lines begin = Begin(guid);
  begin[2] = "DisableCorvelSelfProtection: disable corvel self protection fail, error=5";
  begin[3] = "DisableCorvelSelfProtection: mla_control -s off exitCode=5, output=\n";
  begin.insert(begin.begin() + 4, {"ResetCorvelSetting: reset corvel setting fail, error=5",
                                   "ResetCorvelSetting: mla_control -r exitCode=5, output=\n"});
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(begin, Join(failedUninstall1603,
                             {"GetPendingFilesRegistryString: Reg value PendingFileRenameOperations not exists",
                              "RemoveCorvel: PendingFileRenameOperations=[]"})));
  EXPECT_EQ(corvel.String(L"Journal"), L"-s off\n-r\n");
  EXPECT_TRUE(ProductInstalled(kCorvelProductCode));
}

TEST_F(RemoveCorvelTest, HalvaneCorvelAgentIsFoundBySecondSearch) {
  ASSERT_EQ(InstallCorvel("ZENT_HVCORVEL_MSI"), 0u);
  ASSERT_TRUE(ProductInstalled(kHvCorvelProductCode));
  EXPECT_EQ(RemoveIncompatibleAgent(), 0);
  Lines begin = Begin(Narrow(kHvCorvelProductCode));
  begin.insert(begin.begin() + 2, "RemoveCorvel: Can not find corvel guid");
  EXPECT_EQ(RemovalLog(log.Text()), Join(begin, {"RemoveCorvel: Exit code=0"}));
  ExpectCorvelGone();
}

// A product code the installer does not know (1605), with no install folder
// recorded: mla_control cannot be found, the uninstaller still runs.
const Lines kUnknownProductLines = {
    "RemoveIncompatibleAgent: Display name of agent: Corvel Agent",
    "RemoveIncompatibleAgent: Corvel exists, start to uninstall it",
    "GetCorvelInstallFolder: registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\Corvel Agent not exists.",
    "DisableCorvelSelfProtection: get Corvel install path failed.",
    "GetCorvelInstallFolder: registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\Corvel Agent not exists.",
    "ResetCorvelSetting: get Corvel install path failed.",
    "RemoveCorvel: start kill mla.exe",
    "RemoveCorvel: kill mla.exe failed, exitCode=1",
    std::string("RemoveCorvel: output=\n") + kTaskkillOutput};
const Lines kUnknownProductEnd = {"RemoveCorvel: Corvel guid={00000000-0000-0000-0000-0000000000C0}",
                                  "RemoveCorvel: start uninstall corvel.", "RemoveCorvel: Exit code=1605",
                                  "RemoveCorvel: uninstall corvel fail, error=1605", "RemoveCorvel: output=\n"};

TEST_F(RemoveCorvelTest, UnknownProductCodeIsNotRemovedAndItsLogIsKept) {
  MakeUpCorvelProduct();
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()), Join(kUnknownProductLines, kUnknownProductEnd));
  EXPECT_EQ(corvel.String(L"Journal"), std::nullopt);
  std::wstring prepared = PreparedLog();
  ASSERT_NE(prepared, L"");
  EXPECT_TRUE(LaunchedUninstaller(L"/quiet /norestart /x {00000000-0000-0000-0000-0000000000C0} /L*V \"" + prepared +
                                  L"\""))
      << log.Text();
  EXPECT_TRUE(Exists(KeptLog()));
}

// A folder where the log would go: the copy fails (access denied), which is
// logged and changes nothing of the result. (Wine's CopyFileW replaces a
// read-only file, which Windows refuses, so a folder stands in the way.)
TEST_F(RemoveCorvelTest, KeptLogThatCannotBeWrittenLeavesTheResultAlone) {
  MakeUpCorvelProduct();
  ASSERT_TRUE(CreateDirectoryW(KeptLog().c_str(), nullptr));
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Join(kUnknownProductLines, kUnknownProductEnd), {"RemoveCorvel: copy uninstall log fail, error=5"}));
  EXPECT_NE(GetFileAttributesW(KeptLog().c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
}

TEST_F(RemoveCorvelTest, TempFileThatCannotBeMadeMeansNoUninstallerLog) {
  MakeUpCorvelProduct();
  std::wstring missing = tempFolder + L"\\missing";
  SetEnvironmentVariableW(L"TMP", missing.c_str());
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Join(kUnknownProductLines, {"RemoveCorvel: Get temp file name failed."}), kUnknownProductEnd));
  EXPECT_TRUE(LaunchedUninstaller(L"/quiet /norestart /x {00000000-0000-0000-0000-0000000000C0}")) << log.Text();
  EXPECT_EQ(log.Text().find("/L*V"), std::string::npos);
  EXPECT_FALSE(Exists(KeptLog()));
}

TEST_F(RemoveCorvelTest, TempFolderTooLongMeansNoUninstallerLog) {
  MakeUpCorvelProduct();
  std::wstring tooLong = L"C:\\" + std::wstring(300, L't');
  SetEnvironmentVariableW(L"TMP", tooLong.c_str());
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()),
            Join(Join(kUnknownProductLines, {"RemoveCorvel: Get temp folder failed."}), kUnknownProductEnd));
  EXPECT_TRUE(LaunchedUninstaller(L"/quiet /norestart /x {00000000-0000-0000-0000-0000000000C0}")) << log.Text();
  EXPECT_FALSE(Exists(KeptLog()));
}

}  // namespace
