#include "loamctl/Command.h"

#include <algorithm>
#include <thread>

#include <CLI/CLI.hpp>

namespace {

constexpr int kMostJobs = 256;

}  // namespace

void AddPaths(CLI::App& command, std::vector<std::string>& paths)
{
    command.add_option("PATH", paths, "Files and folders; by default this folder")
        ->option_text("...");
}

void AddJobs(CLI::App& command, int& jobs)
{
    // 0 if that can't be told.
    auto const processors = static_cast<int>(std::thread::hardware_concurrency());
    jobs = std::clamp(processors, 1, kMostJobs);
    command
        .add_option("-j,--jobs", jobs,
                    "Files worked on at a time; by default as many as there are processors")
        ->check(CLI::Range(1, kMostJobs))
        ->option_text("NUM");
}
