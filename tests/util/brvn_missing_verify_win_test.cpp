// The bridge to the suite framework when the framework's library lacks its
// fourth entry point. One story in a process of its own: a module once
// loaded stays loaded under its name.
#include "util/brvn_win.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "records/settings.h"
#include "support/temp_folder_win.h"

namespace {

std::wstring Env(const wchar_t* name) {
  const wchar_t* value = _wgetenv(name);
  return value != nullptr ? value : L"";
}

TEST(SuiteBridge, FrameworkWithoutTheFourthEntryPointKeepsTheFirstThree) {
  // The suite's key, as its installer leaves it.
  HKEY key;
  ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Wow6432Node\\Halvane\\BrevonNTCorp\\CurrentVersion", 0,
                            nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  const char path[] = "C:\\Program Files\\Halvane\\Suite";
  RegSetValueExA(key, "Application Path", 0, REG_SZ, reinterpret_cast<const BYTE*>(path), sizeof path);
  RegCloseKey(key);

  // A working directory holding the variant under the framework's name.
  std::wstring dir = MakeTempFolder(L"zent_brvn");
  ASSERT_TRUE(CopyFileW(Env(L"ZENT_SIM_KLF_AGENT_MISSING_VERIFY_DLL").c_str(), (dir + L"\\klfAgent_64x.dll").c_str(),
                        FALSE));
  s_Settings.workingDirectory = dir;

  EXPECT_FALSE(UtilBRVN::Init());
  EXPECT_EQ(UtilBRVN::installPath, path);
  EXPECT_NE(UtilBRVN::klfCnt_SystemCall, nullptr);
  EXPECT_NE(UtilBRVN::klfCnt_Free, nullptr);
  EXPECT_NE(UtilBRVN::klfCnt_LoadLibraryWithSignCheck, nullptr);
  EXPECT_EQ(UtilBRVN::klfCnt_VerifyEmbeddedSignatureAndSigner, nullptr);

  // What was resolved works.
  EXPECT_NE(UtilBRVN::LoadLibraryWithSignCheck(Env(L"ZENT_SIM_PROBE_LIBRARY_SIGNED")), nullptr);
  EXPECT_EQ(UtilBRVN::LoadLibraryWithSignCheck(Env(L"ZENT_SIM_PROBE_LIBRARY_UNSIGNED")), nullptr);
  EXPECT_EQ(UtilBRVN::QuerySelfProtectionStatus(), 0);
  // What was not answers false.
  EXPECT_FALSE(UtilBRVN::VerifyEmbeddedSignatureAndSigner(Env(L"ZENT_SIM_PROBE_SIGNED")));

  // The bridge counts as up once klfCnt_Free is set.
  EXPECT_TRUE(UtilBRVN::Init());
}

}  // namespace
