#include "log/debug_log.h"
#include "server/direct_http_win.h"
#include "server/http_request.h"
#include "server/https_post_win.h"
#include "server/update_host_meta_data.h"
#include "util/whole_file.h"

bool PostBackMetaData(const std::string& target, uint16_t port, uint8_t machineId, const std::wstring& resultPath) {
  std::string metaData;
  if (!loadFileToString(resultPath, metaData)) {
    ZENT_LOG(1, L"loadFileToString failed: file=%s\n", resultPath.c_str());
    return false;
  }
  std::string body;
  if (!BuildUpdateHostMetaData(metaData, body)) {
    ZENT_LOG(1, L"Json content is incorrect\n");
    return false;
  }
  std::string answer;
  return httpsPost(target, port, BuildHttpRequest(machineId, body), answer);
}
