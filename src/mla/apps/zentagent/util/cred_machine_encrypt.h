// Encryption of a configuration document before it reaches the disk
// (config.xml, zent_agent.encxml). Nothing of the machine enters into it,
// whatever the name says: every host uses the same pass phrase, which the
// rule compiler shares.
#pragma once

#include <string>

// The encrypted form of the text up to its first zero byte. An empty result
// is the only failure signal: callers test the size.
std::string Cred_MachineEncrypt(const char* text);
