// printf-style formatting with the meanings the Windows C runtime gives to
// its conversions, checked against the arguments at compile time.
//
// In a wide format (wchar_t literal) "%s" takes a wide string and "%S" an
// 8-bit one; in an 8-bit format the two swap. "%hs" is always 8-bit, "%ls"
// and "%ws" always wide; "%c", "%C", "%hc", "%lc", "%wc" likewise for one
// character. Integer sizes follow Windows: "l" is 32 bits, "I64" and "ll" 64,
// "I" and "z" the size of a pointer. "%p" prints the pointer as 16 upper-case
// hex digits. Floating-point conversions and "%n" are not used by the system
// and do not build.
//
// The result is 8-bit text: every 16-bit unit of the wide result becomes the
// byte of the same value, as the C runtime's conversion does in the "C"
// locale, so 8-bit text passed to "%S" comes out byte for byte. A unit above
// 0xFF has no such byte and becomes '?', so that a line is never lost for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace zent {

// One argument, with its C type reduced to what a conversion needs.
struct FormatArg {
  enum Kind : uint8_t { Integer, Pointer, NarrowText, WideText, Utf16Text };
  Kind kind;
  union {
    int64_t integer;  // promoted as C would: sign- or zero-extended
    const void* pointer;
    const char* narrow;
    const wchar_t* wide;
    const char16_t* utf16;
  };
  size_t length;  // text: units; SIZE_MAX for a null-terminated or null pointer
};

// What a conversion asks of its argument.
enum class FormatNeed : uint8_t { Int, Int32, Int64, WideChar, NarrowChar, NarrowString, WideString, Pointer, Bad };

// One conversion of a format: flags, width, precision, length and letter.
struct FormatSpec {
  bool left = false, plus = false, space = false, alt = false, zero = false;
  bool widthArg = false, precisionArg = false;  // '*'
  int width = 0;
  int precision = -1;
  int bits = 32;      // integer size the length modifier selects
  char lengthMod = 0; // 'h', 'l', 'w' for characters and strings; 0 otherwise
  char conversion = 0;
};

// A width or precision: '*' or decimal digits at fmt[i], which it passes.
// False for a number too large to be meant.
template <class Ch>
constexpr bool ParseFieldNumber(const Ch* fmt, size_t& i, int& value, bool& fromArgument) {
  if (fmt[i] == '*') {
    fromArgument = true;
    ++i;
    return true;
  }
  while (fmt[i] >= '0' && fmt[i] <= '9') {
    if (value > 100000) return false;
    value = value * 10 + static_cast<int>(fmt[i++] - '0');
  }
  return true;
}

// Parses the conversion that starts after a '%' at fmt[i]; returns the index
// after it, or 0 when the conversion is malformed or not supported.
template <class Ch>
constexpr size_t ParseFormatSpec(const Ch* fmt, size_t i, FormatSpec& s) {
  for (;; ++i) {
    Ch c = fmt[i];
    if (c == '-') s.left = true;
    else if (c == '+') s.plus = true;
    else if (c == ' ') s.space = true;
    else if (c == '#') s.alt = true;
    else if (c == '0') s.zero = true;
    else break;
  }
  if (!ParseFieldNumber(fmt, i, s.width, s.widthArg)) return 0;
  if (fmt[i] == '.') {
    ++i;
    s.precision = 0;
    if (!ParseFieldNumber(fmt, i, s.precision, s.precisionArg)) return 0;
  }
  switch (fmt[i]) {
    case 'h':
      ++i;
      if (fmt[i] == 'h') { s.bits = 8; ++i; } else { s.bits = 16; s.lengthMod = 'h'; }
      break;
    case 'l':
      ++i;
      if (fmt[i] == 'l') { s.bits = 64; ++i; } else { s.lengthMod = 'l'; }
      break;
    case 'w': ++i; s.lengthMod = 'w'; break;
    case 'L': case 'q': ++i; s.bits = 64; break;
    case 'j': ++i; s.bits = 64; break;
    case 'z': case 't': ++i; s.bits = 64; break;
    case 'I':
      ++i;
      if (fmt[i] == '6' && fmt[i + 1] == '4') { s.bits = 64; i += 2; }
      else if (fmt[i] == '3' && fmt[i + 1] == '2') { s.bits = 32; i += 2; }
      else s.bits = 64;
      break;
    default: break;
  }
  switch (fmt[i]) {
    case 'd': case 'i': case 'u': case 'x': case 'X': case 'o':
    case 'c': case 'C': case 's': case 'S': case 'p':
      s.conversion = static_cast<char>(fmt[i]);
      return i + 1;
    default:
      return 0;
  }
}

// What the conversion needs, given whether the format is wide.
constexpr FormatNeed NeedOf(const FormatSpec& s, bool wideFormat) {
  switch (s.conversion) {
    case 'd': case 'i': case 'u': case 'x': case 'X': case 'o':
      if (s.lengthMod == 'w') return FormatNeed::Bad;
      return s.bits == 64 ? FormatNeed::Int64 : s.bits == 32 && s.lengthMod == 'l' ? FormatNeed::Int32
                                                                                    : FormatNeed::Int;
    case 'p': return FormatNeed::Pointer;
    case 'c': case 'C': {
      if (s.bits == 8 || s.bits == 64) return FormatNeed::Bad;
      bool wide = s.lengthMod == 'h' ? false : (s.lengthMod == 'l' || s.lengthMod == 'w') ? true
                  : (s.conversion == 'c') == wideFormat;
      return wide ? FormatNeed::WideChar : FormatNeed::NarrowChar;
    }
    case 's': case 'S': {
      if (s.bits == 8 || s.bits == 64) return FormatNeed::Bad;
      bool wide = s.lengthMod == 'h' ? false : (s.lengthMod == 'l' || s.lengthMod == 'w') ? true
                  : (s.conversion == 's') == wideFormat;
      return wide ? FormatNeed::WideString : FormatNeed::NarrowString;
    }
    default: return FormatNeed::Bad;
  }
}

// --- compile-time classification of argument types -------------------------

template <class T>
struct FormatArgClass {
  using U = std::remove_cvref_t<T>;
  static constexpr bool isText8 = std::is_same_v<U, std::string> || std::is_same_v<U, std::string_view> ||
                                  (std::is_pointer_v<std::decay_t<U>> &&
                                   std::is_same_v<std::remove_cv_t<std::remove_pointer_t<std::decay_t<U>>>, char>);
  static constexpr bool isTextW =
      std::is_same_v<U, std::wstring> || std::is_same_v<U, std::wstring_view> ||
      std::is_same_v<U, std::u16string> || std::is_same_v<U, std::u16string_view> ||
      (std::is_pointer_v<std::decay_t<U>> &&
       (std::is_same_v<std::remove_cv_t<std::remove_pointer_t<std::decay_t<U>>>, wchar_t> ||
        std::is_same_v<std::remove_cv_t<std::remove_pointer_t<std::decay_t<U>>>, char16_t>));
  static constexpr bool isPointer =
      (std::is_pointer_v<std::decay_t<U>> && !std::is_function_v<std::remove_pointer_t<std::decay_t<U>>>) ||
      std::is_null_pointer_v<U>;
  static constexpr bool isIntegral = std::is_integral_v<U> || std::is_enum_v<U>;
  static constexpr size_t intSize = isIntegral ? sizeof(U) : 0;
  static constexpr bool isWideChar = std::is_same_v<U, wchar_t> || std::is_same_v<U, char16_t>;
};

template <class T>
constexpr bool ArgFits(FormatNeed need) {
  using C = FormatArgClass<T>;
  switch (need) {
    // Integers of another size than the conversion reads would print
    // differently under the two runtimes' calling conventions; they are
    // refused. Signedness may differ, as with an error code printed by "%d".
    case FormatNeed::Int: return C::isIntegral && C::intSize <= 4 && !C::isWideChar;
    case FormatNeed::Int32: return C::isIntegral && C::intSize == 4 && !C::isWideChar;
    case FormatNeed::Int64: return C::isIntegral && C::intSize == 8;
    case FormatNeed::WideChar: return C::isIntegral && C::intSize <= 4;
    case FormatNeed::NarrowChar: return C::isIntegral && C::intSize <= 4 && !C::isWideChar;
    case FormatNeed::NarrowString: return C::isText8;
    case FormatNeed::WideString: return C::isTextW;
    case FormatNeed::Pointer: return C::isPointer;
    default: return false;
  }
}

// Reaching one of these in a constant evaluation stops the build; the name is
// the diagnostic that the compiler prints.
void format_error_bad_conversion();
void format_error_argument_does_not_match_conversion();
void format_error_too_few_arguments();
void format_error_too_many_arguments();

template <class Ch, class... Args>
consteval void CheckFormat(const Ch* fmt) {
  constexpr bool wide = sizeof(Ch) > 1;
  using Fit = bool (*)(FormatNeed);
  constexpr Fit fits[] = {&ArgFits<Args>..., nullptr};
  constexpr size_t count = sizeof...(Args);
  size_t next = 0;
  for (size_t i = 0; fmt[i] != 0; ++i) {
    if (fmt[i] != '%') continue;
    if (fmt[i + 1] == '%') { ++i; continue; }
    FormatSpec s;
    size_t end = ParseFormatSpec(fmt, i + 1, s);
    if (end == 0) format_error_bad_conversion();
    FormatNeed need = NeedOf(s, wide);
    if (need == FormatNeed::Bad) format_error_bad_conversion();
    if (s.widthArg) {
      if (next >= count) format_error_too_few_arguments();
      if (!fits[next++](FormatNeed::Int32)) format_error_argument_does_not_match_conversion();
    }
    if (s.precisionArg) {
      if (next >= count) format_error_too_few_arguments();
      if (!fits[next++](FormatNeed::Int32)) format_error_argument_does_not_match_conversion();
    }
    if (next >= count) format_error_too_few_arguments();
    if (!fits[next++](need)) format_error_argument_does_not_match_conversion();
    i = end - 1;
  }
  if (next != count) format_error_too_many_arguments();
}

// A format literal checked against the types of the arguments that follow it.
template <class Ch, class... Args>
struct CheckedFormat {
  const Ch* text;
  template <size_t N>
  consteval CheckedFormat(const Ch (&literal)[N]) : text(literal) {
    CheckFormat<Ch, Args...>(literal);
  }
};

template <class... Args>
using WideFormat = CheckedFormat<wchar_t, std::type_identity_t<Args>...>;
template <class... Args>
using NarrowFormat = CheckedFormat<char, std::type_identity_t<Args>...>;

// --- run time -----------------------------------------------------------------

template <class T>
FormatArg MakeFormatArg(const T& value) {
  using U = std::remove_cvref_t<T>;
  FormatArg a{};
  a.length = SIZE_MAX;
  if constexpr (std::is_same_v<U, std::string> || std::is_same_v<U, std::string_view>) {
    a.kind = FormatArg::NarrowText; a.narrow = value.data(); a.length = value.size();
  } else if constexpr (std::is_same_v<U, std::wstring> || std::is_same_v<U, std::wstring_view>) {
    a.kind = FormatArg::WideText; a.wide = value.data(); a.length = value.size();
  } else if constexpr (std::is_same_v<U, std::u16string> || std::is_same_v<U, std::u16string_view>) {
    a.kind = FormatArg::Utf16Text; a.utf16 = value.data(); a.length = value.size();
  } else if constexpr (FormatArgClass<T>::isText8) {
    a.kind = FormatArg::NarrowText; a.narrow = value;
  } else if constexpr (FormatArgClass<T>::isTextW &&
                       std::is_same_v<std::remove_cv_t<std::remove_pointer_t<std::decay_t<U>>>, wchar_t>) {
    a.kind = FormatArg::WideText; a.wide = value;
  } else if constexpr (FormatArgClass<T>::isTextW) {
    a.kind = FormatArg::Utf16Text; a.utf16 = value;
  } else if constexpr (FormatArgClass<T>::isPointer) {
    a.kind = FormatArg::Pointer;
    if constexpr (std::is_null_pointer_v<U>) {
      a.pointer = nullptr;
    } else {
      a.pointer = static_cast<const void*>(value);
    }
  } else if constexpr (std::is_enum_v<U>) {
    a.kind = FormatArg::Integer;
    a.integer = static_cast<int64_t>(static_cast<std::underlying_type_t<U>>(value));
  } else {
    static_assert(std::is_integral_v<U>, "not a formattable type");
    a.kind = FormatArg::Integer;
    a.integer = static_cast<int64_t>(value);
  }
  return a;
}

// Appends the formatted text to out. The argument list has been checked
// against the format when the call was built.
void FormatInto(std::string& out, const wchar_t* fmt, const FormatArg* args, size_t count);
void FormatInto(std::string& out, const char* fmt, const FormatArg* args, size_t count);

template <class... Args>
void AppendFormat(std::string& out, WideFormat<Args...> fmt, const Args&... args) {
  const FormatArg list[] = {MakeFormatArg(args)..., FormatArg{}};
  FormatInto(out, fmt.text, list, sizeof...(Args));
}

template <class... Args>
void AppendFormat(std::string& out, NarrowFormat<Args...> fmt, const Args&... args) {
  const FormatArg list[] = {MakeFormatArg(args)..., FormatArg{}};
  FormatInto(out, fmt.text, list, sizeof...(Args));
}

}  // namespace zent
