// hvSendHttpToBRVNServer2: posts the agent's message to the management
// server's stand-in, whose address is the transport's own configuration (the
// knob Server), and hands the answer over in the caller's file.
#include <windows.h>

#include <algorithm>
#include <optional>
#include <string>
#include <type_traits>

#include "http_exchange.h"
#include "platform/hv_sock.h"
#include "sim_registry.h"

namespace {

const std::wstring kStandIn = L"hvSock";

// An injected or real failure: the caller's file stays as it was.
int32_t Fail(int32_t* responseCode, int32_t code, const std::string& why) {
  if (responseCode) *responseCode = code;
  zentsim::Count(kStandIn, L"Failures");
  zentsim::WriteString(kStandIn, L"LastFailure", why);
  return 0;
}

bool TakeInjectedFailure() {
  // One mutex with the records' counter: two processes must not both take
  // the last injected failure.
  HANDLE mutex = CreateMutexW(nullptr, FALSE, L"ZentSim.HvSock.FailCount");
  if (mutex) WaitForSingleObject(mutex, INFINITE);
  uint32_t left = zentsim::ReadDword(kStandIn, L"FailCount", 0);
  if (left > 0) zentsim::WriteDword(kStandIn, L"FailCount", left - 1);
  if (mutex) {
    ReleaseMutex(mutex);
    CloseHandle(mutex);
  }
  return left > 0;
}

bool WriteResponseFile(const char* path, const std::string& body) {
  HANDLE file = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  size_t written = 0;
  bool ok = true;
  while (ok && written < body.size()) {
    DWORD chunk = static_cast<DWORD>(std::min<size_t>(body.size() - written, 1 << 20));
    DWORD done = 0;
    ok = WriteFile(file, body.data() + written, chunk, &done, nullptr) && done == chunk;
    written += done;
  }
  CloseHandle(file);
  return ok;
}

}  // namespace

extern "C" int32_t hvSendHttpToBRVNServer2(const char* commandPath, int32_t flags, const void* body,
                                           uint32_t bodyLength, const char* responseFile, int32_t* responseCode,
                                           HvHttpOptions* options, void* reserved, const char* description) {
  zentsim::Count(kStandIn, L"Calls");
  std::string path = commandPath ? commandPath : "";
  std::string label = description ? description : "";
  zentsim::WriteString(kStandIn, L"LastCommandPath", path);
  zentsim::WriteString(kStandIn, L"LastDescription", label);
  zentsim::WriteDword(kStandIn, L"LastFlags", static_cast<uint32_t>(flags));
  zentsim::WriteString(kStandIn, L"LastResponseFile", responseFile ? responseFile : "");
  zentsim::WriteString(kStandIn, L"LastOptions",
                       options ? std::to_string(options->first) + "," + std::to_string(options->second) + "," +
                                     std::to_string(options->third)
                               : "null");
  zentsim::WriteString(kStandIn, L"LastReserved", reserved ? "set" : "null");

  if (TakeInjectedFailure()) return Fail(responseCode, -1, "injected failure");
  if (!responseFile || (!body && bodyLength > 0)) return Fail(responseCode, -1, "bad arguments");
  std::optional<std::string> server = zentsim::ReadString(kStandIn, L"Server");
  if (!server || server->empty()) return Fail(responseCode, -1, "no server configured");

  std::string text(static_cast<const char*>(body), bodyLength);
  uint32_t timeoutMs = zentsim::ReadDword(kStandIn, L"ReceiveTimeoutMs", 60000);
  zentsim::hvsock::HttpAnswer answer = zentsim::hvsock::Post(*server, path, text, label, timeoutMs);
  if (!answer.complete) return Fail(responseCode, -1, answer.problem);
  if (answer.status < 200 || answer.status > 299) {
    return Fail(responseCode, answer.status, "HTTP status " + std::to_string(answer.status));
  }
  if (!WriteResponseFile(responseFile, answer.body)) return Fail(responseCode, answer.status, "cannot write the response file");
  if (responseCode) *responseCode = answer.status;
  zentsim::Count(kStandIn, L"Successes");
  return 1;
}

static_assert(std::is_same_v<decltype(&hvSendHttpToBRVNServer2), hvSendHttpToBRVNServer2_t>);
