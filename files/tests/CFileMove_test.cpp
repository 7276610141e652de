#include "files/tests/FileTestTools.h"
#include "testing/FailureOf.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <limits>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace fs = std::filesystem;

// ---- Renaming and moving

TEST(CFileMove, RenamesInItsFolder)
{
    struct
    {
        char const* mWhat;
        std::string mName;
        bool mUnique;
        bool mOverwrite;
        std::string mResult;
    } const cases[] = {
        {"a free name", "b", false, false, "b"},
        {"a free name, unique", "b", true, false, "b"},
        {"a taken name, unique", "taken.txt", true, false, "taken 2.txt"},
        {"a taken name, overwritten", "taken.txt", false, true, "taken.txt"},
        {"a taken name, with neither", "taken.txt", false, false, "taken.txt"},
        {"a name made legal", "x/y", false, false, "x_y"},
        {"another script", "caf\xC3\xA9", false, false, "caf\xC3\xA9"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const folder;
        folder.Write("taken.txt", "old");
        CFile file(Spec(folder.Write("a", "new")));
        file.Rename(c.mName, c.mUnique, c.mOverwrite);
        EXPECT_EQ(PathOf(file), folder.Path(c.mResult));
        EXPECT_EQ(folder.Read(c.mResult), "new");
        EXPECT_FALSE(folder.Has("a"));
        file.Rename(u"last", false, false);
        EXPECT_EQ(folder.Read("last"), "new");
    }
}

TEST(CFileMove, MovesToAnotherFolderAndTellsWhere)
{
    StTempDir const folder;
    CFileSpec const other = Spec(folder.MakeFolder("other"));
    CFile file(Spec(folder.Write("a", "text")));
    file.Open(CFile::cPrivilegeRead);
    CFileSpec result;
    file.MoveTo(other, std::string("b"), false, false, &result);
    EXPECT_EQ(PathOf(result), folder.Path("other/b"));
    EXPECT_EQ(PathOf(file), folder.Path("other/b"));
    EXPECT_EQ(folder.Read("other/b"), "text");
    EXPECT_TRUE(file.IsOpen());
    folder.Write("a", "second");
    CFile second(Spec(folder.Path("a")));
    second.MoveTo(other, u"b", true, false, nullptr);
    EXPECT_EQ(folder.Read("other/b 2"), "second");
}

TEST(CFileMove, TellsWhyItCannotMove)
{
    StTempDir const folder;
    CFileSpec const nowhere = Spec(folder.Path("no"));
    CFile missing(Spec(folder.Path("missing")));
    CFile file(Spec(folder.Write("a", "text")));
    folder.Write("full/file", "text");
    CFileSpec result = Spec("/as/it/was");

    Failure const notFound = FileFailure(kFileNotFound, kFileMove, ENOENT);
    EXPECT_EQ(FailureOf([&] { missing.Rename(u"b", false, false); }), notFound);
    auto const moveNowhere = [&] { file.MoveTo(nowhere, u"a", false, false, &result); };
    EXPECT_EQ(FailureOf(moveNowhere), notFound);
    EXPECT_EQ(FailureTextOf(moveNowhere), folder.Path("a"));
    EXPECT_EQ(FailureOf([&] { file.Rename(u"full", false, true); }),
              FileFailure(kOtherFailure, kFileDelete, ENOTEMPTY));
    EXPECT_EQ(FailureOf([&] { file.Rename(u"full", false, false); }),
              FileFailure(kOtherFailure, kFileMove, EISDIR));
    EXPECT_EQ(PathOf(result), "/as/it/was");
    EXPECT_EQ(PathOf(file), folder.Path("a"));
    EXPECT_EQ(folder.Read("a"), "text");
}

TEST(CFileMove, DoesNotCopyToAnotherVolume)
{
    StTempDir const folder;
    struct stat here = {};
    struct stat there = {};
    stat(folder.Path().c_str(), &here);
    if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) {
        GTEST_SKIP() << "there is no second volume";
    }
    CFile file(Spec(folder.Write("a", "text")));
    EXPECT_EQ(FailureOf([&] { file.MoveTo(Spec("/dev/shm"), u"loam-a", true, false, nullptr); }),
              FileFailure(kOtherFailure, kFileMove, EXDEV));
    EXPECT_EQ(folder.Read("a"), "text");
}

TEST(CFileMove, DoesNotOverwriteItself)
{
    StTempDir const folder;
    fs::create_directory_symlink(".", folder.Path("same"));
    CFileSpec const same = Spec(folder.Path("same"));
    CFile file(Spec(folder.Write("a", "text")));
    file.Rename(u"a", false, true);
    EXPECT_EQ(folder.Read("a"), "text");
    file.MoveTo(same, u"a", false, true, nullptr);
    EXPECT_EQ(folder.Read("a"), "text");
    EXPECT_EQ(FailureOf([&] { file.CopyTo(same, u"a", false, true, nullptr, 0, 0); }),
              FileFailure(kFileExists, kFileCreate, EEXIST));
    EXPECT_EQ(folder.Read("a"), "text");

    CFile empty(Spec(folder.MakeFolder("empty")));
    empty.Rename(u"empty", false, true);
    EXPECT_TRUE(folder.Has("empty"));
}

TEST(CFileMove, OverwritesAnotherNameOfItself)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("a", "text")));
    fs::create_hard_link(folder.Path("a"), folder.Path("b"));
    file.Rename(u"b", false, true);
    EXPECT_EQ(folder.Read("b"), "text");
    EXPECT_FALSE(folder.Has("a"));
}

// ---- Copying

TEST(CFileMove, CopiesUnderTheNameAskedFor)
{
    struct
    {
        char const* mWhat;
        std::string mName;
        bool mUnique;
        bool mOverwrite;
        std::string mResult;
    } const cases[] = {
        {"a free name", "b", false, false, "b"},
        {"its own name", "", false, false, "a.txt"},
        {"its own name, unique", "", true, false, "a.txt"},
        {"a taken name, unique", "taken.txt", true, false, "taken 2.txt"},
        {"a taken name, overwritten", "taken.txt", false, true, "taken.txt"},
        {"a name made legal", "x/y", false, false, "x_y"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const folder;
        folder.Write("other/taken.txt", "old");
        CFileSpec const other = Spec(folder.Path("other"));
        CFile file(Spec(folder.Write("a.txt", "text")));
        CFileSpec result;
        file.CopyTo(other, c.mName, c.mUnique, c.mOverwrite, &result, 0, 0);
        EXPECT_EQ(PathOf(result), folder.Path("other/" + c.mResult));
        EXPECT_EQ(folder.Read("other/" + c.mResult), "text");
        EXPECT_EQ(folder.Read("a.txt"), "text");
        EXPECT_EQ(PathOf(file), folder.Path("a.txt"));
    }
}

TEST(CFileMove, CopiesWithoutWhatIsSkipped)
{
    constexpr long long kMost = std::numeric_limits<long long>::max();

    struct
    {
        char const* mWhat;
        long long mSkipStart;
        long long mSkipEnd;
        std::string mCopy;
    } const cases[] = {
        {"nothing", 0, 0, "0123456789"},    {"start", 3, 0, "3456789"},
        {"end", 0, 3, "0123456"},           {"both", 2, 3, "23456"},
        {"all but one", 4, 5, "4"},         {"all, from both", 5, 5, ""},
        {"all, from the start", 10, 0, ""}, {"all, from the end", 0, 10, ""},
        {"more than all", 8, 8, ""},        {"far more at the end", 20, kMost, ""},
        {"a negative end", 8, -3, "89"},    {"the most negative end", 8, -kMost - 1, "89"},
    };

    StTempDir const folder;
    CFile file(Spec(folder.Write("a", "0123456789")));
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        file.CopyTo(Spec(folder.Path()), u"b", false, true, nullptr, c.mSkipStart, c.mSkipEnd);
        EXPECT_EQ(folder.Read("b"), c.mCopy);
        EXPECT_FALSE(file.IsOpen());
    }
}

TEST(CFileMove, CopiesFilesOfManyBlocks)
{
    constexpr std::size_t kBlock = 131072;
    StTempDir const folder;
    for (std::size_t const length :
         {std::size_t{1}, kBlock - 1, kBlock, kBlock + 1, 3 * kBlock + 5}) {
        SCOPED_TRACE(length);
        std::string content(length, '\0');
        for (std::size_t i = 0; i < length; ++i)
            content[i] = static_cast<char>(i * 31 + i / 257);
        CFile file(Spec(folder.Write("a", content)));
        file.CopyTo(Spec(folder.Path()), u"b", false, true, nullptr, 0, 0);
        EXPECT_TRUE(folder.Read("b") == content);
    }
}

TEST(CFileMove, CopyRefusesATakenName)
{
    StTempDir const folder;
    folder.Write("b", "old");
    CFile file(Spec(folder.Write("a", "text")));
    CFileSpec result;
    EXPECT_EQ(
        FailureOf([&] { file.CopyTo(Spec(folder.Path()), u"b", false, false, &result, 0, 0); }),
        FileFailure(kFileExists, kFileCreate, EEXIST));
    EXPECT_EQ(PathOf(result), folder.Path("b"));
    EXPECT_EQ(folder.Read("b"), "old");
}

TEST(CFileMove, CopyReplacesAnOpenDescriptorAndClosesIt)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("a", "text")));
    file.Open(CFile::cPrivilegeWrite);
    file.CopyTo(Spec(folder.Path()), u"b", false, false, nullptr, 0, 0);
    EXPECT_EQ(folder.Read("b"), "text");
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THAT(DescriptorsOf(folder.Path("a")), testing::IsEmpty());
    EXPECT_THAT(DescriptorsOf(folder.Path("b")), testing::IsEmpty());
}

TEST(CFileMove, CopyLeavesAPartialTargetAfterAFailure)
{
    StTempDir const folder;
    CFileSpec const target = Spec(folder.Path());
    CFile missing(Spec(folder.Path("no")));
    EXPECT_EQ(FailureOf([&] { missing.CopyTo(target, u"b", false, false, nullptr, 0, 0); }),
              FileFailure(kFileNotFound, kFileOpen, ENOENT));
    EXPECT_EQ(folder.Read("b"), "");
    EXPECT_FALSE(missing.IsOpen());

    CFile file(Spec(folder.Write("a", "text")));
    EXPECT_EQ(FailureOf([&] { file.CopyTo(target, u"c", false, false, nullptr, -1, 0); }),
              FileFailure(kOtherFailure, kFileSetCursor, EINVAL));
    EXPECT_EQ(folder.Read("c"), "");
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THAT(DescriptorsOf(folder.Path("c")), testing::IsEmpty());
}

namespace {

void WriteLine(char const* path, std::string const& line)
{
    std::ofstream(path) << line;
}

// Gives this process a small disk at `disk` that it alone sees. Without root it becomes one in a
// space of its own.
bool MountSmallDisk(std::string const& disk)
{
    std::string const user = std::to_string(geteuid());
    std::string const group = std::to_string(getegid());
    bool const isRoot = geteuid() == 0;
    if (unshare(isRoot ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    if (!isRoot) {
        WriteLine("/proc/self/setgroups", "deny");
        WriteLine("/proc/self/uid_map", "0 " + user + " 1");
        WriteLine("/proc/self/gid_map", "0 " + group + " 1");
    }
    return mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=200k") == 0;
}

constexpr int kAsItShould = 0;
constexpr int kWrong = 1;
constexpr int kNoDisk = 2;

int CopyToAFullDisk(std::string const& disk, std::string const& source)
{
    if (!MountSmallDisk(disk)) return kNoDisk;
    CFile file(Spec(source));
    Failure const failure =
        FailureOf([&] { file.CopyTo(Spec(disk), u"copy", false, false, nullptr, 0, 0); });
    std::error_code ignored;
    bool const isPartial = fs::file_size(disk + "/copy", ignored) < fs::file_size(source, ignored);
    bool const isTold = failure == FileFailure(kOtherFailure, kFileWrite, ENOSPC);
    return isTold && isPartial && !file.IsOpen() ? kAsItShould : kWrong;
}

}  // namespace

TEST(CFileMove, CopyToAFullDiskNeverPassesForSuccess)
{
    StTempDir const folder;
    std::string const disk = folder.MakeFolder("disk");
    // The first block fits, the second fits in part.
    std::string const source = folder.Write("a", std::string(262144, 'x'));
    pid_t const child = fork();
    if (child == 0) _exit(CopyToAFullDisk(disk, source));
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kNoDisk) GTEST_SKIP() << "no small disk can be mounted here";
    EXPECT_EQ(WEXITSTATUS(status), kAsItShould);
}
