#include "loamctl/Command.h"

#include <algorithm>
#include <thread>

namespace {

constexpr int kMostJobs = 256;

}  // namespace

COption AddPaths(CArguments command, std::vector<std::string>& paths)
{
    return command.Add("PATH", paths, "Files and folders; by default this folder");
}

void AddJobs(CArguments command, int& jobs)
{
    // 0 if that can't be told.
    auto const processors = static_cast<int>(std::thread::hardware_concurrency());
    jobs = std::clamp(processors, 1, kMostJobs);
    command
        .Add("-j,--jobs", jobs,
             "Files worked on at a time; by default as many as there are processors")
        .InRange(1, kMostJobs)
        .Shown("NUM");
}
