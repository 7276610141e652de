// `loamctl vol`, run as a user would.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <unistd.h>

#include "concurrency/CSemaphore.h"
#include "loamctl/AskPatiently.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// Runs a line of the shell in a namespace of mounts of its own; exit code 77 if there is none.
RunResult RunAlone(std::string const& line)
{
    std::string const setUp =
        "export LOAMCTL; unshare -m --propagation private true 2>/dev/null || exit 77; ";
    return RunShell(setUp + "exec unshare -m --propagation private sh -ec '" + line + "'");
}

TEST(AskPatiently, AsksEachQuestionOnce)
{
    struct Answers
    {
        std::vector<int> mCounts = std::vector<int>(1000);
    };

    auto const answers = std::make_shared<Answers>();
    AskPatiently(1000, [answers](std::size_t i) { answers->mCounts[i] += 1; });
    EXPECT_EQ(answers->mCounts, std::vector<int>(1000, 1));
    AskPatiently(0, [](std::size_t) { ADD_FAILURE() << "nothing was to be asked"; });
}

TEST(AskPatiently, LeavesAQuestionAloneThatIsNotAnswered)
{
    struct Answers
    {
        CSemaphore mLetGo;
        CSemaphore mLast;
        std::vector<int> mCounts = std::vector<int>(20);
    };

    auto const answers = std::make_shared<Answers>();
    AskPatiently(20, [answers](std::size_t i) {
        if (i == 3) answers->mLetGo.Wait();
        answers->mCounts[i] += 1;
        if (i == 3) answers->mLast.Post();
    });
    std::vector<int> counts(20, 1);
    counts[3] = 0;
    EXPECT_EQ(answers->mCounts, counts);
    // It may come back later.
    answers->mLetGo.Post();
    answers->mLast.Wait();
    EXPECT_EQ(answers->mCounts[3], 1);
}

TEST(Vol, ListsTheRootAmongAllVolumes)
{
    RunResult const run = RunLoamctl({"vol"});
    EXPECT_EQ(run.mExitCode, 0) << run.mError;
    EXPECT_THAT(run.mOutput, AllOf(StartsWith("MOUNT POINT"), HasSubstr("\n/  ")));
    EXPECT_THAT(run.mOutput, Not(HasSubstr("\n/proc ")));
}

TEST(Vol, TellsTheVolumeOfAPath)
{
    StTempDir const dir;
    RunResult const run = RunLoamctl({"vol", "--json", dir.Path()});
    EXPECT_EQ(run.mExitCode, 0) << run.mError;
    auto const volumes = ParseLines(run.mOutput, "volume");
    ASSERT_EQ(volumes.size(), 1U);
    EXPECT_THAT(dir.Path(), StartsWith(volumes[0]["path"].get<std::string>()));
    EXPECT_EQ(volumes[0]["network"], false);
    EXPECT_EQ(volumes[0]["answered"], true);
    EXPECT_GT(volumes[0]["capacity"].get<long long>(), 0);
    EXPECT_LE(volumes[0]["free"].get<long long>(), volumes[0]["capacity"].get<long long>());
}

TEST(Vol, KnowsNoVolumeOfWhatIsntThere)
{
    RunResult const run = RunLoamctl({"vol", "/no/such/place"});
    EXPECT_EQ(run.mExitCode, 1);
    EXPECT_EQ(run.mOutput, "");
    EXPECT_EQ(run.mError, "loamctl: /no/such/place: no volume is known for it\n");
    EXPECT_EQ(RunLoamctl({"vol", "/tmp/\xFF"}).mExitCode, 2);
}

TEST(Vol, ShowsEachColumnThatHasSomething)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root mounts";
    StTempDir const dir;
    dir.MakeFolder("My Disk");
    RunResult const run = RunAlone("cd \"" + dir.Path() +
                                   "\"; truncate -s 4M a.img; mkfs.ext4 -q a.img; "
                                   "mount -o loop a.img \"My Disk\" || exit 77; "
                                   "$LOAMCTL vol \"My Disk\"; $LOAMCTL vol --json \"My Disk\"");
    if (run.mExitCode == 77) GTEST_SKIP() << "nothing can be mounted here: " << run.mError;
    EXPECT_EQ(run.mExitCode, 0) << run.mError;
    EXPECT_THAT(run.mOutput,
                AllOf(HasSubstr("IMAGE"), Not(HasSubstr("NETWORK")), Not(HasSubstr("SERVER")),
                      HasSubstr("  ext4  "), HasSubstr("[#"), HasSubstr(dir.Path("a.img"))));
    auto const json = nlohmann::json::parse(run.mOutput.substr(run.mOutput.find('{')));
    EXPECT_EQ(json["image"], dir.Path("a.img"));
    EXPECT_EQ(json["path"], dir.Path("My Disk"));
    EXPECT_EQ(json["file_system"], "ext4");
}

TEST(Vol, ShowsNoControlCharacter)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root mounts";
    StTempDir const dir;
    RunResult const run = RunAlone("cd \"" + dir.Path() +
                                   "\"; name=$(printf \"a\\\\033[1m\"); mkdir \"$name\"; "
                                   "mount -t tmpfs tmpfs \"$name\" || exit 77; $LOAMCTL vol");
    if (run.mExitCode == 77) GTEST_SKIP() << "nothing can be mounted here: " << run.mError;
    EXPECT_THAT(run.mOutput, AllOf(HasSubstr("a\\x1b[1m"), Not(HasSubstr("\x1b"))));
}

TEST(Vol, ListsManyVolumes)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root mounts";
    StTempDir const dir;
    RunResult const run =
        RunAlone("cd \"" + dir.Path() +
                 "\"; mkdir $(seq -f v%g 500); for i in $(seq 500); do mount -n -t tmpfs -o "
                 "size=64k x v$i || exit 77; done; "
                 "$LOAMCTL vol --json");
    if (run.mExitCode == 77) GTEST_SKIP() << "nothing can be mounted here: " << run.mError;
    EXPECT_EQ(run.mExitCode, 0) << run.mError;
    auto const volumes = ParseLines(run.mOutput, "volume");
    ASSERT_GT(volumes.size(), 500U);
    EXPECT_EQ(volumes.back()["path"], dir.Path("v500"));
    EXPECT_EQ(volumes.back()["capacity"], 65536);
}

}  // namespace
