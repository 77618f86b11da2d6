// The last stretch of a policy's road: the rule compiler turns the agent
// document into config.rbf, and the driver loads that.
#pragma once

#include <string>

#include "platform/mli.h"

// Loads a rule file into the driver. 0, or -1, or the driver's code. The
// file stays on the disk: it is what start-up loads again.
int SendConfig(MLI_HANDLE driverHandle, const std::wstring& rbfPath);

// Runs the compiler on the document (with "-r" when ConfigEncrypt is off),
// then SendConfig with the engine's driver handle. 0, or -1, or the result
// of SendConfig.
int CompileAndSendConfig(const std::wstring& xmlPath, const std::wstring& rbfPath, const std::wstring& compilerPath);
