// PipeCmdMulti (107): a multi-command document from a local client. There is
// no way to post a query's result from here, so it runs without a callback.
#include <windows.h>

#include <cstdio>
#include <string>

#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "server/parse_multi_cmd_xml_win.h"
#include "util/wide_path_file.h"

int PipeCmdMulti(int pipeIndex, CommandHeader* header, std::string_view message) {
  int result = -1;
  // The document stays on the disk after the command, until the next one.
  std::wstring path = s_Settings.workingDirectory + L"\\multicommand.xml";
  if (g_Engine.hDriver == nullptr) {
    ZENT_LOG(1, L"driver handle is null\n");
  } else {
    if (DeleteFileW(path.c_str())) ZENT_LOG(4, L"previous MultiCommandXml(%s) is removed.\n", path.c_str());
    std::string_view data = message.substr(kCommandHeaderSize);
    ZENT_LOG(4, L"command size=%d, data size=%d\n", static_cast<int>(kCommandHeaderSize),
             static_cast<int>(data.size()));
    // Text mode, as the document came from a Windows client's text.
    FILE* file = OpenWidePathFile(path, "w");
    if (file == nullptr) {
      ZENT_LOG(1, L"can't open %s\n", path.c_str());
    } else if (!data.empty() && std::fwrite(data.data(), 1, data.size(), file) != data.size()) {
      ZENT_LOG(1, L"failed to write file(%s)\n", path.c_str());
      std::fclose(file);
    } else {
      std::fclose(file);
      result = ParseMultiCmdXml(path, nullptr);
    }
  }
  int rc = SendSimpleReply(pipeIndex, *header, result == 0 ? 0 : 1);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
