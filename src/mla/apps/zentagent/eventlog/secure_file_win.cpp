// SecureFileOrDirectory: the event log files are for the Administrators,
// their creator and the system alone.
#include <aclapi.h>
#include <io.h>
#include <sddl.h>
#include <sys/stat.h>

#include "eventlog/event_files_win.h"
#include "service/debug_log.h"

namespace {

constexpr const wchar_t* kTrustees[] = {L"S-1-5-32-544", L"S-1-3-0", L"S-1-5-18"};
constexpr DWORD kFullAccess = 0x1FFFFF;
constexpr DWORD kObjectAndContainerInherit = 3;

}  // namespace

void SecureFileOrDirectory(const std::wstring& path) {
  if (_wchmod(path.c_str(), _S_IREAD | _S_IWRITE) != 0) return;
  PSID sids[3] = {};
  PACL acl = nullptr;
  EXPLICIT_ACCESS_W entries[3] = {};
  bool converted = true;
  for (int i = 0; i < 3; ++i) {
    if (!ConvertStringSidToSidW(kTrustees[i], &sids[i])) {
      ZENT_LOG(1, L"ConvertStringSidToSid('%s') failed. error=%d\n", kTrustees[i], GetLastError());
      converted = false;
      break;
    }
    entries[i].grfAccessPermissions = kFullAccess;
    entries[i].grfAccessMode = GRANT_ACCESS;
    entries[i].grfInheritance = kObjectAndContainerInherit;
    entries[i].Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entries[i].Trustee.ptstrName = static_cast<LPWSTR>(sids[i]);
  }
  if (converted) {
    DWORD rc = SetEntriesInAclW(3, entries, nullptr, &acl);
    if (rc != ERROR_SUCCESS) {
      ZENT_LOG(1, L"SetEntriesInAcl Error: %d\n", rc);
    } else {
      rc = SetNamedSecurityInfoW(const_cast<LPWSTR>(path.c_str()), SE_FILE_OBJECT,
                                 DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr,
                                 acl, nullptr);
      // The message's stray ": ," is the log's own wording.
      if (rc != ERROR_SUCCESS) ZENT_LOG(1, L"SetNamedSecurityInfo Error on %s: , error=%d\n", path, rc);
    }
  }
  for (PSID sid : sids) {
    if (sid != nullptr) LocalFree(sid);
  }
  if (acl != nullptr) LocalFree(acl);
}
