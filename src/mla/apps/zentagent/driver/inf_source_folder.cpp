#include "driver/inf_source_folder.h"

bool SplitInfPath(const std::wstring& infPath, std::wstring& drive, std::wstring& directory) {
  size_t start = 0;
  drive.clear();
  directory.clear();
  if (infPath.size() >= 2 && infPath[1] == L':') {
    drive = infPath.substr(0, 2);
    start = 2;
  }
  size_t last = infPath.find_last_of(L"\\/");
  if (last != std::wstring::npos && last >= start) directory = infPath.substr(start, last + 1 - start);
  return drive.size() < kInfDriveRoom && directory.size() < kInfDirectoryRoom;
}
