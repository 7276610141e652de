// Lines of a log, beside spdlog's basic file sink with a flush at every line.
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include "files/CFileSpec.h"
#include "system/CLogFile.h"

namespace {

std::string LogPath(char const* name)
{
    char const* const folder = std::getenv("TMPDIR");
    return std::string(folder ? folder : "/tmp") + "/loam-bench-" + name + "-" +
           std::to_string(getpid());
}

template <class Line>
void LogLoam(benchmark::State& state, Line line)
{
    std::string const path = LogPath("loam");
    CLogFile log;
    log.OpenLogFile(CFileSpec(path, false), 0);
    int number = 0;
    for (auto _ : state)
        line(log, ++number);
    log.CloseLogFile();
    unlink(path.c_str());
}

void LogSpdlog(benchmark::State& state, char const* pattern)
{
    std::string const path = LogPath("spdlog");
    auto const sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, true);
    spdlog::logger log("bench", sink);
    log.set_pattern(pattern);
    log.flush_on(spdlog::level::info);
    int number = 0;
    for (auto _ : state)
        log.info("document {} of {}: {}", ++number, 100000, "indexed");
    unlink(path.c_str());
}

void PlainLoam(benchmark::State& state)
{
    LogLoam(state, [](CLogFile& log, int number) {
        log.Log("document %d of %d: %s\n", number, 100000, "indexed");
    });
}

void StampedLoam(benchmark::State& state)
{
    LogLoam(state, [](CLogFile& log, int number) {
        log.TimedLog("document %d of %d: %s\n", number, 100000, "indexed");
    });
}

void PlainSpdlog(benchmark::State& state)
{
    LogSpdlog(state, "%v");
}

// The same stamp as ours.
void StampedSpdlog(benchmark::State& state)
{
    LogSpdlog(state, "%Y/%m/%d, %H:%M:%S %z: %v");
}

}  // namespace

BENCHMARK(PlainLoam);
BENCHMARK(PlainSpdlog);
BENCHMARK(StampedLoam);
BENCHMARK(StampedSpdlog);

BENCHMARK_MAIN();
