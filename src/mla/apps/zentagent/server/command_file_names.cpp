#include "server/command_file_names.h"

CommandFileNames MakeCommandFileNames(const std::wstring& documentPath, int index) {
  std::wstring number = std::to_wstring(index);
  // The number goes before the first dot of the whole path, not of the file
  // name: a working directory with a dot in its name gets the number, and
  // the command file then cannot be created. Settled behaviour; the sweep of
  // earlier files relies on the same names.
  size_t dot = documentPath.find(L'.');
  if (dot == std::wstring::npos) {
    return {documentPath + number, documentPath + L"temp" + number};
  }
  std::wstring head = documentPath.substr(0, dot);
  std::wstring tail = documentPath.substr(dot);
  return {head + number + tail, head + L"temp" + number + tail};
}
