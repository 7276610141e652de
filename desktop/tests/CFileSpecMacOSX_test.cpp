#include "desktop/CFileSpecMacOSX.h"
#include "files/CFileSpec.h"
#include "files/CFolder.h"
#include "files/tests/FileTestTools.h"
#include "foundation/FourCharacterCode.h"
#include "testing/FailureOf.h"
#include "testing/ScriptedDesktopPlatform.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr unsigned int kText = FourCharacterCode("TEXT");
constexpr unsigned int kEditor = FourCharacterCode("ttxt");

class CFileSpecMacOSXTest : public testing::Test
{
protected:
    ScriptedDesktopPlatform mDesktop;
    StDesktopPlatform mInUse{mDesktop};
};

struct Codes
{
    unsigned int mType = 1;
    unsigned int mCreator = 1;

    bool operator==(Codes const&) const = default;
};

Codes CodesOf(CFileSpec const& spec)
{
    Codes codes;
    spec.GetFileTypeCreator(&codes.mType, &codes.mCreator);
    return codes;
}

// A location file, as it were: no link, but an alias to the file at `target`.
class CAliasFile final : public CFileSpecMacOSX
{
public:
    using CFileSpecMacOSX::CFileSpecMacOSX;

    bool IsAlias() const override { return true; }
};

}  // namespace

TEST(CFileSpecMacOSX, IsTheBodyOfEverySpecifier)
{
    CFileSpec const folder(u"/f", false);
    CFileSpec const specs[] = {
        CFileSpec(),
        folder,
        CFileSpec(CFileSpecImp(u"/f", false)),
        CFileSpec(folder, u"name", false),
        CFileSpec(folder, std::string("name"), false),
        CFileSpec(CFileSpec::cContainerDesktop, u"name", false),
        CFileSpec(CFileSpec::cContainerDesktop),
        CFileSpec(u"/f", true),
        CFileSpec(std::string("/f"), false),
    };
    for (CFileSpec const& spec : specs)
        EXPECT_TRUE(dynamic_cast<CFileSpecMacOSX*>(spec.GetImp()));
}

TEST_F(CFileSpecMacOSXTest, AsksTheDesktopNothingBeforeItIsAsked)
{
    CFileSpec spec(u"/a/b", false);
    CFileSpec const copy(spec);
    spec = copy;
    CFileSpec container;
    spec.GetContainer(&container);
    spec.GetImp()->Assign(u"/c");
    EXPECT_FALSE(CFileSpec(container, u"c", true).IsVolume());
    EXPECT_EQ(mDesktop.TakeCalls(), "");
}

// ---- Type and creator

TEST_F(CFileSpecMacOSXTest, TellsTypeAndCreator)
{
    mDesktop.mAttributes[u"/typed"] = {kText, kEditor, std::nullopt};
    mDesktop.mAttributes[u"/untyped"] = {};
    mDesktop.mAttributes[u"/wide"] = {0x7FFFFFFF'41424344, -1, std::nullopt};

    struct
    {
        char16_t const* mPath;
        Codes mCodes;
    } const cases[] = {
        {u"/typed", {kText, kEditor}},
        {u"/untyped", {0, 0}},
        {u"/wide", {0x41424344, 0xFFFFFFFF}},
        {u"/missing", {0, 0}},
    };

    for (auto const& c : cases) {
        CFileSpec const spec(c.mPath, false);
        SCOPED_TRACE(PathOf(spec));
        EXPECT_EQ(CodesOf(spec), c.mCodes);
        Codes one;
        spec.GetFileTypeCreator(&one.mType, nullptr);
        spec.GetFileTypeCreator(nullptr, &one.mCreator);
        spec.GetFileTypeCreator(nullptr, nullptr);
        EXPECT_EQ(one, c.mCodes);
    }
}

TEST_F(CFileSpecMacOSXTest, AFolderHasNoTypeAndIsNotAskedForOne)
{
    StTempDir const folder;
    fs::create_directory_symlink(folder.Path(), folder.Path("link"));
    for (std::u16string const& path : {folder.Path16(), folder.Path16("link")}) {
        mDesktop.mAttributes[path] = {kText, kEditor, std::nullopt};
        CFileSpec const spec(path, false);
        EXPECT_EQ(CodesOf(spec), (Codes{0, 0})) << PathOf(spec);
        spec.GetFileTypeCreator(nullptr, nullptr);
    }
    EXPECT_EQ(mDesktop.TakeCalls(), "");
}

TEST_F(CFileSpecMacOSXTest, WithoutTypesAFileIsNotLookedAtForOne)
{
    StTempDir const folder;
    std::string const path = folder.MakeFolder("folder");
    mDesktop.mHasFileTypes = false;
    mDesktop.mAttributes[u"/a"] = {kText, kEditor, std::nullopt};
    EXPECT_EQ(CodesOf(CFileSpec(u"/a", false)), (Codes{0, 0}));
    EXPECT_EQ(mDesktop.TakeCalls(), "");

    CFileSpec const spec = Spec(path);
    EXPECT_EQ(CodesOf(spec), (Codes{0, 0}));
    fs::remove(path);
    EXPECT_FALSE(spec.IsFolder()) << "nothing was read before";
}

TEST_F(CFileSpecMacOSXTest, SetsTypeAndCreator)
{
    CFileSpec spec(u"/a", false);
    spec.SetFileTypeCreator(kText, kEditor);
    EXPECT_EQ(mDesktop.TakeCalls(), "SetTypeCreator(/a, TEXT, ttxt)");
    EXPECT_EQ(CodesOf(spec), (Codes{kText, kEditor}));
}

TEST_F(CFileSpecMacOSXTest, KeepsAnsweringWithTheOldTypeUntilSetUp)
{
    mDesktop.mAttributes[u"/a"] = {1, 2, std::nullopt};
    CFileSpec spec(u"/a", false);
    EXPECT_EQ(CodesOf(spec), (Codes{1, 2}));
    spec.SetFileTypeCreator(kText, kEditor);
    EXPECT_EQ(CodesOf(spec), (Codes{1, 2}));
    EXPECT_EQ(CodesOf(CFileSpec(spec)), (Codes{kText, kEditor})) << "a copy has read nothing";
    spec.SetupFromFile();
    EXPECT_EQ(CodesOf(spec), (Codes{kText, kEditor}));
}

// ---- What is kept

TEST_F(CFileSpecMacOSXTest, AsksForTheAttributesOnce)
{
    mDesktop.mAttributes[u"/a"] = {kText, kEditor, 5.0};
    CFileSpec const spec(u"/a", false);
    CodesOf(spec);
    spec.GetFileCreationDateUTC();
    CodesOf(spec);
    EXPECT_EQ(mDesktop.TakeCalls(), "GetAttributes(/a)");
}

TEST_F(CFileSpecMacOSXTest, AsksForTheResourceValuesOnce)
{
    mDesktop.mResourceValues[u"/a"] = {};
    CFileSpec const spec(u"/a", false);
    spec.GetFileLabel();
    spec.IsVisible();
    spec.IsOpaqueFolder();
    spec.GetFileLabel();
    EXPECT_EQ(mDesktop.TakeCalls(), "GetResourceValues(/a)");
}

TEST_F(CFileSpecMacOSXTest, NoAnswerIsNotKept)
{
    CFileSpec const spec(u"/a", false);
    EXPECT_EQ(CodesOf(spec), (Codes{0, 0}));
    EXPECT_EQ(spec.GetFileLabel(), 0U);
    mDesktop.mAttributes[u"/a"] = {kText, kEditor, std::nullopt};
    mDesktop.mResourceValues[u"/a"] = {3, {}, {}};
    EXPECT_EQ(CodesOf(spec), (Codes{kText, kEditor}));
    EXPECT_EQ(spec.GetFileLabel(), 3U);
}

TEST_F(CFileSpecMacOSXTest, ForgetsTheAnswersWhenPointedAtAFileAnew)
{
    struct
    {
        char const* mWhat;
        void (*mPoint)(CFileSpec& spec);
    } const cases[] = {
        {"SetupFromFile", [](CFileSpec& spec) { spec.SetupFromFile(); }},
        {"Assign", [](CFileSpec& spec) { spec.GetImp()->Assign(u"/a"); }},
        {"a copy", [](CFileSpec& spec) { spec = CFileSpec(spec); }},
        {"a name in a folder", [](CFileSpec& spec) { spec = CFileSpec(u"/a", true); }},
        {"the container of another one",
         [](CFileSpec& spec) { CFileSpec(u"/a/b", false).GetContainer(&spec); }},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mDesktop.mAttributes[u"/a"] = {kText, 0, std::nullopt};
        mDesktop.mResourceValues[u"/a"] = {1, true, true};
        CFileSpec spec(u"/a", false);
        EXPECT_EQ(CodesOf(spec), (Codes{kText, 0}));
        EXPECT_EQ(spec.GetFileLabel(), 1U);
        mDesktop.mAttributes[u"/a"] = {0, kEditor, std::nullopt};
        mDesktop.mResourceValues[u"/a"] = {2, false, false};
        EXPECT_EQ(spec.GetFileLabel(), 1U);

        c.mPoint(spec);
        EXPECT_EQ(PathOf(spec), "/a");
        EXPECT_EQ(CodesOf(spec), (Codes{0, kEditor}));
        EXPECT_EQ(spec.GetFileLabel(), 2U);
        EXPECT_TRUE(spec.IsVisible());
        EXPECT_FALSE(spec.IsOpaqueFolder());
    }
}

TEST_F(CFileSpecMacOSXTest, AssignTreatsThePathAsAFreshObjectWould)
{
    StTempDir const folder;
    folder.Write("file", "123");
    CFileSpecMacOSX spec;
    EXPECT_FALSE(spec.Changed());
    EXPECT_FALSE(spec.IsFolder(true));
    spec.Assign(folder.Path16());
    EXPECT_TRUE(spec.Changed());
    EXPECT_EQ(PathOf(spec), folder.Path());
    EXPECT_TRUE(spec.IsFolder(true));
    spec.Assign(folder.Path16("file"));
    EXPECT_FALSE(spec.IsFolder(true));
    EXPECT_EQ(spec.GetFileSize(), 3);
    folder.Write("file", "12345");
    spec.Assign(folder.Path16("file"));
    EXPECT_EQ(spec.GetFileSize(), 5);
    spec.Assign(u"a/./b//");
    EXPECT_EQ(PathOf(spec), "a/./b//") << "taken as it is";
}

// ---- Label, visibility, package

TEST_F(CFileSpecMacOSXTest, TellsLabelVisibilityAndPackage)
{
    mDesktop.mResourceValues[u"/none"] = {};
    mDesktop.mResourceValues[u"/all"] = {6, true, true};
    mDesktop.mResourceValues[u"/plain"] = {0, false, false};

    struct
    {
        char16_t const* mPath;
        unsigned int mLabel;
        bool mIsVisible;
        bool mIsOpaque;
    } const cases[] = {
        {u"/all", 6, false, true},     {u"/plain", 0, true, false},    {u"/none", 0, true, false},
        {u"/missing", 0, true, false}, {u"/.missing", 0, true, false},
    };

    for (auto const& c : cases) {
        CFileSpec const spec(c.mPath, false);
        SCOPED_TRACE(PathOf(spec));
        EXPECT_EQ(spec.GetFileLabel(), c.mLabel);
        EXPECT_EQ(spec.IsVisible(), c.mIsVisible);
        EXPECT_EQ(spec.IsOpaqueFolder(), c.mIsOpaque);
    }
}

TEST_F(CFileSpecMacOSXTest, SetsNoLabelAboveSeven)
{
    struct
    {
        unsigned int mLabel;
        char const* mCalls;
    } const cases[] = {
        {0, "SetLabel(/a, 0)"}, {1, "SetLabel(/a, 1)"}, {7, "SetLabel(/a, 7)"},
        {8, "SetLabel(/a, 7)"}, {9, "SetLabel(/a, 7)"}, {0xFFFFFFFF, "SetLabel(/a, 7)"},
    };

    CFileSpec spec(u"/a", false);
    for (auto const& c : cases) {
        spec.SetFileLabel(c.mLabel);
        EXPECT_EQ(mDesktop.TakeCalls(), c.mCalls);
    }
}

TEST_F(CFileSpecMacOSXTest, KeepsAnsweringWithTheOldLabelUntilSetUp)
{
    mDesktop.mResourceValues[u"/a"] = {2, {}, {}};
    CFileSpec spec(u"/a", false);
    EXPECT_EQ(spec.GetFileLabel(), 2U);
    spec.SetFileLabel(5);
    EXPECT_EQ(spec.GetFileLabel(), 2U);
    spec.SetupFromFile();
    EXPECT_EQ(spec.GetFileLabel(), 5U);
}

// ---- Dates and names

TEST_F(CFileSpecMacOSXTest, CutsTheCreationDateToWholeSeconds)
{
    struct
    {
        double mDate;
        long mSeconds;
    } const cases[] = {
        {0.0, 0}, {1.999, 1}, {1600000000.5, 1600000000}, {-1.5, -1}, {-2000000000.0, -2000000000},
    };

    for (auto const& c : cases) {
        mDesktop.mAttributes[u"/a"].mCreationDate = c.mDate;
        EXPECT_EQ(CFileSpec(u"/a", false).GetFileCreationDateUTC(), c.mSeconds);
    }
}

TEST_F(CFileSpecMacOSXTest, TakesTheDateOfTheLastChangeWhereThereIsNoOther)
{
    StTempDir const folder;
    CFileSpec const spec = Spec(folder.Write("file", ""));
    EXPECT_EQ(spec.GetFileCreationDateUTC(), spec.GetFileModifDateUTC()) << "no attributes";
    mDesktop.mAttributes[folder.Path16("file")] = {kText, kEditor, std::nullopt};
    EXPECT_EQ(spec.GetFileCreationDateUTC(), spec.GetFileModifDateUTC()) << "no such date";

    CFileSpec const missing = Spec(folder.Path("missing"));
    EXPECT_EQ(FailureOf([&] { missing.GetFileCreationDateUTC(); }),
              FileFailure(kFileNotFound, kFileStat, ENOENT));
}

TEST_F(CFileSpecMacOSXTest, ShowsTheNameThatTheDesktopShows)
{
    mDesktop.mDisplayNames[u"/Users/ann/Documents"] = u"Dokumente \u00E9\U0001F600";
    CFileSpec const spec(u"/Users/ann/Documents", false);
    std::u16string name = u"old";
    spec.GetDisplayFileName(&name);
    EXPECT_EQ(name, u"Dokumente \u00E9\U0001F600");
    spec.GetFileName(&name);
    EXPECT_EQ(name, u"Documents");
}

// ---- Temporary folders

TEST_F(CFileSpecMacOSXTest, TakesTheFolderThatTheDesktopMadeForIt)
{
    mDesktop.mReplacementFolder = u"/Volumes/X/.Temporary/(A folder)";
    CFileSpec folder;
    CFileSpec(u"/Volumes/X/file", false).GetNewTempFolderInSameVolume(&folder);
    EXPECT_EQ(PathOf(folder), "/Volumes/X/.Temporary/(A folder)");
    EXPECT_TRUE(folder.Changed());
    EXPECT_EQ(mDesktop.TakeCalls(), "MakeReplacementFolder(/Volumes/X/file)");
}

TEST_F(CFileSpecMacOSXTest, KeepsMakingTheUsersTemporaryFolderWhereTheVolumeHasNone)
{
    StTempDir const temporary;
    mDesktop.mFolders[{kDesktopUserDomain, "flnt"}] = temporary.Path16();
    CFileSpec const file(u"/Volumes/X/file.txt", false);
    CFileSpec folder;
    file.GetNewTempFolderInSameVolume(&folder);
    EXPECT_EQ(PathOf(folder), temporary.Path("file.txt"));
    EXPECT_TRUE(folder.IsFolder());
    EXPECT_EQ(mDesktop.TakeCalls(),
              "MakeReplacementFolder(/Volumes/X/file.txt) FindFolder(-32763, flnt)");
    file.GetNewTempFolderInSameVolume(&folder);
    EXPECT_EQ(PathOf(folder), temporary.Path("file 2.txt"));
    EXPECT_TRUE(folder.IsFolder());
}

TEST_F(CFileSpecMacOSXTest, ThrowsWhereNoTemporaryFolderCanBeMade)
{
    StTempDir const temporary;
    mDesktop.mFolders[{kDesktopUserDomain, "flnt"}] = temporary.Path16("missing");
    CFileSpec folder(u"/old", false);
    EXPECT_EQ(FailureOf([&] { CFileSpec(u"/a", false).GetNewTempFolderInSameVolume(&folder); }),
              FileFailure(kFileNotFound, kFileCreate, ENOENT));
    EXPECT_EQ(PathOf(folder), "/old");
}

// ---- Real files

TEST_F(CFileSpecMacOSXTest, TellsRealFilesFromAliases)
{
    StTempDir const folder;
    folder.Write("file", "");
    folder.MakeFolder("folder");
    fs::create_symlink("file", folder.Path("link"));
    fs::create_symlink("link", folder.Path("link to link"));
    fs::create_symlink("folder", folder.Path("folder link"));
    fs::create_symlink("missing", folder.Path("broken link"));
    fs::create_symlink("circle", folder.Path("circle"));

    struct
    {
        char const* mName;
        bool mIsFollowed;
        bool mIsItself;
    } const cases[] = {
        {"file", true, true},          {"folder", false, false},      {"missing", false, false},
        {"link", true, false},         {"link to link", true, false}, {"folder link", false, false},
        {"broken link", false, false}, {"circle", false, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        EXPECT_EQ(Spec(folder.Path(c.mName)).IsRealFile(), c.mIsFollowed);
        EXPECT_EQ(Spec(folder.Path(c.mName)).IsRealFile(true), c.mIsFollowed);
        EXPECT_EQ(Spec(folder.Path(c.mName)).IsRealFile(false), c.mIsItself);
    }
}

TEST_F(CFileSpecMacOSXTest, ALinkThatOnlyTheSystemCanFollowLeadsToARealFile)
{
    StTempDir const folder;
    folder.Write("file", "");
    folder.Write("\xFF", "");
    fs::create_symlink("\xFF", folder.Path("link"));
    EXPECT_TRUE(Spec(folder.Path("link")).IsRealFile(true)) << "its target isn't UTF-8";

    fs::create_symlink("file", folder.Path("other"));
    fs::path const link = folder.Path("other");
    std::string const relative = link.lexically_relative(fs::current_path()).string();
    EXPECT_TRUE(Spec(relative).IsRealFile(true)) << "the path is relative";
    EXPECT_FALSE(Spec(relative).IsRealFile(false));
    fs::remove(folder.Path("file"));
    EXPECT_FALSE(Spec(relative).IsRealFile(true));
}

TEST_F(CFileSpecMacOSXTest, ALocationFileIsNoRealFile)
{
    StTempDir const folder;
    CFileSpec const spec = Spec(folder.Write("site.inetloc", ""));
    EXPECT_FALSE(spec.IsRealFile(false));
    EXPECT_FALSE(spec.IsRealFile(true));
}

TEST_F(CFileSpecMacOSXTest, AnAliasFileIsNoRealFileItself)
{
    StTempDir const folder;
    folder.Write("file", "");
    CAliasFile const alias(folder.Path16("file"), false);
    EXPECT_FALSE(alias.IsRealFile(false));
    EXPECT_TRUE(alias.IsRealFile(true)) << "what it leads to is one";
}

// ---- The desktop of this system

TEST(DesktopPlatform, KnowsWhichFilesItHides)
{
    StTempDir const folder;
    folder.Write(".hidden", "");
    folder.Write("plain", "");
    EXPECT_FALSE(Spec(folder.Path(".hidden")).IsVisible());
    EXPECT_TRUE(Spec(folder.Path("plain")).IsVisible());
    EXPECT_TRUE(Spec(folder.Path("plain/")).IsVisible());
    EXPECT_TRUE(CFileSpec().IsVisible());
    EXPECT_FALSE(Spec(folder.Path()).IsOpaqueFolder());
    EXPECT_EQ(Spec(folder.Path("plain")).GetFileLabel(), 0U);
}

TEST(DesktopPlatform, ShowsFileNames)
{
    for (char16_t const* path : {u"/a/b.txt", u"b.txt", u"/a/", u"", u"/", u"/a/b c"}) {
        std::u16string shown = u"old";
        CFileSpec(path, false).GetDisplayFileName(&shown);
        std::u16string name;
        CFileSpec(path, false).GetFileName(&name);
        EXPECT_EQ(shown, name);
    }
}

TEST(DesktopPlatform, AFileIsBornWhenItIsMade)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "");
    struct statx born = {};
    ASSERT_EQ(statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &born), 0);
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(24));
    CFileSpec const spec = Spec(path);
    long const expected =
        born.stx_mask & STATX_BTIME ? born.stx_btime.tv_sec : spec.GetFileModifDateUTC();
    EXPECT_EQ(spec.GetFileCreationDateUTC(), expected);
}

TEST(DesktopPlatform, HasNoTypesToSet)
{
    StTempDir const folder;
    CFileSpec spec = Spec(folder.Write("file", ""));
    spec.SetFileTypeCreator(kText, kEditor);
    spec.SetFileLabel(3);
    EXPECT_EQ(CodesOf(spec), (Codes{0, 0}));
    EXPECT_EQ(spec.GetFileLabel(), 0U);
}
