// mli.dll: the filter driver's access library, as the agent imports it.
// The library is closed; this header and mli.def are the whole contract the
// agent and the driver's stand-in share.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// An open channel to the driver; null when the driver cannot be reached.
typedef void* MLI_HANDLE;

// Size of one event record filled by mli_get_log.
#define MLI_LOG_RECORD_SIZE 192
// Entries that mli_ifconfig's buffer has room for, and the size of one.
#define MLI_IFCONFIG_MAX_ENTRIES 32
#define MLI_IFCONFIG_ENTRY_SIZE 276

MLI_HANDLE mli_open(void);
int mli_close(MLI_HANDLE handle);
// Writes the running driver's version, "%d.%d.%d.%d", zero-terminated.
int mli_get_version(MLI_HANDLE handle, char* buffer, int size);
// Registers an event the driver watches; the engine passes kind 0 and its
// stop event, so that a blocked mli_get_log returns when the engine stops.
int mli_register_event(MLI_HANDLE handle, int kind, void* event);
// Writes the text of the last failure on this handle, zero-terminated.
int mli_get_error(MLI_HANDLE handle, char* buffer, int size);
// Fills a 2-byte entry count at offset 0 and the entries from offset 4.
int mli_ifconfig(MLI_HANDLE handle, void* buffer);
int mli_load_config(MLI_HANDLE handle, const void* buffer, uint32_t length);
int mli_clear_config(MLI_HANDLE handle);
// Fills the 192-byte record and points at the extra bytes that go with it.
int mli_get_log(MLI_HANDLE handle, void* record, void** extra, uint32_t* extraLength);
int mli_flush_logs(MLI_HANDLE handle);

#ifdef __cplusplus
}
#endif
