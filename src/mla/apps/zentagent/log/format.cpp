#include "log/format.h"

#include <cstring>

namespace zent {
namespace {

// A 16-bit unit of the wide result becomes the byte of the same value; a
// unit above 0xFF has none and becomes '?'.
void PutUnit(std::string& out, uint32_t unit) {
  out.push_back(unit <= 0xFF ? static_cast<char>(unit) : '?');
}

// wchar_t is 16 bits on Windows and 32 elsewhere; outside Windows a code
// point above 0xFFFF stands for the two units of its surrogate pair, so both
// builds give the same bytes.
void PutWideChar(std::string& out, uint32_t c) {
  if (c > 0xFFFF) {
    out.append(2, '?');
  } else {
    PutUnit(out, c);
  }
}

// Strings are read as C strings: they end at their first zero unit.
template <class Ch>
size_t TextLength(const Ch* p, size_t length) {
  size_t n = 0;
  while (n < length && p[n] != 0) ++n;
  return n;
}

// The string's text as result bytes, at most `precision` units of it.
std::string StringText(const FormatArg& a, int precision) {
  static const char kNull[] = "(null)";
  std::string text;
  switch (a.kind) {
    case FormatArg::NarrowText:
      if (a.narrow == nullptr) {
        text = kNull;
      } else {
        text.assign(a.narrow, TextLength(a.narrow, a.length));
      }
      break;
    case FormatArg::WideText:
      if (a.wide == nullptr) {
        text = kNull;
      } else {
        for (size_t i = 0, n = TextLength(a.wide, a.length); i < n; ++i) {
          PutWideChar(text, static_cast<uint32_t>(a.wide[i]));
        }
      }
      break;
    case FormatArg::Utf16Text:
      if (a.utf16 == nullptr) {
        text = kNull;
      } else {
        for (size_t i = 0, n = TextLength(a.utf16, a.length); i < n; ++i) PutUnit(text, a.utf16[i]);
      }
      break;
    default:
      break;
  }
  if (precision >= 0 && text.size() > static_cast<size_t>(precision)) text.resize(precision);
  return text;
}

// Pads body to the field width: blanks on the left, blanks on the right with
// '-', or zeros after the sign and radix prefix with '0'.
void PutField(std::string& out, const FormatSpec& s, std::string_view prefix, std::string_view body,
              bool zeroPad) {
  size_t len = prefix.size() + body.size();
  size_t pad = s.width > 0 && static_cast<size_t>(s.width) > len ? s.width - len : 0;
  if (s.left) {
    out.append(prefix).append(body).append(pad, ' ');
  } else if (zeroPad) {
    out.append(prefix).append(pad, '0').append(body);
  } else {
    out.append(pad, ' ').append(prefix).append(body);
  }
}

void PutInteger(std::string& out, const FormatSpec& s, int64_t promoted) {
  uint64_t mask = s.bits == 64 ? ~uint64_t{0} : (uint64_t{1} << s.bits) - 1;
  uint64_t raw = static_cast<uint64_t>(promoted) & mask;
  bool isSigned = s.conversion == 'd' || s.conversion == 'i';
  bool negative = false;
  uint64_t magnitude = raw;
  if (isSigned && s.bits < 64 && (raw >> (s.bits - 1)) != 0) {
    negative = true;
    magnitude = (mask - raw) + 1;
  } else if (isSigned && s.bits == 64 && static_cast<int64_t>(raw) < 0) {
    negative = true;
    magnitude = ~raw + 1;
  }
  unsigned base = s.conversion == 'o' ? 8 : (s.conversion == 'x' || s.conversion == 'X') ? 16 : 10;
  const char* digitsOf = s.conversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
  char buf[32];
  size_t n = 0;
  for (uint64_t v = magnitude; v != 0; v /= base) buf[n++] = digitsOf[v % base];
  std::string body;
  size_t minDigits = s.precision >= 0 ? static_cast<size_t>(s.precision) : 1;
  if (n < minDigits) body.append(minDigits - n, '0');
  while (n > 0) body.push_back(buf[--n]);
  if (base == 8 && s.alt && (body.empty() || body[0] != '0')) body.insert(body.begin(), '0');

  std::string_view prefix;
  if (isSigned) {
    prefix = negative ? "-" : s.plus ? "+" : s.space ? " " : "";
  } else if (base == 16 && s.alt && raw != 0) {
    prefix = s.conversion == 'X' ? "0X" : "0x";
  }
  PutField(out, s, prefix, body, s.zero && !s.left && s.precision < 0);
}

int64_t IntegerOf(const FormatArg& a) {
  if (a.kind == FormatArg::Integer) return a.integer;
  if (a.kind == FormatArg::Pointer) return static_cast<int64_t>(reinterpret_cast<uintptr_t>(a.pointer));
  if (a.kind == FormatArg::NarrowText) return static_cast<int64_t>(reinterpret_cast<uintptr_t>(a.narrow));
  if (a.kind == FormatArg::WideText) return static_cast<int64_t>(reinterpret_cast<uintptr_t>(a.wide));
  return static_cast<int64_t>(reinterpret_cast<uintptr_t>(a.utf16));
}

template <class Ch>
void FormatAny(std::string& out, const Ch* fmt, const FormatArg* args, size_t count) {
  constexpr bool wideFormat = sizeof(Ch) > 1;
  size_t next = 0;
  auto take = [&]() -> const FormatArg* { return next < count ? &args[next++] : nullptr; };
  for (size_t i = 0; fmt[i] != 0; ++i) {
    if (fmt[i] != '%') {
      if constexpr (wideFormat) {
        PutWideChar(out, static_cast<uint32_t>(fmt[i]));
      } else {
        out.push_back(static_cast<char>(fmt[i]));
      }
      continue;
    }
    if (fmt[i + 1] == '%') {
      out.push_back('%');
      ++i;
      continue;
    }
    FormatSpec s;
    size_t end = ParseFormatSpec(fmt, i + 1, s);
    FormatNeed need = end == 0 ? FormatNeed::Bad : NeedOf(s, wideFormat);
    if (need == FormatNeed::Bad) {
      // Checked formats never get here; keep the text rather than guess.
      out.push_back('%');
      continue;
    }
    if (s.widthArg) {
      const FormatArg* w = take();
      int width = w ? static_cast<int>(IntegerOf(*w)) : 0;
      if (width < 0) {
        s.left = true;
        width = -width;
      }
      s.width = width;
    }
    if (s.precisionArg) {
      const FormatArg* p = take();
      s.precision = p ? static_cast<int>(IntegerOf(*p)) : -1;
      if (s.precision < 0) s.precision = -1;
    }
    const FormatArg* a = take();
    i = end - 1;
    if (a == nullptr) continue;
    switch (need) {
      case FormatNeed::Int:
      case FormatNeed::Int32:
      case FormatNeed::Int64:
        PutInteger(out, s, IntegerOf(*a));
        break;
      case FormatNeed::Pointer: {
        FormatSpec p = s;
        p.conversion = 'X';
        p.bits = 64;
        p.precision = 2 * sizeof(void*);
        p.alt = p.plus = p.space = p.zero = false;
        PutInteger(out, p, IntegerOf(*a));
        break;
      }
      case FormatNeed::WideChar:
      case FormatNeed::NarrowChar: {
        std::string body;
        uint32_t c = static_cast<uint32_t>(IntegerOf(*a)) & (need == FormatNeed::WideChar ? 0xFFFF : 0xFF);
        PutUnit(body, c);
        PutField(out, s, {}, body, s.zero && !s.left);
        break;
      }
      case FormatNeed::NarrowString:
      case FormatNeed::WideString:
        PutField(out, s, {}, StringText(*a, s.precision), s.zero && !s.left);
        break;
      default:
        break;
    }
  }
}

}  // namespace

void FormatInto(std::string& out, const wchar_t* fmt, const FormatArg* args, size_t count) {
  FormatAny(out, fmt, args, count);
}

void FormatInto(std::string& out, const char* fmt, const FormatArg* args, size_t count) {
  FormatAny(out, fmt, args, count);
}

}  // namespace zent
