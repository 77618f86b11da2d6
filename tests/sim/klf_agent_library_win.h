// klfAgent_64x.dll's stand-in, loaded by path and resolved by name as the
// agent's bridge does.
#pragma once

#include "build_outputs.h"
#include "pe_file.h"
#include "platform/klf_agent.h"

#include <windows.h>

namespace zentsim::testing {

struct KlfAgentLibrary {
  KlfAgentLibrary() : module(LoadLibraryW(BuildOutput(L"ZENT_SIM_KLF_AGENT_DLL").c_str())) {
    if (!module) return;
    systemCall = Exported<klfCnt_SystemCall_t>(module, "klfCnt_SystemCall");
    free = Exported<klfCnt_Free_t>(module, "klfCnt_Free");
    loadLibraryWithSignCheck =
        Exported<klfCnt_LoadLibraryWithSignCheck_t>(module, "klfCnt_LoadLibraryWithSignCheck");
    verifyEmbeddedSignatureAndSigner = Exported<klfCnt_VerifyEmbeddedSignatureAndSigner_t>(
        module, "klfCnt_VerifyEmbeddedSignatureAndSigner");
  }

  HMODULE module = nullptr;
  klfCnt_SystemCall_t systemCall = nullptr;
  klfCnt_Free_t free = nullptr;
  klfCnt_LoadLibraryWithSignCheck_t loadLibraryWithSignCheck = nullptr;
  klfCnt_VerifyEmbeddedSignatureAndSigner_t verifyEmbeddedSignatureAndSigner = nullptr;
};

}  // namespace zentsim::testing
