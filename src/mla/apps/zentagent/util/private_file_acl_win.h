// The DACL of the agent's private files (the event log files, the crash
// dump): full access (0x1FFFFF) for the Administrators, the file's creator
// and the system, in that order, inherited by objects and containers.
#pragma once

#include <windows.h>

// ERROR_SUCCESS and the ACL in *acl, for LocalFree; or the failure's code,
// with the trustee whose SID could not be made in *failedTrustee (null when
// the SIDs were made and SetEntriesInAclW failed). Writes nothing to the
// debug log: the crash filter uses it too.
DWORD MakePrivateFileAcl(PACL* acl, const wchar_t** failedTrustee);
