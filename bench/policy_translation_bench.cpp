// The translator against tinyxml2's own parse of the same policy, for
// policies of 1,000, 10,000 and 100,000 filters of each family, or of the
// sizes given as arguments (for a profiler's run). Prints the figures;
// asserts nothing.
#include <tinyxml2.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "peak_memory.h"
#include "policy/agent_config_document.h"
#include "policy_generator.h"
#include "records/settings.h"
#include "util/wide_path_file.h"

namespace {

constexpr int kRuns = 3;

template <typename Work>
double BestMilliseconds(Work work) {
  double best = 1e300;
  for (int run = 0; run < kRuns; ++run) {
    auto start = std::chrono::steady_clock::now();
    work();
    std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
    best = std::min(best, elapsed.count());
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<int> sizes = {1000, 10000, 100000};
  if (argc > 1) sizes.clear();
  for (int a = 1; a < argc; ++a) sizes.push_back(std::atoi(argv[a]));
  // The clear document, and no debug log: the figures are the translator's.
  s_Settings.s_bConfigEncrypt = false;
  s_Settings.DebugLevel = 0;
  std::filesystem::path folder = std::filesystem::temp_directory_path();
  std::string input = (folder / "zent_bench_policy.xml").string();
  std::string output = (folder / "zent_bench_config.xml").string();

  std::printf("%10s %12s %12s %10s %10s %10s %10s\n", "filters", "parse ms", "translate ms", "x parse", "peak MB",
              "parse xN", "transl xN");
  double lastParse = 0, lastTranslate = 0;
  int failures = 0;
  for (int filters : sizes) {
    if (!WriteGeneratedPolicy(input, filters)) {
      std::fprintf(stderr, "cannot write %s\n", input.c_str());
      return 1;
    }
    double parse = BestMilliseconds([&] {
      tinyxml2::XMLDocument document;
      if (document.LoadFile(input.c_str()) != tinyxml2::XML_SUCCESS) ++failures;
    });
    double translate = BestMilliseconds([&] {
      RawConfig rawConfig;
      AddGeneratedAdapters(rawConfig);
      if (ParseRawConfigXml(rawConfig, WidePathFromUtf8(input), WidePathFromUtf8(output)) != 0) ++failures;
    });
    std::printf("%10d %12.1f %12.1f %10.2f %10.1f", filters, parse, translate, translate / parse,
                PeakMemoryMegabytes());
    if (lastParse > 0)
      std::printf(" %10.2f %10.2f\n", parse / lastParse, translate / lastTranslate);
    else
      std::printf(" %10s %10s\n", "-", "-");
    std::fflush(stdout);
    lastParse = parse;
    lastTranslate = translate;
  }
  std::remove(input.c_str());
  std::remove(output.c_str());
  if (failures != 0) {
    std::fprintf(stderr, "%d parse or translation failures\n", failures);
    return 1;
  }
  return 0;
}
