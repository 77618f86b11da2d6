// What mlc.exe, the rule compiler's stand-in, does with an agent
// configuration document, apart from files and the command line.
#pragma once

#include <string>
#include <vector>

namespace zentsim::mlc {

// The clear text of the encrypted form that the agent writes ("Salted__",
// a 16-byte salt, AES-256-CBC under a key from the shared pass phrase).
// False with the reason when the bytes are not in that form.
bool DecryptDocument(const std::string& encrypted, std::string& text, std::string& error);

struct Compilation {
  std::vector<std::string> rules;   // one per element, in document order
  std::vector<std::string> errors;  // what is wrong; empty when it compiled
  std::string report;               // what the compiler prints on success
};

// Checks that the text is an fset document of the shape the agent writes
// and turns it into rules.
Compilation CompileDocument(const std::string& text);

}  // namespace zentsim::mlc
