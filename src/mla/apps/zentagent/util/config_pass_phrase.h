// The pass phrase of encrypted configuration documents: the contract between
// the agent, which writes them, and the rule compiler mlc.exe, which reads
// config.xml back. The same on every host.
#pragma once

#include <cstddef>

// Binary data, not text: it holds zero bytes and always goes with its length.
inline constexpr size_t kConfigPassPhraseSize = 32;
extern const unsigned char kConfigPassPhrase[kConfigPassPhraseSize];
