// The copies of the driver's INF in the Windows INF store: which files are
// such copies, and which of them belongs to this driver.
#pragma once

#include <string>
#include <string_view>

// A name of the store's copies: it begins with "oem" and its extension is
// ".inf" (file names compare without case, as the file system does).
bool IsOemInfName(const std::wstring& name);
// The file's bytes name the driver: the 8-bit text "mlfilter", with its case,
// anywhere. A UTF-16 file has no such bytes.
bool NamesDriver(std::string_view bytes);
