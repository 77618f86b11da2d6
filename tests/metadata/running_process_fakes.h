// A host of hand-made processes behind the running processes query's table
// of calls: each with its snapshot entry, its refusal to open, its image
// name, its owner's SIDs and a small address space holding its process
// structures, so that a test can play owners, refusals and partial reads
// that a real host does not show on demand.
#pragma once

#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "metadata/running_process_calls.h"

constexpr uint32_t kFakeAccessDenied = 5;
constexpr uint32_t kFakeInvalidParameter = 87;
constexpr uint32_t kFakePartialCopy = 299;
constexpr uint32_t kFakeNoAccess = 998;

// Where the fake lays a process's structures in its address space.
constexpr uint64_t kFakePeb = 0x7FF000000000;
constexpr uint64_t kFakeParameters = 0x000001A000000000;
constexpr uint64_t kFakeCommandLine = 0x000001B000000000;

struct FakeProcess {
  ProcessEntry entry;
  uint32_t openError = 0;  // 0: the process opens
  std::optional<std::u16string> moduleName = u"C:\\Zent\\probe.exe";
  std::map<std::u16string, std::u16string> longPaths;  // GetLongPathNameW's answers; others fail
  bool tokenOpens = true;
  std::optional<std::u16string> userSid = u"S-1-5-18";
  std::optional<std::u16string> groupSid = u"S-1-5-18";
  std::optional<int64_t> created = 133000000000000000;
  int32_t basicInformationStatus = 0;
  // The address space: regions by their first address. A read inside one
  // region succeeds; a read that starts in one and runs past its end fails
  // with 299; any other read with 998.
  std::map<uint64_t, std::vector<unsigned char>> memory;
  int handle = 0;  // given by FakeHost
};

// PEB, parameters block and command line bytes, as the process lays them:
// Length as given (bytes), Buffer as given, and the bytes of the text at
// kFakeCommandLine, in a region of the given size (the text's own size when
// 0).
inline void LayCommandLine(FakeProcess& process, const std::u16string& text, uint32_t length, uint64_t buffer,
                           size_t regionSize = 0) {
  std::vector<unsigned char> peb(712, 0);
  for (int i = 0; i < 8; ++i) peb[32 + i] = static_cast<unsigned char>(kFakeParameters >> (8 * i));
  std::vector<unsigned char> parameters(128, 0);
  parameters[112] = static_cast<unsigned char>(length);
  parameters[113] = static_cast<unsigned char>(length >> 8);
  for (int i = 0; i < 8; ++i) parameters[120 + i] = static_cast<unsigned char>(buffer >> (8 * i));
  std::vector<unsigned char> bytes(regionSize ? regionSize : text.size() * 2, 0);
  for (size_t i = 0; i < text.size() && 2 * i + 1 < bytes.size(); ++i) {
    bytes[2 * i] = static_cast<unsigned char>(text[i]);
    bytes[2 * i + 1] = static_cast<unsigned char>(text[i] >> 8);
  }
  process.memory = {{kFakePeb, peb}, {kFakeParameters, parameters}, {kFakeCommandLine, bytes}};
}

inline void LayCommandLine(FakeProcess& process, const std::u16string& text) {
  LayCommandLine(process, text, static_cast<uint32_t>(text.size() * 2), kFakeCommandLine);
}

// A plain process of the given id and name, opened, with its command line.
inline FakeProcess MakeFakeProcess(uint32_t pid, const std::u16string& exeFile) {
  FakeProcess process;
  process.entry = {3, exeFile, pid, 4};
  LayCommandLine(process, exeFile + u" -run");
  return process;
}

struct FakeAccount {
  std::u16string domain, name;
};

class FakeHost {
 public:
  std::vector<FakeProcess> processes;
  bool snapshotOpens = true;
  bool queryResolved = true;
  std::optional<std::u16string> systemRoot = u"C:\\windows";
  std::map<std::u16string, FakeAccount> accounts;  // what LookupAccountSidW knows
  std::map<std::u16string, int> lookups;           // LookupAccountSidW calls, by SID
  std::vector<std::pair<uint64_t, uint32_t>> reads;  // ReadProcessMemory calls: address, size
  int openHandles = 0;
  int snapshotCloses = 0;

  RunningProcessCalls Calls() {
    RunningProcessCalls calls;
    calls.openSnapshot = [this] { return snapshotOpens; };
    calls.nextEntry = [this](bool first, ProcessEntry& entry) {
      next_ = first ? 0 : next_ + 1;
      if (next_ >= processes.size()) return false;
      entry = processes[next_].entry;
      return true;
    };
    calls.closeSnapshot = [this] { ++snapshotCloses; };
    calls.openProcess = [this](uint32_t pid, uint32_t& error) -> InspectedHandle {
      FakeProcess* process = ByPid(pid);
      error = process ? process->openError : kFakeInvalidParameter;
      if (error != 0) return 0;
      ++openHandles;
      return static_cast<InspectedHandle>(1000 + (process - processes.data()));
    };
    calls.closeProcess = [this](InspectedHandle) { --openHandles; };
    calls.moduleFileName = [this](InspectedHandle handle, std::u16string& name) {
      const auto& module = Of(handle).moduleName;
      if (module) name = *module;
      return module.has_value();
    };
    calls.longPathName = [this](const std::u16string& path, std::u16string& longPath) {
      for (const FakeProcess& process : processes) {
        auto found = process.longPaths.find(path);
        if (found != process.longPaths.end()) {
          longPath = found->second;
          return true;
        }
      }
      return false;
    };
    calls.environmentVariable = [this](const char16_t* name) -> std::optional<std::u16string> {
      if (std::u16string(name) != u"SystemRoot") return std::nullopt;
      return systemRoot;
    };
    calls.creationTime = [this](InspectedHandle handle, int64_t& created) {
      const auto& time = Of(handle).created;
      if (time) created = *time;
      return time.has_value();
    };
    if (queryResolved) {
      calls.queryBasicInformation = [this](InspectedHandle handle, unsigned char* buffer, uint32_t size) {
        std::memset(buffer, 0, size);
        for (int i = 0; i < 8; ++i) buffer[8 + i] = static_cast<unsigned char>(kFakePeb >> (8 * i));
        return Of(handle).basicInformationStatus;
      };
    }
    calls.readMemory = [this](InspectedHandle handle, uint64_t address, uint32_t size, unsigned char* buffer) {
      reads.emplace_back(address, size);
      for (const auto& [start, bytes] : Of(handle).memory) {
        if (address < start || address >= start + bytes.size()) continue;
        if (address + size > start + bytes.size()) return kFakePartialCopy;
        if (size) std::memcpy(buffer, bytes.data() + (address - start), size);
        return 0u;
      }
      return kFakeNoAccess;
    };
    calls.openToken = [this](InspectedHandle handle) -> InspectedHandle {
      return Of(handle).tokenOpens ? handle + 5000 : 0;
    };
    calls.tokenSid = [this](InspectedHandle token, int tokenClass, std::u16string& sid) {
      const FakeProcess& process = Of(token - 5000);
      const auto& owner = tokenClass == kTokenUserClass ? process.userSid : process.groupSid;
      if (owner) sid = *owner;
      return owner.has_value();
    };
    calls.closeToken = [](InspectedHandle) {};
    calls.lookupAccountSid = [this](const std::u16string& sid, std::u16string& name, std::u16string& domain,
                                    uint32_t& error) {
      if (sid.rfind(u"S-1-", 0) != 0 || sid.back() == u'-') return SidLookupOutcome::NotASid;
      ++lookups[sid];
      auto found = accounts.find(sid);
      if (found == accounts.end()) {
        error = 1332;  // ERROR_NONE_MAPPED
        return SidLookupOutcome::Unknown;
      }
      name = found->second.name;
      domain = found->second.domain;
      return SidLookupOutcome::Found;
    };
    // The ANSI code page of the fake is Latin-1.
    calls.toAnsi = [](const std::u16string& text) {
      std::string out;
      for (char16_t unit : text) out += unit <= 0xFF ? static_cast<char>(unit) : '?';
      return out;
    };
    return calls;
  }

 private:
  FakeProcess* ByPid(uint32_t pid) {
    for (FakeProcess& process : processes) {
      if (process.entry.pid == pid) return &process;
    }
    return nullptr;
  }
  const FakeProcess& Of(InspectedHandle handle) const { return processes.at(handle - 1000); }

  size_t next_ = 0;
};
