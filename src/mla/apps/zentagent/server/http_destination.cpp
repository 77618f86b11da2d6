#include "server/http_destination.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>

namespace {

// stoi's reading, without its exceptions: a refused number must not end the
// agent.
std::optional<int> StoiValue(std::string_view field) {
  std::string text(field);
  // strtoll would stop at an embedded zero byte as stoi does.
  const char* begin = text.c_str();
  char* end = nullptr;
  errno = 0;
  long long value = std::strtoll(begin, &end, 10);
  if (end == begin) return std::nullopt;
  if (errno == ERANGE || value < INT_MIN || value > INT_MAX) return std::nullopt;
  return static_cast<int>(value);
}

}  // namespace

HttpDestination ParseHttpDestination(std::string_view data) {
  HttpDestination destination;
  if (data.empty()) return destination;
  size_t first = data.find(':');
  size_t second = first == std::string_view::npos ? first : data.find(':', first + 1);
  if (second == std::string_view::npos) {
    destination.outcome = DestinationParse::NoSeparators;
    return destination;
  }
  if (first == 0) {
    destination.outcome = DestinationParse::NoTarget;
    return destination;
  }
  std::optional<int> port = StoiValue(data.substr(first + 1, second - first - 1));
  std::optional<int> id = StoiValue(data.substr(second + 1));
  if (!port || !id) {
    destination.outcome = DestinationParse::BadNumber;
    return destination;
  }
  destination.target.assign(data.substr(0, first));
  destination.port = static_cast<uint16_t>(static_cast<unsigned>(*port) & 0xFFFFu);
  destination.machineId = static_cast<uint8_t>(static_cast<unsigned>(*id) & 0xFFu);
  return destination;
}
