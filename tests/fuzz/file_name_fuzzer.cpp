// utilFileName's split over any text: the default style gives every path
// back unchanged, and no part holds a separator of the style it was cut in.
//
// Input: the first byte picks the style of SplitText; the rest is the path.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "util/file_name.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

bool HasAny(const std::string& text, const std::string& separators) {
  return text.find_first_of(separators) != std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  int style = data[0] % 5;
  std::string path(reinterpret_cast<const char*>(data + 1), size - 1);

  utilFileName file;
  file.SetFromPath(path);
  Check(file.GetFullText() == path);
  Check(file.volume.empty());
  Check(!HasAny(file.name, "/") && !HasAny(file.extension, "/"));
  for (const std::string& directory : file.directories) Check(!HasAny(directory, "/"));
  Check(file.relative == (path.empty() || path[0] != '/'));

  file.SetFromDirectory(path);
  Check(file.name.empty() && file.extension.empty() && !file.hasExtension);
  std::string directoryText = file.GetDirectoryText(kDirectoryWithVolume);
  Check(directoryText == path);

  std::string separators = utilFileName::GetPathSeparators(style);
  std::string volume, directory, name, extension;
  bool hasExtension = false;
  utilFileName::SplitText(path, style, volume, directory, name, extension, hasExtension);
  Check(!HasAny(name, separators) && !HasAny(extension, separators));
  std::string filePart = hasExtension ? name + "." + extension : name;
  Check(path.size() >= filePart.size() && path.compare(path.size() - filePart.size(), filePart.size(), filePart) == 0);
  Check(directory.empty() ? filePart.size() == path.size() : directory.size() + 1 + filePart.size() == path.size());
  // A hidden name's dot is no extension.
  if (hasExtension) Check(!name.empty());
  return 0;
}
