#include "util/private_file_acl_win.h"

#include <aclapi.h>
#include <sddl.h>

namespace {

constexpr const wchar_t* kTrustees[] = {L"S-1-5-32-544", L"S-1-3-0", L"S-1-5-18"};
constexpr DWORD kFullAccess = 0x1FFFFF;
constexpr DWORD kObjectAndContainerInherit = 3;

}  // namespace

DWORD MakePrivateFileAcl(PACL* acl, const wchar_t** failedTrustee) {
  *acl = nullptr;
  *failedTrustee = nullptr;
  PSID sids[3] = {};
  EXPLICIT_ACCESS_W entries[3] = {};
  DWORD rc = ERROR_SUCCESS;
  for (int i = 0; i < 3; ++i) {
    if (!ConvertStringSidToSidW(kTrustees[i], &sids[i])) {
      rc = GetLastError();
      *failedTrustee = kTrustees[i];
      break;
    }
    entries[i].grfAccessPermissions = kFullAccess;
    entries[i].grfAccessMode = GRANT_ACCESS;
    entries[i].grfInheritance = kObjectAndContainerInherit;
    entries[i].Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entries[i].Trustee.ptstrName = static_cast<LPWSTR>(sids[i]);
  }
  if (*failedTrustee == nullptr) rc = SetEntriesInAclW(3, entries, nullptr, acl);
  for (PSID sid : sids) {
    if (sid != nullptr) LocalFree(sid);
  }
  return rc;
}
