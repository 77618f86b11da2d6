#include "metadata/file_info_attributes.h"

#include "log/format.h"
#include "metadata/result_shell.h"
#include "util/file_name.h"

const VersionAttributeRow VersionAttributeTable[kVersionAttributeRows] = {
    {"\\StringFileInfo\\%04x%04x\\FileVersion", "fileVersionOVI"},
    {"\\StringFileInfo\\%04x%04x\\ProductVersion", "productVersionOVI"},
    {"\\StringFileInfo\\%04x%04x\\Comments", "comments"},
    {"\\StringFileInfo\\%04x%04x\\CompanyName", "companyName"},
    {"\\StringFileInfo\\%04x%04x\\FileDescription", "fileDescription"},
    {"\\StringFileInfo\\%04x%04x\\InternalName", "internalName"},
    {"\\StringFileInfo\\%04x%04x\\OriginalFileName", "originalFilename"},
    {"\\StringFileInfo\\%04x%04x\\ProductName", "productName"},
    {"\\StringFileInfo\\%04x%04x\\PrivateBuild", "privateBuild"},
    {"\\StringFileInfo\\%04x%04x\\SpecialBuild", "specialBuild"},
};

namespace {

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

// Seconds since 1970 as the server reads them: milliseconds.
std::string MillisecondsText(int64_t seconds) { return std::to_string(seconds * 1000); }

std::string ModeText(uint32_t mode) {
  std::string text;
  zent::AppendFormat(text, "%#o", mode);
  return text;
}

std::string FourPartText(const uint16_t parts[4]) {
  std::string text;
  zent::AppendFormat(text, "%u.%u.%u.%u", parts[0], parts[1], parts[2], parts[3]);
  return text;
}

}  // namespace

utilFileName FileInfoName(const std::string& path, bool directory) {
  utilFileName name;
  if (directory) {
    name.SetFromDirectory(path);
  } else {
    name.SetFromPath(path);
  }
  return name;
}

const char* FileInfoKind(uint32_t mode) {
  if (mode & 0x4000) return "directory";
  if (mode & 0x8000) return "file";
  return nullptr;
}

std::string VersionSubBlock(int row, uint16_t language, uint16_t codePage) {
  std::string text;
  zent::FormatArg args[] = {zent::MakeFormatArg(language), zent::MakeFormatArg(codePage)};
  zent::FormatInto(text, VersionAttributeTable[row].subBlockFormat, args, 2);
  return text;
}

void AppendVersionGroup(std::string& text, uint16_t language, const std::string& value) {
  zent::AppendFormat(text, "%04x:%.64s;", language, value);
}

void AddFileInfoAttributes(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributes,
                           const std::string& path, bool directory, const FileInfoRecord& record) {
  utilFileName name = FileInfoName(path, directory);
  // Backslashes are no separators to utilFileName, so only the directory
  // "\" itself has that directory part: a file "\x.txt" keeps its times.
  if (name.GetDirectoryText(kDirectoryWithVolume) != "\\") {
    AddAttribute(document, attributes, "lastAccess", MillisecondsText(record.first.accessTime));
    AddAttribute(document, attributes, "lastModified", MillisecondsText(record.first.modifyTime));
    AddAttribute(document, attributes, "created", MillisecondsText(record.first.changeTime));
  }
  if (record.secondStat) {
    AddAttribute(document, attributes, "size", std::to_string(record.second.size));
    AddAttribute(document, attributes, "mode", ModeText(record.second.mode));
  }
  if (Lower(record.shortForm) != Lower(path)) AddAttribute(document, attributes, "shortName", record.shortForm);
  if (record.hasLinkTarget) AddAttribute(document, attributes, "linkTo", record.linkTarget);
  if (record.hasFixedVersion) {
    AddAttribute(document, attributes, "fileVersion", FourPartText(record.fileVersion));
    AddAttribute(document, attributes, "productVersion", FourPartText(record.productVersion));
  }
  for (const auto& [attributeName, text] : record.versionStrings) {
    AddAttribute(document, attributes, attributeName, text);
  }
}
