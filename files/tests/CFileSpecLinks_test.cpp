// Paths that are led through links.
#include "files/CFileSpecImp.h"
#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

std::string Resolved(std::string const& path)
{
    CFileSpec spec = Spec(path);
    spec.ResolveAlias();
    return PathOf(spec);
}

// What the last component leads to; the rest of the path stays.
std::string LastResolved(std::string const& path)
{
    std::u16string resolved;
    Spec(path).GetFullPath(&resolved);
    CFileSpecImp().ResolveAlias(resolved);
    return PathOf(CFileSpec(resolved, false));
}

class CFileSpecLinks : public testing::Test
{
protected:
    std::string Path(std::string const& name) const { return mFolder.Path(name); }

    void Link(std::string const& target, std::string const& name) const
    {
        fs::create_symlink(target, mFolder.Path(name));
    }

    StTempDir mFolder;
};

}  // namespace

TEST_F(CFileSpecLinks, FollowsAChainToItsEnd)
{
    mFolder.Write("file", "");
    Link("file", "one");
    Link(Path("one"), "two");
    Link("./two", "three");
    EXPECT_EQ(LastResolved(Path("one")), Path("file"));
    EXPECT_EQ(LastResolved(Path("two")), Path("file"));
    EXPECT_EQ(LastResolved(Path("three")), Path("file"));
    EXPECT_EQ(Resolved(Path("two")), Path("file"));
}

TEST_F(CFileSpecLinks, KeepsTargetsAsTheyAreWritten)
{
    mFolder.MakeFolder("folder");
    Link("folder/../folder//x", "link");
    Link("missing", "dangling");
    EXPECT_EQ(Resolved(Path("link")), Path("folder/../folder//x"));
    EXPECT_EQ(Resolved(Path("dangling")), Path("missing"));
}

TEST_F(CFileSpecLinks, ResolvesEveryFolderOnTheWay)
{
    mFolder.MakeFolder("real/inner");
    mFolder.Write("elsewhere/file", "");
    Link("real", "one");
    Link(Path("elsewhere"), "real/two");
    EXPECT_EQ(Resolved(Path("one/inner")), Path("real/inner"));
    EXPECT_EQ(Resolved(Path("one/two/file")), Path("elsewhere/file"));
    EXPECT_EQ(Resolved(Path("one/missing/two")), Path("real/missing/two"));
}

TEST_F(CFileSpecLinks, LeavesTheLinksInsideATargetToTheSystem)
{
    mFolder.Write("real/file", "");
    Link("real", "one");
    Link("one/file", "link");
    EXPECT_EQ(Resolved(Path("link")), Path("one/file"));
}

TEST_F(CFileSpecLinks, LeavesOtherPathsAlone)
{
    Link("/", "link");
    for (std::string const& path :
         {std::string(), std::string("/"), std::string("a"), std::string("a/b"), Path(""),
          Path("//a//b/"), std::string("//")}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(Resolved(path), path);
    }
    EXPECT_EQ(Resolved(Path("link/x")), "//x");
}

TEST_F(CFileSpecLinks, KeepsASlashAtTheEnd)
{
    mFolder.MakeFolder("real");
    Link("real", "link");
    EXPECT_EQ(Resolved(Path("link/")), Path("real/"));
}

TEST_F(CFileSpecLinks, ForgetsWhatItReadOfTheLink)
{
    mFolder.Write("file", "");
    Link("file", "link");
    CFileSpec spec = Spec(Path("link"));
    EXPECT_TRUE(spec.IsAlias());
    spec.ResolveAlias();
    EXPECT_FALSE(spec.IsAlias());
    EXPECT_TRUE(spec.IsRealFile(false));
}

TEST_F(CFileSpecLinks, LeavesCirclesAsTheyAre)
{
    Link("self", "self");
    Link(Path("absolute"), "absolute");
    Link("b", "a");
    Link("a", "b");
    Link("1", "3");
    Link("2", "1");
    Link("3", "2");
    Link("1", "in");
    Link("in", "further");
    for (char const* const name : {"self", "absolute", "a", "b", "1", "2", "3", "in", "further"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(LastResolved(Path(name)), Path(name));
        EXPECT_EQ(Resolved(Path(name)), Path(name));
        EXPECT_EQ(Resolved(Path(name) + "/x"), Path(name) + "/x");
    }
}

TEST_F(CFileSpecLinks, FollowsChainsOfAnyLength)
{
    // Longer than the system itself would go.
    constexpr int kLinks = 1000;
    mFolder.Write("0", "");
    for (int i = 1; i <= kLinks; ++i)
        Link(std::to_string(i - 1), std::to_string(i));
    for (int const i : {1, 2, 3, 40, 41, 64, 65, 127, 128, 129, kLinks}) {
        SCOPED_TRACE(i);
        EXPECT_EQ(LastResolved(Path(std::to_string(i))), Path("0"));
    }
}

TEST_F(CFileSpecLinks, LongCirclesEndToo)
{
    constexpr int kLinks = 500;
    for (int i = 0; i < kLinks; ++i)
        Link(std::to_string((i + 1) % kLinks), std::to_string(i));
    Link("0", "in");
    EXPECT_EQ(LastResolved(Path("250")), Path("250"));
    EXPECT_EQ(LastResolved(Path("in")), Path("in"));
}

TEST_F(CFileSpecLinks, ALinkThatGrowsEndsAtTheLimit)
{
    Link("./grows", "grows");
    std::string const resolved = LastResolved(Path("grows"));
    EXPECT_LT(resolved.size(), 1025U);
    EXPECT_GE(resolved.size() + 2, 1025U);
    EXPECT_EQ(resolved.substr(resolved.size() - 10), "/././grows");
}

TEST_F(CFileSpecLinks, StopsBeforeAPathThatIsTooLong)
{
    std::size_t const prefix = mFolder.Path().size() + 1;
    auto const target = [](std::size_t size) {
        std::string path(size, 'x');
        for (std::size_t i = 200; i < size - 1; i += 200)
            path[i] = '/';
        return path;
    };

    struct
    {
        char const* mWhat;
        std::string mTarget;
        bool mIsFollowed;
    } const cases[] = {
        {"relative, 1024 bytes in all", target(1024 - prefix), true},
        {"relative, 1025 bytes in all", target(1025 - prefix), false},
        {"absolute, 1024 bytes", "/" + target(1023), true},
        {"absolute, 1025 bytes", "/" + target(1024), false},
        {"absolute, 3000 bytes", "/" + target(2999), false},
        {"relative, 3000 bytes", target(3000), false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        fs::remove(Path("link"));
        Link(c.mTarget, "link");
        std::string const followed = c.mTarget[0] == '/' ? c.mTarget : Path(c.mTarget);
        EXPECT_EQ(Resolved(Path("link")), c.mIsFollowed ? followed : Path("link"));
    }
}

TEST_F(CFileSpecLinks, StaysAtALinkToANameThatIsNotUTF8)
{
    Link("\xFFx", "link");
    EXPECT_EQ(Resolved(Path("link")), Path("link"));
    EXPECT_EQ(Resolved(Path("link/x")), Path("link/x"));
}
