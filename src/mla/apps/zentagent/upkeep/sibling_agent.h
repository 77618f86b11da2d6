// Which agent of the family stands behind the ml_agent service, told by the
// service's display name.
#pragma once

#include <string>

enum class SiblingAgent { Corvel, Marlune, Unknown };

// Exact and case-sensitive: any other spelling is an agent this one does not
// know, and refuses to install beside.
SiblingAgent SiblingAgentByDisplayName(const std::string& displayName);
