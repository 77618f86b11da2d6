#include "util/brvn_win.h"

#include <vector>

#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "util/brvn_self_protection.h"
#include "util/reg_key_win.h"
#include "util/signer_name_win.h"

std::string UtilBRVN::installPath;
klfCnt_SystemCall_t UtilBRVN::klfCnt_SystemCall = nullptr;
klfCnt_Free_t UtilBRVN::klfCnt_Free = nullptr;
klfCnt_LoadLibraryWithSignCheck_t UtilBRVN::klfCnt_LoadLibraryWithSignCheck = nullptr;
klfCnt_VerifyEmbeddedSignatureAndSigner_t UtilBRVN::klfCnt_VerifyEmbeddedSignatureAndSigner = nullptr;

namespace {

const wchar_t kFrameworkName[] = L"klfAgent_64x";

template <class Fn>
Fn EntryPoint(const char* name) {
  return reinterpret_cast<Fn>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(kFrameworkName), name)));
}

}  // namespace

bool UtilBRVN::ReadBRVNInstallPathFromReg() {
  utilRegKey key(kBrvnRegistryKey);
  if (!key.KeyExists()) {
    ZENT_LOG(1, L"cannot find registry %S\n", kBrvnRegistryKey);
    return false;
  }
  if (!key.Open(0)) {
    ZENT_LOG(1, L"cannot open registry %S\n", kBrvnRegistryKey);
    return false;
  }
  if (!key.QueryValue("Application Path", installPath, false)) {
    ZENT_LOG(1, L"cannot find value(%S) under key(%S)\n", "Application Path", kBrvnRegistryKey);
    return false;
  }
  key.Close();
  return true;
}

bool UtilBRVN::Init() {
  if (!ReadBRVNInstallPathFromReg()) {
    ZENT_LOG(1, L"Read BRVN install path from registry failed.\n");
    return false;
  }
  if (klfCnt_Free != nullptr) return true;

  // The framework is checked before it is loaded, against a substituted
  // library in the agent's folder.
  std::wstring path = s_Settings.workingDirectory + L"\\" + kFrameworkName + L".dll";
  if (getSignerName(path) != KLF_EXPECTED_SIGNER) {
    ZENT_LOG(1, L"%s.dll does not have valid Halvane sign.\n", kFrameworkName);
    return false;
  }
  SetDllDirectoryW(s_Settings.workingDirectory.c_str());
  HMODULE framework = LoadLibraryW(L"klfAgent_64x.dll");
  SetDllDirectoryW(nullptr);
  if (framework == nullptr) {
    ZENT_LOG(1, L"Unable to load %s.dll.\n", kFrameworkName);
    return false;
  }
  // The first entry point missing ends the set-up; those found stay set.
  klfCnt_SystemCall = EntryPoint<klfCnt_SystemCall_t>("klfCnt_SystemCall");
  if (klfCnt_SystemCall == nullptr) {
    ZENT_LOG(1, L"Unable to load klfCnt_SystemCall function.\n");
    return false;
  }
  klfCnt_Free = EntryPoint<klfCnt_Free_t>("klfCnt_Free");
  if (klfCnt_Free == nullptr) {
    ZENT_LOG(1, L"Unable to load klfCnt_Free function.\n");
    return false;
  }
  klfCnt_LoadLibraryWithSignCheck = EntryPoint<klfCnt_LoadLibraryWithSignCheck_t>("klfCnt_LoadLibraryWithSignCheck");
  if (klfCnt_LoadLibraryWithSignCheck == nullptr) {
    ZENT_LOG(1, L"Unable to load klfCnt_LoadLibraryWithSignCheck function.\n");
    return false;
  }
  klfCnt_VerifyEmbeddedSignatureAndSigner =
      EntryPoint<klfCnt_VerifyEmbeddedSignatureAndSigner_t>("klfCnt_VerifyEmbeddedSignatureAndSigner");
  if (klfCnt_VerifyEmbeddedSignatureAndSigner == nullptr) {
    ZENT_LOG(1, L"Unable to load klfCnt_VerifyEmbeddedSignatureAndSigner function.\n");
    return false;
  }
  return true;
}

HMODULE UtilBRVN::LoadLibraryWithSignCheck(const std::wstring& path) {
  if (klfCnt_LoadLibraryWithSignCheck == nullptr) {
    ZENT_LOG(1, L"klfCnt_LoadLibraryWithSignCheck function is not loaded.\n");
    return nullptr;
  }
  return static_cast<HMODULE>(klfCnt_LoadLibraryWithSignCheck(KLF_EXPECTED_SIGNER, path.c_str()));
}

bool UtilBRVN::VerifyEmbeddedSignatureAndSigner(const std::wstring& path) {
  if (klfCnt_VerifyEmbeddedSignatureAndSigner == nullptr) {
    ZENT_LOG(1, L"klfCnt_VerifyEmbeddedSignatureAndSigner function is not loaded.\n");
    return false;
  }
  return klfCnt_VerifyEmbeddedSignatureAndSigner(KLF_EXPECTED_SIGNER, path.c_str()) != 0;
}

int UtilBRVN::QuerySelfProtectionStatus() {
  ZENT_LOG(4, L"Querying self-protection status...\n");
  if (klfCnt_SystemCall == nullptr || klfCnt_Free == nullptr) {
    ZENT_LOG(1, L"klfCnt_SystemCall function is not loaded.\n");
    return -1;
  }
  std::string request = BuildSelfProtectionRequest();
  ZENT_LOG(4, L"Request: %S\n", request);
  std::vector<char> buffer(request.begin(), request.end());
  buffer.push_back('\0');
  uint32_t responseSize = 0;
  char* response = nullptr;
  int rc = klfCnt_SystemCall(0, static_cast<uint32_t>(buffer.size()), buffer.data(), &responseSize, &response);
  if (rc != 0) {
    ZENT_LOG(1, L"KLF System call retruned error: %d\n", rc);
    return rc;
  }
  std::string text = response != nullptr ? std::string(response, strnlen(response, responseSize)) : std::string();
  ZENT_LOG(4, L"Response: %S\n", text);
  int detail = 0;
  int result = -1;
  SelfProtectionAnswer answer = ParseSelfProtectionResponse(text, detail);
  switch (answer) {
    case SelfProtectionAnswer::Enabled:
    case SelfProtectionAnswer::Disabled:
      g_Engine.selfProtection = answer == SelfProtectionAnswer::Enabled;
      result = 0;
      break;
    case SelfProtectionAnswer::Unparsable:
      ZENT_LOG(1, L"Unable to parse response, rapidjosn parsing error: %d\n", detail);
      break;
    case SelfProtectionAnswer::MissingErrorCode:
      ZENT_LOG(1, L"Missing error code in KLF response.\n");
      break;
    case SelfProtectionAnswer::FrameworkError:
      ZENT_LOG(1, L"KLF response with error code: %d\n", detail);
      break;
    case SelfProtectionAnswer::InvalidContent:
      ZENT_LOG(1, L"Invalid system call content.\n");
      break;
  }
  klfCnt_Free(response);
  return result;
}
