// The telemetry loop at 300 ms on real files, a real ini file, the agent's
// registry key and the driver's service stand-in, checked at each pass. The
// test holds the loop at a pass's "Telemetry thread" line: by then the pass
// has read the host and written DriverStatus, while its ConfigBinStatus and
// PolicyStatus come after the line. So at the hold of pass N the key shows
// DriverStatus of pass N and the other two as pass N-1 left them, and the
// lines since the previous hold begin with the writes of pass N-1.
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "records/settings.h"
#include "support/scratch_folder.h"
#include "telemetry_host_win.h"
#include "util/captured_log.h"

namespace {

using namespace telemetrytest;
using Lines = std::vector<std::string>;

constexpr DWORD kPeriodMs = 300;
// Seconds since 1970 for the files' times: 2020-09-13 12:26:40.
constexpr int64_t kSecond = 1600000000;

const std::string kEnters = "ProcessTelemetryFn: ProcessTelemetryFn: enters";
const std::string kWrite = "SetDWordValue: Registry key name: 'HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent'";
const std::string kNoFile = "GetFileModifyTime: Get File Info fails";
const std::string kRunning = "getDriverStatus: mlfilter stat.dwCurrentState: 4";
const std::string kNoLabels = "comparePolicyStatus: deployedPolicyInfo: , requestPolicyInfo: ";
const std::string kNoConfig = "compareConfigBinStatus: ConfigXMLTime: 0, ConfigBinTime: 0";
const std::string kSignaled = "ProcessTelemetryFn: ProcessTelemetryFn: Stop Event Signaled!";
const std::string kExits = "ProcessTelemetryFn: ProcessTelemetryFn: exits";
const std::string kHold = "ProcessTelemetryFn: Telemetry thread:";

class TelemetryLoop : public ::testing::Test {
 protected:
  void SetUp() override {
    // The lines reach the test through the debugger output.
    s_Settings.DbgviewLog = true;
    s_Settings.workingDirectory = folder;
    s_Settings.iniFile = folder + L"\\config\\zent_agent.ini";
    CreateDirectoryW((folder + L"\\config").c_str(), nullptr);
    for (const wchar_t* name : kValues) DeleteAgentValue(name);
    RemoveDriverService();
    SetDriverKnob(L"StartDelayMs", 0);
    ASSERT_TRUE(RegisterDriverService()) << GetLastError();
    ASSERT_TRUE(StartDriverService()) << GetLastError();
    ASSERT_EQ(WaitForDriverState(SERVICE_RUNNING), static_cast<DWORD>(SERVICE_RUNNING));
  }
  void TearDown() override {
    RemoveDriverService();
    SetDriverKnob(L"StartDelayMs", 0);
    for (const wchar_t* name : kValues) DeleteAgentValue(name);
    DeleteFileW(File(L"config.xml").c_str());
    DeleteFileW(File(L"config.rbf").c_str());
    DeleteFileW(s_Settings.iniFile.c_str());
    RemoveDirectoryW((folder + L"\\config").c_str());
    RemoveDirectoryW(folder.c_str());
  }

  std::wstring File(const wchar_t* name) const { return folder + L"\\" + name; }
  // config.xml and config.rbf with their times, seconds and tenths.
  void Config(int64_t xmlSeconds, int64_t xmlTenths, int64_t binSeconds, int64_t binTenths) {
    ASSERT_TRUE(WriteFileAt(File(L"config.xml"), "<xml/>", xmlSeconds, xmlTenths * 1000000));
    ASSERT_TRUE(WriteFileAt(File(L"config.rbf"), "rules", binSeconds, binTenths * 1000000));
  }
  void Labels(const std::string& deployed, const std::string& requested) {
    ASSERT_TRUE(WriteBytes(s_Settings.iniFile,
                           "[Policy]\r\nDeployedPolicy=" + deployed + "\r\nRequestPolicy=" + requested + "\r\n"));
  }

  static constexpr const wchar_t* kValues[] = {L"DriverStatus", L"ConfigBinStatus", L"PolicyStatus"};
  CapturedLog log{4};
  LineGate gate;
  std::wstring folder = MakeScratchFolder();
};

TEST_F(TelemetryLoop, DriverStatusFollowsTheServiceAtEachPass) {
  TelemetryThread loop(gate, kPeriodMs);

  // Running: 4. A fresh host, no config.xml nor config.rbf, no ini file.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kEnters, kNoFile, kNoFile, kNoConfig, kNoLabels, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  EXPECT_EQ(AgentValue(L"DriverStatus"), 4u);
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), std::nullopt);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), std::nullopt);
  ASSERT_TRUE(StopDriverService());
  ASSERT_EQ(WaitForDriverState(SERVICE_STOPPED), static_cast<DWORD>(SERVICE_STOPPED));

  // Stopped: 1. The good values of the fresh host were written at once.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, kNoFile, kNoFile, kNoConfig, kNoLabels,
                   "getDriverStatus: mlfilter stat.dwCurrentState: 1", kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),1"}));
  EXPECT_EQ(AgentValue(L"DriverStatus"), 1u);
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 0u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);

  // Start pending: 2. The slow start begins just before the pass asks.
  Lines lines = gate.Through("comparePolicyStatus: deployedPolicyInfo:");
  SetDriverKnob(L"StartDelayMs", 5000);
  ASSERT_TRUE(StartDriverService()) << GetLastError();
  ASSERT_EQ(WaitForDriverState(SERVICE_START_PENDING), static_cast<DWORD>(SERVICE_START_PENDING));
  Lines rest = gate.Through(kHold);
  lines.insert(lines.end(), rest.begin(), rest.end());
  EXPECT_EQ(lines, (Lines{kWrite, kWrite, kNoFile, kNoFile, kNoConfig, kNoLabels,
                          "getDriverStatus: mlfilter stat.dwCurrentState: 2", kWrite,
                          "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                          "(PolicyStatusValue,ErrorCount)(0,0),2"}));
  EXPECT_EQ(AgentValue(L"DriverStatus"), 2u);
  RemoveDriverService();

  // No service: 0, and the service manager's refusal in the log.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, kNoFile, kNoFile, kNoConfig, kNoLabels, "getDriverStatus: OpenService failed",
                   kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),0"}));
  EXPECT_EQ(AgentValue(L"DriverStatus"), 0u);

  EXPECT_EQ(loop.Stop(), (Lines{kWrite, kWrite, kSignaled, kExits}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 0u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);
}

TEST_F(TelemetryLoop, MismatchIsWrittenOnTheSecondPassInARowAndGoodValuesAtOnce) {
  // Values set beforehand stay through a first pass that sees a mismatch.
  SetAgentValue(L"ConfigBinStatus", 7);
  SetAgentValue(L"PolicyStatus", 7);
  Config(kSecond + 5, 0, kSecond, 0);
  Labels("Policy-1", "Policy-2");
  const std::string olderRules = "compareConfigBinStatus: ConfigXMLTime: 1600000005, ConfigBinTime: 1600000000";
  const std::string newerRules = "compareConfigBinStatus: ConfigXMLTime: 1600000005, ConfigBinTime: 1600000010";
  const std::string otherPolicy = "comparePolicyStatus: deployedPolicyInfo: Policy-1, requestPolicyInfo: Policy-2";
  const std::string samePolicy = "comparePolicyStatus: deployedPolicyInfo: Policy-2, requestPolicyInfo: Policy-2";
  TelemetryThread loop(gate, kPeriodMs);

  // Pass 1: both differ for the first time; nothing but DriverStatus.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kEnters, olderRules, otherPolicy, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,0),"
                   "(PolicyStatusValue,ErrorCount)(1,0),4"}));

  // Pass 2: the second in a row writes both and clears the marks.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{olderRules, otherPolicy, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,1),"
                   "(PolicyStatusValue,ErrorCount)(1,1),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 7u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 7u);

  // Pass 3: the lasting mismatch is a first one again and writes nothing;
  // the values set here show it.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, olderRules, otherPolicy, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,0),"
                   "(PolicyStatusValue,ErrorCount)(1,0),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 1u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 1u);
  SetAgentValue(L"ConfigBinStatus", 9);
  SetAgentValue(L"PolicyStatus", 9);
  Labels("Policy-2", "Policy-2");

  // Pass 4: the rule file's mismatch again, written; the policy is the one
  // asked for, written at once although its mark was set.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{olderRules, samePolicy, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,1),"
                   "(PolicyStatusValue,ErrorCount)(0,1),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 9u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 9u);
  Config(kSecond + 5, 0, kSecond + 10, 0);
  Labels("Policy-2", "Policy-3");

  // Pass 5: a newer rule file, written at once; a first policy mismatch.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, newerRules,
                   "comparePolicyStatus: deployedPolicyInfo: Policy-2, requestPolicyInfo: Policy-3", kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(1,0),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 1u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);
  SetAgentValue(L"PolicyStatus", 9);
  Config(kSecond + 5, 0, kSecond, 0);
  Labels("Policy-3", "Policy-3");

  // Pass 6: a first rule file mismatch; the good policy, written although
  // its mark was set.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, olderRules,
                   "comparePolicyStatus: deployedPolicyInfo: Policy-3, requestPolicyInfo: Policy-3", kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,0),"
                   "(PolicyStatusValue,ErrorCount)(0,1),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 0u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 9u);
  SetAgentValue(L"ConfigBinStatus", 9);
  Config(kSecond + 5, 0, kSecond + 10, 0);

  // Pass 7: the good rule file, written at once with its mark set.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, newerRules,
                   "comparePolicyStatus: deployedPolicyInfo: Policy-3, requestPolicyInfo: Policy-3", kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,1),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 9u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);

  EXPECT_EQ(loop.Stop(), (Lines{kWrite, kWrite, kSignaled, kExits}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 0u);
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);
  EXPECT_EQ(AgentValue(L"DriverStatus"), 4u);
}

TEST_F(TelemetryLoop, RuleFileAgeIsComparedInWholeSeconds) {
  // The rule file a fraction of a second older, within the same second.
  Config(kSecond, 9, kSecond, 1);
  const std::string sameSecond = "compareConfigBinStatus: ConfigXMLTime: 1600000000, ConfigBinTime: 1600000000";
  TelemetryThread loop(gate, kPeriodMs);

  EXPECT_EQ(gate.Through(kHold),
            (Lines{kEnters, sameSecond, kNoLabels, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  ASSERT_TRUE(DeleteFileW(File(L"config.xml").c_str()));

  // No config.xml: its time is 0, and no rule file is older than that.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, kNoFile, "compareConfigBinStatus: ConfigXMLTime: 0, ConfigBinTime: 1600000000",
                   kNoLabels, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 0u);
  ASSERT_TRUE(WriteFileAt(File(L"config.xml"), "<xml/>", kSecond, 0));
  ASSERT_TRUE(DeleteFileW(File(L"config.rbf").c_str()));

  // No config.rbf beside config.xml: older, a first mismatch.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, kNoFile, "compareConfigBinStatus: ConfigXMLTime: 1600000000, ConfigBinTime: 0",
                   kNoLabels, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 0u);
  SetAgentValue(L"ConfigBinStatus", 9);

  // The second pass in a row writes it.
  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kNoFile, "compareConfigBinStatus: ConfigXMLTime: 1600000000, ConfigBinTime: 0", kNoLabels,
                   kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(1,1),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 9u);

  EXPECT_EQ(loop.Stop(), (Lines{kWrite, kWrite, kSignaled, kExits}));
  EXPECT_EQ(AgentValue(L"ConfigBinStatus"), 1u);
}

TEST_F(TelemetryLoop, PolicyLabelsAreReadFromTheFileAndComparedExactly) {
  Config(kSecond, 0, kSecond, 0);
  const std::string config = "compareConfigBinStatus: ConfigXMLTime: 1600000000, ConfigBinTime: 1600000000";
  // The labels in memory differ; the file has none, and two empty labels are
  // equal.
  s_Settings.DeployedPolicy = L"Policy-in-memory-1";
  s_Settings.RequestPolicy = L"Policy-in-memory-2";
  SetAgentValue(L"PolicyStatus", 9);
  TelemetryThread loop(gate, kPeriodMs);

  EXPECT_EQ(gate.Through(kHold),
            (Lines{kEnters, config, kNoLabels, kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  // Only 253 characters of each are read: labels that differ after them
  // are equal, and the memory's equal labels do not count either way.
  const std::string common(253, 'p');
  Labels(common + "-one", common + "-two");
  s_Settings.DeployedPolicy = L"Policy-in-memory";
  s_Settings.RequestPolicy = L"Policy-in-memory";

  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, config,
                   "comparePolicyStatus: deployedPolicyInfo: " + common + ", requestPolicyInfo: " + common, kRunning,
                   kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(0,0),4"}));
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);
  // A difference of case is a difference.
  Labels("Policy-7", "policy-7");

  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, kWrite, config, "comparePolicyStatus: deployedPolicyInfo: Policy-7, requestPolicyInfo: policy-7",
                   kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(1,0),4"}));
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 0u);
  // A difference at the 253rd character is one.
  const std::string shorter(252, 'p');
  Labels(shorter + "A-one", shorter + "B-one");

  EXPECT_EQ(gate.Through(kHold),
            (Lines{kWrite, config,
                   "comparePolicyStatus: deployedPolicyInfo: " + shorter + "A, requestPolicyInfo: " + shorter + "B",
                   kRunning, kWrite,
                   "ProcessTelemetryFn: Telemetry thread: (ConfigBinStatusValue,ErrorCount):(0,0),"
                   "(PolicyStatusValue,ErrorCount)(1,1),4"}));

  EXPECT_EQ(loop.Stop(), (Lines{kWrite, kWrite, kSignaled, kExits}));
  EXPECT_EQ(AgentValue(L"PolicyStatus"), 1u);
}

}  // namespace
