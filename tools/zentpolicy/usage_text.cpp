#include "usage_text.h"

namespace zentpolicy {

const char kUsageText[] = R"(zentpolicy - work with the Zent agent's policy files

With ConfigEncrypt on in zent_agent.ini (the default), the agent keeps its
policy files enciphered: zent_agent.encxml (the manager policy as last
received) and config.xml (the agent configuration document it gives the rule
compiler mlc.exe). Such a file begins with "Salted__" and a 16-byte salt;
AES-256-CBC ciphertext follows, under a key and IV derived from the
program's fixed pass phrase and the salt by PBKDF2-HMAC-SHA-512 (1000
iterations). zentpolicy reverses that with the same pass phrase.

Usage:
  zentpolicy translate POLICY [-o OUT] [--encrypt|--clear]
                     [--interfaces FILE] [--log-level N]
                              translate a manager POLICY into the agent
                              configuration document, as the agent does, and
                              print it (or write it to OUT); the translator's
                              log lines at DebugLevel N (default 3) go to
                              standard error
        --encrypt / --clear   write OUT in the encrypted form, or in clear
                              (the default)
        --interfaces FILE     the machine's interfaces, instead of none: a
                              JSON document {"driver": [{"id", "mac",
                              "name"}], "adapters": [{"type", "mac", "name",
                              "mtu", "dhcp", "up", "addresses", "dns",
                              "gateways"}]}
  zentpolicy decrypt FILE     print the clear text of an encrypted FILE to
                              standard output, byte for byte
  zentpolicy --help           show this text
A FILE that begins with a dash follows "--": zentpolicy decrypt -- -file.

Exit status:
  0  done; the clear text is on standard output
  2  usage error: bad arguments
  3  FILE cannot be read
  4  FILE is not in the encrypted form ("Salted__", a 16-byte salt, whole
     16-byte blocks), or it does not decrypt with the program's pass phrase;
     standard error tells which
  5  the translator refused the POLICY; its log lines tell why

Examples:
  zentpolicy translate policy.xml --interfaces host.json > config.xml
  zentpolicy decrypt "C:\Program Files\Halvane\ZentAgent\config.xml"
  zentpolicy decrypt zent_agent.encxml > policy.xml
)";

}  // namespace zentpolicy
