// The script file the knob "LogScript" names, as the driver's reader finds it.
#pragma once

#include <optional>
#include <string>

#include "channel.h"

namespace zentsim::mli {

// The knob's path with the file's size and last-write time; nothing when the
// knob is absent or empty.
std::optional<ScriptIdentity> ScriptInKnob();

// The file's bytes, or false with why not in `problem`.
bool ReadScriptFile(const std::string& path, std::string& bytes, std::string& problem);

}  // namespace zentsim::mli
