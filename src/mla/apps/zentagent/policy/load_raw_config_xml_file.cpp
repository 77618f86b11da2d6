#include "policy/load_raw_config_xml_file.h"

#include <tinyxml2.h>

#include "log/debug_log.h"
#include "policy/raw_config_passes.h"

int LoadRawConfigXmlFile(RawConfig& rawConfig, FILE* file) {
  tinyxml2::XMLDocument doc;
  if (doc.LoadFile(file) != tinyxml2::XML_SUCCESS) {
    ZENT_LOG(1, L"XML LoadFile failed\n");
    return -1;
  }
  if (doc.FirstChild() == nullptr) {
    ZENT_LOG(1, L"XML read failed\n");
    return -1;
  }
  // Each pass starts again from the document; a missing element ends its
  // pass without a word, so no element is mandatory.
  if (ReadLogConfiguration(doc) != 0) return -1;
  if (ReadPacketFilterLog(doc) != 0) return -1;
  ReadFeatures(doc, rawConfig);
  ReadSystemSettings(doc, rawConfig);
  ReadPacketFilters(doc, rawConfig);
  ReadStatefulFilters(doc, rawConfig);
  ReadConnectionTypes(doc, rawConfig);
  ReadPayloadFilters(doc, rawConfig);
  ReadInterfaces(doc, rawConfig);
  ReadRuleContexts(doc, rawConfig);
  ReadFirstInterfaceIps(doc, rawConfig);
  ReadIdLists(doc, rawConfig);
  return 0;
}
