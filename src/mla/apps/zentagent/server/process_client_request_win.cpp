// processClientRequest: the bridge from a heartbeat's reply to the commands
// it carries, through notify_request.xml.
#include "server/server_conversation_win.h"
#include "service/debug_log.h"
#include "service/settings.h"

bool processClientRequest(const std::string& response, uint32_t* rapid) {
  std::wstring requestXmlPath = s_Settings.workingDirectory + L"\\notify_request.xml";
  if (DeleteFileW(requestXmlPath.c_str())) {
    ZENT_LOG(4, L"previous RequestXmlPath(%s) is removed.\n", requestXmlPath);
  }
  uint32_t requested = 0;
  bool processed = false;
  if (!getClientRequestXml(response, requestXmlPath, &requested)) {
    ZENT_LOG(2, L"xml command is invalid\n");
  } else {
    // The multi-command processor (ParseMultiCmdXml, with sendClientResponse
    // as its callback) is not part of this build yet: the document stays
    // unprocessed, so the cycle does not count as processed and heartbeats
    // keep their long form.
    ZENT_LOG(2, L"multi-command processor not available, command document not processed\n");
  }
  // The server's wait counts whatever became of the document.
  if (requested != 0 && rapid) *rapid = requested;
  if (!s_Settings.s_bTestMode) DeleteFileW(requestXmlPath.c_str());
  return processed;
}
