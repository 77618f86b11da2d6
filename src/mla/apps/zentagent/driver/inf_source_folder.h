// The folder SetupCopyOEMInfW is given as the INF's source: the drive and
// the directory of the INF's path, each held in a buffer of fixed room.
#pragma once

#include <string>

// Room of the two buffers, their closing zero included.
inline constexpr size_t kInfDriveRoom = 3;
inline constexpr size_t kInfDirectoryRoom = 256;

// The drive ("C:" or nothing) and the directory (up to and with the last
// separator) of the INF's path. False when either does not fit its buffer:
// that INF is not installed.
bool SplitInfPath(const std::wstring& infPath, std::wstring& drive, std::wstring& directory);
