// What the running processes query reads of another process beside its
// owner: the path of its image and its command line.
#pragma once

#include <string>

#include "metadata/running_process_calls.h"

// The image's path as the document gives it: a "\??\" or "\\?\" prefix
// dropped, or a leading "\SystemRoot" put as the agent's SystemRoot names
// it, then in its long form where the system has one. False when the
// system gives no module name.
bool ReadProcessImagePath(const RunningProcessCalls& calls, InspectedHandle process, std::u16string& path);

// The image name as the system gave it, with the prefixes and the
// SystemRoot form resolved, before the long form is asked for.
std::u16string ResolveImageName(const RunningProcessCalls& calls, const std::u16string& name);

// The command line from the process's parameters block, at most 1,024
// units, up to its first zero unit. False when it cannot be read.
bool ReadProcessCommandLine(const RunningProcessCalls& calls, InspectedHandle process, std::u16string& commandLine);
