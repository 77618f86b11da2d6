// The direct path's destination parse over any bytes, against the C++
// library's own stoi: a field it throws on is refused, any other is cut to
// its low bits, and nothing ends the process.
//
// Input: the data of pipe command 102.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "server/http_destination.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// stoi's value, or false where it throws.
bool Stoi(const std::string& field, int& value) {
  try {
    value = std::stoi(field);
    return true;
  } catch (const std::invalid_argument&) {
    return false;
  } catch (const std::out_of_range&) {
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  HttpDestination d = ParseHttpDestination(text);
  if (text.empty()) {
    Check(d.outcome == DestinationParse::Parsed && d.target.empty() && d.port == 36 && d.machineId == 0);
    return 0;
  }
  size_t first = text.find(':');
  size_t second = first == std::string::npos ? first : text.find(':', first + 1);
  if (second == std::string::npos) {
    Check(d.outcome == DestinationParse::NoSeparators);
    return 0;
  }
  if (first == 0) {
    Check(d.outcome == DestinationParse::NoTarget);
    return 0;
  }
  int port = 0, id = 0;
  bool numbers = Stoi(text.substr(first + 1, second - first - 1), port) && Stoi(text.substr(second + 1), id);
  if (!numbers) {
    Check(d.outcome == DestinationParse::BadNumber);
    return 0;
  }
  Check(d.outcome == DestinationParse::Parsed);
  Check(d.target == text.substr(0, first));
  Check(d.port == static_cast<uint16_t>(port));
  Check(d.machineId == static_cast<uint8_t>(id));
  return 0;
}
