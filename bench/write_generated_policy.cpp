// Writes a generated manager policy for the benchmarks that drive the
// running agent: write_generated_policy PATH FILTERS.
#include <cstdio>
#include <cstdlib>

#include "policy_generator.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: write_generated_policy PATH FILTERS\n");
    return 2;
  }
  if (!WriteGeneratedPolicy(argv[1], std::atoi(argv[2]))) {
    std::fprintf(stderr, "cannot write %s\n", argv[1]);
    return 1;
  }
  return 0;
}
