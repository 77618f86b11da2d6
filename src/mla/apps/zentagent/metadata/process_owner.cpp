#include "metadata/process_owner.h"

#include "log/debug_log.h"
#include "metadata/well_known_sids.h"

SidNameCaches s_SidNameCaches;

namespace {

void LoadWellKnownSids(SidNameCaches& caches) {
  for (const WellKnownSid& row : WellKnownSids()) {
    caches.userNameCache.emplace(row.sid, row.name);
    caches.groupNameCache.emplace(row.sid, row.name);
  }
  caches.loaded = true;
}

// The token's SID of one class as a string, or empty after the line that
// says which of the two failed.
std::u16string ReadTokenSid(const RunningProcessCalls& calls, InspectedHandle token, int tokenClass) {
  std::u16string sid;
  if (calls.tokenSid(token, tokenClass, sid) && !sid.empty()) return sid;
  if (tokenClass == kTokenUserClass) {
    ZENT_LOG_AS("GetProcessInfo", 1, L"ProcessTokenToUserSid failed\n");
  } else {
    ZENT_LOG_AS("GetProcessInfo", 1, L"ProcessTokenToPrimaryGroupSid failed\n");
  }
  return {};
}

// The name of a SID from its cache, or from the system, which then fills
// the cache. A SID the system does not know is asked again next time.
std::u16string NameOf(const RunningProcessCalls& calls, std::map<std::u16string, std::u16string>& cache,
                      const std::u16string& sid) {
  auto found = cache.find(sid);
  if (found != cache.end() && !found->second.empty()) return found->second;
  std::u16string name;
  if (LookupSid(calls, sid, name)) cache.emplace(sid, name);
  return name;
}

}  // namespace

bool LookupSid(const RunningProcessCalls& calls, const std::u16string& sidString, std::u16string& name) {
  std::u16string account, domain;
  uint32_t error = 0;
  switch (calls.lookupAccountSid(sidString, account, domain, error)) {
    case SidLookupOutcome::NotASid:
      ZENT_LOG(1, L"ConvertStringSidToSidW fail for sid=%s\n", sidString);
      return false;
    case SidLookupOutcome::Unknown:
      ZENT_LOG(6, L"LookupAccountSidW fail for sid=%s, err=%d\n", sidString, static_cast<int>(error));
      return false;
    case SidLookupOutcome::Found:
      break;
  }
  ZENT_LOG(6, L"sid=%s, name=%s, domain=%s\n", sidString, account, domain);
  name += domain;
  name += u'\\';
  name += account;
  return true;
}

bool GetProcessInfo(const RunningProcessCalls& calls, InspectedHandle process, std::string& userId,
                    std::string& user, std::string& groupId, std::string& group) {
  {
    std::lock_guard<std::mutex> hold(s_SidNameCaches.lock);
    if (!s_SidNameCaches.loaded) LoadWellKnownSids(s_SidNameCaches);
  }
  userId.clear();
  user.clear();
  groupId.clear();
  group.clear();
  InspectedHandle token = calls.openToken(process);
  if (token == 0) {
    ZENT_LOG(1, L"OpenProcessToken failed\n");
    return false;
  }
  std::u16string userSid = ReadTokenSid(calls, token, kTokenUserClass);
  std::u16string groupSid = userSid.empty() ? std::u16string() : ReadTokenSid(calls, token, kTokenPrimaryGroupClass);
  if (groupSid.empty()) {
    calls.closeToken(token);
    return false;
  }
  ZENT_LOG(6, L"userSID=%s, groupSID=%s\n", userSid, groupSid);
  userId = calls.toAnsi(userSid);
  groupId = calls.toAnsi(groupSid);
  std::u16string userName, groupName;
  {
    // Held across the system's lookups too, so that two queries at once ask
    // the system once per SID between them, and not once each.
    std::lock_guard<std::mutex> hold(s_SidNameCaches.lock);
    userName = NameOf(calls, s_SidNameCaches.userNameCache, userSid);
    groupName = NameOf(calls, s_SidNameCaches.groupNameCache, groupSid);
  }
  user = calls.toAnsi(userName);
  group = calls.toAnsi(groupName);
  calls.closeToken(token);
  return !userId.empty() && !user.empty() && !groupId.empty() && !group.empty();
}
