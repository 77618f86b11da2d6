#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "server/server_reply.h"

bool BuildClientResponse(const std::string& content, std::string& message) {
  // Parsed anew at each use, as the message's one definition.
  rapidjson::Document doc;
  doc.Parse("{\"name\": \"ClientResponse\", \"response\": {\"type\": \"UpdateHostMetaData\", \"content\": \"\"}}");
  if (!doc.IsObject()) return false;
  doc["response"]["content"].SetString(content.data(), static_cast<rapidjson::SizeType>(content.size()),
                                       doc.GetAllocator());
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  writer.SetIndent(' ', 4);
  doc.Accept(writer);
  message.assign(buffer.GetString(), buffer.GetSize());
  return true;
}
