// HvSock_64x.dll: the suite's transport library, loaded by name from the
// agent's working directory through the framework's signature check. The
// library is closed and owns the whole HTTP exchange with the management
// server: its address, scheme, headers and time-outs. This is the one entry
// point the agent resolves, as the transport's stand-in exports it.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The option record, rebuilt by the agent on every call.
typedef struct HvHttpOptions {
  uint32_t first;   // the agent passes 0
  uint32_t second;  // the agent passes 3
  uint64_t third;   // the agent passes 0
} HvHttpOptions;

// Posts body to the command path of the suite's management server and writes
// the response body to responseFile, replacing what is there. description is
// the caller's label of the message; it does not travel in the body.
// Non-zero on success, zero on failure; responseCode receives the server's
// answer code.
typedef int32_t (*hvSendHttpToBRVNServer2_t)(const char* commandPath, int32_t flags, const void* body,
                                             uint32_t bodyLength, const char* responseFile,
                                             int32_t* responseCode, HvHttpOptions* options, void* reserved,
                                             const char* description);

#ifdef __cplusplus
}
#endif
