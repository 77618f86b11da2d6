// "GetHostMetaData": answers the server's query about the host; the result
// document goes back through the callback, or nowhere on the pipe path.
#include <string>

#include "log/debug_log.h"
#include "metadata/parse_query_meta_xml.h"
#include "server/multi_commands_win.h"
#include "util/whole_file.h"

void RunGetHostMetaData(int index, const CommandFileNames& files, ClientResponseCallback callback) {
  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"process xml command(%d): GetHostMetaData\n", index);
  // A failed query keeps its files until the next document's sweep.
  if (ParseQueryMetaXml(files.commandFile, files.resultFile) != 0) return;
  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"MetaData Result is ready to be posted back to Zent Server\n");
  std::string result;
  if (!loadFileToString(files.resultFile, result)) {
    ZENT_LOG_AS("ParseMultiCmdXml", 1, L"loadFileToString failed: file=%s\n", files.resultFile.c_str());
    return;
  }
  if (callback != nullptr && !callback(result, 1)) {
    ZENT_LOG_AS("ParseMultiCmdXml", 1, L"send client response failed\n");
  }
  RemoveCommandFiles(files);
}
