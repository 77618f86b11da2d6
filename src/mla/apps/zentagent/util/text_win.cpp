#include <windows.h>

#include <cwchar>

#include "util/text_win.h"
#include "util/utf16_text.h"

namespace {

std::wstring Widen(UINT codePage, const char* text) {
  int units = MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
  if (units <= 0) return {};
  std::wstring out(units, L'\0');
  MultiByteToWideChar(codePage, 0, text, -1, out.data(), units);
  out.resize(units - 1);
  return out;
}

std::string Convert(UINT codePage, const wchar_t* text, int units) {
  int bytes = WideCharToMultiByte(codePage, 0, text, units, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return {};
  std::string out(bytes, '\0');
  WideCharToMultiByte(codePage, 0, text, units, out.data(), bytes, nullptr, nullptr);
  return out;
}

}  // namespace

std::wstring utf8ToWide(const char* text) { return Widen(CP_UTF8, text); }

std::wstring ansiToWide(const char* text) { return Widen(CP_ACP, text); }

std::string wideToUtf8(const wchar_t* text, size_t length) {
  // With a length the whole buffer goes in one pass: zero units become zero
  // bytes, which is what converting segment by segment, each with its zero,
  // gives. Without one, the text ends at its first zero unit.
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  if (length == 0) length = std::wcslen(text);
  std::u16string units(text, text + length);
  return Utf16ToUtf8(units.data(), units.size());
}

std::string wideToAnsi(const wchar_t* text) {
  std::string out = Convert(CP_ACP, text, -1);
  if (!out.empty()) out.pop_back();
  return out;
}
