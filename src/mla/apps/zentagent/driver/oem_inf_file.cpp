#include "driver/oem_inf_file.h"

namespace {

wchar_t Lower(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

bool EqualNoCase(std::wstring_view a, std::wstring_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

}  // namespace

bool IsOemInfName(const std::wstring& name) {
  std::wstring_view view(name);
  size_t dot = view.rfind(L'.');
  if (dot == std::wstring_view::npos || view.size() < 3) return false;
  return EqualNoCase(view.substr(0, 3), L"oem") && EqualNoCase(view.substr(dot), L".inf");
}

bool NamesDriver(std::string_view bytes) { return bytes.find("mlfilter") != std::string_view::npos; }
