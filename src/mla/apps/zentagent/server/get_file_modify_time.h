// A policy file's modification time, as the registry values for the suite
// carry it.
#pragma once

#include <cstdint>
#include <string>

// Seconds since 1970, cut to 32 bits; 0 when the file cannot be examined.
// The path is taken by value and cleared.
int32_t GetFileModifyTime(std::wstring path);
