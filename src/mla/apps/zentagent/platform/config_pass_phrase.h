// The pass phrase of encrypted configuration documents: the contract between
// the agent, which writes them, and the rule compiler mlc.exe, which reads
// config.xml back. The same on every host.
#pragma once

#include <cstddef>

// Binary data, not text: it holds zero bytes and always goes with its length.
// Changing a byte here makes every config.xml unreadable to the rule compiler
// until it carries the same bytes.
inline constexpr size_t kConfigPassPhraseSize = 32;
inline constexpr unsigned char kConfigPassPhrase[kConfigPassPhraseSize] = {
    0xF8, 0xBE, 0x61, 0xF0, 0xDC, 0xE6, 0x00, 0x76, 0xEE, 0x6B, 0xD7, 0x94, 0xF1, 0x00, 0xAC, 0x60,
    0xD2, 0xA1, 0x08, 0x31, 0xDE, 0x2B, 0x46, 0x7B, 0xA8, 0x83, 0x4B, 0x5C, 0xB1, 0xD2, 0x41, 0xDF,
};
