// LoadRequestXMlFile: a host metadata request document into MetaRequest.
#pragma once

#include <cstdio>

#include "metadata/meta_request.h"

// Reads the open stream (the caller opened it for binary reading and closes
// it). Returns 0, or -1 for a document that does not parse or lacks one of
// Message, Request, RequestID (or its text), HostMetaDataQueries and a first
// HostMetaDataQuery. A query without an id is dropped; of two with one id
// the first stays.
int LoadRequestXMlFile(MetaRequest& request, FILE* file);
