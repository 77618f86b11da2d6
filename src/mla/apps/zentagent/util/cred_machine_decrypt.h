// The way back from the encrypted form of util/config_cipher.h, for the
// suite's engineers' tools and for tests. The agent itself never decrypts:
// only the rule compiler reads config.xml back.
#pragma once

#include <string>
#include <string_view>

// True with the clear text in text. False with the reason in error, in words
// for a person, when the bytes are not in the form or do not decrypt with
// the program's pass phrase.
bool Cred_MachineDecrypt(std::string_view encrypted, std::string& text, std::string& error);
