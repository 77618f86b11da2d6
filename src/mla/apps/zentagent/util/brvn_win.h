// UtilBRVN: the bridge to the suite's plug-in framework, klfAgent_64x.dll.
#pragma once

#include <windows.h>

#include <string>

#include "platform/klf_agent.h"

class UtilBRVN {
 public:
  // True when the framework is up; a later call refreshes the suite's path.
  static bool Init();
  static bool ReadBRVNInstallPathFromReg();
  // The module handle of a library the framework loaded after checking its
  // signature, or null.
  static HMODULE LoadLibraryWithSignCheck(const std::wstring& path);
  static bool VerifyEmbeddedSignatureAndSigner(const std::wstring& path);
  // 0 and the engine's selfProtection set from the suite's answer; non-zero
  // with the flag left alone.
  static int QuerySelfProtectionStatus();

  static std::string installPath;  // the suite's "Application Path"
  static klfCnt_SystemCall_t klfCnt_SystemCall;
  static klfCnt_Free_t klfCnt_Free;
  static klfCnt_LoadLibraryWithSignCheck_t klfCnt_LoadLibraryWithSignCheck;
  static klfCnt_VerifyEmbeddedSignatureAndSigner_t klfCnt_VerifyEmbeddedSignatureAndSigner;
};

// The suite's key, in the 32-bit part of the registry.
constexpr char kBrvnRegistryKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Halvane\\BrevonNTCorp\\CurrentVersion";
