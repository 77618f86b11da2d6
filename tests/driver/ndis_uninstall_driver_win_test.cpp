// ndis_uninstall_driver against the network configuration's stand-in: the
// component removed step by step, and the installed driver file after it.
#include "driver/network_component_win.h"

#include <netcfgx.h>

#include "build_outputs.h"
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

namespace drivertest {
namespace {

// The stand-in unregistered: Wine's own class is back, and neither the
// install nor the removal gets through it. The registration is given back
// whatever the checks find.
class NetCfgUnregisteredTest : public DriverTest {
 protected:
  void SetUp() override {
    DriverTest::SetUp();
    ASSERT_EQ(RegisterNetCfg(true), 0u);
  }
  void TearDown() override {
    // Wine's server again, whatever a test left, so that the registration
    // keeps it to give back.
    RegisterNetCfg(true);
    EXPECT_EQ(RegisterNetCfg(), 0u);
    DriverTest::TearDown();
  }
};

std::wstring ServerPath() {
  wchar_t text[MAX_PATH * 2] = {};
  DWORD size = sizeof text - sizeof(wchar_t);
  RegGetValueW(HKEY_LOCAL_MACHINE,
               L"Software\\Classes\\CLSID\\{5B035261-40F9-11D1-AAEC-00805FC1270E}\\InprocServer32", nullptr,
               RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, text, &size);
  return text;
}

TEST_F(NetCfgUnregisteredTest, RegistrationTakesTheClassAndUnregistrationGivesWinesBack) {
  EXPECT_EQ(ServerPath(), L"C:\\windows\\system32\\netcfgx.dll");
  ASSERT_EQ(RegisterNetCfg(), 0u);
  std::wstring dll = zentsim::testing::BuildOutput(L"ZENT_SIM_NETCFG_DLL");
  for (wchar_t& c : dll) c = c == L'/' ? L'\\' : c;
  EXPECT_EQ(ServerPath(), dll);
  // Registering twice keeps Wine's server to give back, not the stand-in's.
  ASSERT_EQ(RegisterNetCfg(), 0u);
  ASSERT_EQ(RegisterNetCfg(true), 0u);
  EXPECT_EQ(ServerPath(), L"C:\\windows\\system32\\netcfgx.dll");
}

TEST_F(NetCfgUnregisteredTest, WinesOwnClassLeavesTheComponentAlone) {
  // Wine 8.0's class gives E_NOTIMPL from QueryNetCfgClass and FindComponent.
  MakePackage(L"current", {L"netmlfilter.inf"});
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), E_NOTIMPL);
  EXPECT_EQ(ndis_uninstall_driver(), E_NOTIMPL);
  std::string inf = Dir() + "\\netmlfilter.inf";
  std::string notImplemented = "error=0x80004001, " + SystemText(E_NOTIMPL);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         "ndis_install_driver: checking inf path " + inf,
                         "ndis_install_driver: installing driver, inf found: " + inf,
                         "HrInstallComponent: pnc->QueryNetCfgClass fails. " + notImplemented,
                         "InstallSpecifiedComponent: Couldn't install the network component. " + notImplemented,
                         "ndis_install_driver: InstallSpecifiedComponent failed. " + notImplemented,
                         "ndis_install_driver: checking inf path " + Dir() + "\\netmlfilterm.inf",
                         "ndis_install_driver: checking inf path " + Dir() + "\\netmlfilterp.inf",
                         "ndis_install_driver: Cannot find INF file or all INF file failed.",
                         "UninstallComponent: Couldn't get an interface pointer to mlfilter. " + notImplemented,
                         "ndis_uninstall_driver: UninstallComponent failed. " + notImplemented}));
  EXPECT_EQ(netcfg.Dword(L"CreateInstanceCalls"), std::nullopt);
  EXPECT_FALSE(ServiceRegistered(L"mlfilter"));
}

TEST_F(NetCfgUnregisteredTest, ServerDllThatIsGoneFailsTheAcquire) {
  const wchar_t* key = L"Software\\Classes\\CLSID\\{5B035261-40F9-11D1-AAEC-00805FC1270E}\\InprocServer32";
  std::wstring gone = L"C:\\nowhere\\netcfg.dll";
  ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, nullptr, REG_SZ, gone.c_str(),
                            static_cast<DWORD>((gone.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
  // What the system answers for a class whose server is gone, asked here.
  ASSERT_EQ(CoInitialize(nullptr), S_OK);
  void* object = nullptr;
  HRESULT missing = CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_INetCfg, &object);
  CoUninitialize();
  ASSERT_TRUE(FAILED(missing));

  MakePackage(L"current", {L"netmlfilter.inf"});
  EXPECT_EQ(ndis_install_driver(driverDirectory, false), missing);
  EXPECT_EQ(ndis_uninstall_driver(), missing);
  std::string failure = "error=" + Code(missing) + ", " + SystemText(missing);
  std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 9u);
  EXPECT_EQ(lines[2], "InstallSpecifiedComponent: Couldn't the get notify object interface. " + failure);
  EXPECT_EQ(lines[3], "ndis_install_driver: InstallSpecifiedComponent failed. " + failure);
  EXPECT_EQ(lines[7], "UninstallComponent: Couldn't get the notify object interface. " + failure);
  EXPECT_EQ(lines[8], "ndis_uninstall_driver: UninstallComponent failed. " + failure);
}

}  // namespace
}  // namespace drivertest
