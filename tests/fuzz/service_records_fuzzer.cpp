// Service records over any field values: made into "service" objects and
// digested, none may crash or read out of bounds, every object keeps the
// attributes its record calls for in their order, and the narrow copy never
// holds a zero byte.
//
// Input, records one after another until it runs out: a control byte (bit 0:
// detailed, bit 1: display name, bit 2: configuration, bit 3: description,
// bit 4: failure actions, bit 5: reboot message, bit 6: command); state,
// process id, start type, service type, reset period as 32-bit little-endian
// numbers; an action count byte and that many (type, delay) pairs; then
// texts, each a length byte and that many bytes (UTF-16 texts take two
// bytes per unit): key name, display name, binary path, start name, load
// order group, dependencies, description, reboot message, command.
#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"
#include "metadata/service_objects.h"

namespace {

struct Reader {
  const uint8_t* at;
  size_t left;

  uint8_t Byte() {
    if (left == 0) return 0;
    --left;
    return *at++;
  }
  uint32_t Number() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(Byte()) << (8 * i);
    return value;
  }
  std::string Bytes() {
    size_t length = std::min<size_t>(Byte(), left);
    std::string text(reinterpret_cast<const char*>(at), length);
    at += length;
    left -= length;
    return text;
  }
  std::u16string Units() {
    std::string bytes = Bytes();
    std::u16string text;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
      text += static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
    }
    return text;
  }
};

size_t CountAttributes(const tinyxml2::XMLElement* object) {
  size_t count = 0;
  for (auto* a = object->FirstChildElement("Attributes")->FirstChildElement(); a; a = a->NextSiblingElement()) ++count;
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
  Reader in{input, size};
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "3", "f");
  while (in.left > 0) {
    uint8_t control = in.Byte();
    bool detailed = control & 1;
    ServiceRecord record;
    record.currentState = in.Number();
    record.processId = in.Number();
    ServiceConfig config;
    config.startType = in.Number();
    config.serviceType = in.Number();
    ServiceFailureActions failure;
    failure.resetPeriod = in.Number();
    for (uint8_t n = in.Byte(); n > 0 && in.left > 0; --n) {
      uint32_t type = in.Number();
      failure.actions.push_back({type, in.Number()});
    }
    record.keyName = in.Bytes();
    std::string display = in.Bytes();
    if (control & 2) record.displayName = display;
    config.binaryPathName = in.Bytes();
    config.serviceStartName = in.Bytes();
    config.loadOrderGroup = in.Bytes();
    config.dependencies = in.Bytes();
    if (control & 4) record.config = config;
    std::u16string description = in.Units();
    if (control & 8) record.description = description;
    std::u16string reboot = in.Units(), command = in.Units();
    if (control & 32) failure.rebootMessage = reboot;
    if (control & 64) failure.command = command;
    if (control & 16) record.failureActions = failure;

    AddServiceObject(document, shell.hostMetaDatas, record, detailed);
    const tinyxml2::XMLElement* object = shell.hostMetaDatas->LastChildElement("HostMetaData");
    size_t least = 2 + (detailed ? 2 : 0) + (record.config ? 4 : 0);
    size_t most = least + (detailed ? 1 : 0) + (record.config && detailed ? 3 : 0) + (detailed ? 1 : 0) +
                  (detailed && record.failureActions ? 3 + record.failureActions->actions.size() : 0);
    size_t count = CountAttributes(object);
    if (count < least || count > most) std::abort();
    if (record.description && ServiceNarrowCopy(*record.description).find('\0') != std::string::npos) std::abort();
  }
  ComputeHash(shell.result);
  if (shell.result->Attribute("hash") == nullptr || std::strlen(shell.result->Attribute("hash")) != 59) std::abort();
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return 0;
}
