#include "util/json_text.h"

std::string_view SkipByteOrderMark(std::string_view text) {
  if (text.size() >= 3 && text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  return text;
}
