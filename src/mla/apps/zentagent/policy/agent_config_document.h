// The agent configuration document: its sections in their order, its file
// in clear or encrypted, and the translation that joins them.
#pragma once

#include <tinyxml2.h>

#include <string>

#include "policy/raw_config.h"

// Prints the document into an empty printer, in tinyxml2's indented form:
// fset with, in order, the system settings, rule contexts, interface
// assignments, PacketEngine, connection types and payload filters. 0, or -1
// when both features are off (nothing printed) or a writer met a bad number
// (what was printed is not to be used).
int CreateConfig(RawConfig& rawConfig, tinyxml2::XMLPrinter& document);

// Writes the printed document to path: in clear when ConfigEncrypt is off,
// encrypted when on. 0 or -1; a failed write may leave the file empty or
// cut short.
int WriteXML(const tinyxml2::XMLPrinter& document, const std::wstring& path);

// The translation once its interface maps (driverIfByMACMap,
// platformIfByMACMap) are filled: opens and loads the policy, creates and
// writes the document, then dumps and frees every map. 0 on success; the
// open's error number, or -1. The agent's form below fills the maps from
// the machine; zentpolicy fills them from a file.
int ParseRawConfigXml(RawConfig& rawConfig, const std::wstring& inputPath, const std::wstring& outputPath);

#ifdef _WIN32
// The agent's translation: the driver's and the machine's interfaces, then
// the policy. -1 when the interfaces cannot be had.
int ParseRawConfigXml(const std::wstring& inputPath, const std::wstring& outputPath);
#endif
