// utilRegExImpl: the regular expressions of the file contents query. A
// pattern from the server is compiled once and tested against each line of a
// file; only "matches somewhere" or "does not" is used.
//
// The engine is RE2 in its POSIX syntax with longest match, on bytes read as
// Latin-1, so every byte is one character and nothing is decoded. A search
// takes time linear in the text whatever the pattern (docs/metadata.md, "File
// contents", says why, and where the syntax differs from other extended
// expressions).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace re2 {
class RE2;
}

struct utilRegExRecord;

class utilRegExImpl {
 public:
  utilRegExImpl();
  ~utilRegExImpl();
  utilRegExImpl(const utilRegExImpl&) = delete;
  utilRegExImpl& operator=(const utilRegExImpl&) = delete;

  // Compiles an extended expression, case-sensitively. False, with the line
  // "Invalid regular expression '...'" at level 1, for a pattern the engine
  // refuses, a back-reference among them, or one whose nested counted
  // repetitions multiply past 1,000. A later Compile replaces the earlier
  // expression; after a failed one the object is invalid.
  bool Compile(const char* pattern, size_t length);
  bool Compile(const std::string& pattern) { return Compile(pattern.data(), pattern.size()); }

  // True when the expression matches anywhere in the text (unanchored; "^"
  // and "$" stand at the text's two ends, "." takes any byte). Only called
  // on a valid object.
  bool Matches(const char* text, size_t length) const;
  bool Matches(const std::string& text) const { return Matches(text.data(), text.size()); }

  bool IsValid() const;
  // Groups of the last good pattern, the whole match included: one more than
  // the count of "(" not followed by "?", escaped or bracketed ones too. An
  // upper bound, kept for the log's readers; the search needs no groups.
  uint64_t GroupCount() const;

 private:
  std::unique_ptr<utilRegExRecord> record_;  // null until the first Compile
};

// A pattern's group count, as GroupCount tells it.
uint64_t CountRegExGroups(const char* pattern, size_t length);

// The pattern as RE2 reads the same expression: inside a bracket expression
// a backslash doubled and "[=c=]" or "[.c.]" made the character c; the rest
// as it stands. False for an equivalence class or collating symbol of more
// than one character, which is refused.
bool PosixBracketsForRe2(const char* pattern, size_t length, std::string& out);
