// klfAgent_64x.dll: the suite's plug-in framework, loaded by name from the
// agent's working directory. The library is closed; these are the four
// entry points the agent resolves, as the framework's stand-in exports them.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// The signer the framework expects on the suite's executables and
// libraries: the publisher's name as it stands in its certificates.
#define KLF_EXPECTED_SIGNER L"Halvane Corporation"

// Request and response of the framework: the request is a JSON text and its
// size counts the closing zero; the response is allocated by the framework
// and handed back through klfCnt_Free. 0 on success.
typedef int (*klfCnt_SystemCall_t)(int reserved, uint32_t requestSize, const char* request,
                                   uint32_t* responseSize, char** response);
typedef void (*klfCnt_Free_t)(void* response);
// Loads the library at path if it carries signer's embedded signature; the
// module handle, or null.
typedef void* (*klfCnt_LoadLibraryWithSignCheck_t)(const wchar_t* signer, const wchar_t* path);
// Non-zero if the file at path carries a valid embedded signature by signer.
typedef int (*klfCnt_VerifyEmbeddedSignatureAndSigner_t)(const wchar_t* signer, const wchar_t* path);

#ifdef __cplusplus
}
#endif
