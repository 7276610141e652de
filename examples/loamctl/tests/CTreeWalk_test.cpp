#include "loamctl/CTreeWalk.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <unistd.h>

#include "loamctl/Failure.h"
#include "testing/StTempDir.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using Kind = TreeEntry::Kind;

// What a walk of the folder comes upon, as "kind path", with "!" for an error and "-" for what is
// passed over.
std::vector<std::string>
Walk(std::vector<std::string> const& paths, bool followLinks, std::string const& base)
{
    std::vector<std::string> result;
    CTreeWalk walk(paths, followLinks);
    for (TreeEntry entry; walk.Next(entry);) {
        static constexpr char const* kKinds[] = {"file", "folder", "link", "other", "unknown"};
        std::string const path =
            entry.mPath.starts_with(base) ? entry.mPath.substr(base.size()) : entry.mPath;
        result.push_back(std::string(kKinds[static_cast<int>(entry.mKind)]) + " " + path +
                         (entry.mError.empty() ? "" : " !" + entry.mError) +
                         (entry.mSkipped.empty() ? "" : " -" + entry.mSkipped));
    }
    return result;
}

TEST(CTreeWalk, GoesInTheOrderOfNames)
{
    StTempDir const folder;
    folder.Write("b.txt", "");
    folder.Write("a/z.txt", "");
    folder.Write("a/.hidden", "");
    folder.Write("c.txt", "");
    folder.MakeFolder("empty");
    EXPECT_THAT(Walk({folder.Path()}, false, folder.Path()),
                ElementsAre("folder ", "folder /a", "file /a/.hidden", "file /a/z.txt",
                            "file /b.txt", "file /c.txt", "folder /empty"));
}

TEST(CTreeWalk, TakesPathsAsTheyAreNamed)
{
    StTempDir const folder;
    folder.Write("a/x.txt", "");
    std::string const path = folder.Path("a");
    EXPECT_THAT(Walk({path + "//", path + "/x.txt", folder.Path("none")}, false, folder.Path()),
                ElementsAre("folder /a", "file /a/x.txt", "file /a/x.txt",
                            "unknown /none !No such file or directory"));
    EXPECT_THROW(CTreeWalk({""}, false), CUsageError);
    EXPECT_THROW(CTreeWalk({"\xff"}, false), CUsageError);
}

TEST(CTreeWalk, FollowsNamedLinksOnly)
{
    StTempDir const folder;
    folder.Write("real/x.txt", "");
    fs::create_directory_symlink("real", folder.Path("to-folder"));
    fs::create_symlink("real/x.txt", folder.Path("to-file"));
    fs::create_symlink("nowhere", folder.Path("to-nothing"));
    EXPECT_THAT(Walk({folder.Path()}, false, folder.Path()),
                ElementsAre("folder ", "folder /real", "file /real/x.txt",
                            "link /to-file -not followed", "link /to-folder -not followed",
                            "link /to-nothing -not followed"));
    EXPECT_THAT(Walk({folder.Path("to-folder"), folder.Path("to-nothing")}, false, folder.Path()),
                ElementsAre("folder /to-folder", "file /to-folder/x.txt",
                            "unknown /to-nothing !No such file or directory"));
}

TEST(CTreeWalk, EntersEachFolderOnceWhereLinksAreFollowed)
{
    StTempDir const folder;
    folder.Write("a/x.txt", "");
    fs::create_directory_symlink(".", folder.Path("a/here"));
    fs::create_directory_symlink("..", folder.Path("a/up"));
    fs::create_directory_symlink("a", folder.Path("b"));
    fs::create_symlink("circle", folder.Path("circle"));
    EXPECT_THAT(Walk({folder.Path()}, true, folder.Path()),
                ElementsAre("folder ", "folder /a",
                            "folder /a/here -walked already, by another way",
                            "folder /a/up -walked already, by another way", "file /a/x.txt",
                            "folder /b -walked already, by another way",
                            "unknown /circle !Too many levels of symbolic links"));
}

TEST(CTreeWalk, GoesDeep)
{
    StTempDir const folder;
    std::string deep;
    for (int i = 0; i < 500; ++i)
        deep += "/d";
    folder.Write(deep.substr(1) + "/x.txt", "");
    EXPECT_EQ(Walk({folder.Path()}, false, folder.Path()).size(), 502U);
}

TEST(CTreeWalk, PassesOverNamesThatAreNotUTF8)
{
    StTempDir const folder;
    folder.Write("a.txt", "");
    try {
        folder.Write("b\xff.txt", "");
    } catch (std::exception const&) {
        GTEST_SKIP() << "this file system takes UTF-8 names only";
    }
    EXPECT_THAT(Walk({folder.Path()}, false, folder.Path()), ElementsAre("folder ", "file /a.txt"));
}

TEST(CTreeWalk, EstimatesHowMuchIsDone)
{
    StTempDir const folder;
    folder.Write("a/x.txt", "");
    folder.Write("a/y/1.txt", "");
    folder.Write("a/y/2.txt", "");
    folder.MakeFolder("b");
    folder.Write("c.txt", "");
    folder.Write("d.txt", "");
    std::vector<double> shares;
    CTreeWalk walk({folder.Path()}, false);
    for (TreeEntry entry; walk.Next(entry);)
        shares.push_back(walk.GetShare());
    // The folder; a, a/x.txt, a/y, a/y/1.txt, a/y/2.txt; b, which holds nothing; c.txt and d.txt.
    EXPECT_THAT(shares, ElementsAre(0, 0, 0.125, 0.125, 0.1875, 0.25, 0.5, 0.75, 1));
    EXPECT_EQ(walk.GetShare(), 1);
}

}  // namespace
