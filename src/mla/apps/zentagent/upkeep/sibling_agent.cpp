#include "upkeep/sibling_agent.h"

SiblingAgent SiblingAgentByDisplayName(const std::string& displayName) {
  if (displayName == "Corvel Agent") return SiblingAgent::Corvel;
  if (displayName == "Halvane Marlune Agent") return SiblingAgent::Marlune;
  return SiblingAgent::Unknown;
}
