#include <cstdio>

#include "bench/metadata_bench.h"

void RegistryQueryBench() { std::printf("not measured yet\n"); }
