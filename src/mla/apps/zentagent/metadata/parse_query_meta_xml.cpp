#include "metadata/parse_query_meta_xml.h"

#include <cerrno>
#include <cstdio>

#include "log/debug_log.h"
#include "metadata/load_request_xml_file.h"
#include "metadata/make_response_xml_file.h"
#include "metadata/meta_request.h"
#include "util/wide_path_file.h"

int ParseQueryMetaXml(const std::wstring& requestPath, const std::wstring& responsePath) {
  return ParseQueryMetaXml(requestPath, responsePath, HmdQueryFamilies());
}

int ParseQueryMetaXml(const std::wstring& requestPath, const std::wstring& responsePath,
                      std::span<const HmdQueryFamily> families) {
  MetaRequest request;
  int rc;
  errno = 0;
  FILE* file = OpenWidePathFile(requestPath, "rb");
  if (file == nullptr) {
    // The caller sees why: the runtime's error number is the result.
    rc = errno != 0 ? errno : -1;
    ZENT_LOG(1, L"can't open %s\n", requestPath);
  } else {
    rc = LoadRequestXMlFile(request, file);
    std::fclose(file);
    if (rc != 0) {
      ZENT_LOG(1, L"LoadRequestXMlFile failed, return code: %d\n", rc);
    } else {
      rc = MakeResponseXMlFile(request, responsePath, families);
      if (rc != 0) ZENT_LOG(1, L"MakeResponseXMlFile failed, return code: %d\n", rc);
    }
  }
  ZENT_LOG(6, L"idMap=>\n");
  for (const auto& [key, attributes] : request.idMap) {
    // "seperator" is the log's own spelling.
    ZENT_LOG(6, L"<attribute seperator>: key=%S\n", key);
    for (const auto& [name, value] : *attributes) {
      ZENT_LOG(6, L"remove map(%d): key(%S), value(%S)\n", static_cast<int>(attributes->size()), name, value);
    }
  }
  return rc;
}
