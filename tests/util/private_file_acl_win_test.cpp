// The private files' DACL, read entry by entry from the ACL that
// MakePrivateFileAcl builds: the event files and the crash dump get it.
#include "util/private_file_acl_win.h"

#include <sddl.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Entry {
  BYTE type;
  BYTE flags;
  DWORD mask;
  std::wstring sid;
  bool operator==(const Entry&) const = default;
};

std::vector<Entry> Entries(PACL acl) {
  std::vector<Entry> entries;
  for (DWORD i = 0; i < acl->AceCount; ++i) {
    void* ace = nullptr;
    if (!GetAce(acl, i, &ace)) break;
    auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
    wchar_t* text = nullptr;
    ConvertSidToStringSidW(&allowed->SidStart, &text);
    entries.push_back({allowed->Header.AceType, allowed->Header.AceFlags, allowed->Mask, text ? text : L""});
    LocalFree(text);
  }
  return entries;
}

TEST(PrivateFileAcl, GrantsFullAccessToAdministratorsCreatorAndSystemInThatOrder) {
  PACL acl = nullptr;
  const wchar_t* failedTrustee = L"untouched";
  ASSERT_EQ(MakePrivateFileAcl(&acl, &failedTrustee), static_cast<DWORD>(ERROR_SUCCESS));
  EXPECT_EQ(failedTrustee, nullptr);
  ASSERT_NE(acl, nullptr);
  const BYTE objectAndContainerInherit = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;
  std::vector<Entry> expected = {{ACCESS_ALLOWED_ACE_TYPE, objectAndContainerInherit, 0x1FFFFF, L"S-1-5-32-544"},
                                 {ACCESS_ALLOWED_ACE_TYPE, objectAndContainerInherit, 0x1FFFFF, L"S-1-3-0"},
                                 {ACCESS_ALLOWED_ACE_TYPE, objectAndContainerInherit, 0x1FFFFF, L"S-1-5-18"}};
  EXPECT_EQ(Entries(acl), expected);
  LocalFree(acl);
}

}  // namespace
