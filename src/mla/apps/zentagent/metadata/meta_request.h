// MetaRequest: a host metadata request document as the engine holds it
// between reading it and answering it.
#pragma once

#include <string>

#include "policy/attr_map.h"

struct MetaRequest {
  // The query's id to all of its attributes. Ids order bytewise ("10" before
  // "2"), and that order, not the request's, is the order in which queries
  // run and their results stand in the response.
  AttrMapIndex idMap;
  // The text of RequestID, copied to the response as it stands.
  std::string requestId;
};
