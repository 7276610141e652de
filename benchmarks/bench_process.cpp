// Launching a program beside posix_spawn, of which only the launch is timed and not the program's
// life; a sample of the processors' load, on this machine and by what a kernel with 64 processors
// tells.
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "files/CFileSpec.h"
#include "system/CProcessServices.h"
#include "system/platform/CProcessorTickReader.h"
#include "system/platform/ProcFiles.h"

namespace {

constexpr char kProgram[] = "/bin/true";

template <class Start>
void Launch(benchmark::State& state, Start start)
{
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        auto const before = Clock::now();
        int const child = start();
        std::chrono::duration<double> const passed = Clock::now() - before;
        state.SetIterationTime(passed.count());
        if (child <= 0) state.SkipWithError("the program can't be started");
        waitpid(child, nullptr, 0);
    }
}

void LaunchLoam(benchmark::State& state)
{
    auto const& services = *CProcessServices::GetProcessServices()->mImp;
    CFileSpec const program(std::string(kProgram), false);
    std::vector<std::string> const arguments{"-a", "two words", "three"};
    Launch(state, [&] { return services.LaunchProcess(program, arguments, false); });
}

void LaunchPosixSpawn(benchmark::State& state)
{
    char const* const arguments[] = {kProgram, "-a", "two words", "three", nullptr};
    Launch(state, [&] {
        pid_t child = 0;
        int const error = posix_spawn(&child, kProgram, nullptr, nullptr,
                                      const_cast<char* const*>(arguments), environ);
        return error == 0 ? child : 0;
    });
}

void LoadOfThisMachine(benchmark::State& state)
{
    CProcessServices const services;
    float total = 0;
    float own = 0;
    std::vector<float> loads;
    for (auto _ : state)
        benchmark::DoNotOptimize(services.mImp->GetCPUActivity(total, loads, own));
}

// The kernel's file on a machine with 64 processors and 2,000 interrupts.
std::string StatOf64Processors()
{
    std::string stat = "cpu  190950912 16888032 27482688 6767616 279808 0 265600 244416 0 0\n";
    for (int i = 0; i < 64; ++i)
        stat += "cpu" + std::to_string(i) + " 2983608 263875 429417 105744 4372 0 4150 3819 0 0\n";
    stat += "intr 15471607";
    for (int i = 0; i < 2000; ++i)
        stat += i % 16 == 0 ? " 15963" : " 0";
    return stat + "\nctxt 88049094\nbtime 1600000000\nprocesses 25014\n";
}

void SnapshotOf64Processors(benchmark::State& state)
{
    std::string const path = "/tmp/loam-bench-stat-" + std::to_string(getpid());
    std::string const stat = StatOf64Processors();
    int const descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    bool const isWritten =
        write(descriptor, stat.data(), stat.size()) == static_cast<ssize_t>(stat.size());
    close(descriptor);
    if (!isWritten) state.SkipWithError("the file can't be written");

    CProcessorTickReader reader;
    for (auto _ : state) {
        ProcessorSnapshot snapshot;
        benchmark::DoNotOptimize(reader.Take(ReadProcFile(path.c_str()), snapshot));
        std::unique_ptr<ProcessorTicks[]> const owner(snapshot.mTicks);
    }
    unlink(path.c_str());
}

}  // namespace

BENCHMARK(LaunchLoam)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(LaunchPosixSpawn)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(LoadOfThisMachine)->Unit(benchmark::kMicrosecond);
BENCHMARK(SnapshotOf64Processors)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
