// ndis_uninstall_driver against the network configuration's stand-in: the
// component removed step by step, and the installed driver file after it.
#include "driver/network_component_win.h"

#include "driver_test_support_win.h"

namespace drivertest {
namespace {

constexpr HRESULT kReboot = 0x0004A020;
constexpr HRESULT kNoWriteLock = static_cast<HRESULT>(0x8004A024);

const std::string kNetService = "{4D36E974-E325-11CE-BFC1-08002BE10318}";

std::vector<std::string> RemovalJournal(const std::string& deinstall = "0x00000000",
                                        const std::string& apply = "0x00000000") {
  return {"FindComponent(mlfilter) = 0x00000000",
          "GetClassGuid() = 0x00000000",
          "QueryNetCfgClass(" + kNetService + ", INetCfgClass) = 0x00000000",
          "QueryInterface(INetCfgClassSetup) = 0x00000000",
          "DeInstall(component, OBO_USER, null) = " + deinstall,
          "Apply() = " + apply,
          "Freed INetCfgClassSetup",
          "Freed INetCfgClass",
          "Freed INetCfgComponent"};
}

class NdisUninstallDriverTest : public DriverTest {
 protected:
  static std::string Failed(HRESULT error) {
    return "ndis_uninstall_driver: UninstallComponent failed. error=" + Code(error) + ", " + SystemText(error);
  }
  // A failed removal leaves the driver file where it is.
  void ExpectFailureKeepsTheFile(HRESULT error, const std::string& stepLine) {
    EXPECT_EQ(ndis_uninstall_driver(), error);
    EXPECT_EQ(Lines(), (std::vector<std::string>{stepLine, Failed(error)}));
    EXPECT_TRUE(FileExists(InstalledDriverFile()));
    EXPECT_EQ(netcfg.Dword(L"LiveObjects").value_or(0), 0u);
    EXPECT_EQ(netcfg.String(L"LockHolder"), std::nullopt);
  }
};

TEST_F(NdisUninstallDriverTest, RemovesTheComponentItsServiceAndTheDriverFile) {
  InstallComponentFirst();
  ASSERT_TRUE(FileExists(InstalledDriverFile()));
  EXPECT_EQ(ndis_uninstall_driver(), S_OK);
  EXPECT_EQ(Lines(), std::vector<std::string>{"ndis_uninstall_driver: driver uninstalled."});
  EXPECT_EQ(Journal(), Joined({AcquireJournal(), RemovalJournal(), ReleaseJournal()}));
  EXPECT_EQ(netcfg.Dword(L"Installed"), 0u);
  EXPECT_EQ(netcfg.Dword(L"LiveObjects").value_or(0), 0u);
  EXPECT_FALSE(ServiceRegistered(L"mlfilter"));
  EXPECT_FALSE(FileExists(InstalledDriverFile()));
}

TEST_F(NdisUninstallDriverTest, AbsentComponentIsOneAndLeavesTheFile) {
  CreateDirectoryW((SystemFolder() + L"\\drivers").c_str(), nullptr);
  ASSERT_TRUE(CopyFileW(PackageDriver(L"older").c_str(), InstalledDriverFile().c_str(), FALSE));
  ExpectFailureKeepsTheFile(S_FALSE, "UninstallComponent: Couldn't get an interface pointer to mlfilter. error=0x00000001, " +
                                         SystemText(S_FALSE));
  EXPECT_EQ(Journal(), Joined({AcquireJournal(), {"FindComponent(mlfilter) = 0x00000001"}, ReleaseJournal()}));
}

TEST_F(NdisUninstallDriverTest, RebootRequiredStillDeletesTheFile) {
  InstallComponentFirst();
  netcfg.Set(L"RebootRequired", 1);
  EXPECT_EQ(ndis_uninstall_driver(), kReboot);
  EXPECT_EQ(Lines(), std::vector<std::string>{"ndis_uninstall_driver: driver uninstalled successfully: Reboot required."});
  EXPECT_EQ(Journal(), Joined({AcquireJournal(), RemovalJournal("0x0004A020", "0x0004A020"), ReleaseJournal()}));
  EXPECT_FALSE(FileExists(InstalledDriverFile()));
}

TEST_F(NdisUninstallDriverTest, ClassGuidFailureStopsTheChain) {
  InstallComponentFirst();
  netcfg.Set(L"GetClassGuid", std::wstring(L"0x80004005"));
  ExpectFailureKeepsTheFile(E_FAIL, "UninstallComponent: Couldn't get the class guid of mlfilter. error=0x80004005, " +
                                        SystemText(E_FAIL));
  EXPECT_EQ(netcfg.Dword(L"QueryNetCfgClassCalls"), std::nullopt);
}

TEST_F(NdisUninstallDriverTest, ClassInterfaceFailureStopsTheChain) {
  InstallComponentFirst();
  netcfg.Set(L"QueryNetCfgClass", std::wstring(L"0x80004002"));
  ExpectFailureKeepsTheFile(E_NOINTERFACE,
                            "UninstallComponent: Couldn't get a pointer to class interface of mlfilter. error=0x80004002, " +
                                SystemText(E_NOINTERFACE));
}

TEST_F(NdisUninstallDriverTest, SetupInterfaceFailureStopsTheChain) {
  InstallComponentFirst();
  // The lock's query comes first, the class's second.
  netcfg.Set(L"QueryInterface", std::wstring(L"0, 0x80004002, 0"));
  ExpectFailureKeepsTheFile(E_NOINTERFACE, "UninstallComponent: Couldn't get an interface to setup class. error=0x80004002, " +
                                               SystemText(E_NOINTERFACE));
  EXPECT_EQ(netcfg.Dword(L"DeInstallCalls"), std::nullopt);
}

TEST_F(NdisUninstallDriverTest, DeInstallFailureKeepsEverything) {
  InstallComponentFirst();
  netcfg.Set(L"DeInstall", std::wstring(L"0x80070005"));
  ExpectFailureKeepsTheFile(E_ACCESSDENIED,
                            "UninstallComponent: Failed to uninstall mlfilter. error=0x80070005, " + SystemText(E_ACCESSDENIED));
  EXPECT_EQ(netcfg.Dword(L"ApplyCalls"), std::nullopt);
  EXPECT_EQ(netcfg.Dword(L"Installed"), 1u);
  EXPECT_TRUE(ServiceRegistered(L"mlfilter"));
}

TEST_F(NdisUninstallDriverTest, ApplyFailureIsReturned) {
  InstallComponentFirst();
  netcfg.Set(L"Apply", std::wstring(L"0x80004005"));
  ExpectFailureKeepsTheFile(E_FAIL, "UninstallComponent: Couldn't apply the changes after uninstalling mlfilter. error=0x80004005, " +
                                        SystemText(E_FAIL));
}

TEST_F(NdisUninstallDriverTest, LockHeldElsewhereIsReturned) {
  InstallComponentFirst();
  netcfg.Set(L"LockHeldBy", std::wstring(L"Other Installer"));
  ExpectFailureKeepsTheFile(kNoWriteLock, "UninstallComponent: Other Installer currently holds the lock, try later.");
}

TEST_F(NdisUninstallDriverTest, ConfigurationThatCannotBeCreatedIsLogged) {
  InstallComponentFirst();
  netcfg.Set(L"CreateInstance", std::wstring(L"0x80004005"));
  ExpectFailureKeepsTheFile(E_FAIL, "UninstallComponent: Couldn't get the notify object interface. error=0x80004005, " +
                                        SystemText(E_FAIL));
}

TEST_F(NdisUninstallDriverTest, DriverFileInUseStaysAndTheResultIsKept) {
  InstallComponentFirst();
  HANDLE held = CreateFileW(InstalledDriverFile().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  HRESULT result = ndis_uninstall_driver();
  CloseHandle(held);
  EXPECT_EQ(result, S_OK);
  EXPECT_EQ(Lines(), (std::vector<std::string>{"ndis_uninstall_driver: driver uninstalled.",
                                               "ndis_uninstall_driver: DeleteFile fails: error=32"}));
  EXPECT_TRUE(FileExists(InstalledDriverFile()));
}

TEST_F(NdisUninstallDriverTest, NoDriverFileIsNoFailure) {
  InstallComponentFirst();
  ASSERT_TRUE(DeleteFileW(InstalledDriverFile().c_str()));
  EXPECT_EQ(ndis_uninstall_driver(), S_OK);
  EXPECT_EQ(Lines(), std::vector<std::string>{"ndis_uninstall_driver: driver uninstalled."});
}

}  // namespace
}  // namespace drivertest
