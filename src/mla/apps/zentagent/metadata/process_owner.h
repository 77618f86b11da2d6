// A process's owner: the user and primary group of its token, as SID strings
// and names. Names come from two process-wide caches, loaded with the
// well-known SIDs on first use and grown with every SID the system names.
#pragma once

#include <map>
#include <mutex>
#include <string>

#include "metadata/running_process_calls.h"

// userNameCache and groupNameCache: SID string to name, never shrinking.
// The pipe thread and the server thread can both fill them at once, so one
// lock guards both maps and the flag that says they were loaded.
struct SidNameCaches {
  std::mutex lock;
  bool loaded = false;
  std::map<std::u16string, std::u16string> userNameCache;
  std::map<std::u16string, std::u16string> groupNameCache;
};
extern SidNameCaches s_SidNameCaches;

// True when the system knew the SID; name gets domain, backslash, account.
bool LookupSid(const RunningProcessCalls& calls, const std::u16string& sidString, std::u16string& name);

// The owner of an open process, the four outputs in the ANSI code page.
// True only when all four are non-empty.
bool GetProcessInfo(const RunningProcessCalls& calls, InspectedHandle process, std::string& userId,
                    std::string& user, std::string& groupId, std::string& group);
