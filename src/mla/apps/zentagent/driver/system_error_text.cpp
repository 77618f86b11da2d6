#include "driver/system_error_text.h"

std::wstring CutSystemErrorText(const wchar_t* text) {
  // The word is spelt so in the log; its readers know it.
  if (text == nullptr) return L"Unknow";
  std::wstring kept(text, std::char_traits<wchar_t>::length(text));
  if (kept.size() > kSystemErrorTextMax) kept.resize(kSystemErrorTextMax);
  if (!kept.empty()) kept.pop_back();
  return kept;
}
