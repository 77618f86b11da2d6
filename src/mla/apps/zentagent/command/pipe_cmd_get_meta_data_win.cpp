#include <cstdio>
#include <string>

#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "metadata/parse_query_meta_xml.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "util/wide_path_file.h"

int PipeCmdGetMetaData(int pipeIndex, CommandHeader* header, std::string_view message) {
  // Fixed names in the install directory: the client reads the response
  // there after the reply, and both stay until the next such command.
  std::wstring requestPath = s_Settings.workingDirectory + L"\\meta_request.xml";
  std::wstring responsePath = s_Settings.workingDirectory + L"\\meta_response.xml";
  int status = -1;
  // No query touches the driver, yet the command wants it open.
  if (g_Engine.hDriver == nullptr) {
    ZENT_LOG(1, L"driver handle is null\n");
  } else {
    // "Mata" is the log's own spelling.
    if (DeleteFileW(requestPath.c_str())) ZENT_LOG(4, L"previous RequestMataXml(%s) is removed.\n", requestPath);
    if (DeleteFileW(responsePath.c_str())) ZENT_LOG(4, L"previous ResponseMataXml(%s) is removed.\n", responsePath);
    std::string_view data = message.substr(kCommandHeaderSize);
    ZENT_LOG(4, L"command size=%d, data size=%d\n", static_cast<int>(kCommandHeaderSize), static_cast<int>(data.size()));
    // Text mode: the runtime turns each "\n" of the request into "\r\n".
    FILE* file = OpenWidePathFile(requestPath, "w");
    if (file == nullptr) {
      ZENT_LOG(1, L"can't open %s\n", requestPath);
    } else {
      bool written = std::fwrite(data.data(), 1, data.size(), file) == data.size();
      // The runtime's buffer reaches the disk only at the close.
      if (std::fclose(file) != 0) written = false;
      if (!written) {
        ZENT_LOG(1, L"failed to write file(%s)\n", requestPath);
      } else {
        status = ParseQueryMetaXml(requestPath, responsePath);
      }
    }
  }
  int rc = SendSimpleReply(pipeIndex, *header, status == 0 ? 0 : 1);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
