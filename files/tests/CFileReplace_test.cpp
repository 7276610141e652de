#include "files/tests/FileTestTools.h"
#include "testing/FailureOf.h"
#include "testing/ScriptedFilePlatform.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

std::vector<std::string> NamesIn(std::string const& folder)
{
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// A target and a file to replace it, in folders of their own.
struct Pair
{
    StTempDir mFolder;
    CFileSpec mTarget = Spec(mFolder.Write("there/target.txt", "old"));
    CFile mFile{Spec(mFolder.Write("here/file", "new"))};

    std::vector<std::string> Here() const { return NamesIn(mFolder.Path("here")); }

    std::vector<std::string> There() const { return NamesIn(mFolder.Path("there")); }
};

}  // namespace

TEST(CFileReplace, TakesThePlaceOfTheTarget)
{
    for (bool const isRefused : {false, true}) {
        for (bool const keepReplaced : {false, true}) {
            SCOPED_TRACE(testing::Message() << (isRefused ? "generic level" : "platform level")
                                            << (keepReplaced ? ", the target kept" : ""));
            ScriptedFilePlatform platform;
            StFilePlatform const guard(platform);
            if (isRefused) platform.Fail("ReplaceObject", ScriptedFilePlatform::kAlways);
            Pair pair;
            pair.mFile.ReplaceFile(pair.mTarget, keepReplaced);
            EXPECT_EQ(PathOf(pair.mFile), PathOf(pair.mTarget));
            EXPECT_EQ(pair.mFolder.Read("there/target.txt"), "new");
            EXPECT_THAT(pair.There(), ElementsAre("target.txt"));
            if (keepReplaced) {
                EXPECT_EQ(pair.mFolder.Read("here/file"), "old");
            } else {
                EXPECT_THAT(pair.Here(), testing::IsEmpty());
            }
        }
    }
}

TEST(CFileReplace, TellsThePlatformWhatGoesWhere)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.Fail("ReplaceObject", ScriptedFilePlatform::kAlways);
    for (bool const keepReplaced : {false, true}) {
        Pair pair;
        pair.mFolder.Write("there/target.txt.old", "older");
        std::string const here = pair.mFolder.Path("here");
        std::string const backup = keepReplaced ? "target.txt 2.old" : "null";
        pair.mFile.ReplaceFile(pair.mTarget, keepReplaced);
        EXPECT_EQ(platform.Calls().back(), "ReplaceObject(" + PathOf(pair.mTarget) + ", " + here +
                                               "/file, " + backup + ", " + here + ")");
        EXPECT_EQ(pair.mFolder.Read("there/target.txt.old"), "older");
    }
}

TEST(CFileReplace, IsAPlainMoveIfThereIsNoTarget)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    for (bool const keepReplaced : {false, true}) {
        Pair pair;
        pair.mFile.ReplaceFile(Spec(pair.mFolder.Path("there/new")), keepReplaced);
        EXPECT_EQ(PathOf(pair.mFile), pair.mFolder.Path("there/new"));
        EXPECT_EQ(pair.mFolder.Read("there/new"), "new");
        EXPECT_EQ(pair.mFolder.Read("there/target.txt"), "old");
        EXPECT_THAT(pair.Here(), testing::IsEmpty());
    }
    EXPECT_THAT(platform.Calls(), testing::IsEmpty());
}

TEST(CFileReplace, FallsBackOnMovesWhereOneStepIsRefused)
{
    Pair pair;
    CFileSpec const folder = Spec(pair.mFolder.MakeFolder("there/folder"));
    pair.mFile.ReplaceFile(folder, false);
    EXPECT_EQ(pair.mFolder.Read("there/folder"), "new");
    EXPECT_THAT(pair.There(), ElementsAre("folder", "target.txt"));
}

TEST(CFileReplace, LosesNothingWhenItIsItsOwnTarget)
{
    for (bool const keepReplaced : {false, true}) {
        Pair pair;
        pair.mFile.ReplaceFile(*pair.mFile.GetFileSpec(), keepReplaced);
        EXPECT_EQ(pair.mFolder.Read("here/file"), "new");
        EXPECT_THAT(pair.Here(), ElementsAre("file"));
    }
}

TEST(CFileReplace, TellsThatTheFileIsMissing)
{
    Pair pair;
    fs::remove(pair.mFolder.Path("here/file"));
    EXPECT_EQ(FailureOf([&] { pair.mFile.ReplaceFile(pair.mTarget, false); }),
              FileFailure(kFileNotFound, kFileMove, ENOENT));
    // The moves aren't undone.
    EXPECT_THAT(pair.There(), ElementsAre("target.txt.old"));
    EXPECT_EQ(pair.mFolder.Read("there/target.txt.old"), "old");
}

// As macOS does it: the content takes the target's place, the replaced one stays beside it.
TEST(CFileReplace, KeepsNamingTheOldPlaceWhereThePlatformLeavesABackup)
{
    for (bool const keepReplaced : {false, true}) {
        SCOPED_TRACE(keepReplaced);
        ScriptedFilePlatform platform;
        StFilePlatform const guard(platform);
        platform.mReplaceObject = [](std::string const& target, std::string const& replacement,
                                     std::string const& backupName, std::string const&) {
            if (!backupName.empty()) {
                fs::rename(target, fs::path(target).replace_filename(backupName));
            }
            fs::rename(replacement, target);
            return kFileReplacedByBackup;
        };
        Pair pair;
        pair.mFile.ReplaceFile(pair.mTarget, keepReplaced);
        EXPECT_EQ(PathOf(pair.mFile), pair.mFolder.Path("here/file"));
        EXPECT_EQ(pair.mFolder.Read("there/target.txt"), "new");
        EXPECT_THAT(pair.There(), ElementsAre("target.txt"));
        if (keepReplaced) {
            EXPECT_EQ(pair.mFolder.Read("here/file"), "old");
        } else {
            EXPECT_THAT(pair.Here(), testing::IsEmpty());
        }
    }
}

TEST(CFileReplace, ReportsABackupThatCannotBeMoved)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.mReplaceObject = [](auto&&...) { return kFileReplacedByBackup; };
    Pair pair;
    EXPECT_EQ(FailureOf([&] { pair.mFile.ReplaceFile(pair.mTarget, true); }),
              FileFailure(kFileNotFound, kFileMove, ENOENT));
}

TEST(CFileReplace, ShowsAWholeFileUnderTheTargetsNameAtEveryMoment)
{
    for (bool const keepReplaced : {false, true}) {
        SCOPED_TRACE(keepReplaced);
        StTempDir const folder;
        std::string const contents[] = {std::string(100000, 'a'), std::string(100000, 'b')};
        CFileSpec const target = Spec(folder.Write("target", contents[0]));
        std::atomic<bool> isOver{false};
        std::atomic<int> torn{0};
        std::atomic<int> reads{0};
        std::thread reader([&] {
            while (!isOver || reads == 0) {
                std::ifstream file(folder.Path("target"), std::ios::binary);
                std::string const seen{std::istreambuf_iterator<char>(file), {}};
                if (seen != contents[0] && seen != contents[1]) ++torn;
                ++reads;
            }
        });
        for (int i = 1; i <= 20; ++i) {
            // A new file: an old target that was kept may still be open in the reader.
            fs::remove(folder.Path("file"));
            CFile file(Spec(folder.Write("file", contents[i % 2])));
            file.ReplaceFile(target, keepReplaced);
        }
        isOver = true;
        reader.join();
        EXPECT_EQ(torn, 0);
        EXPECT_TRUE(folder.Read("target") == contents[0]);
    }
}
