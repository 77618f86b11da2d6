// The commands a multi-command document can carry. Each runs on the files
// that the walker laid out for it and logs under the walker's name.
#pragma once

#include <string>

#include "server/command_file_names.h"
#include "server/parse_multi_cmd_xml_win.h"

// Deletes the command's two files, unless TestMode keeps them for inspection.
void RemoveCommandFiles(const CommandFileNames& files);

void RunGetHostMetaData(int index, const CommandFileNames& files, ClientResponseCallback callback);
void RunSendSecurityConfiguration(int index, const CommandFileNames& files);
