// LoadRawConfigXmlFile: the manager's policy document into RawConfig.
#pragma once

#include <cstdio>

#include "policy/raw_config.h"

// Reads the open stream (binary reading; the caller closes it) and fills
// rawConfig, then sets the event log's cache parameters. Returns 0, or -1
// for a document that does not parse or holds a bad number; what was read
// before a failure stays in rawConfig.
int LoadRawConfigXmlFile(RawConfig& rawConfig, FILE* file);
