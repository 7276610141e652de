// What the text services take. Every other source of this program registers its benchmarks before
// main.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
