#include <cstdio>

#include "bench/metadata_bench.h"

void ServiceQueryBench() { std::printf("not measured yet\n"); }
