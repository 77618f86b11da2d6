// ndis_install_driver against the network configuration's stand-in: the INF
// table searched in order, the component installed from the first that
// works, and the driver file copied to the Windows folder for embedded
// systems.
#include "driver/network_component_win.h"

#include "driver_test_support_win.h"

namespace drivertest {
namespace {

constexpr HRESULT kReboot = 0x0004A020;
constexpr HRESULT kNoWriteLock = static_cast<HRESULT>(0x8004A024);
constexpr HRESULT kNeedReboot = static_cast<HRESULT>(0x8004A025);
constexpr HRESULT kFilterLimit = static_cast<HRESULT>(0x8004A029);
constexpr HRESULT kCancelled = static_cast<HRESULT>(0x800704C7);

const std::string kNetService = "{4D36E974-E325-11CE-BFC1-08002BE10318}";

// The component installed from an INF: class, install, the component and
// the class released, then HrInstallComponent's and the caller's Apply.
std::vector<std::string> InstallJournal(const std::string& installResult = "0x00000000") {
  std::vector<std::string> lines = {"QueryNetCfgClass(" + kNetService + ", INetCfgClassSetup) = 0x00000000",
                                    "Install(mlfilter, OBO_USER, 0, 0, null, null) = " + installResult};
  // A failed Install hands out no component.
  if (installResult[2] != '8') lines.push_back("Freed INetCfgComponent");
  lines.push_back("Freed INetCfgClassSetup");
  return lines;
}

class NdisInstallDriverTest : public DriverTest {
 protected:
  std::string Checking(const wchar_t* inf) const {
    return "ndis_install_driver: checking inf path " + Dir() + "\\" + Narrow(inf);
  }
  std::string Found(const wchar_t* inf) const {
    return "ndis_install_driver: installing driver, inf found: " + Dir() + "\\" + Narrow(inf);
  }
  static std::string Failed(HRESULT error) {
    return "ndis_install_driver: InstallSpecifiedComponent failed. error=" + Code(error) + ", " + SystemText(error);
  }
  static std::string NotInstalled(HRESULT error) {
    return "InstallSpecifiedComponent: Couldn't install the network component. error=" + Code(error) + ", " +
           SystemText(error);
  }
  void ExpectNothingLeftHeld() const {
    EXPECT_EQ(netcfg.Dword(L"LiveObjects").value_or(0), 0u);
    EXPECT_EQ(netcfg.String(L"LockHolder"), std::nullopt);
  }
};

TEST_F(NdisInstallDriverTest, InstallsTheComponentFromTheFirstInf) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf"});
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), S_OK);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                                               "ndis_install_driver: driver installed."}));
  EXPECT_EQ(Journal(), Joined({AcquireJournal(), InstallJournal(), {"Apply() = 0x00000000", "Apply() = 0x00000000"},
                               ReleaseJournal()}));
  EXPECT_EQ(netcfg.Dword(L"ApplyCalls"), 2u);
  EXPECT_EQ(netcfg.Dword(L"Installed"), 1u);
  ExpectNothingLeftHeld();
  // The component's install put the package's driver in place and registered
  // its service; the INF went to the store under its own name.
  EXPECT_EQ(FileVersionText(InstalledDriverFile()), "5.1.0.12");
  EXPECT_TRUE(ServiceRegistered(L"mlfilter"));
  EXPECT_TRUE(FileExists(WindowsFolder() + L"\\inf\\netmlfilter.inf"));
  EXPECT_FALSE(FileExists(WindowsFolder() + L"\\inf\\netmlfilterm.inf"));
}

TEST_F(NdisInstallDriverTest, FirstInfFailingTriesTheSecond) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf"});
  netcfg.Set(L"Install", L"0x80004005, 0");
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), S_OK);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                         "HrInstallComponent: pncClassSetup->Install fails. error=0x80004005, " + SystemText(E_FAIL),
                         NotInstalled(E_FAIL), Failed(E_FAIL), Checking(L"netmlfilterm.inf"),
                         Found(L"netmlfilterm.inf"), "ndis_install_driver: driver installed."}));
  EXPECT_EQ(Journal(), Joined({AcquireJournal(), InstallJournal("0x80004005"), ReleaseJournal(), AcquireJournal(),
                               InstallJournal(), {"Apply() = 0x00000000", "Apply() = 0x00000000"}, ReleaseJournal()}));
  ExpectNothingLeftHeld();
}

TEST_F(NdisInstallDriverTest, WineTextOfAGeneralFailure) {
  // The texts of these tests come from the prefix; this one says which Wine
  // gives, with the line end's first half left by the cut.
  EXPECT_EQ(SystemText(E_FAIL), "Call failed.\r");
  EXPECT_EQ(SystemText(kNoWriteLock), "Unknow");
}

TEST_F(NdisInstallDriverTest, ThirdInfAloneIsFoundAfterTwoChecks) {
  MakePackage(L"current", {L"netmlfilterp.inf"});
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), S_OK);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Checking(L"netmlfilterm.inf"),
                                               Checking(L"netmlfilterp.inf"), Found(L"netmlfilterp.inf"),
                                               "ndis_install_driver: driver installed."}));
}

TEST_F(NdisInstallDriverTest, OlderDriversInfsAreNeverReached) {
  MakePackage(L"current", {L"netnrxim.inf", L"netnrxip.inf"});
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_FAIL);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Checking(L"netmlfilterm.inf"),
                                               Checking(L"netmlfilterp.inf"),
                                               "ndis_install_driver: Cannot find INF file or all INF file failed."}));
  EXPECT_EQ(Journal(), std::vector<std::string>{});
}

TEST_F(NdisInstallDriverTest, NoInfGivesGeneralFailure) {
  MakePackage(L"current", {});
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_FAIL);
  EXPECT_EQ(Lines().back(), "ndis_install_driver: Cannot find INF file or all INF file failed.");
  EXPECT_EQ(netcfg.Dword(L"CreateInstanceCalls"), std::nullopt);
}

TEST_F(NdisInstallDriverTest, DirectoryNamedLikeAnInfIsSkipped) {
  MakePackage(L"current", {L"netmlfilterm.inf"});
  ASSERT_TRUE(CreateDirectoryW(DriverDirectoryFile(L"netmlfilter.inf").c_str(), nullptr));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), S_OK);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Checking(L"netmlfilterm.inf"),
                                               Found(L"netmlfilterm.inf"), "ndis_install_driver: driver installed."}));
}

TEST_F(NdisInstallDriverTest, AllInfsFailingReturnTheLastError) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf", L"netmlfilterp.inf"});
  netcfg.Set(L"Install", L"0x80004005, 0x80070005, 0x80004001");
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_NOTIMPL);
  std::vector<std::string> expected;
  for (auto [inf, error] : {std::pair{L"netmlfilter.inf", E_FAIL}, std::pair{L"netmlfilterm.inf", E_ACCESSDENIED},
                            std::pair{L"netmlfilterp.inf", E_NOTIMPL}}) {
    expected.insert(expected.end(), {Checking(inf), Found(inf),
                                     "HrInstallComponent: pncClassSetup->Install fails. error=" + Code(error) + ", " +
                                         SystemText(error),
                                     NotInstalled(error), Failed(error)});
  }
  expected.push_back("ndis_install_driver: Cannot find INF file or all INF file failed.");
  EXPECT_EQ(Lines(), expected);
  EXPECT_EQ(netcfg.Dword(L"ApplyCalls"), std::nullopt);
  EXPECT_EQ(netcfg.Dword(L"Installed"), std::nullopt);
  ExpectNothingLeftHeld();
}

TEST_F(NdisInstallDriverTest, LockHeldElsewhereFailsEachInfAndIsReturned) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf"});
  netcfg.Set(L"LockHeldBy", std::wstring(L"Other Installer"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), kNoWriteLock);
  std::string held = "InstallSpecifiedComponent: Other Installer currently holds the lock, try later. error=0x8004a024, Unknow";
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"), held,
                                               Failed(kNoWriteLock), Checking(L"netmlfilterm.inf"),
                                               Found(L"netmlfilterm.inf"), held, Failed(kNoWriteLock),
                                               Checking(L"netmlfilterp.inf"),
                                               "ndis_install_driver: Cannot find INF file or all INF file failed."}));
  std::vector<std::string> refused = {"CreateInstance(INetCfg) = 0x00000000", "QueryInterface(INetCfgLock) = 0x00000000",
                                      "AcquireWriteLock(5000, ZentAgent, out) = 0x00000001", "Freed INetCfgLock",
                                      "Freed INetCfg"};
  EXPECT_EQ(Journal(), Joined({refused, refused}));
  ExpectNothingLeftHeld();
}

TEST_F(NdisInstallDriverTest, FilterLimitStopsTheSearchAtOnce) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf"});
  netcfg.Set(L"FilterLimit", 1);
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), kFilterLimit);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                         "HrInstallComponent: pncClassSetup->Install fails. error=0x8004a029, Unknow",
                         NotInstalled(kFilterLimit), "ndis_install_driver: the number of network filer driver meet limit."}));
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), 1u);
}

TEST_F(NdisInstallDriverTest, NeedRebootStopsTheSearch) {
  MakePackage(L"current", {L"netmlfilter.inf", L"netmlfilterm.inf"});
  netcfg.Set(L"NeedReboot", 1);
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), kNeedReboot);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                         "HrInstallComponent: pncClassSetup->Install fails. error=0x8004a025, Unknow",
                         NotInstalled(kNeedReboot),
                         "ndis_install_driver: A system reboot is required before the component can be installed."}));
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), 1u);
}

TEST_F(NdisInstallDriverTest, RebootRequiredIsAppliedOnceAndReturned) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"RebootRequired", 1);
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), kReboot);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                                               "ndis_install_driver: driver installed successfully: Reboot required."}));
  EXPECT_EQ(Journal(), Joined({AcquireJournal(), InstallJournal("0x0004A020"), {"Apply() = 0x0004A020"},
                               ReleaseJournal()}));
  EXPECT_EQ(netcfg.Dword(L"Installed"), 1u);
}

TEST_F(NdisInstallDriverTest, CancelledInstallIsNotLoggedAsFailureOfTheComponent) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"Install", std::wstring(L"0x800704C7"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), kCancelled);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                         "HrInstallComponent: pncClassSetup->Install fails. error=0x800704c7, " + SystemText(kCancelled),
                         Failed(kCancelled), Checking(L"netmlfilterm.inf"), Checking(L"netmlfilterp.inf"),
                         "ndis_install_driver: Cannot find INF file or all INF file failed."}));
}

TEST_F(NdisInstallDriverTest, FailedApplyOfTheInstallIsTheComponentsFailure) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"Apply", std::wstring(L"0x80004005"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_FAIL);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                                               NotInstalled(E_FAIL), Failed(E_FAIL),
                                               Checking(L"netmlfilterm.inf"), Checking(L"netmlfilterp.inf"),
                         "ndis_install_driver: Cannot find INF file or all INF file failed."}));
  EXPECT_EQ(netcfg.Dword(L"ApplyCalls"), 1u);
}

TEST_F(NdisInstallDriverTest, FailedSecondApplyIsTakenAsItStands) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"Apply", std::wstring(L"0, 0x80004005"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_FAIL);
  EXPECT_EQ(Lines(), (std::vector<std::string>{Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"), Failed(E_FAIL),
                                               Checking(L"netmlfilterm.inf"), Checking(L"netmlfilterp.inf"),
                         "ndis_install_driver: Cannot find INF file or all INF file failed."}));
  EXPECT_EQ(netcfg.Dword(L"ApplyCalls"), 2u);
}

TEST_F(NdisInstallDriverTest, ClassQueryFailureIsLogged) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"QueryNetCfgClass", std::wstring(L"0x80004001"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_NOTIMPL);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                         "HrInstallComponent: pnc->QueryNetCfgClass fails. error=0x80004001, " + SystemText(E_NOTIMPL),
                         NotInstalled(E_NOTIMPL), Failed(E_NOTIMPL),
                         Checking(L"netmlfilterm.inf"), Checking(L"netmlfilterp.inf"),
                         "ndis_install_driver: Cannot find INF file or all INF file failed."}));
  EXPECT_EQ(netcfg.Dword(L"InstallCalls"), std::nullopt);
  ExpectNothingLeftHeld();
}

TEST_F(NdisInstallDriverTest, ConfigurationThatCannotBeCreatedIsLogged) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"CreateInstance", std::wstring(L"0x80004005"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_FAIL);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"),
                         "InstallSpecifiedComponent: Couldn't the get notify object interface. error=0x80004005, " +
                             SystemText(E_FAIL),
                         Failed(E_FAIL), Checking(L"netmlfilterm.inf"), Checking(L"netmlfilterp.inf"),
                         "ndis_install_driver: Cannot find INF file or all INF file failed."}));
}

TEST_F(NdisInstallDriverTest, FailedInitializeGivesTheLockBack) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  netcfg.Set(L"Initialize", std::wstring(L"0x80004005"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_FAIL);
  EXPECT_EQ(Journal(), (std::vector<std::string>{"CreateInstance(INetCfg) = 0x00000000",
                                                 "QueryInterface(INetCfgLock) = 0x00000000",
                                                 "AcquireWriteLock(5000, ZentAgent, out) = 0x00000000",
                                                 "Initialize(null) = 0x80004005", "ReleaseWriteLock() = 0x00000000",
                                                 "Freed INetCfgLock", "Freed INetCfg"}));
  ExpectNothingLeftHeld();
}

TEST_F(NdisInstallDriverTest, ComAlreadyInitialisedOnTheThreadIsAFailureAsItStands) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  ASSERT_EQ(CoInitialize(nullptr), S_OK);
  HRESULT result = ndis_install_driver(driverDirectory, false);
  CoUninitialize();
  EXPECT_EQ(result, S_FALSE);
  EXPECT_EQ(Lines()[2], "InstallSpecifiedComponent: Couldn't the get notify object interface. error=0x00000001, " +
                            SystemText(S_FALSE));
  EXPECT_EQ(netcfg.Dword(L"CreateInstanceCalls"), std::nullopt);
}

TEST_F(NdisInstallDriverTest, CopyToWindowsPutsTheDriverThereForTheInstallOnly) {
  MakePackage(L"current", {L"netmlfilter.inf"});
  std::wstring target = WindowsFolder() + L"\\mlfilter.sys";
  EXPECT_EQ(ndis_install_driver(driverDirectory, true), S_OK);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         "ndis_install_driver: Copying '" + Dir() + "\\mlfilter.sys' to '" + Narrow(target) + "'",
                         Checking(L"netmlfilter.inf"), Found(L"netmlfilter.inf"), "ndis_install_driver: driver installed."}));
  EXPECT_FALSE(FileExists(target));
}

TEST_F(NdisInstallDriverTest, FailedCopyStillDeletesTheTarget) {
  MakePackage(nullptr, {L"netmlfilter.inf"});
  std::wstring target = WindowsFolder() + L"\\mlfilter.sys";
  ASSERT_TRUE(WriteBytes(target, "left by an earlier install"));
  EXPECT_EQ(ndis_install_driver(driverDirectory, true), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         "ndis_install_driver: Copying '" + Dir() + "\\mlfilter.sys' to '" + Narrow(target) + "'",
                         "ndis_install_driver: CopyFileW failed, err=2"}));
  EXPECT_FALSE(FileExists(target));
  EXPECT_EQ(netcfg.Dword(L"CreateInstanceCalls"), std::nullopt);
}

TEST_F(NdisInstallDriverTest, InfFolderLongerThanItsBufferFailsThatInf) {
  // A working directory deep enough that the INF's folder has more than 255
  // characters; each component stays a legal name.
  std::wstring deep = driverDirectory;
  while (deep.size() < 300) {
    deep += L"\\" + std::wstring(60, L'd');
    ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
  }
  ASSERT_TRUE(CopyFileW(PackageInf(L"netmlfilter.inf").c_str(), (deep + L"\\netmlfilter.inf").c_str(), FALSE));
  HRESULT tooLong = HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
  EXPECT_EQ(ndis_install_driver(deep, false), tooLong);
  std::string inf = Narrow(deep) + "\\netmlfilter.inf";
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         "ndis_install_driver: checking inf path " + inf, "ndis_install_driver: installing driver, inf found: " + inf,
                         NotInstalled(tooLong), Failed(tooLong),
                         "ndis_install_driver: checking inf path " + Narrow(deep) + "\\netmlfilterm.inf",
                         "ndis_install_driver: checking inf path " + Narrow(deep) + "\\netmlfilterp.inf",
                         "ndis_install_driver: Cannot find INF file or all INF file failed."}));
  EXPECT_EQ(netcfg.Dword(L"QueryNetCfgClassCalls"), std::nullopt);
  ExpectNothingLeftHeld();
}

}  // namespace
}  // namespace drivertest
