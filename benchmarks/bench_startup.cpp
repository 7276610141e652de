// What linking the library costs a host at its start: two programs that do nothing, one of which
// the library is linked to, each from its launch to its end. Both are C++ with the standard
// library, as hosts are.
#include <algorithm>
#include <chrono>
#include <limits>

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Seconds; 0 if it can't be run.
double TimeOf(char const* program)
{
    using Clock = std::chrono::steady_clock;
    char* const arguments[] = {const_cast<char*>(program), nullptr};
    auto const before = Clock::now();
    pid_t child = 0;
    if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0) return 0;
    int status = 0;
    waitpid(child, &status, 0);
    std::chrono::duration<double> const passed = Clock::now() - before;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? passed.count() : 0;
}

void Start(benchmark::State& state, char const* program)
{
    for (auto _ : state) {
        double const seconds = TimeOf(program);
        if (seconds == 0) state.SkipWithError("the program can't be run");
        state.SetIterationTime(seconds);
    }
}

// By how much the best of both differ, in turns.
void Added(benchmark::State& state)
{
    double without = std::numeric_limits<double>::max();
    double with = without;
    for (auto _ : state) {
        without = std::min(without, TimeOf(STARTUP_WITHOUT));
        with = std::min(with, TimeOf(STARTUP_WITH));
    }
    state.counters["added_us"] = (with - without) * 1e6;
}

}  // namespace

BENCHMARK_CAPTURE(Start, without, STARTUP_WITHOUT)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Start, with, STARTUP_WITH)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Added)->Iterations(50)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
