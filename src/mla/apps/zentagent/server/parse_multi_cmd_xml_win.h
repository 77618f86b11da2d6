// The multi-command processor: walks a document of the server's work, cuts
// each command out into a file of its own and runs it.
#pragma once

#include <string>

// Posts a command's result to the server (sendClientResponse on the
// heartbeat path); the pipe path has none. True when the server accepted it.
using ClientResponseCallback = bool (*)(const std::string& content, int responseType);

// 0 when the document was walked to its end, even if single commands failed;
// -1 when it could not be read or a command file could not be created.
int ParseMultiCmdXml(const std::wstring& path, ClientResponseCallback callback);
