#include <windows.h>

#include <cwchar>

#include "util/text_win.h"

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
  if (length == 0) {
    std::string out = Convert(CP_UTF8, text, -1);
    if (!out.empty()) out.pop_back();
    return out;
  }
  std::string out;
  for (size_t at = 0; at < length;) {
    size_t end = at;
    while (end < length && text[end] != 0) ++end;
    size_t units = end < length ? end - at + 1 : end - at;  // the zero goes with its segment
    out += Convert(CP_UTF8, text + at, static_cast<int>(units));
    at += units;
  }
  return out;
}

std::string wideToAnsi(const wchar_t* text) {
  std::string out = Convert(CP_ACP, text, -1);
  if (!out.empty()) out.pop_back();
  return out;
}
