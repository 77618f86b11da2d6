#include "server/command_document.h"

#include <cstdio>

#include "util/wide_path_file.h"

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;

const XMLElement* FirstCommand(const XMLDocument& document) {
  const XMLElement* message = document.FirstChildElement("Message");
  return message == nullptr ? nullptr : message->FirstChildElement("Request");
}

bool WriteCommandFile(const XMLElement& command, const std::wstring& path) {
  XMLDocument single;
  XMLElement* message = single.NewElement("Message");
  single.InsertEndChild(message);
  // The element itself with its attributes, and a deep copy of every child:
  // the handler reads the command as if the server had sent it alone.
  message->InsertEndChild(command.DeepClone(&single));
  FILE* file = OpenWidePathFile(path, "wb");
  if (file == nullptr) return false;
  single.SaveFile(file, false);
  std::fclose(file);
  return true;
}
