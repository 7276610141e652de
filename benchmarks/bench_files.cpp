// What file specifiers cost: making them, walking a folder of 100,000 entries, and asking each
// entry what it is, beside the plain calls.
#include "files/CFileSpec.h"
#include "files/CFileSpecIterator.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <sys/stat.h>

namespace {

constexpr int kEntries = 100000;

enum FolderKind
{
    kPlain,
    kDeep,        // twenty folders down
    kLongNames,   // of 200 bytes
    kOtherNames,  // beyond ASCII
};

/// A folder of empty files, made at its first use and removed at exit.
template <FolderKind kKind>
class CCrowdedFolder
{
public:
    static std::string const& Path()
    {
        static CCrowdedFolder const sFolder;
        return sFolder.mPath;
    }

private:
    CCrowdedFolder()
    {
        std::string path = std::filesystem::temp_directory_path() / "loam-bench-XXXXXX";
        if (!mkdtemp(path.data())) std::abort();
        mTop = mPath = path;
        for (int depth = 0; kKind == kDeep && depth < 20; ++depth)
            mPath += "/a folder in a folder";
        std::filesystem::create_directories(mPath);
        std::string name = "document ";
        if (kKind == kLongNames) name += std::string(180, 'x');
        if (kKind == kOtherNames) name = "\u0434\u043e\u043a\u0443\u043c\u0435\u043d\u0442 ";
        for (int i = 0; i < kEntries; ++i)
            std::ofstream(mPath + "/" + name + std::to_string(i) + ".txt");
    }

    ~CCrowdedFolder() { std::filesystem::remove_all(mTop); }

    std::string mTop;
    std::string mPath;
};

std::u16string const& SomePath()
{
    static std::u16string const sPath = u"/home/someone/documents/2024/report of the year.txt";
    return sPath;
}

void MakeFromPath(benchmark::State& state)
{
    for (auto _ : state) {
        CFileSpec const spec(SomePath(), false);
        benchmark::DoNotOptimize(&spec);
    }
}

void Copy(benchmark::State& state)
{
    CFileSpec const original(SomePath(), false);
    for (auto _ : state) {
        CFileSpec const copy(original);
        benchmark::DoNotOptimize(&copy);
    }
}

void MakeInFolder(benchmark::State& state)
{
    CFileSpec const folder(SomePath(), false);
    std::u16string const name = u"report of the year.txt";
    for (auto _ : state) {
        CFileSpec const spec(folder, name, false);
        benchmark::DoNotOptimize(&spec);
    }
}

void MakeInWellKnownFolder(benchmark::State& state)
{
    std::u16string const name = u"report of the year.txt";
    for (auto _ : state) {
        CFileSpec const spec(CFileSpec::cContainerTemporary, name, false);
        benchmark::DoNotOptimize(&spec);
    }
}

template <FolderKind kKind>
void WalkFolder(benchmark::State& state)
{
    CFileSpec const folder(CCrowdedFolder<kKind>::Path(), false);
    for (auto _ : state) {
        CFileSpecIterator iterator(folder);
        for (CFileSpec entry; iterator.Next(&entry);)
            benchmark::DoNotOptimize(&entry);
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

template <FolderKind kKind>
void WalkFolderByReaddir(benchmark::State& state)
{
    std::string const& path = CCrowdedFolder<kKind>::Path();
    for (auto _ : state) {
        std::unique_ptr<DIR, int (*)(DIR*)> const folder(opendir(path.c_str()), closedir);
        while (dirent* const entry = readdir(folder.get())) {
            std::string const entryPath = path + "/" + entry->d_name;
            benchmark::DoNotOptimize(entryPath.data());
        }
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

void Walk(benchmark::State& state)
{
    WalkFolder<kPlain>(state);
}

void WalkByReaddir(benchmark::State& state)
{
    WalkFolderByReaddir<kPlain>(state);
}

/// Walks the folder and asks each entry.
template <class Ask>
void WalkAndAsk(benchmark::State& state, Ask ask)
{
    CFileSpec const folder(CCrowdedFolder<kPlain>::Path(), false);
    for (auto _ : state) {
        CFileSpecIterator iterator(folder);
        for (CFileSpec entry; iterator.Next(&entry);)
            benchmark::DoNotOptimize(ask(entry));
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

void WalkAndLstat(benchmark::State& state)
{
    WalkAndAsk(state, [](CFileSpec const& entry) {
        std::string path;
        entry.GetFullPath8bit(&path);
        struct stat found;
        return lstat(path.c_str(), &found);
    });
}

void WalkVisible(benchmark::State& state)
{
    WalkAndAsk(state, [](CFileSpec const& entry) { return entry.IsVisible(); });
}

void WalkRealFiles(benchmark::State& state)
{
    WalkAndAsk(state, [](CFileSpec const& entry) { return entry.IsRealFile(false); });
}

}  // namespace

BENCHMARK(MakeFromPath);
BENCHMARK(Copy);
BENCHMARK(MakeInFolder);
BENCHMARK(MakeInWellKnownFolder);
BENCHMARK(WalkByReaddir)->Unit(benchmark::kMillisecond);
BENCHMARK(Walk)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkVisible)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkAndLstat)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkRealFiles)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkFolderByReaddir<kDeep>)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkFolder<kDeep>)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkFolderByReaddir<kLongNames>)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkFolder<kLongNames>)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkFolderByReaddir<kOtherNames>)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkFolder<kOtherNames>)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
