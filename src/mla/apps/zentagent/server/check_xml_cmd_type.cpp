#include "server/check_xml_cmd_type.h"

#include <tinyxml2.h>

#include <cstdio>
#include <cstring>

#include "log/debug_log.h"
#include "util/wide_path_file.h"

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

int checkXmlCmdType(const std::wstring& path) {
  FILE* file = OpenWidePathFile(path, "rb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", path.c_str());
    return 0;
  }
  XMLDocument document;
  tinyxml2::XMLError error = document.LoadFile(file);
  std::fclose(file);
  if (error != tinyxml2::XML_SUCCESS) {
    ZENT_LOG(1, L"XML LoadFile failed\n");
    return 0;
  }
  if (document.RootElement() == nullptr) {
    ZENT_LOG(1, L"XML read failed\n");
    return 0;
  }
  // Only the server's documents come here, and they always have a Message;
  // a document without one is refused rather than followed into a fault.
  const XMLElement* message = document.FirstChildElement("Message");
  const XMLElement* request = message == nullptr ? nullptr : message->FirstChildElement("Request");
  if (request == nullptr) {
    ZENT_LOG(1, L"cannot find Tag Message.Request\n");
    return 0;
  }
  const char* cmd = request->Attribute("cmd");
  if (cmd == nullptr || *cmd == '\0') {
    ZENT_LOG(1, L"cannot find Attribute cmd\n");
    return 0;
  }
  if (std::strcmp(cmd, "GetHostMetaData") == 0) {
    ZENT_LOG(4, L"GetHostMetaData command received\n");
    return 2;
  }
  if (std::strcmp(cmd, "SendSecurityConfiguration") == 0) {
    ZENT_LOG(4, L"SendSecurityConfiguration command received\n");
    return 1;
  }
  return 0;
}
