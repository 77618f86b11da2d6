#include "server/parse_multi_cmd_xml_win.h"

#include <windows.h>

#include <tinyxml2.h>

#include <cstdio>
#include <cstring>

#include "log/debug_log.h"
#include "records/settings.h"
#include "server/command_document.h"
#include "server/multi_commands_win.h"
#include "util/wide_path_file.h"

// windows.h has an XMLDocument of its own.
using tinyxml2::XMLElement;

void RemoveCommandFiles(const CommandFileNames& files) {
  if (s_Settings.s_bTestMode) return;
  DeleteFileW(files.commandFile.c_str());
  DeleteFileW(files.resultFile.c_str());
}

namespace {

// What TestMode or a failed command left behind is swept up to the first gap
// in the numbering; a result file without its command file stays.
void SweepCommandFiles(const std::wstring& path) {
  for (int i = 0;; ++i) {
    CommandFileNames files = MakeCommandFileNames(path, i);
    if (!DeleteFileW(files.commandFile.c_str())) return;
    DeleteFileW(files.resultFile.c_str());
  }
}

}  // namespace

int ParseMultiCmdXml(const std::wstring& path, ClientResponseCallback callback) {
  SweepCommandFiles(path);
  FILE* file = OpenWidePathFile(path, "rb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path.c_str());
    return -1;
  }
  tinyxml2::XMLDocument document;
  tinyxml2::XMLError error = document.LoadFile(file);
  std::fclose(file);
  if (error != tinyxml2::XML_SUCCESS) {
    ZENT_LOG(1, L"XML LoadFile failed\n");
    return -1;
  }
  if (document.RootElement() == nullptr) {
    ZENT_LOG(1, L"XML read failed\n");
    return -1;
  }
  int index = 0;
  for (const XMLElement* command = FirstCommand(document); command != nullptr;
       command = command->NextSiblingElement(), ++index) {
    const char* cmd = command->Attribute("cmd");
    if (cmd == nullptr) {
      // The element still uses up its number.
      ZENT_LOG(1, L"cannot find cmd attribute for Request tag\n");
      continue;
    }
    CommandFileNames files = MakeCommandFileNames(path, index);
    if (!WriteCommandFile(*command, files.commandFile)) {
      ZENT_LOG(1, L"can't open %s\n", files.commandFile.c_str());
      return -1;
    }
    if (std::strcmp(cmd, "GetHostMetaData") == 0) {
      RunGetHostMetaData(index, files, callback);
    } else if (std::strcmp(cmd, "SendSecurityConfiguration") == 0) {
      RunSendSecurityConfiguration(index, files);
    } else {
      ZENT_LOG(1, L"unknown xml command(%d): %S\n", index, cmd);
      RemoveCommandFiles(files);
    }
  }
  return 0;
}
