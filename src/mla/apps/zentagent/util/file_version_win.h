#pragma once

#include <cstdint>
#include <string>

// The four parts of a file's version resource: high and low word of
// dwFileVersionMS, then of dwFileVersionLS. False when there is none.
bool GetFileVersion(const std::wstring& path, uint16_t version[4]);
