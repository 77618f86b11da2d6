#include "usage_text.h"

namespace zentctl {

const char kUsageText[] = R"(zentctl - send one command to the Zent agent over its local pipe, show the reply

ZentAgent.exe takes commands from local programs on the named pipe
  \\.\pipe\BIPC_ZENTAGENT_PIPE_7C2D91AE_4F06_4b1d_8E35_A1C06D2F7B44
Each message is a 36-byte header (magic "QTNZ", command, request id, result,
data length, time) followed by the command's data. zentctl builds the header,
writes the message in pieces of at most 4096 bytes (one pipe message each),
waits for the agent's 36-byte reply and prints its fields. The agent answers
only clients that pass its signature check, and some commands get no reply by
design (a self-protection state it cannot read, for one); so zentctl waits a
limited time, and "no reply" is an outcome with its own exit status.

Usage:
  zentctl send COMMAND [options]        build a header for COMMAND and send it
  zentctl send --raw --data FILE|- [options]
                                        send the bytes as the whole message
  zentctl --connect-cycles N [--pipe NAME] [--timeout MS]
                                        connect and disconnect N times
  zentctl --help                        show this text

Commands (a name below, or any number from 0 to 4294967295):
  notify                  1  wake the agent's server conversation now
  self-protection on|off  2  turn self-protection on or off; the data is
                             {"service":1} or {"service":0} unless --data
  stop                    3  stop the agent's service
  ping                  101  answer at once
  http [ADDRESS:PORT:ID]
                        102  direct HTTP path: one heartbeat over plain TCP to
                             ADDRESS (dotted IPv4) and PORT, the agent's
                             identity ending in ID; the agent acts on the
                             reply. The data is that text unless --data;
                             without either there is none (Result 1)
  set-config            103  deploy an agent configuration document
  set-raw-config        104  deploy a manager policy document
  clear-config          105  clear the driver's configuration
  get-metadata          106  run host metadata queries
  multi                 107  run a multi-command document
Without TestMode in zent_agent.ini the agent knows 1, 2, 3 and 105; with it,
1 and 101 to 107. Any other command is answered with Result 1.

Options:
  --data FILE|-       the command's data: the bytes of FILE, or of standard
                      input for "-" (default: none)
  --request-id N      the header's RequestId, which the reply copies (default 1)
  --timeout MS        how long to wait for a free pipe instance, for each write
                      and for each reply, in milliseconds (default 5000)
  --pipe NAME         use another pipe: a name under \\.\pipe\ or a full path
  --raw               send the data as the whole message; no header is built
  --pieces N,N,...    write the first pieces with these sizes in bytes, the rest
                      in pieces of 4096; each piece is one pipe message
  --gap MS            pause between pieces (default 0)
  --delay MS          pause after connecting, before the first write (default 0)
  --hex               also print the reply's 36 bytes in hexadecimal
  --no-reply          send, then close without reading a reply
  --hold MS           keep the connection open at least MS milliseconds after
                      the last write before closing (default 0)
  --count N           send the message N times on one connection, reading each
                      reply; print the last reply and the round trip's median
                      and 95th percentile in microseconds (default 1)
  --connect-cycles N  connect and disconnect N times without writing
  -h, --help          show this text
An option's value may also follow an equals sign: --timeout=500.

Exit status:
  0  a reply came, whatever its Result (printed); or --no-reply or
     --connect-cycles finished
  2  usage error: bad arguments, or the data file cannot be read
  3  cannot connect: no such pipe (is the agent running?), or every instance
     stayed busy for the time-out
  4  no reply within the time-out
  5  the connection broke: a write failed or timed out, or the agent closed
     the pipe before a whole reply came
  6  the reply was not one 36-byte header; its bytes are printed in hex

Examples:
  zentctl send ping --request-id 42
      Sends command 101 with RequestId 42 and prints the reply, such as:
        Magic:      QTNZ
        Command:    0
        RequestId:  42
        Result:     0
        DataLength: 0
        Time:       2024-02-29 13:05:09.042 UTC (Thursday)
  zentctl send http 127.0.0.1:8080:7 --timeout 60000
      Has the agent post a heartbeat to a test server on port 8080 and
      waits a minute for the Result of what the server asked for.
  zentctl send set-raw-config --data C:\policies\policy.xml --timeout 60000
      Sends a manager policy document and waits a minute for its Result.
)";

}  // namespace zentctl
