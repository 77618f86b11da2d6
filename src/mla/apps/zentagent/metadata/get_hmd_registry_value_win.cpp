#include "log/debug_log.h"
#include "metadata/compute_hash.h"
#include "metadata/get_hmd_registry_value.h"
#include "metadata/queried_registry_key_win.h"
#include "metadata/registry_text.h"
#include "metadata/result_shell.h"
#include "util/utf8_check.h"

namespace {

// What each type adds after "type". A failed read adds nothing and is no
// error.
void AddValueData(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributes, utilRegKey& key,
                  const std::string& name, DWORD type) {
  std::string text;
  switch (type) {
    case REG_SZ:
      if (key.QueryValue(name, text, false)) AddAttribute(document, attributes, "value", RegistryStringText(text));
      break;
    case REG_EXPAND_SZ:
      // A failed raw read does not stop the expanded one.
      if (key.QueryValue(name, text, true)) AddAttribute(document, attributes, "rawValue", RegistryStringText(text));
      if (key.QueryValue(name, text, false)) AddAttribute(document, attributes, "value", RegistryStringText(text));
      break;
    case REG_BINARY:
      // Read as text, as it always was: the hex digits are those of the UTF-8
      // form of the data taken as UTF-16, not of the stored bytes.
      if (key.QueryValue(name, text, false)) AddAttribute(document, attributes, "value", RegistryBinaryText(text));
      break;
    case REG_DWORD: {
      // Shorter data fills the low bytes; longer data fails the read.
      DWORD value = 0;
      if (key.QueryValue(name, &value)) AddAttribute(document, attributes, "value", RegistryDwordText(value));
      break;
    }
    case REG_MULTI_SZ:
      if (key.QueryValue(name, text, false)) {
        std::vector<std::string> strings = RegistryMultiStrings(text);
        for (size_t i = 0; i < strings.size(); ++i) {
          AddAttribute(document, attributes, "string" + std::to_string(i + 1), strings[i]);
        }
      }
      break;
    default: break;
  }
}

}  // namespace

bool GetHmdRegistryValue(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                         const std::string& keyPath, const std::string& valueName) {
  std::string identifier = RegistryValueIdentifier(keyPath, valueName);
  utilRegKey key(keyPath);
  if (!OpenQueriedRegistryKey(key, keyPath)) return false;
  if (!IsValidUtf8(valueName)) {
    ZENT_LOG(1, L"Can't read value of '%S', err=%d\n", identifier, ERROR_NO_UNICODE_TRANSLATION);
    return false;
  }
  std::string name = RegistryValueNameToRead(valueName);
  // An absent value has no result, yet the query was understood.
  if (!key.ValueExists(name)) return true;
  DWORD type = key.GetValueType(name);
  HmdResultShell shell = AddResultShell(document, results, "1", id);
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "registryValue", identifier);
  AddAttribute(document, attributes, "type", std::to_string(type));
  AddValueData(document, attributes, key, name, type);
  ComputeHash(shell.result);
  return true;
}
