// The gate on the caller of "-delete": only a parent process signed by the
// suite's publisher may remove the agent.
#pragma once

bool verifyParentProcessSignatureAndSigner();
