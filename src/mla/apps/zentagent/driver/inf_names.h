// The driver package's INF files, looked for in the driver directory.
#pragma once

#include <cstddef>

inline constexpr size_t kInfNameCount = 5;
extern const wchar_t* const kInfNames[kInfNameCount];
// Only the first three rows are searched: the last two belong to the older
// driver and are kept in the table but never reached.
inline constexpr size_t kInfNamesSearched = 3;
