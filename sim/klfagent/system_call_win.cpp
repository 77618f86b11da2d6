// The framework's request and response call, and the free of its responses.
#include "platform/klf_agent.h"
#include "sim_registry.h"
#include "system_call_answer.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace {

const std::wstring kStandIn = L"klfAgent";

}  // namespace

extern "C" int klfCnt_SystemCall(int reserved, uint32_t requestSize, const char* request,
                                 uint32_t* responseSize, char** response) {
  (void)reserved;
  if (response) *response = nullptr;
  if (responseSize) *responseSize = 0;
  // The request's size counts its closing zero; a caller that counts
  // otherwise is refused, as a framework reading a fixed-size buffer would.
  if (!request || !response || !responseSize || requestSize == 0 ||
      std::strlen(request) + 1 != requestSize) {
    return ERROR_INVALID_PARAMETER;
  }
  std::string_view text(request, requestSize - 1);
  zentsim::Count(kStandIn, L"SystemCalls");
  zentsim::WriteString(kStandIn, L"LastRequest", std::string(text));
  if (DWORD failure = zentsim::ReadDword(kStandIn, L"SystemCallFails", 0)) {
    return static_cast<int>(failure);
  }

  zentsim::klf::SystemCallKnobs knobs;
  knobs.selfProtection = zentsim::ReadDword(kStandIn, L"SelfProtection", 0);
  knobs.responseError = zentsim::ReadDword(kStandIn, L"ResponseError", 0);
  knobs.response = zentsim::ReadString(kStandIn, L"Response");
  std::string answer = zentsim::klf::AnswerSystemCall(text, knobs);

  // The response belongs to the framework until klfCnt_Free; its size, like
  // the request's, counts the closing zero.
  char* buffer = static_cast<char*>(std::malloc(answer.size() + 1));
  if (!buffer) return ERROR_NOT_ENOUGH_MEMORY;
  std::memcpy(buffer, answer.c_str(), answer.size() + 1);
  *response = buffer;
  *responseSize = static_cast<uint32_t>(answer.size() + 1);
  return 0;
}

extern "C" void klfCnt_Free(void* response) {
  if (!response) return;
  std::free(response);
  zentsim::Count(kStandIn, L"ResponsesFreed");
}

static_assert(std::is_same_v<decltype(&klfCnt_SystemCall), klfCnt_SystemCall_t>);
static_assert(std::is_same_v<decltype(&klfCnt_Free), klfCnt_Free_t>);
