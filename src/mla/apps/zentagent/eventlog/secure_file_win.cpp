// SecureFileOrDirectory: the event log files are for the Administrators,
// their creator and the system alone.
#include <aclapi.h>
#include <io.h>
#include <sys/stat.h>

#include "eventlog/event_files_win.h"
#include "log/debug_log.h"
#include "util/private_file_acl_win.h"

void SecureFileOrDirectory(const std::wstring& path) {
  if (_wchmod(path.c_str(), _S_IREAD | _S_IWRITE) != 0) return;
  PACL acl = nullptr;
  const wchar_t* failedTrustee = nullptr;
  DWORD rc = MakePrivateFileAcl(&acl, &failedTrustee);
  if (failedTrustee != nullptr) {
    ZENT_LOG(1, L"ConvertStringSidToSid('%s') failed. error=%d\n", failedTrustee, rc);
  } else if (rc != ERROR_SUCCESS) {
    ZENT_LOG(1, L"SetEntriesInAcl Error: %d\n", rc);
  } else {
    rc = SetNamedSecurityInfoW(const_cast<LPWSTR>(path.c_str()), SE_FILE_OBJECT,
                               DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr, acl,
                               nullptr);
    // The message's stray ": ," is the log's own wording.
    if (rc != ERROR_SUCCESS) ZENT_LOG(1, L"SetNamedSecurityInfo Error on %s: , error=%d\n", path, rc);
  }
  if (acl != nullptr) LocalFree(acl);
}
