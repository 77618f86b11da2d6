#include <cerrno>
#include <cstdio>

#include "log/debug_log.h"
#include "policy/agent_config_document.h"
#include "policy/load_raw_config_xml_file.h"
#include "util/wide_path_file.h"

int ParseRawConfigXml(RawConfig& rawConfig, const std::wstring& inputPath, const std::wstring& outputPath) {
  int result = -1;
  tinyxml2::XMLPrinter document;
  if (FILE* input = OpenWidePathFile(inputPath, "rb"); input == nullptr) {
    result = errno;
    ZENT_LOG(1, L"can't open %s\n", inputPath);
  } else {
    int loaded = LoadRawConfigXmlFile(rawConfig, input);
    fclose(input);
    if (loaded != 0) {
      ZENT_LOG(1, L"LoadRawConfigXmlFile failed\n");
    } else if (CreateConfig(rawConfig, document) != 0) {
      ZENT_LOG(1, L"CreateConfig failed\n");
    } else if (WriteXML(document, outputPath) != 0) {
      ZENT_LOG(1, L"WriteXML failed\n");
    } else {
      result = 0;
    }
  }
  // Nothing of one translation survives into the next.
  DumpAndFreeRawConfigMaps(rawConfig);
  return result;
}
