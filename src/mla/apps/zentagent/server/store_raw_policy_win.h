// The manager policy as received, kept as zent_agent.encxml: encrypted when
// ConfigEncrypt is on, a plain copy when it is off.
#pragma once

#include <string>

// sourcePath: the document that carried the policy (a multi-command
// document's single command, or a direct reply's whole request).
void StoreRawPolicy(const std::wstring& sourcePath, const std::wstring& rawPath);
