// The body of a specifier: its path, and what stands at it.
#include "files/CFileSpecImp.h"

#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// Gives a file's dates another value than the moment of the test.
void SetDates(std::string const& path, time_t access, time_t modification)
{
    timespec const times[2] = {{access, 0}, {modification, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

}  // namespace

TEST(CFileSpecImp, TakesThePathApart)
{
    struct
    {
        char const* mPath;
        char const* mName;
        bool mHasContainer;
        char const* mContainer;
        bool mIsVisible;
    } const cases[] = {
        {"/a/b", "b", true, "/a", true},
        {"/a", "a", true, "/", true},
        {"/", "", false, "", true},
        {"", "", false, "", true},
        {"a", "a", false, "", true},
        {"a/b", "b", true, "a", true},
        {"/a/", "", true, "/a", true},
        {"//", "", true, "/", true},
        {"//a", "a", true, "/", true},
        {"/a//b", "b", true, "/a/", true},
        {"/a/.b", ".b", true, "/a", false},
        {"/.a/b", "b", true, "/.a", true},
        {".", ".", false, "", false},
        {"/\xC3\xA9/\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80", true, "/\xC3\xA9", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mPath);
        CFileSpec const spec = Spec(c.mPath);
        EXPECT_EQ(PathOf(spec), c.mPath);
        EXPECT_EQ(NameOf(spec), c.mName);
        EXPECT_EQ(spec.IsVisible(), c.mIsVisible);
        std::string shown;
        spec.GetDisplayFileName(&shown);
        EXPECT_EQ(shown, c.mName);
        CFileSpec container = Spec("/old");
        EXPECT_EQ(spec.GetContainer(&container), c.mHasContainer);
        EXPECT_EQ(PathOf(container), c.mContainer);

        CFileSpec self(spec);
        EXPECT_EQ(self.GetContainer(&self), c.mHasContainer);
        EXPECT_EQ(PathOf(self), c.mContainer);
    }
}

TEST(CFileSpecImp, FindsTheVolumeByItsText)
{
    struct
    {
        char const* mPath;
        char const* mVolume;
        bool mIsVolume;
    } const cases[] = {
        {"/Volumes/X/y", "/Volumes/X", false},
        {"/Volumes/X", "/Volumes/X", true},
        {"/Volumes/X/", "/Volumes/X", false},
        {"/Volumes/", "/", false},
        {"/Volumes", "/", false},
        {"/Volumes//", "/Volumes/", false},
        {"/volumes/X", "/", false},
        {"/Users/a", "/", false},
        {"/", "/", true},
        {"", "/", false},
        {"Volumes/X", "/", false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mPath);
        CFileSpec const spec = Spec(c.mPath);
        CFileSpec volume = Spec("/old");
        spec.GetVolume(&volume);
        EXPECT_EQ(PathOf(volume), c.mVolume);
        EXPECT_EQ(spec.IsVolume(), c.mIsVolume);
        CFileSpec self(spec);
        self.GetVolume(&self);
        EXPECT_EQ(PathOf(self), c.mVolume);
    }
}

TEST(CFileSpecImp, ForgetsWhatItReadWhenItsPathChanges)
{
    StTempDir const folder;
    CFileSpec spec = Spec(folder.Write("file", ""));
    EXPECT_FALSE(spec.IsFolder());
    spec.GetContainer(&spec);
    EXPECT_TRUE(spec.IsFolder());
    spec.GetVolume(&spec);
    EXPECT_TRUE(spec.IsFolder());
    spec.GetImp()->Assign(folder.Path16("file"));
    EXPECT_FALSE(spec.IsFolder());
    CFileSpec container = Spec(folder.Path("file"));
    EXPECT_FALSE(container.IsFolder());
    Spec(folder.Path("file")).GetContainer(&container);
    EXPECT_TRUE(container.IsFolder());
}

TEST(CFileSpecImp, AssignMarksItAsChanged)
{
    CFileSpecImp imp;
    EXPECT_FALSE(imp.Changed());
    imp.Assign(u"/a/../b//");
    EXPECT_EQ(PathOf(imp), "/a/../b//");
    EXPECT_TRUE(imp.Changed());
}

TEST(CFileSpecImp, AnswersForWhatIsNotThere)
{
    StTempDir const folder;
    std::string const path = folder.Path("missing/.name");
    CFileSpec const spec = Spec(path);
    EXPECT_FALSE(spec.Exist());
    EXPECT_FALSE(spec.Readable());
    EXPECT_FALSE(spec.Writeable());
    EXPECT_FALSE(spec.IsFolder());
    EXPECT_FALSE(spec.IsFolder(false));
    EXPECT_FALSE(spec.IsRealFile());
    EXPECT_FALSE(spec.IsRealFile(false));
    EXPECT_FALSE(spec.IsAlias());
    EXPECT_FALSE(spec.IsVisible()) << "by its name alone";
    EXPECT_EQ(Thrown([&] { spec.GetFileSize(); }), "2 in 5: " + path);
    EXPECT_EQ(Thrown([&] { spec.GetFileModifDateUTC(); }), "2 in 5: " + path);
    EXPECT_EQ(Thrown([&] { spec.GetFileAccessDateUTC(); }), "2 in 5: " + path);
    EXPECT_EQ(Thrown([&] { spec.GetFileAttributesModifDateUTC(); }), "2 in 5: " + path);
    EXPECT_EQ(Thrown([&] { spec.GetFileCreationDateUTC(); }), "2 in 5: " + path);
    EXPECT_EQ(Thrown([&] { spec.GetDiskCapacity(); }), "2 in 16: " + path);
}

TEST(CFileSpecImp, TellsWhyThereIsNoSize)
{
    StTempDir const folder;
    folder.Write("file", "");
    std::string const longName(256, 'x');
    fs::create_symlink("loop", folder.Path("loop"));

    struct
    {
        char const* mWhat;
        std::string mPath;
        char const* mFailure;
    } const cases[] = {
        {"a name of 256 bytes", folder.Path(longName), "1 in 5: "},
        {"a path of 5000 bytes", "/" + std::string(4999, '/'), "1 in 5: "},
        {"a file as a folder", folder.Path("file/x"), "3 in 5: "},
        {"a link to itself", folder.Path("loop"), "100 in 5: "},
        {"no path", "", "2 in 5: "},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFileSpec const spec = Spec(c.mPath);
        EXPECT_EQ(Thrown([&] { spec.GetFileSize(); }), c.mFailure + c.mPath);
        EXPECT_FALSE(spec.Exist());
        EXPECT_FALSE(spec.IsFolder());
        EXPECT_FALSE(spec.IsRealFile());
    }
}

TEST(CFileSpecImp, NamesOfTheLongestKindWork)
{
    StTempDir const folder;
    std::string const ascii(255, 'x');
    std::string mixed;
    for (int i = 0; i < 127; ++i)
        mixed += "\xC3\xA9";
    for (std::string const& name : {ascii, mixed}) {
        CFileSpec const spec = Spec(folder.Write(name, "12345"));
        EXPECT_EQ(spec.GetFileSize(), 5);
        EXPECT_EQ(NameOf(spec), name);
    }
}

TEST(CFileSpecImp, TellsFilesFoldersAndLinksApart)
{
    StTempDir const folder;
    folder.Write("file", "");
    folder.MakeFolder("folder");
    fs::create_symlink("file", folder.Path("to-file"));
    fs::create_symlink("folder", folder.Path("to-folder"));
    fs::create_symlink("missing", folder.Path("to-nothing"));
    ASSERT_EQ(mkfifo(folder.Path("pipe").c_str(), 0600), 0);

    struct
    {
        char const* mName;
        bool mExists;
        bool mIsFolder;
        bool mIsFolderItself;
        bool mIsFile;
        bool mIsFileItself;
        bool mIsAlias;
    } const cases[] = {
        {"file", true, false, false, true, true, false},
        {"folder", true, true, true, false, false, false},
        {"to-file", true, false, false, true, false, true},
        {"to-folder", true, true, false, false, false, true},
        {"to-nothing", false, false, false, false, false, true},
        {"pipe", true, false, false, false, false, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        CFileSpec const spec = Spec(folder.Path(c.mName));
        EXPECT_EQ(spec.Exist(), c.mExists);
        EXPECT_EQ(spec.IsFolder(), c.mIsFolder);
        EXPECT_EQ(spec.IsFolder(true), c.mIsFolder);
        EXPECT_EQ(spec.IsFolder(false), c.mIsFolderItself);
        EXPECT_EQ(spec.IsRealFile(), c.mIsFile);
        EXPECT_EQ(spec.IsRealFile(true), c.mIsFile);
        EXPECT_EQ(spec.IsRealFile(false), c.mIsFileItself);
        EXPECT_EQ(spec.IsAlias(), c.mIsAlias);
    }
}

TEST(CFileSpecImp, TellsWhatMayBeReadAndWritten)
{
    struct
    {
        char const* mWhat;
        fs::perms mPermissions;
        char const* mAnswer;
    } const cases[] = {
        {"both", fs::perms::all, "there r w"},
        {"reading", fs::perms::owner_read | fs::perms::others_read, "there r"},
        {"writing", fs::perms::owner_write | fs::perms::others_write, "there w"},
        {"nothing", fs::perms::none, "there"},
    };

    StTempDir const folder;
    fs::permissions(folder.Path(), fs::perms::all);
    CFileSpec const spec = Spec(folder.Write("file", ""));
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        fs::permissions(folder.Path("file"), c.mPermissions);
        EXPECT_EQ(AsOrdinaryUser([&] {
                      return std::string(spec.Exist() ? "there" : "") +
                             (spec.Readable() ? " r" : "") + (spec.Writeable() ? " w" : "");
                  }),
                  c.mAnswer);
    }
}

TEST(CFileSpecImp, ThrowsAccessDeniedBelowAClosedFolder)
{
    StTempDir const folder;
    fs::permissions(folder.Path(), fs::perms::all);
    folder.Write("closed/file", "");
    fs::permissions(folder.Path("closed"), fs::perms::none);
    CFileSpec const spec = Spec(folder.Path("closed/file"));
    EXPECT_EQ(AsOrdinaryUser([&] { return Thrown([&] { spec.GetFileSize(); }); }),
              "5 in 5: " + PathOf(spec));
    EXPECT_EQ(AsOrdinaryUser([&] { return Thrown([&] { CFileSpec(PathOf(spec), true); }); }),
              "5 in 5: " + PathOf(spec))
        << "whether the name is taken can't be told";
    EXPECT_EQ(AsOrdinaryUser([&] { return std::string(spec.IsRealFile() ? "file" : "nothing"); }),
              "nothing");
}

TEST(CFileSpecImp, GivesDatesInSecondsUTC)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "");
    SetDates(path, 1000000000, 1100000000);
    struct stat now = {};
    ASSERT_EQ(stat(path.c_str(), &now), 0);
    CFileSpec const spec = Spec(path);
    EXPECT_EQ(spec.GetFileAccessDateUTC(), 1000000000);
    EXPECT_EQ(spec.GetFileModifDateUTC(), 1100000000);
    EXPECT_EQ(CFileSpecImp(spec).GetFileCreationDateUTC(), 1100000000);
    EXPECT_EQ(spec.GetFileAttributesModifDateUTC(), now.st_ctime);
    SetDates(path, -1000, -2000);
    EXPECT_EQ(Spec(path).GetFileAccessDateUTC(), -1000);
    EXPECT_EQ(Spec(path).GetFileModifDateUTC(), -2000);
}

TEST(CFileSpecImp, FollowsALinkForItsAttributes)
{
    StTempDir const folder;
    folder.Write("file", "12345678");
    SetDates(folder.Path("file"), 1000000000, 1100000000);
    fs::create_symlink("file", folder.Path("link"));
    CFileSpec const spec = Spec(folder.Path("link"));
    EXPECT_EQ(spec.GetFileSize(), 8);
    EXPECT_EQ(spec.GetFileModifDateUTC(), 1100000000);
}

TEST(CFileSpecImp, SecondQuestionForTheSizeSeesTheChange)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "1");
    CFileSpec const spec = Spec(path);
    EXPECT_EQ(spec.GetFileSize(), 1);
    folder.Write("file", "123");
    SetDates(path, 1000000000, 1100000000);
    EXPECT_EQ(spec.GetFileSize(), 3);
    SetDates(path, 1000000000, 1200000000);
    EXPECT_EQ(spec.GetFileModifDateUTC(), 1100000000) << "from the second look";
    EXPECT_EQ(spec.GetFileModifDateUTC(), 1200000000);
}

TEST(CFileSpecImp, KeepsAnsweringFromWhatItReadUntilSetUp)
{
    StTempDir const folder;
    CFileSpec spec = Spec(folder.Write("name", "1"));
    EXPECT_TRUE(spec.IsRealFile());
    EXPECT_FALSE(spec.IsAlias());
    fs::remove(folder.Path("name"));
    folder.MakeFolder("name");
    EXPECT_TRUE(spec.IsRealFile());
    EXPECT_FALSE(spec.IsFolder());
    spec.SetupFromFile();
    EXPECT_FALSE(spec.IsRealFile());
    EXPECT_TRUE(spec.IsFolder());
}

TEST(CFileSpecImp, AsksAgainAfterAFailure)
{
    StTempDir const folder;
    CFileSpec const spec = Spec(folder.Path("later"));
    EXPECT_FALSE(spec.IsFolder());
    folder.MakeFolder("later");
    EXPECT_TRUE(spec.IsFolder());
}

TEST(CFileSpecImp, TellsTheSizeOfTheDisk)
{
    StTempDir const folder;
    struct statvfs disk = {};
    ASSERT_EQ(statvfs(folder.Path().c_str(), &disk), 0);
    auto const capacity =
        static_cast<long long>(disk.f_frsize) * static_cast<long long>(disk.f_blocks);
    EXPECT_EQ(Spec(folder.Path()).GetDiskCapacity(), capacity);
    EXPECT_GT(capacity, 0);
    long long const available = Spec(folder.Path()).GetAvailableDiskSpace();
    EXPECT_GE(available, 0);
    EXPECT_LE(available, capacity);
}

TEST(CFileSpecImp, FindsTheDiskOfWhatDoesNotExistYet)
{
    StTempDir const folder;
    folder.Write("file", "");
    for (std::string const& path :
         {folder.Path("a/b/c"), folder.Path("a/b/"), std::string("/no-such-folder/x")}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(Thrown([&] { Spec(path).GetAvailableDiskSpace(); }), "nothing");
    }
    EXPECT_EQ(Thrown([] { Spec("no-such-name").GetAvailableDiskSpace(); }), "2 in 16: no-such-name")
        << "there is nothing to climb to";
    EXPECT_EQ(Thrown([] { Spec("no-such-name/x").GetAvailableDiskSpace(); }),
              "2 in 16: no-such-name/x");
    EXPECT_EQ(Thrown([] { Spec("").GetAvailableDiskSpace(); }), "2 in 16: ");
}

TEST(CFileSpecImp, ComparesExtensionsWithoutCase)
{
    struct
    {
        char const* mPath;
        char const* mExtension;
        bool mHas;
    } const cases[] = {
        {"a.dmg", "DMG", true},       {"a.DMG", "dmg", true}, {"a.dMg", ".DmG", true},
        {".dmg", "DMG", false},       {"/.dmg", "DMG", true}, {"admg", "DMG", false},
        {"a.dmg.x", "DMG", false},    {"a.dmg", "", false},   {"a.", ".", true},
        {"a.tar.gz", "tar.gz", true}, {"", "dmg", false},     {"a.\xC3\xA9", "\xC3\x89", true},
        {"a.dmg", "\xFF", false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.mPath) + " ends with " + c.mExtension);
        EXPECT_EQ(Spec(c.mPath).GetImp()->HasCaseUnsensitiveExtension(c.mExtension), c.mHas);
    }
}

TEST(CFileSpecImp, MakesATemporaryFolderOfItsName)
{
    CFileSpec folder;
    Spec("/somewhere/loam spec test.txt").GetNewTempFolderInSameVolume(&folder);
    std::string const path = PathOf(folder);
    EXPECT_TRUE(folder.IsFolder());
    EXPECT_TRUE(folder.Changed());
    EXPECT_EQ(path.rfind("/tmp/loam spec test", 0), 0U) << path;
    CFileSpec second;
    Spec("/somewhere/loam spec test.txt").GetNewTempFolderInSameVolume(&second);
    EXPECT_FALSE(second == folder);
    EXPECT_TRUE(fs::remove(path));
    EXPECT_TRUE(fs::remove(PathOf(second)));
}

TEST(CFileSpecImp, EndsAPathAtItsFirstNullUnitForTheSystem)
{
    StTempDir const folder;
    folder.Write("file", "123");
    CFileSpec const spec(folder.Path("file") + std::string("\0.txt", 5), false);
    EXPECT_EQ(spec.GetFileSize(), 3);
    EXPECT_EQ(NameOf(spec).size(), 9U);
}

TEST(CFileSpecImp, LoneSurrogatesReachTheSystemReplaced)
{
    StTempDir const folder;
    folder.Write("\xEF\xBF\xBDx", "123");
    CFileSpec const spec(folder.Path16() + u"/\xD800x", false);
    EXPECT_EQ(spec.GetFileSize(), 3);
}
