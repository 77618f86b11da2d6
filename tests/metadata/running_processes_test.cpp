// The running processes query over hand-made processes: which attributes
// each object gets, in which order, with which text, what each refusal
// leaves out and logs, the owners' names from the well-known table and from
// the system, the image path's forms and the command line's partial reads.
// Expectations are written from the query's rules.
#include "metadata/get_hmd_running_processes.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "metadata/process_owner.h"
#include "metadata/process_reads.h"
#include "metadata/well_known_sids.h"
#include "running_process_fakes.h"
#include "util/captured_log.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Strings = std::vector<std::string>;

struct Object {
  std::string type, identifier;
  Pairs attributes;
};

struct Answer {
  bool returned = false;
  bool hasResult = false;
  std::vector<std::string> shell;  // commandVersion, id, hashAlg, and whether hash is there
  std::vector<Object> objects;
};

Answer Ask(FakeHost& host) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  Answer answer;
  answer.returned = GetHmdRunningProcesses(document, results, "procs", host.Calls());
  const tinyxml2::XMLElement* result = results->FirstChildElement("HostMetaDataQueryResult");
  answer.hasResult = result != nullptr;
  if (result == nullptr) return answer;
  for (const tinyxml2::XMLAttribute* a = result->FirstAttribute(); a; a = a->Next()) {
    answer.shell.push_back(std::string(a->Name()) == "hash" ? "hash" : std::string(a->Name()) + "=" + a->Value());
  }
  for (const tinyxml2::XMLElement* o = result->FirstChildElement("HostMetaDatas")->FirstChildElement(); o;
       o = o->NextSiblingElement()) {
    Object object{o->Attribute("type"), o->Attribute("identifier"), {}};
    for (const tinyxml2::XMLElement* a = o->FirstChildElement("Attributes")->FirstChildElement(); a;
         a = a->NextSiblingElement()) {
      object.attributes.emplace_back(a->Attribute("name"), a->Attribute("value"));
    }
    answer.objects.push_back(object);
  }
  return answer;
}

// The first four attributes, which every process has.
Pairs Entry(const std::string& threads, const std::string& process, const std::string& pid,
            const std::string& parent) {
  return {{"threads", threads}, {"process", process}, {"pid", pid}, {"parent", parent}};
}

Pairs Join(Pairs first, const Pairs& then) {
  first.insert(first.end(), then.begin(), then.end());
  return first;
}

// The owner attributes of a process that runs as SYSTEM, named by the table.
const Pairs kSystemOwner = {{"user", "NT AUTHORITY\\SYSTEM"},
                            {"userId", "S-1-5-18"},
                            {"groupId", "S-1-5-18"},
                            {"group", "NT AUTHORITY\\SYSTEM"}};

std::u16string Repeated(char16_t unit, size_t count) { return std::u16string(count, unit); }

// The value of one attribute of the only object, or "<absent>".
std::string AttributeOf(const Answer& answer, const std::string& name) {
  for (const auto& [n, v] : answer.objects.at(0).attributes) {
    if (n == name) return v;
  }
  return "<absent>";
}

TEST(RunningProcessObject, OpenedProcessHasEveryAttributeInOrder) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(1234, u"probe.exe");
  process.entry.threads = 7;
  process.entry.parentPid = 56;
  process.longPaths[u"C:\\Zent\\probe.exe"] = u"C:\\Zent Long\\probe.exe";
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_TRUE(answer.returned);
  EXPECT_EQ(answer.shell, (Strings{"commandVersion=2", "id=procs", "hashAlg=SHA1", "hash"}));
  ASSERT_EQ(answer.objects.size(), 1u);
  EXPECT_EQ(answer.objects[0].type, "runningProcess");
  EXPECT_EQ(answer.objects[0].identifier, "probe.exe\\1234");
  EXPECT_EQ(answer.objects[0].attributes,
            Join(Join(Join(Entry("7", "probe.exe", "1234", "56"), {{"path", "C:\\Zent Long\\probe.exe"}}),
                      kSystemOwner),
                 {{"created", "133000000000000000"}, {"commandLine", "probe.exe -run"}}));
  EXPECT_EQ(host.openHandles, 0);
  EXPECT_EQ(host.snapshotCloses, 1);
}

TEST(RunningProcessObject, ObjectsComeInTheSnapshotsOrder) {
  FakeHost host;
  host.processes = {MakeFakeProcess(900, u"zeta.exe"), MakeFakeProcess(8, u"alpha.exe"),
                    MakeFakeProcess(300, u"mid.exe")};
  Answer answer = Ask(host);
  ASSERT_EQ(answer.objects.size(), 3u);
  EXPECT_EQ(answer.objects[0].identifier, "zeta.exe\\900");
  EXPECT_EQ(answer.objects[1].identifier, "alpha.exe\\8");
  EXPECT_EQ(answer.objects[2].identifier, "mid.exe\\300");
}

TEST(RunningProcessObject, NamesAreUtf8AndCreatedIsSigned) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(77, u"\u0141\u00f3d\u017a.exe");
  process.created = -5;
  process.moduleName = u"C:\\\u00e9t\u00e9\\\u0141\u00f3d\u017a.exe";
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(answer.objects.at(0).identifier, "\xC5\x81\xC3\xB3" "d\xC5\xBA.exe\\77");
  EXPECT_EQ(AttributeOf(answer, "process"), "\xC5\x81\xC3\xB3" "d\xC5\xBA.exe");
  EXPECT_EQ(AttributeOf(answer, "path"), "C:\\\xC3\xA9t\xC3\xA9\\\xC5\x81\xC3\xB3" "d\xC5\xBA.exe");
  EXPECT_EQ(AttributeOf(answer, "created"), "-5");
  EXPECT_EQ(AttributeOf(answer, "commandLine"), "\xC5\x81\xC3\xB3" "d\xC5\xBA.exe -run");
}

TEST(RunningProcessRefusals, ProcessIdZeroKeepsFourAttributesAndLogsNothing) {
  CapturedLog log(6);
  FakeHost host;
  FakeProcess idle = MakeFakeProcess(0, u"[System Process]");
  idle.openError = kFakeInvalidParameter;
  idle.entry.parentPid = 0;
  host.processes = {idle};
  Answer answer = Ask(host);
  EXPECT_TRUE(answer.returned);
  ASSERT_EQ(answer.objects.size(), 1u);
  EXPECT_EQ(answer.objects[0].identifier, "[System Process]\\0");
  EXPECT_EQ(answer.objects[0].attributes, Entry("3", "[System Process]", "0", "0"));
  EXPECT_EQ(LogMessages(log.Text()), Strings{});
}

TEST(RunningProcessRefusals, AccessDeniedKeepsFourAttributesAndLogsNothing) {
  CapturedLog log(6);
  FakeHost host;
  FakeProcess guarded = MakeFakeProcess(4321, u"guarded.exe");
  guarded.openError = kFakeAccessDenied;
  host.processes = {guarded, MakeFakeProcess(12, u"next.exe")};
  Answer answer = Ask(host);
  ASSERT_EQ(answer.objects.size(), 2u);
  EXPECT_EQ(answer.objects[0].attributes, Entry("3", "guarded.exe", "4321", "4"));
  EXPECT_EQ(answer.objects[1].attributes.size(), 11u);
  EXPECT_EQ(answer.shell.back(), "hash");
  for (const std::string& line : LogMessages(log.Text())) EXPECT_EQ(line.find("OpenProcess"), std::string::npos);
}

TEST(RunningProcessRefusals, ProcessGoneDuringTheWalkIsLoggedAndKeepsFourAttributes) {
  CapturedLog log(1);
  FakeHost host;
  FakeProcess gone = MakeFakeProcess(5150, u"gone.exe");
  gone.openError = kFakeInvalidParameter;
  host.processes = {gone};
  Answer answer = Ask(host);
  EXPECT_TRUE(answer.returned);
  EXPECT_EQ(answer.objects.at(0).attributes, Entry("3", "gone.exe", "5150", "4"));
  EXPECT_EQ(LogMessages(log.Text()),
            Strings{"GetHmdRunningProcesses: OpenProcess() for pid 5150 (gone.exe) failed"});
}

TEST(RunningProcessRefusals, OpenFailureLineCutsTheNameAt256Characters) {
  CapturedLog log(1);
  FakeHost host;
  FakeProcess gone = MakeFakeProcess(9, Repeated(u'n', 300));
  gone.openError = 6;
  host.processes = {gone};
  Ask(host);
  EXPECT_EQ(LogMessages(log.Text()),
            Strings{"GetHmdRunningProcesses: OpenProcess() for pid 9 (" + std::string(256, 'n') + ") failed"});
}

TEST(RunningProcessRefusals, ProcessThatEndedAfterOpeningLosesOnlyWhatCannotBeRead) {
  FakeHost host;
  FakeProcess ended = MakeFakeProcess(31, u"ended.exe");
  ended.moduleName.reset();
  ended.tokenOpens = false;
  ended.created.reset();
  ended.memory.clear();
  host.processes = {ended};
  Answer answer = Ask(host);
  EXPECT_TRUE(answer.returned);
  EXPECT_EQ(answer.objects.at(0).attributes, Entry("3", "ended.exe", "31", "4"));
  EXPECT_EQ(host.openHandles, 0);
}

TEST(RunningProcessRefusals, SnapshotFailureLeavesNoResult) {
  CapturedLog log(1);
  FakeHost host;
  host.snapshotOpens = false;
  host.processes = {MakeFakeProcess(1, u"a.exe")};
  Answer answer = Ask(host);
  EXPECT_FALSE(answer.returned);
  EXPECT_FALSE(answer.hasResult);
  EXPECT_EQ(host.snapshotCloses, 0);
  EXPECT_EQ(LogMessages(log.Text()), Strings{"GetHmdRunningProcesses: CreateToolhelp32Snapshot failed"});
}

TEST(RunningProcessRefusals, EmptySnapshotGivesAResultWithHashAndNoObjects) {
  FakeHost host;
  Answer answer = Ask(host);
  EXPECT_TRUE(answer.returned);
  EXPECT_EQ(answer.shell, (Strings{"commandVersion=2", "id=procs", "hashAlg=SHA1", "hash"}));
  EXPECT_TRUE(answer.objects.empty());
}

// --- the image path -----------------------------------------------------------------------

std::string PathOf(const std::u16string& moduleName, FakeHost host = {}) {
  FakeProcess process = MakeFakeProcess(40, u"p.exe");
  process.moduleName = moduleName;
  host.processes = {process};
  return AttributeOf(Ask(host), "path");
}

TEST(RunningProcessPath, NtPrefixIsDropped) { EXPECT_EQ(PathOf(u"\\??\\C:\\x\\p.exe"), "C:\\x\\p.exe"); }

TEST(RunningProcessPath, LongPathPrefixIsDropped) { EXPECT_EQ(PathOf(u"\\\\?\\C:\\x\\p.exe"), "C:\\x\\p.exe"); }

TEST(RunningProcessPath, SystemRootIsPutUnderTheDirectoryItNames) {
  FakeHost host;
  host.systemRoot = u"D:\\Win";
  EXPECT_EQ(PathOf(u"\\SystemRoot\\System32\\smss.exe", host), "D:\\Win\\System32\\smss.exe");
}

TEST(RunningProcessPath, SystemRootStaysWhenTheVariableIsMissing) {
  FakeHost host;
  host.systemRoot.reset();
  EXPECT_EQ(PathOf(u"\\SystemRoot\\System32\\smss.exe", host), "\\SystemRoot\\System32\\smss.exe");
}

TEST(RunningProcessPath, SystemRootCountsOnlyAsTheFirstComponent) {
  EXPECT_EQ(PathOf(u"\\SystemRootX\\a.exe"), "\\SystemRootX\\a.exe");
  EXPECT_EQ(PathOf(u"C:\\SystemRoot\\a.exe"), "C:\\SystemRoot\\a.exe");
}

TEST(RunningProcessPath, LongFormIsAskedForTheResolvedName) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(40, u"p.exe");
  process.moduleName = u"\\??\\C:\\PROGRA~1\\p.exe";
  process.longPaths[u"C:\\PROGRA~1\\p.exe"] = u"C:\\Program Files\\p.exe";
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "path"), "C:\\Program Files\\p.exe");
}

TEST(RunningProcessPath, NoModuleNameMeansNoPathAndTheRestStays) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(40, u"p.exe");
  process.moduleName.reset();
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(answer.objects.at(0).attributes,
            Join(Join(Entry("3", "p.exe", "40", "4"), kSystemOwner),
                 {{"created", "133000000000000000"}, {"commandLine", "p.exe -run"}}));
}

// --- the command line ---------------------------------------------------------------------

TEST(RunningProcessCommandLine, LongCommandLineIsCutAt1024Characters) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, Repeated(u'a', 1000) + Repeated(u'b', 500));
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), std::string(1000, 'a') + std::string(24, 'b'));
}

TEST(RunningProcessCommandLine, ReadsThePebParametersAndTheTextAtTheirPlaces) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, u"p.exe x");
  host.processes = {process};
  Ask(host);
  EXPECT_EQ(host.reads, (std::vector<std::pair<uint64_t, uint32_t>>{
                            {kFakePeb, 712}, {kFakeParameters, 128}, {kFakeCommandLine, 14}}));
}

TEST(RunningProcessCommandLine, PartialCopyRetriesWith520Bytes) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  // Length says 1,500 characters; the mapped text ends after 300.
  LayCommandLine(process, Repeated(u'c', 300), 3000, kFakeCommandLine, 600);
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), std::string(260, 'c'));
  EXPECT_EQ(host.reads.back(), (std::pair<uint64_t, uint32_t>{kFakeCommandLine, 520}));
}

TEST(RunningProcessCommandLine, SecondPartialCopyRetriesWith260Bytes) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, Repeated(u'd', 150), 3000, kFakeCommandLine, 300);
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), std::string(130, 'd'));
  EXPECT_EQ(host.reads.size(), 5u);
}

TEST(RunningProcessCommandLine, ShortLengthReadsOnlyItsOwnBytes) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  // Length 40 bytes; the region holds 300 bytes, so the first read works.
  LayCommandLine(process, Repeated(u'e', 150), 40, kFakeCommandLine, 300);
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), std::string(20, 'e'));
}

TEST(RunningProcessCommandLine, ThirdPartialCopyLeavesNoCommandLine) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, Repeated(u'f', 100), 3000, kFakeCommandLine, 200);
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(AttributeOf(answer, "commandLine"), "<absent>");
  EXPECT_EQ(AttributeOf(answer, "created"), "133000000000000000");
  EXPECT_EQ(host.reads.back(), (std::pair<uint64_t, uint32_t>{kFakeCommandLine, 260}));
}

TEST(RunningProcessCommandLine, OtherReadErrorIsNotRetried) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, u"p.exe", 10, 0x1234);  // Buffer where nothing is mapped: 998
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), "<absent>");
  EXPECT_EQ(host.reads.size(), 3u);
}

TEST(RunningProcessCommandLine, RewrittenLengthAndNullBufferAreTolerated) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, u"", 0xFFFF, 0);
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_TRUE(answer.returned);
  EXPECT_EQ(AttributeOf(answer, "commandLine"), "<absent>");
  EXPECT_EQ(host.reads.at(2), (std::pair<uint64_t, uint32_t>{0, 2048}));
}

TEST(RunningProcessCommandLine, EmptyCommandLineIsLeftOut) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, u"");
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(AttributeOf(answer, "commandLine"), "<absent>");
  EXPECT_EQ(answer.objects.at(0).attributes.back(), (std::pair<std::string, std::string>{"created",
                                                                                          "133000000000000000"}));
}

TEST(RunningProcessCommandLine, TextEndsAtItsFirstZero) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  LayCommandLine(process, std::u16string(u"ab\0cd", 5));
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), "ab");
}

TEST(RunningProcessCommandLine, UnresolvedQueryEntryLeavesNoCommandLine) {
  FakeHost host;
  host.queryResolved = false;
  host.processes = {MakeFakeProcess(50, u"p.exe")};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), "<absent>");
  EXPECT_TRUE(host.reads.empty());
}

TEST(RunningProcessCommandLine, NegativeQueryStatusLeavesNoCommandLine) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(50, u"p.exe");
  process.basicInformationStatus = static_cast<int32_t>(0xC0000022);
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "commandLine"), "<absent>");
  EXPECT_TRUE(host.reads.empty());
}

// --- owners ---------------------------------------------------------------------------------

TEST(RunningProcessOwner, SystemSidIsNamedByTheTableWithoutLookup) {
  FakeHost host;
  host.processes = {MakeFakeProcess(60, u"p.exe")};
  Answer answer = Ask(host);
  EXPECT_EQ(AttributeOf(answer, "user"), "NT AUTHORITY\\SYSTEM");
  EXPECT_EQ(AttributeOf(answer, "group"), "NT AUTHORITY\\SYSTEM");
  EXPECT_TRUE(host.lookups.empty());
}

TEST(RunningProcessOwner, WellKnownGroupIsNamedByTheTable) {
  FakeHost host;
  FakeProcess process = MakeFakeProcess(60, u"p.exe");
  process.userSid = u"S-1-5-19";
  process.groupSid = u"S-1-5-32-544";
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(AttributeOf(answer, "user"), "NT AUTHORITY\\LOCAL SERVICE");
  EXPECT_EQ(AttributeOf(answer, "group"), "BUILTIN\\Administrators");
  EXPECT_TRUE(host.lookups.empty());
}

TEST(RunningProcessOwner, OtherOwnerIsAskedOncePerSidForManyProcesses) {
  CapturedLog log(6);
  FakeHost host;
  host.accounts[u"S-1-5-21-10-20-30-1001"] = {u"HOST", u"alice"};
  host.accounts[u"S-1-5-21-10-20-30-513"] = {u"HOST", u"None"};
  FakeProcess one = MakeFakeProcess(61, u"a.exe"), two = MakeFakeProcess(62, u"b.exe");
  for (FakeProcess* p : {&one, &two}) {
    p->userSid = u"S-1-5-21-10-20-30-1001";
    p->groupSid = u"S-1-5-21-10-20-30-513";
  }
  host.processes = {one, two};
  Answer answer = Ask(host);
  Pairs owner = {{"user", "HOST\\alice"},
                 {"userId", "S-1-5-21-10-20-30-1001"},
                 {"groupId", "S-1-5-21-10-20-30-513"},
                 {"group", "HOST\\None"}};
  for (const Object& object : answer.objects) {
    EXPECT_EQ(Pairs(object.attributes.begin() + 5, object.attributes.begin() + 9), owner);
  }
  EXPECT_EQ(host.lookups, (std::map<std::u16string, int>{{u"S-1-5-21-10-20-30-1001", 1},
                                                         {u"S-1-5-21-10-20-30-513", 1}}));
  Strings lines = LogMessages(log.Text());
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "LookupSid: sid=S-1-5-21-10-20-30-1001, name=alice, domain=HOST"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "GetProcessInfo: userSID=S-1-5-21-10-20-30-1001, groupSID=S-1-5-21-10-20-30-513"), 2);
}

TEST(RunningProcessOwner, UnknownSidLeavesOutTheOwnerAndIsAskedAgainEachTime) {
  CapturedLog log(6);
  FakeHost host;
  host.accounts[u"S-1-5-21-11-22-33-1002"] = {u"HOST", u"bob"};
  FakeProcess one = MakeFakeProcess(63, u"a.exe"), two = MakeFakeProcess(64, u"b.exe");
  for (FakeProcess* p : {&one, &two}) {
    p->userSid = u"S-1-5-21-11-22-33-1002";
    p->groupSid = u"S-1-5-21-11-22-33-999";
  }
  host.processes = {one, two};
  Answer answer = Ask(host);
  for (const Object& object : answer.objects) {
    EXPECT_EQ(object.attributes.size(), 7u);
    EXPECT_EQ(object.attributes[4].first, "path");
    EXPECT_EQ(object.attributes[5].first, "created");
  }
  EXPECT_EQ(host.lookups[u"S-1-5-21-11-22-33-999"], 2);
  EXPECT_EQ(host.lookups[u"S-1-5-21-11-22-33-1002"], 1);
  Strings lines = LogMessages(log.Text());
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "LookupSid: LookupAccountSidW fail for sid=S-1-5-21-11-22-33-999, err=1332"), 2);
}

TEST(RunningProcessOwner, OwnerNamesAndSidsComeInTheAnsiCodePage) {
  FakeHost host;
  host.accounts[u"S-1-5-21-12-0-0-1003"] = {u"H\u00d6ST", u"z\u00e9\u4e2d"};
  FakeProcess process = MakeFakeProcess(65, u"p.exe");
  process.userSid = u"S-1-5-21-12-0-0-1003";
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(AttributeOf(answer, "user"), "H\xD6ST\\z\xE9?");
}

TEST(RunningProcessOwner, PrefixRowWithNoNameGoesToTheSystem) {
  CapturedLog log(1);
  FakeHost host;
  FakeProcess process = MakeFakeProcess(66, u"p.exe");
  process.userSid = u"S-1-5-32-";
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(AttributeOf(answer, "userId"), "<absent>");
  EXPECT_EQ(LogMessages(log.Text()), Strings{"LookupSid: ConvertStringSidToSidW fail for sid=S-1-5-32-"});
}

TEST(RunningProcessOwner, TokenThatCannotBeOpenedIsLogged) {
  CapturedLog log(1);
  FakeHost host;
  FakeProcess process = MakeFakeProcess(67, u"p.exe");
  process.tokenOpens = false;
  host.processes = {process};
  Answer answer = Ask(host);
  EXPECT_EQ(answer.objects.at(0).attributes,
            Join(Entry("3", "p.exe", "67", "4"), {{"path", "C:\\Zent\\probe.exe"},
                                                   {"created", "133000000000000000"},
                                                   {"commandLine", "p.exe -run"}}));
  EXPECT_EQ(LogMessages(log.Text()), Strings{"GetProcessInfo: OpenProcessToken failed"});
}

TEST(RunningProcessOwner, UserSidThatCannotBeReadIsLogged) {
  CapturedLog log(1);
  FakeHost host;
  FakeProcess process = MakeFakeProcess(68, u"p.exe");
  process.userSid.reset();
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "userId"), "<absent>");
  EXPECT_EQ(LogMessages(log.Text()), Strings{"GetProcessInfo: ProcessTokenToUserSid failed"});
}

TEST(RunningProcessOwner, GroupSidThatCannotBeReadIsLogged) {
  CapturedLog log(1);
  FakeHost host;
  FakeProcess process = MakeFakeProcess(69, u"p.exe");
  process.groupSid.reset();
  host.processes = {process};
  EXPECT_EQ(AttributeOf(Ask(host), "userId"), "<absent>");
  EXPECT_EQ(LogMessages(log.Text()), Strings{"GetProcessInfo: ProcessTokenToPrimaryGroupSid failed"});
}

TEST(RunningProcessOwner, TwoThreadsAtOnceAskTheSystemOncePerSid) {
  FakeHost host;
  host.accounts[u"S-1-5-21-13-0-0-1004"] = {u"HOST", u"carol"};
  host.accounts[u"S-1-5-21-13-0-0-513"] = {u"HOST", u"None"};
  for (uint32_t pid = 100; pid < 164; ++pid) {
    FakeProcess process = MakeFakeProcess(pid, u"p.exe");
    process.userSid = u"S-1-5-21-13-0-0-1004";
    process.groupSid = u"S-1-5-21-13-0-0-513";
    host.processes.push_back(process);
  }
  // Each thread walks with a table of its own over the same processes; only
  // the lookup counts are shared, under a lock of the test's own.
  std::mutex countLock;
  std::map<std::u16string, int> counts;
  auto walk = [&] {
    FakeHost mine = host;
    RunningProcessCalls calls = mine.Calls();
    auto lookup = calls.lookupAccountSid;
    calls.lookupAccountSid = [&, lookup](const std::u16string& sid, std::u16string& name, std::u16string& domain,
                                         uint32_t& error) {
      {
        std::lock_guard<std::mutex> hold(countLock);
        ++counts[sid];
      }
      return lookup(sid, name, domain, error);
    };
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
    document.InsertEndChild(results);
    EXPECT_TRUE(GetHmdRunningProcesses(document, results, "t", calls));
  };
  std::thread first(walk), second(walk);
  first.join();
  second.join();
  EXPECT_EQ(counts, (std::map<std::u16string, int>{{u"S-1-5-21-13-0-0-1004", 1}, {u"S-1-5-21-13-0-0-513", 1}}));
}

// --- the well-known table -------------------------------------------------------------------

TEST(WellKnownSidTable, HoldsTheSeventyFiveRowsInOrder) {
  const std::vector<std::pair<std::u16string, std::u16string>> expected = {
      {u"S-1-0", u"Null Authority"},
      {u"S-1-0-0", u"Nobody"},
      {u"S-1-1", u"World Authority"},
      {u"S-1-1-0", u"Everyone"},
      {u"S-1-2", u"Local Authority"},
      {u"S-1-2-0", u"LOCAL"},
      {u"S-1-2-1", u"CONSOLE LOGON"},
      {u"S-1-3", u"Creator Authority"},
      {u"S-1-3-0", u"CREATOR OWNER"},
      {u"S-1-3-1", u"CREATOR GROUP"},
      {u"S-1-3-2", u"CREATOR OWNER SERVER"},
      {u"S-1-3-3", u"CREATOR GROUP SERVER"},
      {u"S-1-3-4", u"OWNER RIGHTS"},
      {u"S-1-4", u"Non-unique Authority"},
      {u"S-1-5", u"NT AUTHORITY"},
      {u"S-1-5-1", u"NT AUTHORITY\\DIALUP"},
      {u"S-1-5-2", u"NT AUTHORITY\\NETWORK"},
      {u"S-1-5-3", u"NT AUTHORITY\\BATCH"},
      {u"S-1-5-4", u"NT AUTHORITY\\INTERACTIVE"},
      {u"S-1-5-6", u"NT AUTHORITY\\SERVICE"},
      {u"S-1-5-7", u"NT AUTHORITY\\ANONYMOUS"},
      {u"S-1-5-8", u"NT AUTHORITY\\PROXY"},
      {u"S-1-5-9", u"NT AUTHORITY\\ENTERPRISE DOMAIN CONTROLLERS"},
      {u"S-1-5-10", u"NT AUTHORITY\\SELF"},
      {u"S-1-5-11", u"NT AUTHORITY\\Authenticated Users"},
      {u"S-1-5-12", u"NT AUTHORITY\\RESTRICTED"},
      {u"S-1-5-13", u"NT AUTHORITY\\TERMINAL SERVER USERS"},
      {u"S-1-5-14", u"NT AUTHORITY\\REMOTE INTERACTIVE LOGON"},
      {u"S-1-5-15", u"NT AUTHORITY\\This Organization"},
      {u"S-1-5-18", u"NT AUTHORITY\\SYSTEM"},
      {u"S-1-5-19", u"NT AUTHORITY\\LOCAL SERVICE"},
      {u"S-1-5-20", u"NT AUTHORITY\\NETWORK SERVICE"},
      {u"S-1-5-32", u"BUILTIN"},
      {u"S-1-5-32-544", u"BUILTIN\\Administrators"},
      {u"S-1-5-32-545", u"BUILTIN\\Users"},
      {u"S-1-5-32-546", u"BUILTIN\\Guests"},
      {u"S-1-5-32-547", u"BUILTIN\\Power Users"},
      {u"S-1-5-32-548", u"BUILTIN\\Account Operators"},
      {u"S-1-5-32-549", u"BUILTIN\\Server Operators"},
      {u"S-1-5-32-550", u"BUILTIN\\Print Operators"},
      {u"S-1-5-32-551", u"BUILTIN\\Backup Operators"},
      {u"S-1-5-32-552", u"BUILTIN\\Replicators"},
      {u"S-1-5-32-554", u"BUILTIN\\Pre-Windows 2000 Compatible Access"},
      {u"S-1-5-32-555", u"BUILTIN\\Remote Desktop Users"},
      {u"S-1-5-32-556", u"BUILTIN\\Network Configuration Operators"},
      {u"S-1-5-32-557", u"BUILTIN\\Incoming Forest Trust Builders"},
      {u"S-1-5-32-558", u"BUILTIN\\Performance Monitor Users"},
      {u"S-1-5-32-559", u"BUILTIN\\Performance Log Users"},
      {u"S-1-5-32-560", u"BUILTIN\\Windows Authorization Access Group"},
      {u"S-1-5-32-561", u"BUILTIN\\Terminal Server License Servers"},
      {u"S-1-5-32-562", u"BUILTIN\\Distributed COM Users"},
      {u"S-1-5-32-569", u"BUILTIN\\Cryptographic Operators"},
      {u"S-1-5-32-573", u"BUILTIN\\Event Log Readers"},
      {u"S-1-5-32-574", u"BUILTIN\\Certificate Service DCOM Access"},
      {u"S-1-5-32-575", u"BUILTIN\\RDS Remote Access Servers"},
      {u"S-1-5-32-576", u"BUILTIN\\RDS Endpoint Servers"},
      {u"S-1-5-32-577", u"BUILTIN\\RDS Management Servers"},
      {u"S-1-5-32-578", u"BUILTIN\\Hyper-V Administrators"},
      {u"S-1-5-32-579", u"BUILTIN\\Access Control Assistance Operators"},
      {u"S-1-5-32-580", u"BUILTIN\\Remote Management Users"},
      {u"S-1-5-32-", u""},
      {u"S-1-5-64-10", u"NT AUTHORITY\\NTLM Authentication"},
      {u"S-1-5-64-14", u"NT AUTHORITY\\SChannel Authentication"},
      {u"S-1-5-64-21", u"NT AUTHORITY\\Digest Authentication"},
      {u"S-1-5-80-0", u"NT SERVICES\\ALL SERVICES"},
      {u"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464", u"NT SERVICE\\TrustedInstaller"},
      {u"S-1-5-83-0", u"NT VIRTUAL MACHINE\\Virtual Machines"},
      {u"S-1-16-0", u"Mandatory Label\\Untrusted Mandatory Level"},
      {u"S-1-16-4096", u"Mandatory Label\\Low Mandatory Level"},
      {u"S-1-16-8192", u"Mandatory Label\\Medium Mandatory Level"},
      {u"S-1-16-8448", u"Mandatory Label\\Medium Plus Mandatory Level"},
      {u"S-1-16-12288", u"Mandatory Label\\High Mandatory Level"},
      {u"S-1-16-16384", u"Mandatory Label\\System Mandatory Level"},
      {u"S-1-16-20480", u"Mandatory Label\\Protected Process Mandatory Level"},
      {u"S-1-16-28672", u"Mandatory Label\\Secure Process Mandatory Level"},
  };
  std::vector<std::pair<std::u16string, std::u16string>> table;
  for (const WellKnownSid& row : WellKnownSids()) table.emplace_back(row.sid, row.name);
  EXPECT_EQ(table.size(), 75u);
  EXPECT_EQ(table, expected);
}

TEST(WellKnownSidTable, EveryNamedRowNamesBothUserAndGroupWithoutLookup) {
  FakeHost host;
  for (const WellKnownSid& row : WellKnownSids()) {
    if (std::u16string(row.name).empty()) continue;
    FakeProcess process = MakeFakeProcess(static_cast<uint32_t>(200 + host.processes.size()), u"p.exe");
    process.userSid = row.sid;
    process.groupSid = row.sid;
    host.processes.push_back(process);
  }
  Answer answer = Ask(host);
  ASSERT_EQ(answer.objects.size(), 74u);
  size_t at = 0;
  for (const WellKnownSid& row : WellKnownSids()) {
    if (std::u16string(row.name).empty()) continue;
    std::string name = host.Calls().toAnsi(row.name);
    const Pairs& attributes = answer.objects[at++].attributes;
    EXPECT_EQ(attributes[5], (std::pair<std::string, std::string>{"user", name}));
    EXPECT_EQ(attributes[8], (std::pair<std::string, std::string>{"group", name}));
  }
  EXPECT_TRUE(host.lookups.empty());
}

// --- the parts on their own -----------------------------------------------------------------

TEST(LookupSidAlone, JoinsDomainAndAccountAfterWhatTheNameHeld) {
  FakeHost host;
  host.accounts[u"S-1-5-21-14-0-0-1005"] = {u"DOM", u"dave"};
  std::u16string name;
  EXPECT_TRUE(LookupSid(host.Calls(), u"S-1-5-21-14-0-0-1005", name));
  EXPECT_EQ(name, u"DOM\\dave");
}

TEST(ResolveImageNameAlone, OnlyTheFourCharacterPrefixesAreDropped) {
  FakeHost host;
  RunningProcessCalls calls = host.Calls();
  EXPECT_EQ(ResolveImageName(calls, u"\\??\\C:\\a.exe"), u"C:\\a.exe");
  EXPECT_EQ(ResolveImageName(calls, u"\\\\?\\C:\\a.exe"), u"C:\\a.exe");
  EXPECT_EQ(ResolveImageName(calls, u"\\\\.\\C:\\a.exe"), u"\\\\.\\C:\\a.exe");
  EXPECT_EQ(ResolveImageName(calls, u"\\??C:\\a.exe"), u"\\??C:\\a.exe");
  EXPECT_EQ(ResolveImageName(calls, u"\\SystemRoot\\"), u"C:\\windows\\");
}

}  // namespace
