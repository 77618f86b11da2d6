// The translator over any bytes as the manager's policy: no input may make
// it crash, hang, leak or read out of bounds.
#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "policy/agent_config_document.h"
#include "policy/load_raw_config_xml_file.h"
#include "policy/raw_config.h"
#include "records/settings.h"

namespace {

// The machine and the driver both know two adapters whose MACs the seed
// policies name, so that the interface sections have working interfaces.
void AddInterface(RawConfig& raw, const std::string& mac, const std::string& driverId) {
  raw.platformIfByMACMap.emplace(
      mac, std::make_unique<AttrMap>(AttrMap{{"id", "0"}, {"mac", mac}, {"name", "Ethernet"}, {"dhcp", "false"}}));
  raw.driverIfByMACMap.emplace(mac, std::make_unique<AttrMap>(AttrMap{{"id", driverId}, {"mac", mac}, {"name", "drv"}}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The log would cost more than the translation and say nothing new.
  s_Settings.DebugLevel = 0;
  // fmemopen wants a writable buffer of at least one byte.
  std::vector<char> bytes(data, data + size);
  bytes.push_back('\0');
  FILE* file = fmemopen(bytes.data(), size == 0 ? 1 : size, "rb");
  if (file == nullptr) return 0;

  RawConfig rawConfig;
  AddInterface(rawConfig, "aa:bb:cc:dd:ee:ff", "1");
  AddInterface(rawConfig, "00:0c:29:aa:bb:cc", "2");
  tinyxml2::XMLPrinter document;
  if (LoadRawConfigXmlFile(rawConfig, file) == 0) CreateConfig(rawConfig, document);
  fclose(file);
  DumpAndFreeRawConfigMaps(rawConfig);
  return 0;
}
