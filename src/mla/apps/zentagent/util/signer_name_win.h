#pragma once

#include <string>

// The name of the signer in a file's embedded signature, whose signature
// over its signed content is intact; empty on failure, which is logged.
std::wstring getSignerName(const std::wstring& path);
