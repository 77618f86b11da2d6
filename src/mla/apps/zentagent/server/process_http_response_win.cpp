#include <windows.h>

#include <mutex>

#include "log/debug_log.h"
#include "metadata/parse_query_meta_xml.h"
#include "policy/agent_config_document.h"
#include "policy/compile_and_send_config_win.h"
#include "policy/deployment_lock.h"
#include "policy/policy_files.h"
#include "server/check_xml_cmd_type.h"
#include "server/direct_http_win.h"
#include "server/store_raw_policy_win.h"

namespace {

// The deployment of this path: only the first command's name was looked at,
// and the whole document goes to the translator. The registry times, the
// policy labels, the ini and the notify event stay as they are.
bool DeployHttpRequest(const std::wstring& requestPath, const std::wstring& responsePath) {
  std::lock_guard<std::mutex> deployment(g_DeploymentLock);
  const std::wstring xmlPath = WorkingDirectoryFile(kConfigXmlName);
  // No result file in between: a translator that fails late can leave
  // config.xml changed.
  if (ParseRawConfigXml(requestPath, xmlPath) != 0) return false;
  StoreRawPolicy(requestPath, WorkingDirectoryFile(kMlmConfigXmlName));
  // Nothing on this branch writes the response file, deleted before: the
  // copy fails and config.xml keeps what the translator wrote.
  CopyFileW(responsePath.c_str(), xmlPath.c_str(), FALSE);
  return CompileAndSendConfig(xmlPath, WorkingDirectoryFile(kConfigBinName), WorkingDirectoryFile(kCompilerName)) ==
         0;
}

}  // namespace

bool processHttpResponse(const std::string& target, uint16_t port, uint8_t machineId, std::string& response) {
  const std::wstring requestPath = WorkingDirectoryFile(kHttpRequestXmlName);
  const std::wstring responsePath = WorkingDirectoryFile(kHttpResponseXmlName);
  if (DeleteFileW(requestPath.c_str())) ZENT_LOG(4, L"previous RequestXmlPath(%s) is removed.\n", requestPath.c_str());
  if (DeleteFileW(responsePath.c_str()))
    ZENT_LOG(4, L"previous ResponseXmlPath(%s) is removed.\n", responsePath.c_str());
  if (!putJasonToFile(response, requestPath)) return false;
  switch (checkXmlCmdType(requestPath)) {
    case 2:
      if (ParseQueryMetaXml(requestPath, responsePath) != 0) return false;
      return PostBackMetaData(target, port, machineId, responsePath);
    case 1:
      return DeployHttpRequest(requestPath, responsePath);
    default:
      ZENT_LOG(1, L"xml file is invalid\n");
      return false;
  }
}
