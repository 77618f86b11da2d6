#include "interfaces_file.h"

#include <rapidjson/document.h>

namespace zentpolicy {

namespace {

// "00:0c:29:aa:bb:cc" to its bytes; false for anything else.
bool MacBytes(const std::string& text, std::string& bytes) {
  bytes.clear();
  for (size_t i = 0; i < text.size(); i += 3) {
    if (i + 2 > text.size() || (i + 2 < text.size() && text[i + 2] != ':')) return false;
    unsigned value = 0;
    for (size_t j = i; j < i + 2; ++j) {
      char c = text[j];
      int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
      if (digit < 0) return false;
      value = value * 16 + static_cast<unsigned>(digit);
    }
    bytes += static_cast<char>(value);
  }
  return !bytes.empty() && bytes.size() <= 8;
}

std::vector<std::string> Texts(const rapidjson::Value& object, const char* name) {
  std::vector<std::string> texts;
  auto it = object.FindMember(name);
  if (it == object.MemberEnd() || !it->value.IsArray()) return texts;
  for (const auto& item : it->value.GetArray()) {
    if (item.IsString()) texts.emplace_back(item.GetString(), item.GetStringLength());
  }
  return texts;
}

std::string Text(const rapidjson::Value& object, const char* name) {
  auto it = object.FindMember(name);
  return it != object.MemberEnd() && it->value.IsString() ? std::string(it->value.GetString()) : std::string();
}

uint32_t Number(const rapidjson::Value& object, const char* name) {
  auto it = object.FindMember(name);
  return it != object.MemberEnd() && it->value.IsUint() ? it->value.GetUint() : 0;
}

bool Flag(const rapidjson::Value& object, const char* name) {
  auto it = object.FindMember(name);
  return it != object.MemberEnd() && it->value.IsBool() && it->value.GetBool();
}

// The names here are ASCII or Latin-1 in practice; each byte of the UTF-8
// text's code points becomes one unit.
std::u16string Utf16(const std::string& utf8) {
  std::u16string out;
  for (size_t i = 0; i < utf8.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(utf8[i]);
    if (c >= 0xC0 && c < 0xE0 && i + 1 < utf8.size()) {
      out += static_cast<char16_t>(((c & 0x1F) << 6) | (static_cast<unsigned char>(utf8[++i]) & 0x3F));
    } else {
      out += static_cast<char16_t>(c);
    }
  }
  return out;
}

}  // namespace

bool ReadInterfacesFile(const std::string& json, std::vector<DriverInterface>& driver,
                        std::vector<PlatformAdapter>& adapters, std::string& error) {
  rapidjson::Document doc;
  doc.Parse(json.data(), json.size());
  if (doc.HasParseError() || !doc.IsObject()) {
    error = "not a JSON object";
    return false;
  }
  auto list = [&](const char* name) -> const rapidjson::Value* {
    auto it = doc.FindMember(name);
    if (it == doc.MemberEnd()) return nullptr;
    return it->value.IsArray() ? &it->value : nullptr;
  };
  if (const rapidjson::Value* entries = list("driver")) {
    for (const auto& entry : entries->GetArray()) {
      DriverInterface d;
      if (!entry.IsObject() || !MacBytes(Text(entry, "mac"), d.address)) {
        error = "a driver interface needs a \"mac\" such as \"00:0c:29:aa:bb:cc\"";
        return false;
      }
      d.id = Number(entry, "id");
      d.name = Text(entry, "name");
      driver.push_back(d);
    }
  }
  if (const rapidjson::Value* entries = list("adapters")) {
    for (const auto& entry : entries->GetArray()) {
      PlatformAdapter a;
      if (!entry.IsObject() || !MacBytes(Text(entry, "mac"), a.address)) {
        error = "an adapter needs a \"mac\" such as \"00:0c:29:aa:bb:cc\"";
        return false;
      }
      a.ifType = Number(entry, "type");
      a.name = Text(entry, "name");
      a.friendlyName = Utf16(a.name);
      a.mtu = Number(entry, "mtu");
      a.dhcpEnabled = Flag(entry, "dhcp");
      a.up = Flag(entry, "up");
      a.unicastAddresses = Texts(entry, "addresses");
      a.dnsServers = Texts(entry, "dns");
      a.gateways = Texts(entry, "gateways");
      adapters.push_back(a);
    }
  }
  return true;
}

}  // namespace zentpolicy
