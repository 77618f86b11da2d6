// GetHmdServices under Wine, through its table of service manager calls:
// the system's own calls, or the same calls with one of them failed or
// changed. The tests register services of their own and look at those
// objects only; the prefix's other services vary.
#include "metadata/get_hmd_services_win.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "util/captured_log.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

const wchar_t kProbe[] = L"ZentSeamProbe";
const wchar_t kOther[] = L"ZentSeamOther";
const wchar_t kLate[] = L"ZentSeamLate";
// SHA-1 of nothing: a result with no objects.
const char kEmptyHash[] = "DA:39:A3:EE:5E:6B:4B:0D:32:55:BF:EF:95:60:18:90:AF:D8:07:09";

void DeleteIfThere(SC_HANDLE manager, const wchar_t* name) {
  if (SC_HANDLE service = OpenServiceW(manager, name, DELETE)) {
    DeleteService(service);
    CloseServiceHandle(service);
  }
}

// Registers a stopped own-process service with a description; the
// dependency list is given to the system, which Wine does not hand back.
void CreateProbe(SC_HANDLE manager, const wchar_t* name, const std::wstring& description) {
  DeleteIfThere(manager, name);
  // Display names are unique too: the other probes show their key name.
  const wchar_t* display = std::wstring(name) == kProbe ? L"Zent Seam Probe" : name;
  SC_HANDLE service = CreateServiceW(manager, name, display, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                     SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, L"C:\\zent\\probe.exe", L"ZentGroup",
                                     nullptr, L"RpcSs\0Tcpip\0", L"LocalSystem", nullptr);
  ASSERT_NE(service, nullptr) << GetLastError();
  SERVICE_DESCRIPTIONW info = {const_cast<wchar_t*>(description.c_str())};
  ASSERT_TRUE(ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &info)) << GetLastError();
  CloseServiceHandle(service);
}

// What the tests' table does differently from the system's.
struct Faults {
  bool managerFails = false;
  bool secondEnumerationFails = false;
  int failAllocation = 0;                 // the n-th allocation fails (1-based); 0: none
  std::wstring openFailsFor;              // OpenServiceW fails with 1060 for this name
  bool openDeletesAndCreates = false;     // the first OpenServiceW deletes kOther and creates kLate
  bool configFirstCallSucceeds = false;   // QueryServiceConfigW without buffer reports success
  bool descriptionFails = false;          // level 1 fails with 122
  bool failureActionsGiven = false;       // level 2 hands back four actions instead of Wine's 124
  bool dependenciesGiven = false;         // the configuration hands back "RpcSs", "Tcpip"
};

Faults g_Faults;
int g_Allocations = 0;
int g_Enumerations = 0;

SC_HANDLE WINAPI FakeOpenSCManager(const wchar_t* machine, const wchar_t* database, DWORD access) {
  if (g_Faults.managerFails) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
  }
  return OpenSCManagerW(machine, database, access);
}

BOOL WINAPI FakeEnum(SC_HANDLE manager, SC_ENUM_TYPE level, DWORD type, DWORD state, BYTE* buffer, DWORD size,
                     DWORD* needed, DWORD* count, DWORD* resume, const wchar_t* group) {
  if (++g_Enumerations == 2 && g_Faults.secondEnumerationFails) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  return EnumServicesStatusExW(manager, level, type, state, buffer, size, needed, count, resume, group);
}

SC_HANDLE WINAPI FakeOpenService(SC_HANDLE manager, const wchar_t* name, DWORD access) {
  if (g_Faults.openDeletesAndCreates) {
    g_Faults.openDeletesAndCreates = false;
    SC_HANDLE all = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    DeleteIfThere(all, kOther);
    CreateProbe(all, kLate, L"late");
    CloseServiceHandle(all);
  }
  if (name == g_Faults.openFailsFor) {
    SetLastError(ERROR_SERVICE_DOES_NOT_EXIST);
    return nullptr;
  }
  return OpenServiceW(manager, name, access);
}

wchar_t g_Dependencies[] = L"RpcSs\0Tcpip\0";

BOOL WINAPI FakeQueryConfig(SC_HANDLE service, QUERY_SERVICE_CONFIGW* config, DWORD size, DWORD* needed) {
  if (config == nullptr && g_Faults.configFirstCallSucceeds) {
    *needed = 0;
    return TRUE;
  }
  BOOL done = QueryServiceConfigW(service, config, size, needed);
  if (done && g_Faults.dependenciesGiven) config->lpDependencies = g_Dependencies;
  return done;
}

wchar_t g_RebootMessage[] = L"Rebooting";
wchar_t g_Command[] = L"\u03A9.exe";

BOOL WINAPI FakeQueryConfig2(SC_HANDLE service, DWORD level, BYTE* buffer, DWORD size, DWORD* needed) {
  if (level == SERVICE_CONFIG_DESCRIPTION && g_Faults.descriptionFails) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  if (level == SERVICE_CONFIG_FAILURE_ACTIONS && g_Faults.failureActionsGiven) {
    auto* failure = reinterpret_cast<SERVICE_FAILURE_ACTIONSW*>(buffer);
    auto* actions = reinterpret_cast<SC_ACTION*>(buffer + sizeof *failure);
    actions[0] = {SC_ACTION_RESTART, 60000};
    actions[1] = {SC_ACTION_REBOOT, 120000};
    actions[2] = {SC_ACTION_RUN_COMMAND, 0};
    actions[3] = {static_cast<SC_ACTION_TYPE>(7), 5};
    *failure = {3600, g_RebootMessage, g_Command, 4, actions};
    return TRUE;
  }
  return QueryServiceConfig2W(service, level, buffer, size, needed);
}

void* FakeAllocate(size_t size) {
  if (++g_Allocations == g_Faults.failAllocation) return nullptr;
  return std::malloc(size);
}

const ServiceManagerCalls kFaulty = {FakeOpenSCManager, FakeEnum,         FakeOpenService, FakeQueryConfig,
                                     FakeQueryConfig2,  CloseServiceHandle, FakeAllocate,  std::free};

class ServiceQuery : public ::testing::Test {
 protected:
  void SetUp() override {
    g_Faults = Faults{};
    g_Allocations = 0;
    g_Enumerations = 0;
    manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    ASSERT_NE(manager, nullptr);
    CreateProbe(manager, kProbe, L"Seam probe");
    DeleteIfThere(manager, kLate);
    results = document.NewElement("HostMetaDataQueryResults");
    document.InsertEndChild(results);
  }
  void TearDown() override {
    for (const wchar_t* name : {kProbe, kOther, kLate}) DeleteIfThere(manager, name);
    CloseServiceHandle(manager);
  }

  bool Run(const std::string& arg1, const ServiceManagerCalls& calls = kFaulty) {
    return GetHmdServices(document, results, "s1", arg1, "", calls);
  }
  tinyxml2::XMLElement* Result() { return results->FirstChildElement("HostMetaDataQueryResult"); }
  // The identifiers of the result's objects, in order.
  std::vector<std::string> Identifiers() {
    std::vector<std::string> names;
    for (auto* o = Result()->FirstChildElement("HostMetaDatas")->FirstChildElement(); o; o = o->NextSiblingElement()) {
      names.push_back(o->Attribute("identifier"));
    }
    return names;
  }
  // The attributes of the object of that key name; fails when it is missing.
  Pairs Attributes(const char* keyName) {
    Pairs pairs;
    auto* object = Result()->FirstChildElement("HostMetaDatas")->FirstChildElement();
    while (object && std::strcmp(object->Attribute("identifier"), keyName) != 0) object = object->NextSiblingElement();
    EXPECT_NE(object, nullptr) << keyName;
    if (!object) return pairs;
    EXPECT_STREQ(object->Attribute("type"), "service");
    for (auto* a = object->FirstChildElement("Attributes")->FirstChildElement(); a; a = a->NextSiblingElement()) {
      pairs.emplace_back(a->Attribute("name"), a->Attribute("value"));
    }
    return pairs;
  }

  SC_HANDLE manager = nullptr;
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = nullptr;
  CapturedLog log{4};
};

const Pairs kProbeFirst = {{"displayName", "Zent Seam Probe"}, {"running", "false"}, {"processId", "0"},
                           {"state", "1"}, {"stateFriendly", "stopped"}};
const Pairs kOtherFirst = {{"displayName", "ZentSeamOther"}, {"running", "false"}, {"processId", "0"},
                           {"state", "1"}, {"stateFriendly", "stopped"}};
const Pairs kProbeConfig = {{"binaryPathName", "C:\\zent\\probe.exe"}, {"startType", "3"}, {"serviceType", "16"},
                            {"serviceStartName", "LocalSystem"}};
const Pairs kProbeDetailedConfig = {{"startTypeFriendly", "manual"}, {"loadOrderGroup", "ZentGroup"}};

Pairs Join(std::initializer_list<Pairs> parts) {
  Pairs all;
  for (const Pairs& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST_F(ServiceQuery, DetailedObjectWithWinesAbsences) {
  ASSERT_TRUE(Run("detailed", SystemServiceManagerCalls()));
  EXPECT_STREQ(Result()->Attribute("commandVersion"), "3");
  EXPECT_STREQ(Result()->Attribute("id"), "s1");
  EXPECT_NE(Result()->Attribute("hash"), nullptr);
  // Wine hands back neither the dependencies nor failure actions.
  EXPECT_EQ(Attributes("ZentSeamProbe"), Join({kProbeFirst, kProbeConfig, kProbeDetailedConfig, {{"description", "S"}}}));
}

TEST_F(ServiceQuery, WineHasNoDependenciesAndNoFailureActions) {
  SC_HANDLE service = OpenServiceW(manager, kProbe, SERVICE_QUERY_CONFIG);
  ASSERT_NE(service, nullptr);
  alignas(8) BYTE buffer[8192];
  DWORD needed = 0;
  ASSERT_TRUE(QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer), sizeof buffer, &needed));
  const wchar_t* dependencies = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer)->lpDependencies;
  EXPECT_TRUE(dependencies == nullptr || dependencies[0] == 0);
  EXPECT_FALSE(QueryServiceConfig2W(service, SERVICE_CONFIG_FAILURE_ACTIONS, buffer, sizeof buffer, &needed));
  EXPECT_EQ(GetLastError(), 124u);
  CloseServiceHandle(service);
}

TEST_F(ServiceQuery, NotDetailedHasSixAttributes) {
  ASSERT_TRUE(Run("Detailed", SystemServiceManagerCalls()));
  EXPECT_EQ(Attributes("ZentSeamProbe"), Join({{{"displayName", "Zent Seam Probe"}, {"running", "false"}}, kProbeConfig}));
}

TEST_F(ServiceQuery, ManagerCannotBeOpenedLeavesNoResult) {
  g_Faults.managerFails = true;
  EXPECT_FALSE(Run("detailed"));
  EXPECT_EQ(Result(), nullptr);
  EXPECT_EQ(LogMessages(log.Text()), (std::vector<std::string>{"GetHmdServices: OpenSCManager faile, error=5"}));
}

TEST_F(ServiceQuery, OutOfMemoryForTheListLeavesAResultWithoutHash) {
  g_Faults.failAllocation = 1;
  EXPECT_FALSE(Run("detailed"));
  ASSERT_NE(Result(), nullptr);
  EXPECT_EQ(Result()->Attribute("hash"), nullptr);
  EXPECT_STREQ(Result()->Attribute("hashAlg"), "SHA1");
  EXPECT_TRUE(Identifiers().empty());
}

TEST_F(ServiceQuery, SecondEnumerationFailingLeavesAHashedEmptyResult) {
  g_Faults.secondEnumerationFails = true;
  EXPECT_TRUE(Run("detailed"));
  EXPECT_TRUE(Identifiers().empty());
  EXPECT_STREQ(Result()->Attribute("hash"), kEmptyHash);
}

TEST_F(ServiceQuery, UnopenedServiceKeepsItsFirstAttributes) {
  g_Faults.openFailsFor = kProbe;
  EXPECT_TRUE(Run("detailed"));
  EXPECT_EQ(Attributes("ZentSeamProbe"), kProbeFirst);
  EXPECT_EQ(LogMessages(log.Text()),
            (std::vector<std::string>{"GetHmdServices: Error opening service ZentSeamProbe, err=1060"}));
}

TEST_F(ServiceQuery, ConfigurationFirstCallNotFailingSkipsTheRest) {
  g_Faults.configFirstCallSucceeds = true;
  EXPECT_TRUE(Run("detailed"));
  EXPECT_EQ(Attributes("ZentSeamProbe"), kProbeFirst);
}

TEST_F(ServiceQuery, ConfigurationAllocationFailingSkipsTheRest) {
  g_Faults.failAllocation = 2;  // the first service's configuration block
  EXPECT_TRUE(Run("detailed"));
  std::vector<std::string> names = Identifiers();
  ASSERT_FALSE(names.empty());
  Pairs first = Attributes(names[0].c_str());
  EXPECT_EQ(first.size(), 5u);
  EXPECT_EQ(first[4].first, "stateFriendly");
  EXPECT_EQ(Attributes("ZentSeamProbe").size(),
            Join({kProbeFirst, kProbeConfig, kProbeDetailedConfig, {{"description", "S"}}}).size());
}

TEST_F(ServiceQuery, DescriptionFailingAloneLosesOnlyItself) {
  g_Faults.descriptionFails = true;
  g_Faults.failureActionsGiven = true;
  EXPECT_TRUE(Run("detailed"));
  EXPECT_EQ(Attributes("ZentSeamProbe"), Join({kProbeFirst, kProbeConfig, kProbeDetailedConfig,
                                               {{"resetFailCountAfter", "3600"},
                                                {"rebootMessage", "R"},
                                                {"runProgram", "\xA9\x03."},
                                                {"firstFailure", "60000,Restart"},
                                                {"secondFailure", "120000,Reboot"},
                                                {"subsequentFailures", "0,RunCommand"},
                                                {"subsequentFailures", "5,7"}}}));
}

TEST_F(ServiceQuery, DependenciesJoinedWhenTheSystemGivesThem) {
  g_Faults.dependenciesGiven = true;
  EXPECT_TRUE(Run("detailed"));
  EXPECT_EQ(Attributes("ZentSeamProbe"),
            Join({kProbeFirst, kProbeConfig, kProbeDetailedConfig, {{"dependsOn", "RpcSs,Tcpip"}}, {{"description", "S"}}}));
}

TEST_F(ServiceQuery, DescriptionOverTheBufferLosesOnlyItself) {
  CreateProbe(manager, kProbe, std::wstring(4200, L'x'));  // 8,402 bytes with its zero
  CreateProbe(manager, kOther, L"Other");
  EXPECT_TRUE(Run("detailed", SystemServiceManagerCalls()));
  EXPECT_EQ(Attributes("ZentSeamProbe"), Join({kProbeFirst, kProbeConfig, kProbeDetailedConfig}));
  EXPECT_EQ(Attributes("ZentSeamOther"), Join({kOtherFirst, kProbeConfig, kProbeDetailedConfig, {{"description", "O"}}}));
}

TEST_F(ServiceQuery, ServicesDeletedOrCreatedMidWalk) {
  CreateProbe(manager, kOther, L"Other");
  g_Faults.openDeletesAndCreates = true;
  EXPECT_TRUE(Run("detailed"));
  // The list was taken before: the new service is not in it, the deleted
  // one keeps what its entry told.
  std::vector<std::string> names = Identifiers();
  EXPECT_EQ(std::count(names.begin(), names.end(), "ZentSeamLate"), 0);
  Pairs other = Attributes("ZentSeamOther");
  EXPECT_EQ(other, kOtherFirst);
  EXPECT_EQ(Attributes("ZentSeamProbe"), Join({kProbeFirst, kProbeConfig, kProbeDetailedConfig, {{"description", "S"}}}));
  EXPECT_NE(log.Text().find("Error opening service ZentSeamOther, err="), std::string::npos);
  EXPECT_NE(Result()->Attribute("hash"), nullptr);
}

}  // namespace
