// The "getEnvironment" query family: the agent's own environment, that of
// its service process.
#pragma once

#include <tinyxml2.h>

#include <string>

// Adds the result with one object per variable of the C runtime's
// environment. Always true.
bool GetHmdEnvironment(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id);
