#include "server/update_host_meta_data.h"

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

bool BuildUpdateHostMetaData(const std::string& metaData, std::string& body) {
  // Parsed anew at each use, as the message's one definition.
  rapidjson::Document doc;
  doc.Parse(R"({"name": "UpdateHostMetaData", "metaData": ""})");
  if (!doc.IsObject()) return false;
  doc["metaData"].SetString(metaData.data(), static_cast<rapidjson::SizeType>(metaData.size()), doc.GetAllocator());
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  writer.SetIndent(' ', 4);
  doc.Accept(writer);
  body.assign(buffer.GetString(), buffer.GetSize());
  return true;
}
