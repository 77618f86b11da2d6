// The "getInstalledSoftware" query family's rules: which uninstall subkeys
// are programs, and how each value becomes an attribute. Plain data in and
// out; the walk of the two uninstall keys is in
// get_hmd_installed_software_win.cpp.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

// The registry's value type numbers that these rules tell apart.
constexpr uint32_t kUninstallRegSz = 1;
constexpr uint32_t kUninstallRegExpandSz = 2;
constexpr uint32_t kUninstallRegDword = 4;
constexpr uint32_t kUninstallRegDwordBigEndian = 5;

// What the rules ask of one opened uninstall subkey. The agent answers
// through utilRegKey; tests answer from a table of their own.
struct UninstallValueReads {
  // Whether the value is there; no log line either way.
  std::function<bool(const std::string& name)> exists;
  // Its type, 0 when it cannot be read.
  std::function<uint32_t(const std::string& name)> type;
  // Its text as utilRegKey reads it (a REG_EXPAND_SZ expanded).
  std::function<bool(const std::string& name, std::string& text)> readText;
  // Its first four bytes, as stored.
  std::function<bool(const std::string& name, uint32_t& value)> readDword;
};

// The InstallDate text: eight digits exactly become YYYY-MM-DD; any other
// text, the empty one too, stays as it is.
std::string InstalledDateText(const std::string& text);

// A REG_DWORD InstallDate as an unsigned decimal; a REG_DWORD_BIG_ENDIAN one
// has its four bytes reversed first.
std::string InstalledDateNumberText(uint32_t value, bool bigEndian);

// A DWORD Version, as its four bytes are stored whatever its type: top
// byte, next byte, low 16 bits, "%u.%u.%u".
std::string VersionNumberText(uint32_t value);

// VersionMajor alone, or "major.minor" when VersionMinor could be read.
std::string VersionMajorMinorText(uint32_t major, std::optional<uint32_t> minor);

// EstimatedSize, in kilobytes as stored and taken as signed, in bytes.
std::string EstimatedSizeText(uint32_t kilobytes);

// The version from its first source that works: DisplayVersion's text,
// Version, VersionMajor with VersionMinor; none when no source works.
std::optional<std::string> UninstallVersion(const UninstallValueReads& reads);

// The installedDate attribute by InstallDate's type; none when the value is
// absent, unread, or of another type (logged at level 3 with keyName).
std::optional<std::string> UninstallInstalledDate(const UninstallValueReads& reads, const std::string& keyName);

// A subkey is listed when it has an UninstallString and a DisplayName and
// no SystemComponent, whatever its data: a 0 hides the program too.
bool IsListedUninstallEntry(const UninstallValueReads& reads);

// Adds the "installedSoftware" object of one subkey (identifier the
// subkey's name, keyName its full name for log lines) when it is listed.
// Returns whether it was.
bool AddInstalledSoftwareObject(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas,
                                const std::string& subkeyName, const std::string& keyName,
                                const UninstallValueReads& reads);
