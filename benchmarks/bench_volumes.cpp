// Volumes: 500 of them, mounted in a namespace of this process's own; for root. By the library, and
// by loamctl as a user runs it.
#include "files/CFileSpec.h"
#include "files/CFileSpecIterator.h"

#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace {

constexpr int kVolumes = 500;

// The folder of the volumes; empty if this process can't have them. They cover its own /tmp, and go
// with the process.
std::string MountVolumes()
{
    std::string folder = "/tmp";
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("bench", folder.c_str(), "tmpfs", 0, nullptr) != 0) {
        return {};
    }
    for (int i = 0; i < kVolumes; ++i) {
        std::string const place = folder + "/v" + std::to_string(i);
        if (mkdir(place.c_str(), 0755) != 0) return {};
        if (mount("bench", place.c_str(), "tmpfs", 0, "size=64k") != 0) return {};
    }
    return folder;
}

std::string const& Folder()
{
    static std::string const folder = MountVolumes();
    return folder;
}

bool AskAbout(CFileSpec const& volume)
{
    std::string mountPoint;
    std::string image;
    std::string server;
    std::string type;
    bool isNetwork = false;
    CFileSpec::VolumeType medium = CFileSpec::cVolumeUnknown;
    volume.GetVolumeInfo(mountPoint, image, server, type, isNetwork, medium);
    return !mountPoint.empty();
}

void AllVolumes(benchmark::State& state)
{
    if (Folder().empty()) return state.SkipWithError("no mounts for this process");
    long long known = 0;
    for (auto _ : state) {
        CFileSpecIterator volumes{CFileSpec(CFileSpec::cContainerAllVolumes)};
        for (CFileSpec volume; volumes.Next(&volume);)
            known += AskAbout(volume) ? 1 : 0;
    }
    state.SetItemsProcessed(known);
}

BENCHMARK(AllVolumes)->Unit(benchmark::kMillisecond);

// The mount of a path that is none itself is asked of the system.
void PathOnAVolume(benchmark::State& state)
{
    if (Folder().empty()) return state.SkipWithError("no mounts for this process");
    std::string const folder = Folder() + "/v250/a";
    mkdir(folder.c_str(), 0755);
    CFileSpec const path(folder, false);
    for (auto _ : state)
        benchmark::DoNotOptimize(AskAbout(path));
}

BENCHMARK(PathOnAVolume);

void ListByLoamctl(benchmark::State& state)
{
    if (Folder().empty()) return state.SkipWithError("no mounts for this process");
    for (auto _ : state) {
        if (std::system("exec '" LOAMCTL_PATH "' vol >/dev/null") == 0) continue;
        state.SkipWithError("loamctl did not answer as it should");
        break;
    }
}

BENCHMARK(ListByLoamctl)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
