// processClientRequest: the bridge from a heartbeat's reply to the commands
// it carries, through notify_request.xml.
#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "server/parse_multi_cmd_xml_win.h"
#include "server/server_conversation_win.h"

bool processClientRequest(const std::string& response, uint32_t* rapid) {
  std::wstring requestXmlPath = s_Settings.workingDirectory + L"\\notify_request.xml";
  if (DeleteFileW(requestXmlPath.c_str())) {
    ZENT_LOG(4, L"previous RequestXmlPath(%s) is removed.\n", requestXmlPath);
  }
  uint32_t requested = 0;
  bool processed = false;
  if (!getClientRequestXml(response, requestXmlPath, &requested)) {
    ZENT_LOG(2, L"xml command is invalid\n");
  } else if (ParseMultiCmdXml(requestXmlPath, sendClientResponse) != 0) {
    ZENT_LOG(2, L"ParseMultiCmdXml fails\n");
  } else {
    // The server has its answer to the long form: later heartbeats are short.
    g_Engine.fullInfoHeartBeat = false;
    processed = true;
  }
  // The server's wait counts whatever became of the document.
  if (requested != 0 && rapid) *rapid = requested;
  if (!s_Settings.s_bTestMode) DeleteFileW(requestXmlPath.c_str());
  return processed;
}
