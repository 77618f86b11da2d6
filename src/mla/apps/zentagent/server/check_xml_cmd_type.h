// The kind of the first command of a multi-command document, without running
// anything: the direct HTTP path decides by it how to answer.
#pragma once

#include <string>

// 2 for "GetHostMetaData", 1 for "SendSecurityConfiguration", 0 for anything
// else or on any failure.
int checkXmlCmdType(const std::wstring& path);
