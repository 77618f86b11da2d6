#include "metadata/load_request_xml_file.h"

#include <tinyxml2.h>

#include <memory>

#include "log/debug_log.h"
#include "util/wide_path_file.h"

int LoadRequestXMlFile(MetaRequest& request, FILE* file) {
  tinyxml2::XMLDocument doc;
  if (doc.LoadFile(file) != tinyxml2::XML_SUCCESS) {
    ZENT_LOG(1, L"XML LoadFile failed\n");
    return -1;
  }
  if (doc.FirstChild() == nullptr) {
    ZENT_LOG(1, L"XML read failed\n");
    return -1;
  }
  const tinyxml2::XMLElement* message = doc.FirstChildElement("Message");
  if (message == nullptr) {
    ZENT_LOG(1, L"Invalid format. Missing 'Message'.\n");
    return -1;
  }
  const tinyxml2::XMLElement* requestElement = message->FirstChildElement("Request");
  if (requestElement == nullptr) {
    ZENT_LOG(1, L"Invalid format. Missing 'Request'.\n");
    return -1;
  }
  const tinyxml2::XMLElement* requestIdElement = requestElement->FirstChildElement("RequestID");
  if (requestIdElement == nullptr) {
    ZENT_LOG(1, L"Invalid format. Missing 'RequestID'.\n");
    return -1;
  }
  // An empty RequestID has nothing to copy to the response, which the server
  // matches by it: refused like a missing one.
  const char* requestIdText = requestIdElement->GetText();
  if (requestIdText == nullptr) {
    ZENT_LOG(1, L"Invalid format. 'RequestID' has no text.\n");
    return -1;
  }
  request.requestId = requestIdText;
  ZENT_LOG(5, L"Request ID: %s\n", WidePathFromUtf8(request.requestId));
  const tinyxml2::XMLElement* queries = requestElement->FirstChildElement("HostMetaDataQueries");
  if (queries == nullptr) {
    ZENT_LOG(1, L"Invalid format. Missing 'HostMetaDataQueries'.\n");
    return -1;
  }
  const tinyxml2::XMLElement* first = queries->FirstChildElement("HostMetaDataQuery");
  if (first == nullptr) {
    ZENT_LOG(1, L"Invalid format. Missing 'HostMetaDataQuery'.\n");
    return -1;
  }
  // Only the first query is found by its name; every element after it is a
  // query too, whatever its name.
  for (const tinyxml2::XMLElement* query = first; query != nullptr; query = query->NextSiblingElement()) {
    auto attributes = std::make_unique<AttrMap>();
    for (const tinyxml2::XMLAttribute* a = query->FirstAttribute(); a != nullptr; a = a->Next()) {
      InsertAttr(*attributes, a->Name(), a->Value());
    }
    auto id = attributes->find("id");
    if (id == attributes->end()) continue;
    std::string key = id->second;
    InsertAttrMap(request.idMap, key, std::move(attributes));
  }
  return 0;
}
