#include "util/file_name.h"

#include "log/debug_log.h"

namespace {

std::vector<std::string> CutAt(const std::string& text, const std::string& separators) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (;;) {
    size_t at = text.find_first_of(separators, start);
    if (at == std::string::npos) break;
    parts.push_back(text.substr(start, at - start));
    start = at + 1;
  }
  parts.push_back(text.substr(start));
  return parts;
}

}  // namespace

std::string utilFileName::GetPathSeparators(int style) {
  switch (style) {
    case utilPATH_DEFAULT:
    case utilPATH_UNIX: return "/";
    case utilPATH_MAC: return ":";
    case utilPATH_DOS: return "\\/";
    case utilPATH_VMS: return ".";
    default:
      ZENT_LOG(1, L"Unknown utilPATH_XXX style\n");
      return "/";
  }
}

void utilFileName::SplitText(const std::string& text, int style, std::string& volume, std::string& directoryText,
                             std::string& name, std::string& extension, bool& hasExtension) {
  std::string separators = GetPathSeparators(style);
  volume.clear();
  size_t lastSeparator = text.find_last_of(separators);
  size_t fileStart = lastSeparator == std::string::npos ? 0 : lastSeparator + 1;
  directoryText = lastSeparator == std::string::npos ? std::string() : text.substr(0, lastSeparator);
  size_t dot = text.find_last_of('.');
  // A dot first in the text or right behind a separator starts a hidden
  // name; a dot in front of the last separator belongs to a directory.
  bool extensionDot = dot != std::string::npos && dot > fileStart;
  hasExtension = extensionDot;
  if (extensionDot) {
    name = text.substr(fileStart, dot - fileStart);
    extension = text.substr(dot + 1);
  } else {
    name = text.substr(fileStart);
    extension.clear();
  }
}

void utilFileName::SetDirectories(const std::string& directoryText, bool hasRoot) {
  std::string separators = GetPathSeparators(utilPATH_DEFAULT);
  relative = !hasRoot;
  directories.clear();
  if (directoryText.empty()) return;
  directories = CutAt(directoryText, separators);
}

void utilFileName::SetFromPath(const std::string& path) {
  std::string directoryText;
  SplitText(path, utilPATH_DEFAULT, volume, directoryText, name, extension, hasExtension);
  std::string separators = GetPathSeparators(utilPATH_DEFAULT);
  size_t lastSeparator = path.find_last_of(separators);
  bool hasRoot = !path.empty() && separators.find(path[0]) != std::string::npos;
  if (!hasRoot) {
    SetDirectories(directoryText, false);
  } else if (lastSeparator == 0) {
    // A file right under the root: no directory below it.
    SetDirectories(std::string(), true);
  } else {
    SetDirectories(directoryText.substr(1), true);
    // "//x": one empty directory between the root and the file.
    if (directories.empty()) directories.emplace_back();
  }
}

void utilFileName::SetFromDirectory(const std::string& path) {
  volume.clear();
  name.clear();
  extension.clear();
  hasExtension = false;
  std::string separators = GetPathSeparators(utilPATH_DEFAULT);
  bool hasRoot = !path.empty() && separators.find(path[0]) != std::string::npos;
  SetDirectories(hasRoot ? path.substr(1) : path, hasRoot);
}

std::string utilFileName::GetDirectoryText(int flags) const {
  std::string separator = GetPathSeparators(utilPATH_DEFAULT).substr(0, 1);
  std::string text;
  if (flags & kDirectoryWithVolume) text += volume;
  if (!relative) text += separator;
  for (size_t i = 0; i < directories.size(); ++i) {
    if (i > 0) text += separator;
    text += directories[i];
  }
  if ((flags & kDirectoryWithClosingSeparator) && !directories.empty()) text += separator;
  return text;
}

std::string utilFileName::GetFullText() const {
  std::string text = GetDirectoryText(kDirectoryWithVolume | kDirectoryWithClosingSeparator) + name;
  if (hasExtension) text += "." + extension;
  return text;
}
