// What the query engine's tests share: a scratch folder for request and
// response files, and a small query family of the tests' own, "echo", whose
// result is fully known from its arguments.
#pragma once

#include <tinyxml2.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "metadata/compute_hash.h"
#include "metadata/query_families.h"
#include "metadata/result_shell.h"
#include "util/captured_log.h"

using Strings = std::vector<std::string>;

// A folder of the test's own under the temporary folder, removed at the end.
class ScratchFolder {
 public:
  explicit ScratchFolder(const std::string& name) {
    static int serial = 0;
    folder_ = std::filesystem::temp_directory_path() /
              (name + "_" + std::to_string(std::random_device{}()) + "_" + std::to_string(++serial));
    std::filesystem::create_directories(folder_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::filesystem::path Path(const std::string& name) const { return folder_ / name; }
  std::wstring WidePath(const std::string& name) const { return Path(name).wstring(); }

  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream out(Path(name), std::ios::binary);
    out << bytes;
  }
  std::string Read(const std::string& name) const {
    std::ifstream in(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }

 private:
  std::filesystem::path folder_;
};

// How often the echo family ran, by the query's id.
inline std::map<std::string, int> g_EchoRuns;

// One object: type "echo", identifier arg1, attributes arg2 and arg3 with the
// arguments' values. So its hash is the SHA-1 of
// "echo" + arg1 + "arg2" + arg2 + "arg3" + arg3.
inline bool EchoQuery(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                      const std::string& arg1, const std::string& arg2, const std::string& arg3) {
  ++g_EchoRuns[id];
  HmdResultShell shell = AddResultShell(document, results, "9", id);
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "echo", arg1);
  AddAttribute(document, attributes, "arg2", arg2);
  AddAttribute(document, attributes, "arg3", arg3);
  ComputeHash(shell.result);
  return true;
}

// A family that fails before it builds anything.
inline bool FailingQuery(tinyxml2::XMLDocument&, tinyxml2::XMLElement*, const std::string&, const std::string&,
                         const std::string&, const std::string&) {
  return false;
}

// The tests' table: echo under each shape of success line, and a failure.
inline const HmdQueryFamily kTestFamilies[] = {
    {"echo", "EchoQuery", EchoQuery, HmdSuccessLine::Key},
    {"echoPlain", "EchoPlain", EchoQuery, HmdSuccessLine::Plain},
    {"echoKeyValue", "EchoKeyValue", EchoQuery, HmdSuccessLine::KeyValue},
    {"echoFile", "EchoFile", EchoQuery, HmdSuccessLine::File},
    {"fail", "FailingQuery", FailingQuery, HmdSuccessLine::Plain},
};
