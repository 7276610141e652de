// Names that are made legal and unique in a folder.
#include "files/CFileSpecImp.h"
#include "files/tests/FileTesting.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <optional>

namespace fs = std::filesystem;

namespace {

// A name of the given number of units with text at a position.
std::u16string LongName(std::size_t size, std::size_t position, std::u16string const& text)
{
    std::u16string name(size, u'n');
    return name.replace(position, text.size(), text);
}

std::u16string Legal(std::string const& container, std::u16string name, short reserved)
{
    CFileSpecImp const folder(Spec(container));
    CFileSpecImp::ValidateFileName(&folder, name, reserved);
    return name;
}

std::string UniqueIn(StTempDir const& folder, std::string const& name)
{
    return NameOf(CFileSpec(Spec(folder.Path()), name, true));
}

}  // namespace

TEST(CFileSpecNames, StandardContainersAreFolders)
{
    StEnvironment const home("HOME", "/home/someone");

    struct
    {
        int mContainer;
        char const* mPath;
    } const cases[] = {
        {0, "/tmp/"},
        {1, "/home/someone/"},
        {2, "/home/someone/"},
        {3, "/home/someone/"},
        {4, "/home/someone/"},
        {5, "/home/someone/"},
        {6, "/"},
        {7, "/Volumes/"},
        {8, "/home/someone/"},
        {9, "/"},
        {10, "/home/someone/"},
        {11, "/tmp/"},
        {12, "/home/someone/"},
        {13, "/home/someone/"},
        {15, "/home/someone/"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mContainer);
        auto const container = static_cast<CFileSpec::StdContainerEnum>(c.mContainer);
        CFileSpecImp const folder(container, u"", false);
        EXPECT_EQ(PathOf(folder), c.mPath);
        EXPECT_TRUE(folder.Changed());
        EXPECT_EQ(PathOf(CFileSpecImp(container, u"a/b", false)), std::string(c.mPath) + "a_b");
    }
}

TEST(CFileSpecNames, HomeIsTheEnvironments)
{
    struct
    {
        char const* mWhat;
        std::optional<std::string> mHome;
        char const* mPath;
    } const cases[] = {
        {"plain", "/h", "/h/x"},
        {"with a slash at its end", "/h/", "/h/x"},
        {"empty", "", "/x"},
        {"not set", std::nullopt, "~/x"},
        {"UTF-8", "/h\xC3\xA9", "/h\xC3\xA9/x"},
        {"not UTF-8", "/h\xFF", "~/x"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StEnvironment const home("HOME", c.mHome);
        EXPECT_EQ(PathOf(CFileSpec(CFileSpec::cContainerDesktop, u"x", false)), c.mPath);
    }
}

TEST(CFileSpecNames, KeepsTheTildeOfAMissingHomeUnexpanded)
{
    StEnvironment const home("HOME", std::nullopt);
    CFileSpec const spec(CFileSpec::cContainerPreferences);
    EXPECT_EQ(PathOf(spec), "~/");
    EXPECT_FALSE(spec.Exist());
}

TEST(CFileSpecNames, JoinsFolderAndName)
{
    struct
    {
        char const* mFolder;
        char const* mName;
        char const* mPath;
    } const cases[] = {
        {"/f", "n", "/f/n"},     {"/f/", "n", "/f/n"},      {"/", "n", "/n"},
        {"", "n", "/n"},         {"/f", "", "/f/"},         {"/f//", "n", "/f//n"},
        {"f", "n", "f/n"},       {"/f", ".", "/f/_"},       {"/f", "..", "/f/__"},
        {"/f", "...", "/f/..."}, {"/f", ".a", "/f/.a"},     {"/f", "a/b", "/f/a_b"},
        {"/f", "/", "/f/_"},     {"/f", "./..", "/f/._.."}, {"/f", "a:b\\c*?", "/f/a:b\\c*?"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.mFolder) + " and " + c.mName);
        CFileSpec const spec(Spec(c.mFolder), std::string(c.mName), false);
        EXPECT_EQ(PathOf(spec), c.mPath);
        EXPECT_TRUE(spec.Changed());
    }
}

TEST(CFileSpecNames, CutsLongNamesInFrontOfTheExtension)
{
    std::u16string const n(300, u'n');

    struct
    {
        char const* mWhat;
        std::u16string mName;
        short mReserved;
        std::u16string mLegal;
    } const cases[] = {
        {"255 units", n.substr(0, 255), 0, n.substr(0, 255)},
        {"256 units", n.substr(0, 256), 0, n.substr(0, 255)},
        {"no dot", n, 0, n.substr(0, 255)},
        {"no dot, room kept", n, 3, n.substr(0, 252)},
        {"fits without the room", n.substr(0, 255), 2, n.substr(0, 253)},
        {"a tail of 4", LongName(300, 296, u".txt"), 0, n.substr(0, 251) + u".txt"},
        {"a tail of 4, room kept", LongName(300, 296, u".txt"), 2, n.substr(0, 249) + u".txt"},
        {"a tail of 295", LongName(300, 5, u"."), 0, LongName(255, 5, u".")},
        {"a tail as long as allowed", LongName(300, 45, u"."), 0,
         LongName(300, 45, u".").substr(0, 255)},
        {"a tail one shorter", LongName(300, 46, u"."), 0, LongName(255, 1, u".")},
        {"a dot at the end", LongName(300, 299, u"."), 0, n.substr(0, 254) + u"."},
        {"a dot at the start", LongName(300, 0, u"."), 0, LongName(255, 0, u".")},
        {"the last of several dots", LongName(300, 293, u".tar.gz"), 0, n.substr(0, 252) + u".gz"},
        {"slashes too", LongName(300, 10, u"/./"), 0, LongName(255, 10, u"_._").substr(0, 255)},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        // The second folder has no limit to tell.
        for (std::string const& container :
             {folder.Path(), folder.Path("missing"), std::string()}) {
            std::u16string const legal = Legal(container, c.mName, c.mReserved);
            EXPECT_EQ(legal.size(), c.mLegal.size());
            EXPECT_EQ(legal, c.mLegal);
        }
    }
}

TEST(CFileSpecNames, KeepsCutsBetweenTheUnitsOfAPair)
{
    std::u16string name;
    for (int i = 0; i < 128; ++i)
        name += u"\U0001F600";
    EXPECT_EQ(Legal("/", name, 0), name.substr(0, 255));
}

TEST(CFileSpecNames, KeepsCountingUnitsWhereTheSystemCountsBytes)
{
    // 255 units that take 510 bytes: legal here, refused there.
    StTempDir const folder;
    std::u16string const name(255, u'é');
    CFileSpec const spec(Spec(folder.Path()), name, false);
    EXPECT_FALSE(spec.Exist());
    EXPECT_EQ(Thrown([&] { spec.GetFileSize(); }), "1 in 5: " + PathOf(spec));
    EXPECT_EQ(Thrown([&] { CFileSpec(Spec(folder.Path()), name, true); }),
              "1 in 5: " + PathOf(spec));
}

TEST(CFileSpecNames, NumbersWhatIsTaken)
{
    struct
    {
        char const* mName;
        char const* mUnique;
    } const cases[] = {
        {"report.txt", "report 2.txt"},
        {"notes", "notes 2"},
        {".profile", " 2.profile"},
        {"archive.tar.gz", "archive.tar 2.gz"},
        {"name.", "name 2."},
        {"a b.c d", "a b 2.c d"},
        {"\xC3\xA9.txt", "\xC3\xA9 2.txt"},
        {"x/y", "x_y 2"},
        {"..", "__ 2"},
        {".", "_ 2"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        StTempDir const folder;
        std::string const first = UniqueIn(folder, c.mName);
        EXPECT_EQ(first, NameOf(CFileSpec(Spec(folder.Path()), std::string(c.mName), false)));
        folder.Write(first, "");
        EXPECT_EQ(UniqueIn(folder, c.mName), c.mUnique);
    }
}

TEST(CFileSpecNames, KeepsTheNameOfALinkToNothingFree)
{
    StTempDir const folder;
    std::filesystem::create_symlink("nowhere", folder.Path("link"));
    EXPECT_EQ(UniqueIn(folder, "link"), "link");
}

TEST(CFileSpecNames, KeepsTheRootFolderForABareName)
{
    CFileSpec container;
    EXPECT_FALSE(Spec("bare").GetContainer(&container));
    EXPECT_EQ(PathOf(CFileSpec(container, u"no such name", false)), "/no such name");
    EXPECT_EQ(PathOf(CFileSpec(container, u"no such name", true)), "/no such name");
    EXPECT_EQ(PathOf(CFileSpec(u"no such name", true)), "/no such name");
}

TEST(CFileSpecNames, CountsOnFromTwo)
{
    StTempDir const folder;
    for (char const* const name : {"n.t", "n 2.t", "n 3.t", "n 4.t", "n 5.t", "n 6.t", "n 7.t",
                                   "n 8.t", "n 9.t", "n 10.t"}) {
        EXPECT_EQ(UniqueIn(folder, "n.t"), name);
        folder.MakeFolder(name);
    }
    std::filesystem::remove(folder.Path("n 3.t"));
    EXPECT_EQ(UniqueIn(folder, "n.t"), "n 3.t");
}

TEST(CFileSpecNames, LongNamesGiveWayToTheNumber)
{
    StTempDir const folder;
    std::string const stem(251, 'n');
    std::string const name = std::string(296, 'n') + ".txt";
    EXPECT_EQ(UniqueIn(folder, name), stem + ".txt");
    folder.Write(stem + ".txt", "");
    EXPECT_EQ(UniqueIn(folder, name), stem.substr(2) + " 2.txt");
}

TEST(CFileSpecNames, AnEmptyNameCanBeMadeUnique)
{
    StTempDir const folder;
    EXPECT_EQ(UniqueIn(folder, ""), " 2");
}

TEST(CFileSpecNames, ADanglingLinkCountsAsFree)
{
    StTempDir const folder;
    fs::create_symlink("missing", folder.Path("link"));
    EXPECT_EQ(UniqueIn(folder, "link"), "link");
}

TEST(CFileSpecNames, MakesTheEndOfAFullPathUnique)
{
    StTempDir const folder;
    EXPECT_EQ(PathOf(CFileSpec(folder.Path("a.txt"), true)), folder.Path("a.txt"));
    folder.Write("a.txt", "");
    EXPECT_EQ(PathOf(CFileSpec(folder.Path("a.txt"), true)), folder.Path("a 2.txt"));
    EXPECT_EQ(PathOf(CFileSpec(folder.Path16("a.txt"), true)), folder.Path("a 2.txt"));
    EXPECT_EQ(PathOf(CFileSpec(folder.Path(".."), true)), folder.Path("__"));
    EXPECT_EQ(PathOf(CFileSpec(folder.Path() + "/", true)), folder.Path(" 2"));
    EXPECT_EQ(PathOf(CFileSpec(std::string("/loam-no-such"), true)), "/loam-no-such");
    EXPECT_EQ(PathOf(CFileSpec(std::string("loam-no-such"), true)), "/loam-no-such");
    EXPECT_EQ(PathOf(CFileSpec(std::string("/tmp"), true)), "/tmp 2");
    EXPECT_EQ(PathOf(CFileSpec(std::string(), true)), "/ 2");
}

TEST(CFileSpecNames, ThrowsWhereTheSystemCannotTell)
{
    StTempDir const folder;
    folder.Write("file", "");
    EXPECT_EQ(Thrown([&] { CFileSpec(Spec(folder.Path("file")), u"x", true); }),
              "3 in 5: " + folder.Path("file/x"));
    EXPECT_EQ(PathOf(CFileSpec(Spec(folder.Path("missing")), u"x", true)), folder.Path("missing/x"))
        << "where there is no folder, every name is free";
    EXPECT_EQ(PathOf(CFileSpec(Spec(folder.Path("file")), u"x", false)), folder.Path("file/x"))
        << "only a unique name is looked for";
}
