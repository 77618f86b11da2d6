#include "reply_text.h"

#include <cstdio>

namespace zentctl {

namespace {

std::string MagicText(const std::array<char, 4>& magic) {
  std::string text;
  for (char c : magic) {
    if (c >= 0x21 && c <= 0x7E && c != '\\') {
      text += c;
    } else {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned char>(c));
      text += escaped;
    }
  }
  return text;
}

std::string DayName(uint16_t dayOfWeek) {
  static const char* const kDays[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
  if (dayOfWeek < 7) return kDays[dayOfWeek];
  return "day of week " + std::to_string(dayOfWeek);
}

}  // namespace

std::string FormatReply(const CommandHeader& reply) {
  const SystemTime& t = reply.Time;
  char time[64];
  std::snprintf(time, sizeof time, "%04u-%02u-%02u %02u:%02u:%02u.%03u UTC", t.wYear, t.wMonth, t.wDay, t.wHour,
                t.wMinute, t.wSecond, t.wMilliseconds);
  return "Magic:      " + MagicText(reply.Magic) + "\n" + "Command:    " + std::to_string(reply.Command) + "\n" +
         "RequestId:  " + std::to_string(reply.RequestId) + "\n" + "Result:     " + std::to_string(reply.Result) +
         "\n" + "DataLength: " + std::to_string(reply.DataLength) + "\n" + "Time:       " + time + " (" +
         DayName(t.wDayOfWeek) + ")\n";
}

std::string FormatHex(std::string_view bytes) {
  std::string text;
  for (char c : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(c));
    if (!text.empty()) text += ' ';
    text += digits;
  }
  return text;
}

}  // namespace zentctl
