// InstallOrUpdateDriver during "-install": the package's driver against the
// running or installed one, the component installed through the stand-in,
// the deployment codes, and the rule file pointer under the driver's key.
#include "driver/install_or_update_driver_win.h"

#include "driver_test_support_win.h"

namespace drivertest {
namespace {

const wchar_t kServiceKey[] = L"System\\CurrentControlSet\\Services\\mlfilter";

std::optional<std::wstring> ConfigBinary() {
  wchar_t text[1024] = {};
  DWORD size = sizeof text - sizeof(wchar_t);
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kServiceKey, L"ConfigBinary", RRF_RT_REG_SZ, nullptr, text, &size) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  return std::wstring(text);
}

class InstallOrUpdateDriverTest : public DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    // No running driver unless a test says so.
    mli.Set(L"OpenFails", 1);
  }
  void RunningDriver(const std::wstring& version) {
    mli.Set(L"OpenFails", 0);
    mli.Set(L"Version", version);
  }
  void InstalledFile(const wchar_t* variant) {
    CreateDirectoryW((SystemFolder() + L"\\drivers").c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(PackageDriver(variant).c_str(), InstalledDriverFile().c_str(), FALSE));
  }
  std::string CheckingPackage() const {
    return "GetBundledDriverVersion: Checking version of " + Dir() + "\\mlfilter.sys";
  }
  std::string CheckingInstalled() const {
    return "GetInstalledDriverVersion: Checking version of " + Narrow(InstalledDriverFile());
  }
  static std::vector<std::string> NoOemFile() {
    return {"GetOEMFileContainingDriver: Searching oem#.inf files in directory(" + Narrow(InfStore()) + ").",
            "CleanUpOEMFiles: There are no oem#.inf files containing driver."};
  }
  std::vector<std::string> InstallLines(const char* copy = "false") const {
    return {"InstallOrUpdateDriver: install driver in folder " + Dir() + ", copy to windows dir = " + copy,
            "ndis_install_driver: checking inf path " + Dir() + "\\netmlfilter.inf",
            "ndis_install_driver: installing driver, inf found: " + Dir() + "\\netmlfilter.inf",
            "ndis_install_driver: driver installed."};
  }
  std::wstring RbfPath() const { return workingDirectory + L"\\config.rbf"; }
};

TEST_F(InstallOrUpdateDriverTest, FreshInstallWritesTheRuleFilePointer) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), Joined({{CheckingPackage(), CheckingInstalled(),
                              "GetInstalledDriverVersion: No installed driver - installing current driver version.",
                              "InstallOrUpdateDriver: New driver version is 5.1.0.12"},
                             NoOemFile(),
                             InstallLines()}));
  // config.rbf is not there yet; the pointer is written all the same.
  EXPECT_FALSE(FileExists(RbfPath()));
  EXPECT_EQ(ConfigBinary(), RbfPath());
  EXPECT_EQ(netcfg.Dword(L"Installed"), 1u);
  EXPECT_EQ(pnputil.Dword(L"Runs"), std::nullopt);
  EXPECT_EQ(FileVersionText(InstalledDriverFile()), "5.1.0.12");
  EXPECT_FALSE(s_Settings.driverRunning);
}

TEST_F(InstallOrUpdateDriverTest, MissingPackageDriverIsMinus112) {
  MakePackage(nullptr, {L"netmlfilter.inf"});
  EXPECT_EQ(InstallOrUpdateDriver(), -112);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         CheckingPackage(),
                         "GetBundledDriverVersion: Driver binary doesn't exist - skipping driver install/upgrade."}));
  EXPECT_EQ(Journal(), std::vector<std::string>{});
}

TEST_F(InstallOrUpdateDriverTest, DirectoryInPlaceOfThePackageDriverIsMinus112) {
  MakePackage(nullptr, {L"netmlfilter.inf"});
  ASSERT_TRUE(CreateDirectoryW(DriverDirectoryFile(L"mlfilter.sys").c_str(), nullptr));
  EXPECT_EQ(InstallOrUpdateDriver(), -112);
  EXPECT_EQ(Lines().back(), "GetBundledDriverVersion: Driver binary doesn't exist - skipping driver install/upgrade.");
}

TEST_F(InstallOrUpdateDriverTest, PackageDriverWithoutVersionIsMinus112) {
  MakePackage(L"noversion", {L"netmlfilter.inf"});
  EXPECT_EQ(InstallOrUpdateDriver(), -112);
  EXPECT_EQ(Lines(), (std::vector<std::string>{CheckingPackage(),
                                               "GetBundledDriverVersion: Unable to get version information from '" + Dir() +
                                                   "\\mlfilter.sys'. Unable to install or upgrade the driver."}));
  EXPECT_EQ(Journal(), std::vector<std::string>{});
}

TEST_F(InstallOrUpdateDriverTest, RunningDriverOfTheSameVersionIsKept) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  RunningDriver(L"5.1.0.12");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         CheckingPackage(),
                         "InstallOrUpdateDriver: Installed driver version is 5.1.0.12, new driver version is 5.1.0.12",
                         "InstallOrUpdateDriver: Running driver is the correct version."}));
  EXPECT_EQ(Journal(), std::vector<std::string>{});
  EXPECT_TRUE(s_Settings.driverRunning);
  EXPECT_EQ(ConfigBinary(), std::nullopt);
}

TEST_F(InstallOrUpdateDriverTest, NewerRunningDriverIsNeverDowngraded) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  RunningDriver(L"5.2.0.1");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         CheckingPackage(),
                         "InstallOrUpdateDriver: Installed driver version is 5.2.0.1, new driver version is 5.1.0.12"}));
  EXPECT_EQ(Journal(), std::vector<std::string>{});
}

TEST_F(InstallOrUpdateDriverTest, NewerInstalledFileIsKept) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  InstalledFile(L"newer");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         CheckingPackage(), CheckingInstalled(),
                         "InstallOrUpdateDriver: Installed driver version is 5.2.0.1, new driver version is 5.1.0.12"}));
  EXPECT_FALSE(s_Settings.driverRunning);
}

TEST_F(InstallOrUpdateDriverTest, PackageWithFourthPartOf32768CountsAsOlderThanAnyPositiveVersion) {
  // Packed with its parts widened as signed values, 5.1.0.32768 is negative.
  MakePackage(L"v32768", {L"netmlfilter.inf"});
  RunningDriver(L"5.1.0.12");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines().back(),
            "InstallOrUpdateDriver: Installed driver version is 5.1.0.12, new driver version is 5.1.0.-32768");
  EXPECT_EQ(Journal(), std::vector<std::string>{});
}

TEST_F(InstallOrUpdateDriverTest, OlderRunningDriverIsUninstalledThenThePackageInstalled) {
  InstallComponentFirst();
  RunningDriver(L"5.0.9.3");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), Joined({{CheckingPackage(),
                              "InstallOrUpdateDriver: Installed driver version is 5.0.9.3, new driver version is 5.1.0.12",
                              "InstallOrUpdateDriver: uninstall driver in folder", "ndis_uninstall_driver: driver uninstalled."},
                             NoOemFile(), InstallLines()}));
  std::vector<std::string> journal = Journal();
  ASSERT_GE(journal.size(), 11u);
  EXPECT_EQ(journal[5], "FindComponent(mlfilter) = 0x00000000");
  EXPECT_EQ(journal[9], "DeInstall(component, OBO_USER, null) = 0x00000000");
  EXPECT_EQ(netcfg.Dword(L"DeInstallCalls"), 1u);
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), 1u);
  EXPECT_EQ(netcfg.Dword(L"ApplyCalls"), 3u);
  EXPECT_EQ(netcfg.Dword(L"Installed"), 1u);
  EXPECT_TRUE(ServiceRegistered(L"mlfilter"));
  EXPECT_EQ(ConfigBinary(), RbfPath());
}

TEST_F(InstallOrUpdateDriverTest, OlderRunningDriverThatCannotBeUninstalledIsMinus113) {
  InstallComponentFirst();
  RunningDriver(L"5.0.9.3");
  netcfg.Set(L"DeInstall", std::wstring(L"0x80004005"));
  EXPECT_EQ(InstallOrUpdateDriver(), -113);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         CheckingPackage(),
                         "InstallOrUpdateDriver: Installed driver version is 5.0.9.3, new driver version is 5.1.0.12",
                         "InstallOrUpdateDriver: uninstall driver in folder",
                         "UninstallComponent: Failed to uninstall mlfilter. error=0x80004005, " + SystemText(E_FAIL),
                         "ndis_uninstall_driver: UninstallComponent failed. error=0x80004005, " + SystemText(E_FAIL),
                         "InstallOrUpdateDriver: uninstall driver fails"}));
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), std::nullopt);
}

TEST_F(InstallOrUpdateDriverTest, InstalledFileThatCannotBeUninstalledDoesNotStopTheInstall) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  InstalledFile(L"older");
  netcfg.Set(L"CreateInstance", std::wstring(L"0x80004005, 0"));
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), Joined({{CheckingPackage(), CheckingInstalled(),
                              "InstallOrUpdateDriver: Installed driver version is 5.0.9.3, new driver version is 5.1.0.12",
                              "InstallOrUpdateDriver: uninstall driver in folder",
                              "UninstallComponent: Couldn't get the notify object interface. error=0x80004005, " +
                                  SystemText(E_FAIL),
                              "ndis_uninstall_driver: UninstallComponent failed. error=0x80004005, " + SystemText(E_FAIL),
                              "InstallOrUpdateDriver: driver is not running, cannot uninstall it"},
                             NoOemFile(), InstallLines()}));
  EXPECT_EQ(netcfg.Dword(L"Installed"), 1u);
}

TEST_F(InstallOrUpdateDriverTest, SameVersionNotRunningFinishesAPartialInstall) {
  InstallComponentFirst();
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), Joined({{CheckingPackage(), CheckingInstalled(),
                              "InstallOrUpdateDriver: Installed driver version is 5.1.0.12, new driver version is 5.1.0.12",
                              "InstallOrUpdateDriver: Driver is not running - probably a result of a partial install that "
                              "required a reboot.",
                              "InstallOrUpdateDriver: uninstall driver in folder", "ndis_uninstall_driver: driver uninstalled."},
                             NoOemFile(), InstallLines()}));
  EXPECT_EQ(netcfg.Dword(L"DeInstallCalls"), 1u);
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), 1u);
}

TEST_F(InstallOrUpdateDriverTest, UnparsableRunningVersionFallsBackToTheFileAndIsNotRunning) {
  InstallComponentFirst();
  RunningDriver(L"1.2.3");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  std::vector<std::string> lines = Lines();
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 5),
            (std::vector<std::string>{
                CheckingPackage(),
                "GetDriverVersion: Unable to parse the version string returned from the running driver ('1.2.3')",
                CheckingInstalled(),
                "InstallOrUpdateDriver: Installed driver version is 5.1.0.12, new driver version is 5.1.0.12",
                "InstallOrUpdateDriver: Driver is not running - probably a result of a partial install that required a "
                "reboot."}));
  EXPECT_FALSE(s_Settings.driverRunning);
}

TEST_F(InstallOrUpdateDriverTest, EmptyRunningVersionWithNoFileIsAFreshInstall) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  RunningDriver(L"");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), Joined({{CheckingPackage(),
                              "GetDriverVersion: Unable to parse the version string returned from the running driver ('')",
                              CheckingInstalled(),
                              "GetInstalledDriverVersion: No installed driver - installing current driver version.",
                              "InstallOrUpdateDriver: New driver version is 5.1.0.12"},
                             NoOemFile(), InstallLines()}));
}

TEST_F(InstallOrUpdateDriverTest, NegativeRunningVersionIsOlderAndRunning) {
  InstallComponentFirst();
  RunningDriver(L"-1.-2.-3.-4");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  std::vector<std::string> lines = Lines();
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[1], "InstallOrUpdateDriver: Installed driver version is -1.-2.-3.-4, new driver version is 5.1.0.12");
  EXPECT_EQ(lines[2], "InstallOrUpdateDriver: uninstall driver in folder");
  EXPECT_TRUE(s_Settings.driverRunning);
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), 1u);
}

TEST_F(InstallOrUpdateDriverTest, VersionTextTooLongForTheBufferIsAFailedRead) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  RunningDriver(L"5.1.0.12" + std::wstring(300, L' '));
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  std::vector<std::string> lines = Lines();
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[1], "GetDriverVersion: mli_get_version fails: rc=-1");
  EXPECT_EQ(lines[2], "GetDriverVersion: Unable to parse the version string returned from the running driver ('')");
}

TEST_F(InstallOrUpdateDriverTest, InstalledFileWithoutVersionIsNoVersion) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  InstalledFile(L"noversion");
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines(), Joined({{CheckingPackage(), CheckingInstalled(),
                              "GetInstalledDriverVersion: Unable to get version information from '" +
                                  Narrow(InstalledDriverFile()) + "'.",
                              "InstallOrUpdateDriver: New driver version is 5.1.0.12"},
                             NoOemFile(), InstallLines()}));
  EXPECT_EQ(s_Settings.installedDriverVersion[0], 0);
}

TEST_F(InstallOrUpdateDriverTest, NeedRebootIsMinus111) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"NeedReboot", 1);
  EXPECT_EQ(InstallOrUpdateDriver(), -111);
  EXPECT_EQ(Lines().back(), "InstallOrUpdateDriver: need to reboot before install driver.");
  EXPECT_EQ(ConfigBinary(), std::nullopt);
}

TEST_F(InstallOrUpdateDriverTest, FilterLimitIs201512009) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"FilterLimit", 1);
  EXPECT_EQ(InstallOrUpdateDriver(), 201512009);
  std::vector<std::string> lines = Lines();
  EXPECT_EQ(lines[lines.size() - 2], "ndis_install_driver: the number of network filer driver meet limit.");
  EXPECT_EQ(lines.back(), "InstallOrUpdateDriver: the number of network filer driver meet limit.");
}

TEST_F(InstallOrUpdateDriverTest, NoInfIsMinus112) {
  MakePackage(L"current", {});
  EXPECT_EQ(InstallOrUpdateDriver(), -112);
  std::vector<std::string> lines = Lines();
  EXPECT_EQ(lines[lines.size() - 2], "ndis_install_driver: Cannot find INF file or all INF file failed.");
  EXPECT_EQ(lines.back(), "InstallOrUpdateDriver: install driver fails");
}

TEST_F(InstallOrUpdateDriverTest, AllInfsFailingIsMinus112) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf"});
  netcfg.Set(L"Install", std::wstring(L"0x80004005"));
  EXPECT_EQ(InstallOrUpdateDriver(), -112);
  EXPECT_EQ(Lines().back(), "InstallOrUpdateDriver: install driver fails");
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), 2u);
}

TEST_F(InstallOrUpdateDriverTest, RebootRequiredIsMinus110WithTheRuleFilePointer) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"RebootRequired", 1);
  EXPECT_EQ(InstallOrUpdateDriver(), -110);
  EXPECT_EQ(Lines().back(), "ndis_install_driver: driver installed successfully: Reboot required.");
  EXPECT_EQ(ConfigBinary(), RbfPath());
}

TEST_F(InstallOrUpdateDriverTest, NoServiceKeyIsLoggedAndTheInstallStands) {
  // A success code other than S_OK from Install leaves the component
  // unapplied: no service, yet nothing negative either.
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"Install", std::wstring(L"1"));
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines().back(),
            "InstallOrUpdateDriver: cannot find registry HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\mlfilter");
  EXPECT_EQ(ConfigBinary(), std::nullopt);
}

TEST_F(InstallOrUpdateDriverTest, EmbeddedSystemCopiesTheDriverToWindowsForTheInstall) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  s_Settings.osSuiteMask = 0x40;
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  std::vector<std::string> lines = Lines();
  ASSERT_GE(lines.size(), 7u);
  EXPECT_EQ(lines[6], "InstallOrUpdateDriver: install driver in folder " + Dir() + ", copy to windows dir = true");
  EXPECT_EQ(lines[7], "ndis_install_driver: Copying '" + Dir() + "\\mlfilter.sys' to '" +
                          Narrow(WindowsFolder()) + "\\mlfilter.sys'");
  EXPECT_FALSE(FileExists(WindowsFolder() + L"\\mlfilter.sys"));
}

TEST_F(InstallOrUpdateDriverTest, OtherSuiteBitsDoNotCopy) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  s_Settings.osSuiteMask = 0xFFBF;
  EXPECT_EQ(InstallOrUpdateDriver(), 0);
  EXPECT_EQ(Lines()[6], "InstallOrUpdateDriver: install driver in folder " + Dir() + ", copy to windows dir = false");
}

}  // namespace
}  // namespace drivertest
