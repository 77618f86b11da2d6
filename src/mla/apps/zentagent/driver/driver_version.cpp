#include "driver/driver_version.h"

#include <cctype>

namespace {

uint64_t Widened(uint16_t part) {
  return static_cast<uint64_t>(static_cast<int64_t>(static_cast<int16_t>(part)));
}

// One "%d" conversion at text: blanks, a sign, at least one digit.
bool ScanDecimal(const char*& text, uint16_t& part) {
  const char* p = text;
  while (*p != '\0' && std::isspace(static_cast<unsigned char>(*p))) ++p;
  bool negative = false;
  if (*p == '+' || *p == '-') negative = *p++ == '-';
  if (!std::isdigit(static_cast<unsigned char>(*p))) return false;
  uint32_t value = 0;
  while (std::isdigit(static_cast<unsigned char>(*p))) value = value * 10u + static_cast<uint32_t>(*p++ - '0');
  if (negative) value = 0u - value;
  part = static_cast<uint16_t>(value);
  text = p;
  return true;
}

}  // namespace

int64_t PackDriverVersion(const uint16_t version[4]) {
  uint64_t packed = (Widened(version[0]) << 48) | (Widened(version[1]) << 32) | (Widened(version[2]) << 16) |
                    Widened(version[3]);
  return static_cast<int64_t>(packed);
}

bool ParseRunningDriverVersion(const char* text, uint16_t version[4]) {
  uint16_t parts[4] = {};
  for (int i = 0; i < 4; ++i) {
    if (i > 0) {
      if (*text != '.') return false;
      ++text;
    }
    if (!ScanDecimal(text, parts[i])) return false;
  }
  for (int i = 0; i < 4; ++i) version[i] = parts[i];
  return true;
}

DriverVersionDecision DecideDriverVersion(const uint16_t installed[4], const uint16_t package[4], bool running) {
  int64_t have = PackDriverVersion(installed);
  int64_t want = PackDriverVersion(package);
  if (have > want) return DriverVersionDecision::KeepNewer;
  if (have == want) return running ? DriverVersionDecision::KeepRunning : DriverVersionDecision::FinishPartialInstall;
  return DriverVersionDecision::Upgrade;
}
