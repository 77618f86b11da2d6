// talkToZentServer: the only road to the management server. The transport
// library owns the HTTP exchange and hands the answer over in a file.
#include "log/debug_log.h"
#include "records/settings.h"
#include "server/server_conversation_win.h"
#include "util/brvn_win.h"
#include "util/low_byte_text.h"
#include "util/whole_file.h"

hvSendHttpToBRVNServer2_t g_pfnHvSendHttpToBRVNServer2 = nullptr;

bool talkToZentServer(const std::string& request, std::string& response, std::string description) {
  std::wstring responsePath = s_Settings.workingDirectory + L"\\hvsock_response";
  // The library takes the low byte of each unit, no code-page conversion: a
  // path outside ASCII does not survive this, as the suite's agents expect.
  std::string responseFile = LowByteText(responsePath);

  // Resolved on first use; a failure costs this call only, and the next one
  // tries again.
  if (g_pfnHvSendHttpToBRVNServer2 == nullptr) {
    if (UtilBRVN::LoadLibraryWithSignCheck(s_Settings.workingDirectory + L"\\HvSock_64x.dll") == nullptr) {
      ZENT_LOG(1, L"cannot load %s.dll\n", L"HvSock_64x");
      return false;
    }
    g_pfnHvSendHttpToBRVNServer2 = reinterpret_cast<hvSendHttpToBRVNServer2_t>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"HvSock_64x"), "hvSendHttpToBRVNServer2")));
    if (g_pfnHvSendHttpToBRVNServer2 == nullptr) {
      ZENT_LOG(1, L"cannot locate hvSendHttpToBRVNServer2 API\n");
      return false;
    }
  }

  HvHttpOptions options = {0, 0, 0};
  options.second = 3;
  std::string label = "Zent+" + description;
  description.clear();
  int32_t responseCode = 0;
  int32_t sent = g_pfnHvSendHttpToBRVNServer2("brevon_zent/command", 0, request.data(),
                                              static_cast<uint32_t>(request.size()), responseFile.c_str(),
                                              &responseCode, &options, nullptr, label.c_str());
  if (sent == 0) {
    ZENT_LOG(1, L"g_pfnHvSendHttpToBRVNServer2 failed, responseCode(%d)\n", responseCode);
    return false;
  }
  ZENT_LOG(4, L"g_pfnHvSendHttpToBRVNServer2 succeeded, responseCode(%d)\n", responseCode);
  if (!loadFileToString(responsePath, response)) {
    ZENT_LOG(1, L"loadFileToString failed: file=%s\n", responsePath);
    return false;
  }
  // TestMode keeps the exchange file for inspection.
  if (!s_Settings.s_bTestMode) DeleteFileW(responsePath.c_str());
  return true;
}
