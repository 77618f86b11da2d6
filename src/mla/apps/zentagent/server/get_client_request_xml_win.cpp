// getClientRequestXml: a heartbeat's reply taken apart. The command document
// goes to its file first, then the policy label to memory, then to the ini,
// and only then do the commands run.
#include <cstdio>
#include <mutex>

#include "log/debug_log.h"
#include "policy/deployment_lock.h"
#include "records/settings.h"
#include "server/server_conversation_win.h"
#include "server/server_reply.h"
#include "util/text_win.h"
#include "util/utf8_check.h"
#include "util/wide_path_file.h"

bool getClientRequestXml(const std::string& text, const std::wstring& path, uint32_t* rapid) {
  if (rapid) *rapid = 0;
  ClientRequestReply reply = ReadClientRequestReply(text);
  if (reply.parseError != 0) {
    ZENT_LOG(1, L"getClientRequestXml json parsing error: %d\n", reply.parseError);
    return false;
  }
  if (reply.type != kClientRequestResponse) {
    ZENT_LOG(1, L"getClientRequestXml invalid response type: %d\n", reply.type);
    return false;
  }
  // Taken before anything else can fail: the server's wait counts even for
  // a request that is refused below.
  if (reply.hasRapidHeartbeat && rapid) *rapid = reply.rapidHeartbeat;
  ZENT_LOG(6, L"Json members=>\nname: %S\nclientUID: %S\nrequest: %S\nrapidHeartbeat: %d\n", reply.name,
           reply.clientUID, reply.request, reply.rapidHeartbeat);
  if (reply.request.empty()) {
    ZENT_LOG(1, L"xml content is null\n");
    return false;
  }

  // Text mode: the document's line feeds become carriage return and line
  // feed on disk.
  FILE* file = OpenWidePathFile(path, "wt");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path);
    return false;
  }
  if (std::fwrite(reply.request.data(), 1, reply.request.size(), file) != reply.request.size()) {
    ZENT_LOG(1, L"failed to write file(%s)\n", path);
    std::fclose(file);
    return false;
  }
  std::fclose(file);

  if (!reply.hasInfo) {
    // RequestPolicy keeps the earlier label, and a deployment from this
    // request publishes that one.
    ZENT_LOG(4, L"No policy info in the request.\n");
    return true;
  }
  if (!IsValidUtf8(reply.info)) {
    ZENT_LOG(1, L"policy info of the request is not valid UTF-8, request refused\n");
    return false;
  }
  {
    // A deployment by pipe reads the label on the dispatcher's thread.
    std::lock_guard<std::mutex> deployment(g_DeploymentLock);
    s_Settings.RequestPolicy = utf8ToWide(reply.info.c_str());
  }
  ZENT_LOG(4, L"start write request policy info: %s\n", s_Settings.RequestPolicy);
  ZENT_LOG(4, L"write policy info in ini...\n");
  if (!WritePrivateProfileStringW(L"Policy", L"RequestPolicy", s_Settings.RequestPolicy.c_str(),
                                  s_Settings.iniFile.c_str())) {
    ZENT_LOG(1, L"Unable to write request policy info into zent_agent.ini, err: %d\n", GetLastError());
  } else {
    ZENT_LOG(4, L"write request policy info successfully.\n");
  }
  // The memory copy is what the cycle's deployment reads.
  return true;
}
