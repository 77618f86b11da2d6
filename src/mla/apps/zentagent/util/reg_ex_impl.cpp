#include "util/reg_ex_impl.h"

#include <re2/re2.h>

#include "log/debug_log.h"

struct utilRegExRecord {
  std::unique_ptr<re2::RE2> compiled;  // valid only while valid is set
  uint64_t groupCount = 0;
  bool valid = false;
};

namespace {

// POSIX extended syntax as RE2 reads it: no Perl classes, no \b, no (?...),
// no \pN; "^" and "$" only at the text's ends and "." taking a line feed too,
// as regexec without REG_NEWLINE does. Latin-1 makes the search bytewise, so
// a line that is not UTF-8 is searched all the same. Longest match is the
// POSIX rule; for a yes-or-no answer it changes nothing but is what the
// pattern means. RE2's own stderr logging is off: the agent logs refusals.
re2::RE2::Options ExtendedOptions() {
  re2::RE2::Options options;
  options.set_posix_syntax(true);
  options.set_longest_match(true);
  options.set_encoding(re2::RE2::Options::EncodingLatin1);
  options.set_one_line(true);
  options.set_dot_nl(true);
  options.set_case_sensitive(true);
  options.set_log_errors(false);
  return options;
}

// A bracket's "[:name:]", "[=c=]" or "[.c.]" at pattern[i], passed over.
// Classes are copied; a one-character equivalence class or collating symbol
// is that character, escaped when RE2 would read it as special. None when
// pattern[i] starts none of them; Refused when one names several
// characters, which RE2 has no form for.
enum class BracketTerm { None, Copied, Refused };

BracketTerm CopyBracketTerm(const char* pattern, size_t length, size_t& i, std::string& out) {
  if (pattern[i] != '[' || i + 1 >= length) return BracketTerm::None;
  char kind = pattern[i + 1];
  if (kind != ':' && kind != '=' && kind != '.') return BracketTerm::None;
  for (size_t end = i + 2; end + 1 < length; ++end) {
    if (pattern[end] != kind || pattern[end + 1] != ']') continue;
    if (kind == ':') {
      out.append(pattern + i, end + 2 - i);
    } else if (end == i + 3) {
      char c = pattern[i + 2];
      if (c == '\\' || c == ']' || c == '[' || c == '-' || c == '^') out += '\\';
      out += c;
    } else {
      return BracketTerm::Refused;
    }
    i = end + 2;
    return BracketTerm::Copied;
  }
  return BracketTerm::None;
}

}  // namespace

bool PosixBracketsForRe2(const char* pattern, size_t length, std::string& out) {
  // Inside a bracket expression a backslash is a character like any other
  // ("[\1]" is a backslash or a one); RE2 reads it as an escape, so each
  // one there is doubled. Outside, an escape keeps the next byte from
  // opening a bracket.
  out.clear();
  out.reserve(length + 8);
  size_t i = 0;
  while (i < length) {
    char c = pattern[i];
    if (c == '\\') {
      out.append(pattern + i, i + 1 < length ? 2 : 1);
      i += 2;
      continue;
    }
    out += c;
    ++i;
    if (c != '[') continue;
    if (i < length && pattern[i] == '^') out += pattern[i++];
    if (i < length && pattern[i] == ']') out += pattern[i++];
    while (i < length && pattern[i] != ']') {
      BracketTerm term = CopyBracketTerm(pattern, length, i, out);
      if (term == BracketTerm::Refused) return false;
      if (term == BracketTerm::Copied) continue;
      if (pattern[i] == '\\') out += '\\';
      out += pattern[i++];
    }
    if (i < length) out += pattern[i++];
  }
  return true;
}

uint64_t CountRegExGroups(const char* pattern, size_t length) {
  uint64_t count = 1;
  for (size_t i = 0; i < length; ++i) {
    if (pattern[i] == '(' && (i + 1 == length || pattern[i + 1] != '?')) ++count;
  }
  return count;
}

utilRegExImpl::utilRegExImpl() = default;
utilRegExImpl::~utilRegExImpl() = default;

bool utilRegExImpl::Compile(const char* pattern, size_t length) {
  if (!record_) record_ = std::make_unique<utilRegExRecord>();
  record_->compiled.reset();
  record_->groupCount = 0;
  record_->valid = false;
  // RE2 itself refuses "\1" to "\9" (extended syntax has no back-references)
  // and counted repetitions whose nesting multiplies past 1,000, the two
  // forms that take a backtracking engine minutes per line.
  std::string translated;
  std::unique_ptr<re2::RE2> compiled;
  if (PosixBracketsForRe2(pattern, length, translated)) {
    compiled = std::make_unique<re2::RE2>(translated, ExtendedOptions());
  }
  if (!compiled || !compiled->ok()) {
    ZENT_LOG(1, L"Invalid regular expression '%S'\n", std::string(pattern, length));
    return false;
  }
  record_->compiled = std::move(compiled);
  record_->groupCount = CountRegExGroups(pattern, length);
  record_->valid = true;
  return true;
}

bool utilRegExImpl::Matches(const char* text, size_t length) const {
  // No groups are asked for: a yes-or-no search stays in RE2's DFA, linear
  // in the line. RE2 has no third outcome ("no memory" falls back to its
  // NFA), so the level-1 line for a failed search has no cause here.
  return record_->compiled->Match(re2::StringPiece(text, length), 0, length, re2::RE2::UNANCHORED, nullptr, 0);
}

bool utilRegExImpl::IsValid() const { return record_ && record_->valid; }

uint64_t utilRegExImpl::GroupCount() const { return record_ ? record_->groupCount : 0; }
