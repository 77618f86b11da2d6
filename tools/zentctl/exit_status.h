// zentctl's exit statuses. Scripts and tests read them, and the usage text
// lists them: a change here is a change of the tool's contract.
#pragma once

namespace zentctl {

enum ExitStatus : int {
  kExitSuccess = 0,           // a reply came, whatever its Result; or --no-reply, --connect-cycles done
  kExitUsage = 2,             // bad arguments, or the data cannot be read
  kExitCannotConnect = 3,     // no pipe, or every instance stayed busy for the time-out
  kExitNoReply = 4,           // nothing came back within the time-out
  kExitConnectionBroken = 5,  // a write failed, or the peer closed the pipe before a whole reply
  kExitMalformedReply = 6,    // the reply was not one 36-byte header
};

}  // namespace zentctl
