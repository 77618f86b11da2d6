// zentpolicy for the build machine, where the suite's engineers and the
// tests read policy files copied off a host.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "zentpolicy.h"

namespace {

bool ReadWholeFile(const std::string& path, std::string& bytes, std::string& error) {
  FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    error = std::strerror(errno);
    return false;
  }
  char buffer[65536];
  size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, count);
  bool read = !std::ferror(file);
  if (!read) error = "read error";
  std::fclose(file);
  return read;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string out, err;
  int status = zentpolicy::RunZentpolicy(args, ReadWholeFile, out, err);
  std::fwrite(out.data(), 1, out.size(), stdout);
  std::fwrite(err.data(), 1, err.size(), stderr);
  return status;
}
