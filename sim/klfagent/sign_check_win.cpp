// The framework's signature calls: a check of a file's embedded signature and
// signer, and a library load behind that check. Each check's outcome is
// recorded, so that a test sees why a file was refused.
#include "embedded_signature.h"
#include "platform/klf_agent.h"
#include "sim_registry.h"

#include <windows.h>

#include <type_traits>

namespace {

const std::wstring kStandIn = L"klfAgent";

bool Passes(const wchar_t* signer, const wchar_t* path) {
  if (!signer || !path) return false;
  std::string problem = zentsim::klf::CheckEmbeddedSignature(path, signer);
  zentsim::WriteString(kStandIn, L"LastVerification", problem.empty() ? "accepted" : problem);
  return problem.empty();
}

}  // namespace

extern "C" int klfCnt_VerifyEmbeddedSignatureAndSigner(const wchar_t* signer,
                                                       const wchar_t* path) {
  return Passes(signer, path) ? 1 : 0;
}

extern "C" void* klfCnt_LoadLibraryWithSignCheck(const wchar_t* signer, const wchar_t* path) {
  if (!Passes(signer, path)) return nullptr;
  // The library's own dependencies are searched for beside it.
  return LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

static_assert(std::is_same_v<decltype(&klfCnt_LoadLibraryWithSignCheck),
                             klfCnt_LoadLibraryWithSignCheck_t>);
static_assert(std::is_same_v<decltype(&klfCnt_VerifyEmbeddedSignatureAndSigner),
                             klfCnt_VerifyEmbeddedSignatureAndSigner_t>);
