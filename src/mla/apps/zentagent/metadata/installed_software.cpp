#include "metadata/installed_software.h"

#include <cstdio>

#include "log/debug_log.h"
#include "metadata/registry_text.h"
#include "metadata/result_shell.h"

namespace {

bool IsDwordType(uint32_t type) { return type == kUninstallRegDword || type == kUninstallRegDwordBigEndian; }

// A DWORD-typed value that reads, for the version sources.
std::optional<uint32_t> DwordValue(const UninstallValueReads& reads, const std::string& name) {
  uint32_t value = 0;
  if (!reads.exists(name) || !IsDwordType(reads.type(name)) || !reads.readDword(name, value)) return std::nullopt;
  return value;
}

// A text value as the document holds it: the DOM keeps C strings, so the
// text ends at its first zero.
std::optional<std::string> TextValue(const UninstallValueReads& reads, const std::string& name) {
  std::string text;
  if (!reads.readText(name, text)) return std::nullopt;
  return RegistryStringText(text);
}

}  // namespace

std::string InstalledDateText(const std::string& text) {
  if (text.size() != 8) return text;
  for (char c : text) {
    if (c < '0' || c > '9') return text;
  }
  return text.substr(0, 4) + "-" + text.substr(4, 2) + "-" + text.substr(6, 2);
}

std::string InstalledDateNumberText(uint32_t value, bool bigEndian) {
  if (bigEndian) {
    value = (value >> 24) | ((value >> 8) & 0xFF00u) | ((value << 8) & 0xFF0000u) | (value << 24);
  }
  return std::to_string(value);
}

std::string VersionNumberText(uint32_t value) {
  char text[40];
  std::snprintf(text, sizeof text, "%u.%u.%u", static_cast<unsigned>(value >> 24),
                static_cast<unsigned>((value >> 16) & 0xFF), static_cast<unsigned>(value & 0xFFFF));
  return text;
}

std::string VersionMajorMinorText(uint32_t major, std::optional<uint32_t> minor) {
  std::string text = std::to_string(major);
  if (minor) text += "." + std::to_string(*minor);
  return text;
}

std::string EstimatedSizeText(uint32_t kilobytes) {
  // In 64 bits, so that no size the registry can hold wraps.
  return std::to_string(static_cast<int64_t>(static_cast<int32_t>(kilobytes)) * 1024);
}

std::optional<std::string> UninstallVersion(const UninstallValueReads& reads) {
  if (reads.exists("DisplayVersion")) {
    if (std::optional<std::string> text = TextValue(reads, "DisplayVersion")) return text;
  }
  if (std::optional<uint32_t> version = DwordValue(reads, "Version")) return VersionNumberText(*version);
  if (std::optional<uint32_t> major = DwordValue(reads, "VersionMajor")) {
    return VersionMajorMinorText(*major, DwordValue(reads, "VersionMinor"));
  }
  return std::nullopt;
}

std::optional<std::string> UninstallInstalledDate(const UninstallValueReads& reads, const std::string& keyName) {
  if (!reads.exists("InstallDate")) return std::nullopt;
  uint32_t type = reads.type("InstallDate");
  uint32_t value = 0;
  switch (type) {
    case kUninstallRegSz:
    case kUninstallRegExpandSz:
      if (std::optional<std::string> text = TextValue(reads, "InstallDate")) return InstalledDateText(*text);
      return std::nullopt;
    case kUninstallRegDword:
    case kUninstallRegDwordBigEndian:
      if (!reads.readDword("InstallDate", value)) return std::nullopt;
      return InstalledDateNumberText(value, type == kUninstallRegDwordBigEndian);
    default:
      ZENT_LOG(3, L"Unsupported value type for %S\\%S: %d\n", keyName, "InstallDate", static_cast<int>(type));
      return std::nullopt;
  }
}

bool IsListedUninstallEntry(const UninstallValueReads& reads) {
  if (reads.exists("SystemComponent")) return false;
  return reads.exists("UninstallString") && reads.exists("DisplayName");
}

bool AddInstalledSoftwareObject(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas,
                                const std::string& subkeyName, const std::string& keyName,
                                const UninstallValueReads& reads) {
  if (!IsListedUninstallEntry(reads)) return false;
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, hostMetaDatas, "installedSoftware", subkeyName);
  if (std::optional<std::string> name = TextValue(reads, "DisplayName")) {
    AddAttribute(document, attributes, "name", *name);
  }
  if (std::optional<std::string> version = UninstallVersion(reads)) AddAttribute(document, attributes, "version", *version);
  if (std::optional<std::string> date = UninstallInstalledDate(reads, keyName)) {
    AddAttribute(document, attributes, "installedDate", *date);
  }
  if (reads.exists("Publisher")) {
    if (std::optional<std::string> publisher = TextValue(reads, "Publisher")) {
      AddAttribute(document, attributes, "manufacturer", *publisher);
    }
  }
  if (reads.exists("InstallLocation")) {
    std::optional<std::string> location = TextValue(reads, "InstallLocation");
    if (location && !location->empty()) AddAttribute(document, attributes, "installLocation", *location);
  }
  if (reads.exists("ParentKeyName")) {
    if (std::optional<std::string> parent = TextValue(reads, "ParentKeyName")) {
      AddAttribute(document, attributes, "parent", *parent);
    }
  }
  uint32_t size = 0;
  if (reads.exists("EstimatedSize") && reads.type("EstimatedSize") == kUninstallRegDword &&
      reads.readDword("EstimatedSize", size)) {
    AddAttribute(document, attributes, "size", EstimatedSizeText(size));
  }
  return true;
}
