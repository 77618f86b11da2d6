// GetHmdRunningProcesses: the "getRunningProcesses" query family. Every
// process of the snapshot as a "runningProcess" object, with its owner,
// image path, start time and command line where the process lets them be
// read.
#pragma once

#include <tinyxml2.h>

#include <string>

#include "metadata/running_process_calls.h"

// Adds one result with commandVersion "2" and an object per process, in the
// snapshot's order. False, with no result, when the snapshot cannot be
// taken. A process that cannot be opened keeps its first four attributes.
bool GetHmdRunningProcesses(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                            const RunningProcessCalls& calls);

// The Windows build's handler, over the system's calls.
bool GetHmdRunningProcesses(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id);
