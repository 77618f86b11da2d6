#include <windows.h>
#include <sys/stat.h>

#include <cwchar>
#include <new>
#include <vector>

#include "log/debug_log.h"
#include "metadata/compute_hash.h"
#include "metadata/file_info_attributes.h"
#include "metadata/get_hmd_file_info.h"
#include "metadata/result_shell.h"
#include "util/file_name.h"
#include "util/text_win.h"

namespace {

// The narrow _stat with 64-bit times and a 32-bit size: a size of 2 GiB or
// more shows as that field holds it.
bool StatPath(const std::string& path, FileStatFields& fields) {
  struct _stat64i32 status;
  if (_stat64i32(path.c_str(), &status) != 0) return false;
  fields.mode = status.st_mode;
  fields.accessTime = status.st_atime;
  fields.modifyTime = status.st_mtime;
  fields.changeTime = status.st_ctime;
  fields.size = static_cast<int32_t>(status.st_size);
  return true;
}

std::string VersionString(const void* block, const std::string& subBlock, bool& found) {
  std::wstring wideSubBlock(subBlock.begin(), subBlock.end());
  wchar_t* text = nullptr;
  UINT length = 0;
  found = VerQueryValueW(block, wideSubBlock.c_str(), reinterpret_cast<void**>(&text), &length) && text != nullptr;
  if (!found) return {};
  std::wstring value(text, wcsnlen(text, length));
  return value.empty() ? std::string() : wideToUtf8(value.c_str(), value.size());
}

void ReadVersionResource(const std::string& path, FileInfoRecord& record) {
  std::wstring widePath = utf8ToWide(path.c_str());
  DWORD handle = 0;
  DWORD size = GetFileVersionInfoSizeW(widePath.c_str(), &handle);
  if (size == 0) return;
  std::vector<char> block(size);
  if (!GetFileVersionInfoW(widePath.c_str(), 0, size, block.data())) return;
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  if (VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) && fixed != nullptr) {
    record.hasFixedVersion = true;
    uint16_t file[4] = {HIWORD(fixed->dwFileVersionMS), LOWORD(fixed->dwFileVersionMS),
                        HIWORD(fixed->dwFileVersionLS), LOWORD(fixed->dwFileVersionLS)};
    uint16_t product[4] = {HIWORD(fixed->dwProductVersionMS), LOWORD(fixed->dwProductVersionMS),
                           HIWORD(fixed->dwProductVersionLS), LOWORD(fixed->dwProductVersionLS)};
    std::copy(file, file + 4, record.fileVersion);
    std::copy(product, product + 4, record.productVersion);
  }
  WORD* translations = nullptr;
  UINT translationBytes = 0;
  if (!VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", reinterpret_cast<void**>(&translations),
                      &translationBytes) ||
      translations == nullptr) {
    return;
  }
  // Entries of 4 bytes: language, then code page.
  UINT entries = translationBytes / 4;
  for (int row = 0; row < kVersionAttributeRows; ++row) {
    std::string text;
    for (UINT i = 0; i < entries; ++i) {
      uint16_t language = translations[2 * i];
      uint16_t codePage = translations[2 * i + 1];
      bool found = false;
      std::string value = VersionString(block.data(), VersionSubBlock(row, language, codePage), found);
      if (found) AppendVersionGroup(text, language, value);
    }
    if (!text.empty()) record.versionStrings.emplace_back(VersionAttributeTable[row].attributeName, text);
  }
}

void GatherFileInfo(const std::string& path, bool directory, FileInfoRecord& record) {
  record.secondStat = StatPath(path, record.second);
  utilFileName name = FileInfoName(path, directory);
  record.shortForm = name.GetShortForm();
  if (record.shortForm.empty()) record.shortForm = name.GetFullText();
  record.hasLinkTarget = name.GetLinkTarget(record.linkTarget);
  ReadVersionResource(path, record);
}

}  // namespace

bool GetHmdFileInfo(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                    const std::string& path) {
  FileInfoRecord record;
  if (!StatPath(path, record.first)) {
    ZENT_LOG(6, L"_stat result is invalid: file(%S), err=%d\n", path, GetLastError());
    return false;
  }
  HmdResultShell shell = AddResultShell(document, results, "2", id);
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "fileInfo", path);
  const char* kind = FileInfoKind(record.first.mode);
  if (kind == nullptr) {
    ZENT_LOG(1, L"file(%S) is neither a directory nor a file\n", path);
    return false;
  }
  bool directory = kind[0] == 'd';
  // A failed allocation ends this query alone, leaving no result.
  try {
    GatherFileInfo(path, directory, record);
    AddAttribute(document, attributes, "type", kind);
    AddFileInfoAttributes(document, attributes, path, directory, record);
  } catch (const std::bad_alloc&) {
    ZENT_LOG(1, L"out of memory: file(%S)\n", path);
    results->DeleteChild(shell.result);
    return false;
  }
  ComputeHash(shell.result);
  return true;
}
