// zentpolicy's work, apart from the process: the arguments in, the bytes
// for standard output and the text for standard error out, and the exit
// status. The platform's entry point gives it a way to read a file.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zentpolicy {

// Reads a whole file; false with the reason in error.
using FileReader = std::function<bool(const std::string& path, std::string& bytes, std::string& error)>;

int RunZentpolicy(const std::vector<std::string>& args, const FileReader& readFile, std::string& out,
                  std::string& err);

}  // namespace zentpolicy
