#include <cstdio>

#include "bench/metadata_bench.h"

void ListenPortQueryBench() { std::printf("not measured yet\n"); }
