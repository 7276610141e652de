#include "system/platform/ProcFiles.h"

#include "system/platform/CProcessorTickReader.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

std::string StatOf(std::string const& name, char state, int threads)
{
    return "4711 (" + name + ") " + state + " 1 4711 4711 0 -1 4194304 102 0 0 0 7 8 0 0 20 0 " +
           std::to_string(threads) + " 0 2373927 3133440 410\n";
}

// User, system, idle, nice of each processor.
using Ticks = std::vector<std::vector<unsigned int>>;

Ticks Take(CProcessorTickReader& reader, std::string const& stat)
{
    ProcessorSnapshot snapshot;
    if (!reader.Take(stat, snapshot)) return {{}};
    std::unique_ptr<ProcessorTicks[]> const owner(snapshot.mTicks);
    EXPECT_EQ(snapshot.mInfoCount, snapshot.mProcessorCount * 4);
    Ticks ticks;
    for (unsigned int i = 0; i < snapshot.mProcessorCount; ++i) {
        ProcessorTicks const& t = snapshot.mTicks[i];
        ticks.push_back({t.mUser, t.mSystem, t.mIdle, t.mNice});
    }
    return ticks;
}

Ticks Take(std::string const& stat)
{
    CProcessorTickReader reader;
    return Take(reader, stat);
}

}  // namespace

TEST(ProcFiles, ReadsFilesWhoseSizeIsNotKnown)
{
    StTempDir const folder;
    std::string const text(100000, 'x');
    EXPECT_EQ(ReadProcFile(folder.Write("a", text).c_str()), text);
    EXPECT_EQ(ReadProcFile(folder.Write("b", "").c_str()), "");
    EXPECT_EQ(ReadProcFile(folder.Path("none").c_str()), "");
    EXPECT_EQ(ReadProcFile(folder.Path().c_str()), "");
}

TEST(ProcFiles, KnowsWhichProcessesHaveEnded)
{
    struct
    {
        char const* mWhat;
        std::string mStat;
        bool mHasEnded;
    } const cases[] = {
        {"sleeps", StatOf("cat", 'S', 1), false},
        {"runs", StatOf("cat", 'R', 1), false},
        {"is stopped", StatOf("cat", 'T', 1), false},
        {"waits to be collected", StatOf("cat", 'Z', 1), true},
        {"goes just now", StatOf("cat", 'X', 0), true},
        {"goes just now, as older kernels tell", StatOf("cat", 'x', 1), true},
        {"its first thread has ended", StatOf("cat", 'Z', 2), false},
        {"is called like an ended one", StatOf("a) Z 1", 'S', 1), false},
        {"has ended, by an odd name", StatOf("a (b) S", 'Z', 1), true},
        {"has a line end in its name", StatOf("a\nb", 'Z', 1), true},
        {"nothing", "", false},
        {"no such file", "MemTotal: 12 kB\n", false},
        {"broken off behind the name", "4711 (cat)", false},
        {"broken off behind the state", "4711 (cat) Z", false},
        {"broken off in front of the threads", "4711 (cat) Z 1 2 3", false},
        {"no number of threads", "4711 (cat) Z 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 many 19",
         false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(HasEnded(c.mStat), c.mHasEnded);
    }
}

TEST(ProcFiles, FindsTheMomentOfTheStart)
{
    struct
    {
        char const* mWhat;
        char const* mStat;
        long mSeconds;
    } const cases[] = {
        {"in the midst", "cpu 1 2\nctxt 5\nbtime 1600000000\nprocesses 7\n", 1600000000},
        {"at the end", "ctxt 5\nbtime 1600000000", 1600000000},
        {"none", "cpu 1 2\nctxt 5\n", -7},
        {"within another name", "ctxt 5\nxbtime 16\n", -7},
        {"no number", "ctxt 5\nbtime soon\n", -7},
        {"too great", "ctxt 5\nbtime 99999999999999999999\n", -7},
        {"nothing", "", -7},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        long seconds = -7;
        EXPECT_EQ(FindBootTime(c.mStat, seconds), c.mSeconds != -7);
        EXPECT_EQ(seconds, c.mSeconds);
    }
}

TEST(ProcFiles, CountsProcessorsAndTheirCores)
{
    struct Processor
    {
        char const* mName;
        char const* mPackage;
        char const* mDie;
        char const* mCore;
    };

    struct
    {
        char const* mWhat;
        std::vector<Processor> mEntries;
        int mCores;
        int mProcessors;
    } const cases[] = {
        {"no processor", {{"cpufreq", "", "", ""}, {"cpuidle", "", "", ""}}, 0, 0},
        {"two cores", {{"cpu0", "0", "0", "0"}, {"cpu1", "0", "0", "1"}}, 2, 2},
        {"two threads of a core", {{"cpu0", "0", "0", "5"}, {"cpu1", "0", "0", "5"}}, 1, 2},
        {"two packages", {{"cpu0", "0", "0", "0"}, {"cpu1", "1", "0", "0"}}, 2, 2},
        {"two dies of a package", {{"cpu0", "0", "0", "0"}, {"cpu1", "0", "1", "0"}}, 2, 2},
        {"a kernel that knows no dies", {{"cpu0", "0", "", "0"}, {"cpu10", "0", "", "1"}}, 2, 2},
        {"one is switched off", {{"cpu0", "0", "0", "0"}, {"cpu1", "", "", ""}}, 1, 2},
        {"a machine that knows no packages", {{"cpu0", "-1", "", "3"}}, 1, 1},
        {"other entries",
         {{"cpu0", "0", "0", "0"},
          {"cpu", "0", "0", "1"},
          {"cpu1x", "0", "0", "2"},
          {"xcpu1", "0", "0", "3"}},
         1,
         1},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const folder;
        for (Processor const& p : c.mEntries) {
            std::string const topology = std::string(p.mName) + "/topology/";
            folder.MakeFolder(p.mName);
            if (*p.mPackage)
                folder.Write(topology + "physical_package_id", std::string(p.mPackage) + "\n");
            if (*p.mDie) folder.Write(topology + "die_id", std::string(p.mDie) + "\n");
            if (*p.mCore) folder.Write(topology + "core_id", std::string(p.mCore) + "\n");
        }
        EXPECT_EQ(CountCoresIn(folder.Path()), c.mCores);
        EXPECT_EQ(CountProcessorsIn(folder.Path()), c.mProcessors);
    }
    EXPECT_EQ(CountCoresIn("/no/such"), 0);
    EXPECT_EQ(CountProcessorsIn("/no/such"), 0);
}

TEST(CProcessorTickReader, SortsTheKernelsTimesIntoFourRoles)
{
    struct
    {
        char const* mWhat;
        char const* mStat;
        Ticks mTicks;
    } const cases[] = {
        {"each column",
         "cpu  9 9 9\ncpu0 1 2 4 8 16 32 64 128 256 512\nintr 5\n",
         {{1, 4 + 32 + 64 + 128, 8 + 16, 2}}},
        {"four columns", "cpu0 1 2 4 8\n", {{1, 4, 8, 2}}},
        {"one column", "cpu0 1\n", {{1, 0, 0, 0}}},
        {"several blanks", "cpu0   1  2 4   8\n", {{1, 4, 8, 2}}},
        {"no line end", "cpu0 1 2 4 8", {{1, 4, 8, 2}}},
        {"two processors", "cpu0 1 0 0 0\ncpu1 2 0 0 0\n", {{1, 0, 0, 0}, {2, 0, 0, 0}}},
        {"in another order", "cpu1 2 0 0 0\ncpu0 1 0 0 0\n", {{1, 0, 0, 0}, {2, 0, 0, 0}}},
        {"one is switched off",
         "cpu0 1 0 0 0\ncpu2 2 0 0 0\n",
         {{1, 0, 0, 0}, {0, 0, 0, 0}, {2, 0, 0, 0}}},
        {"cut to 32 bits", "cpu0 4294967297 4294967298 4294967299 4294967295 5\n", {{1, 3, 4, 2}}},
        {"what stands behind other lines", "cpu0 1 0 0 0\nintr 1\ncpu1 2 0 0 0\n", {{1, 0, 0, 0}}},
        {"no number", "cpu0 1 x 4 8\n", {{1, 0, 0, 0}}},
        {"a number that no kernel has", "cpu0 1\ncpu65536 1\ncpu99999999999 1\n", {{1, 0, 0, 0}}},
        {"only all together", "cpu  9 9 9 9\nintr 1\n", {{}}},
        {"another name", "cpux 1 2 3 4\n", {{}}},
        {"nothing", "", {{}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Take(c.mStat), c.mTicks);
    }
}

TEST(CProcessorTickReader, CountersOnlyGoForward)
{
    CProcessorTickReader reader;
    EXPECT_EQ(Take(reader, "cpu0 10 10 10 10 10\n"), (Ticks{{10, 10, 20, 10}}));
    // Time that waited for a device is taken back.
    EXPECT_EQ(Take(reader, "cpu0 12 10 10 11 3\n"), (Ticks{{12, 10, 20, 10}}));
    EXPECT_EQ(Take(reader, "cpu0 5 5 5 5 5\n"), (Ticks{{12, 10, 20, 10}}));
    EXPECT_EQ(Take(reader, "cpu0 13 13 13 13 13\n"), (Ticks{{13, 13, 26, 13}}));
    // A counter may pass 32 bits all the same.
    EXPECT_EQ(Take(reader, "cpu0 4294967296 13 13 13 13\n"), (Ticks{{0, 13, 26, 13}}));
}

TEST(CProcessorTickReader, ProcessorsKeepTheirPlaces)
{
    CProcessorTickReader reader;
    EXPECT_EQ(Take(reader, "cpu0 1 0 0 0\ncpu1 2 0 0 0\ncpu2 3 0 0 0\n").size(), 3);
    EXPECT_EQ(Take(reader, "cpu0 4 0 0 0\ncpu2 5 0 0 0\n"),
              (Ticks{{4, 0, 0, 0}, {2, 0, 0, 0}, {5, 0, 0, 0}}));
    EXPECT_EQ(Take(reader, "cpu0 6 0 0 0\n"), (Ticks{{6, 0, 0, 0}, {2, 0, 0, 0}, {5, 0, 0, 0}}));
    EXPECT_EQ(Take(reader, ""), Ticks{{}});
    EXPECT_EQ(Take(reader, "cpu1 7 0 0 0\n"), (Ticks{{6, 0, 0, 0}, {7, 0, 0, 0}, {5, 0, 0, 0}}));
}
