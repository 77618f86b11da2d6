#include "metadata/make_response_xml_file.h"

#include <openssl/evp.h>
#include <tinyxml2.h>

#include <cstdio>
#include <cstring>

#include "log/debug_log.h"
#include "util/wide_path_file.h"

namespace {

// An absent argument is an empty string.
std::string QueryAttribute(const AttrMap& attributes, const char* name) {
  auto it = attributes.find(name);
  return it == attributes.end() ? std::string() : it->second;
}

const HmdQueryFamily* FindFamily(std::span<const HmdQueryFamily> families, const std::string& query) {
  for (const HmdQueryFamily& family : families) {
    if (query == family.query) return &family;
  }
  return nullptr;
}

}  // namespace

int MakeResponseXMlFile(const MetaRequest& request, const std::wstring& responsePath) {
  return MakeResponseXMlFile(request, responsePath, HmdQueryFamilies());
}

int MakeResponseXMlFile(const MetaRequest& request, const std::wstring& responsePath,
                        std::span<const HmdQueryFamily> families) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* message = document.NewElement("Message");
  document.InsertEndChild(message);
  tinyxml2::XMLElement* response = document.NewElement("Response");
  message->InsertEndChild(response);
  response->SetAttribute("cmd", "GetHostMetaData");
  // "0" even when handlers fail: a failed query only lacks its result.
  response->SetAttribute("code", "0");
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  response->InsertEndChild(results);
  tinyxml2::XMLElement* requestId = document.NewElement("RequestID");
  response->InsertEndChild(requestId);
  requestId->SetText(request.requestId.c_str());

  if (request.idMap.empty()) return -1;

  OpenSSL_add_all_digests();

  for (const auto& [key, attributes] : request.idMap) {
    std::string arg1 = QueryAttribute(*attributes, "arg1");
    std::string arg2 = QueryAttribute(*attributes, "arg2");
    std::string arg3 = QueryAttribute(*attributes, "arg3");
    std::string id = QueryAttribute(*attributes, "id");
    auto query = attributes->find("query");
    if (query == attributes->end()) {
      ZENT_LOG(1, L"cannot find query attr for this query\n");
      continue;
    }
    const HmdQueryFamily* family = FindFamily(families, query->second);
    if (family == nullptr) {
      // The document says nothing of it: the query simply has no result.
      ZENT_LOG(1, L"unknown query(%S)\n", query->second);
      continue;
    }
    if (!family->handler(document, results, id, arg1, arg2, arg3)) continue;
    switch (family->successLine) {
      case HmdSuccessLine::Plain: ZENT_LOG(6, L"%S succeeded\n", family->handlerName); break;
      case HmdSuccessLine::Key: ZENT_LOG(6, L"%S succeeded: key(%S)\n", family->handlerName, arg1); break;
      case HmdSuccessLine::KeyValue:
        ZENT_LOG(6, L"%S succeeded: key(%S), value(%S)\n", family->handlerName, arg1, arg2);
        break;
      case HmdSuccessLine::File: ZENT_LOG(6, L"%S succeeded: file(%S)\n", family->handlerName, arg1); break;
    }
  }

  FILE* file = OpenWidePathFile(responsePath, "wb");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", responsePath);
    return -1;
  }
  bool saved = document.SaveFile(file, false) == tinyxml2::XML_SUCCESS && std::ferror(file) == 0;
  if (std::fclose(file) != 0) saved = false;
  // A response cut short by a full disk must not pass for an answer.
  if (!saved) {
    ZENT_LOG(1, L"failed to write file(%s)\n", responsePath);
    return -1;
  }
  return 0;
}
