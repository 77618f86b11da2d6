// Existence tests of the 8-bit paths the file queries are given. The "A"
// calls take them in the ANSI code page, not as UTF-8: a path outside ASCII
// from a query finds nothing unless the two agree.
#pragma once

#include <string>

// pathExists's flags.
inline constexpr int kPathIsFile = 1;
inline constexpr int kPathIsDirectory = 2;

// True when the path exists and its kind is among flags. The path goes to
// the system as given, a closing separator included.
bool pathExists(const std::string& path, int flags);

// The second chance the file queries give a path that pathExists refused:
// its attributes are read and it is opened for reading (a directory with
// backup semantics) with all sharing, and closed again. True when it opened.
bool PathOpensForReading(const std::string& path);
