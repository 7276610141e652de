// Aliases, location files and disk images, on a scripted system and on this one.
#include "desktop/CFileSpecMacOSX.h"
#include "files/CFileSpec.h"
#include "foundation/FourCharacterCode.h"
#include "marl/stringhelpers.h"
#include "testing/ScriptedAliasPlatform.h"
#include "testing/ScriptedDesktopPlatform.h"
#include "testing/StTempDir.h"
#include "text/CUTFConverter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr char kServer[] = "afp://server/Share";

std::u16string ToUTF16(std::string const& text)
{
    std::u16string result;
    CUTFConverter::ConvertUTF8toUTF16(text, result, CUTFConverter::kLenientMode);
    return result;
}

template <class Any>
std::string PathOf(Any const& spec)
{
    std::string path;
    spec.GetFullPath8bit(&path);
    return path;
}

std::string List(std::string const& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content +
           "</plist>\n";
}

std::string Location(std::string const& url)
{
    return List("<dict><key>URL</key><string>" + url + "</string></dict>");
}

// One server is there, whose volume has a root.
class CFileSpecMacOSXAliases : public testing::Test
{
protected:
    CFileSpecMacOSXAliases()
    {
        constexpr short kVolume = -107;
        mFinder.mServers = {{kServer, kVolume}};
        mRoot = &(mFinder.mFolders[{kVolume, "root"}] = u"/Volumes/Share");
    }

    void SetTypes(std::map<std::u16string, unsigned int> const& types)
    {
        mFinder.mAttributes.clear();
        for (auto const& [path, type] : types)
            mFinder.mAttributes[path].mType = type;
    }

    // How often a server was asked for its volume since the last time.
    int TakeMounts()
    {
        std::string const calls = mFinder.TakeCalls();
        int mounts = 0;
        for (auto at = calls.find("MountServerVolume("); at != calls.npos;
             at = calls.find("MountServerVolume(", at + 1)) {
            ++mounts;
        }
        return mounts;
    }

    // The last component of `path`, led through all stages.
    static std::string Resolved(std::u16string path)
    {
        CFileSpecMacOSX spec;
        static_cast<CFileSpecImp&>(spec).ResolveAlias(path);
        std::string result;
        CUTFConverter::ConvertUTF16toUTF8(path, result, CUTFConverter::kLenientMode);
        return result;
    }

    std::string Path(std::string const& name) const { return mFolder.Path(name); }

    std::u16string Path16(std::string const& name) const { return mFolder.Path16(name); }

    void Alias(std::u16string const& path, std::u16string const& target)
    {
        mAliases.mURLs[path] = {path, target, target};
    }

    void Link(std::string const& target, std::string const& name) const
    {
        fs::create_symlink(target, Path(name));
    }

    StTempDir mFolder;
    ScriptedAliasPlatform mAliases;
    ScriptedDesktopPlatform mFinder;
    std::optional<std::u16string>* mRoot;  // in mFinder
    StAliasPlatform mAliasesInUse{mAliases};
    StDesktopPlatform mFinderInUse{mFinder};
};

// This system's own answers.
class CFileSpecMacOSXRealAliases : public testing::Test
{
protected:
    std::string Path(std::string const& name) const { return mFolder.Path(name); }

    void Link(std::string const& target, std::string const& name) const
    {
        fs::create_symlink(target, Path(name));
    }

    std::string Resolved(std::string const& name) const
    {
        CFileSpec spec(Path(name), false);
        spec.ResolveAlias();
        return PathOf(spec);
    }

    StTempDir mFolder;
};

char const* const kImageExtensions[] = {
    ".ndif", ".imgpart", ".smi",        ".dmg",  ".udif", ".img",          ".toast",       ".dvdr",
    ".cdr",  ".dmgpart", ".diskcopy42", ".dc42", ".dart", ".sparsebundle", ".sparseimage", ".iso",
};

}  // namespace

TEST_F(CFileSpecMacOSXAliases, IsAliasByTheDesktopByNameOrByType)
{
    constexpr unsigned int kFileServer = FourCharacterCode("ilaf");
    constexpr unsigned int kInternet = FourCharacterCode("ilge");

    struct
    {
        char const* mWhat;
        std::u16string mPath;
        bool mIsAliasFile;
        unsigned int mType;
        bool mIsAlias;
    } const cases[] = {
        {"a file", u"/a/file", false, 0, false},
        {"a file with a type", u"/a/file", false, FourCharacterCode("TEXT"), false},
        {"what the desktop calls an alias", u"/a/file", true, 0, true},
        {"a file-server location", u"/a/server.afploc", false, 0, true},
        {"an internet location", u"/a/site.inetloc", false, 0, true},
        {"the type of a file-server location", u"/a/file", false, kFileServer, true},
        {"the type of an internet location", u"/a/file", false, kInternet, true},
        {"one's name and the other's type", u"/a/site.inetloc", false, kFileServer, true},
        {"capitals", u"/a/server.AFPLOC", false, 0, false},
        {"a capital", u"/a/site.Inetloc", false, 0, false},
        {"capitals, but the type", u"/a/SITE.INETLOC", false, kInternet, true},
        {"the extension alone", u".afploc", false, 0, true},
        {"the extension as a name", u"/a/.inetloc", false, 0, true},
        {"no dot", u"/a/afploc", false, 0, false},
        {"more behind it", u"/a/server.afploc2", false, 0, false},
        {"a slash behind it", u"/a/server.afploc/", false, 0, false},
        {"a folder on the way", u"/a.afploc/file", false, 0, false},
        {"another case of the type", u"/a/file", false, FourCharacterCode("ILAF"), false},
        {"no path", u"", false, 0, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mAliases.mAliasFiles.clear();
        if (c.mIsAliasFile) mAliases.mAliasFiles = {c.mPath};
        SetTypes({{c.mPath, c.mType}});
        EXPECT_EQ(CFileSpecMacOSX(c.mPath, false).IsAlias(), c.mIsAlias);
        EXPECT_EQ(CFileSpec(c.mPath, false).IsAlias(), c.mIsAlias);
    }
}

TEST_F(CFileSpecMacOSXAliases, SymbolicLinksAreAliasesUnasked)
{
    Link("missing", "dangling");
    Link("loop", "loop");
    Link("/", "root");
    for (char const* const name : {"dangling", "loop", "root"}) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(CFileSpec(Path(name), false).IsAlias());
    }
    EXPECT_TRUE(mAliases.mAsked.empty());
    EXPECT_EQ(mFinder.TakeCalls(), "");
    EXPECT_FALSE(CFileSpec(Path("missing"), false).IsAlias());
    EXPECT_EQ(mAliases.mAsked, std::vector<std::u16string>{Path16("missing")});
}

TEST_F(CFileSpecMacOSXAliases, AFolderHasNoTypeToBeAnAliasBy)
{
    SetTypes({{mFolder.Path16(), FourCharacterCode("ilaf")}});
    EXPECT_FALSE(CFileSpec(mFolder.Path(), false).IsAlias());
    EXPECT_EQ(mFinder.TakeCalls(), "");
}

TEST_F(CFileSpecMacOSXAliases, FollowsWhatTheDesktopCallsAnAlias)
{
    std::u16string const file = u"/nowhere/file";

    struct
    {
        char const* mWhat;
        AliasWay mWay;
        std::map<std::u16string, FollowedURL> mURLs;
        std::map<std::u16string, std::pair<bool, std::u16string>> mReferences;
        char const* mTarget;
    } const cases[] = {
        {"an alias", kAliasesByURL, {{file, {file, u"/b", u"/b"}}}, {}, "/b"},
        {"the target in POSIX style", kAliasesByURL, {{file, {file, u"/b", u"/B"}}}, {}, "/B"},
        {"no alias", kAliasesByURL, {{file, {file, file, u"/b"}}}, {}, "/nowhere/file"},
        {"the path as the URL has it",
         kAliasesByURL,
         {{file, {u"/x", u"/x", u"/b"}}},
         {},
         "/nowhere/file"},
        {"no answer", kAliasesByURL, {}, {{file, {true, u"/b"}}}, "/nowhere/file"},
        {"the older way: an alias", kAliasesByReference, {}, {{file, {true, u"/b"}}}, "/b"},
        {"the older way: no alias",
         kAliasesByReference,
         {},
         {{file, {false, u"/b"}}},
         "/nowhere/file"},
        {"the older way: a failure",
         kAliasesByReference,
         {{file, {file, u"/b", u"/b"}}},
         {},
         "/nowhere/file"},
        {"links alone",
         kAliasesAreLinks,
         {{file, {file, u"/b", u"/b"}}},
         {{file, {true, u"/b"}}},
         "/nowhere/file"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mAliases.mWay = c.mWay;
        mAliases.mURLs = c.mURLs;
        mAliases.mReferences = c.mReferences;
        EXPECT_EQ(Resolved(file), c.mTarget);
    }
}

TEST_F(CFileSpecMacOSXAliases, AnswersWithTheRootOfTheVolumeThatALocationFileNames)
{
    std::string const url = kServer;
    std::string const long20 = "http://" + std::string(1 << 20, 'x');

    struct
    {
        char const* mWhat;
        std::string mContent;
        bool mIsMounted;
        int mAttempts;
    } const cases[] = {
        {"a location", Location(url), true, 1},
        {"with other keys",
         List("<dict><key>A</key><true/><key>URL</key><string>" + url + "</string></dict>"), true,
         1},
        {"a server that refuses", Location("afp://elsewhere/"), false, 1},
        {"an empty URL", Location(""), false, 1},
        {"a number", List("<dict><key>URL</key><integer>1</integer></dict>"), false, 0},
        {"a list of URLs",
         List("<dict><key>URL</key><array><string>" + url + "</string></array></dict>"), false, 0},
        {"another case of the key", List("<dict><key>url</key><string>" + url + "</string></dict>"),
         false, 0},
        {"no key", List("<dict/>"), false, 0},
        {"a text", List("<string>" + url + "</string>"), false, 0},
        {"an array", List("<array><string>" + url + "</string></array>"), false, 0},
        {"no list", url, false, 0},
        {"nothing", "", false, 0},
        {"cut short", Location(url).substr(0, 80), false, 0},
        {"too long", Location(long20), false, 0},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        for (char const* const name : {"x.afploc", "x.inetloc"}) {
            mFolder.Write(name, c.mContent);
            mFinder.TakeCalls();
            EXPECT_EQ(Resolved(Path16(name)), c.mIsMounted ? "/Volumes/Share" : Path(name));
            EXPECT_EQ(TakeMounts(), c.mAttempts);
        }
    }
}

TEST_F(CFileSpecMacOSXAliases, ALocationFileKeepsItsPathIfTheVolumeHasNone)
{
    mFolder.Write("x.afploc", Location(kServer));
    *mRoot = std::nullopt;
    EXPECT_EQ(Resolved(Path16("x.afploc")), Path("x.afploc")) << "no path leads to its root";
    mFinder.mFolders.clear();
    EXPECT_EQ(Resolved(Path16("x.afploc")), Path("x.afploc")) << "it has no root";
    EXPECT_EQ(TakeMounts(), 2);
}

TEST_F(CFileSpecMacOSXAliases, WhatOnlyBearsTheNameOfALocationFileKeepsItsPath)
{
    mFolder.MakeFolder("folder.afploc");
    ASSERT_EQ(mkfifo(Path("pipe.afploc").c_str(), 0600), 0);
    for (char const* const name : {"folder.afploc", "pipe.afploc", "missing.afploc"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Resolved(Path16(name)), Path(name));
    }
    mFolder.Write("x.AFPLOC", Location(kServer));
    mFolder.Write("x", Location(kServer));
    EXPECT_EQ(Resolved(Path16("x.AFPLOC")), Path("x.AFPLOC"));
    EXPECT_EQ(Resolved(Path16("x")), Path("x"));
    EXPECT_EQ(TakeMounts(), 0);
}

TEST_F(CFileSpecMacOSXAliases, ALocationFileIsKnownByItsTypeToo)
{
    mFolder.Write("x", Location(kServer));
    for (char const* const type : {"ilaf", "ilge", "ILAF", "TEXT"}) {
        SCOPED_TRACE(type);
        bool const isLocation = type[0] == 'i';
        char const code[5] = {type[0], type[1], type[2], type[3], 0};
        SetTypes({{Path16("x"), FourCharacterCode(code)}});
        EXPECT_EQ(Resolved(Path16("x")), isLocation ? "/Volumes/Share" : Path("x"));
    }
}

TEST_F(CFileSpecMacOSXAliases, AFailedLocationFileGoesOnAsALink)
{
    mFolder.Write("odd.afploc", List("<dict><key>URL</key><integer>1</integer></dict>"));
    Link("odd.afploc", "link.afploc");
    EXPECT_EQ(Resolved(Path16("link.afploc")), Path("odd.afploc"));
}

TEST_F(CFileSpecMacOSXAliases, GoesThroughAllStagesOneBehindTheOther)
{
    mFolder.Write("x.afploc", Location(kServer));
    mFolder.Write("file", "");
    Link("file", "share");
    Link("alias", "link");

    Alias(u"/a", Path16("x.afploc"));
    EXPECT_EQ(Resolved(u"/a"), "/Volumes/Share") << "an alias to a location file";

    *mRoot = Path16("share");
    EXPECT_EQ(Resolved(u"/a"), Path("file")) << "the volume's root is a link";

    Alias(Path16("alias"), Path16("x.afploc"));
    EXPECT_EQ(Resolved(Path16("link")), Path("file")) << "a link to an alias";

    Alias(Path16("file"), u"/b");
    EXPECT_EQ(Resolved(Path16("link")), "/b") << "the last link's target is an alias";
}

TEST_F(CFileSpecMacOSXAliases, OneStageFollowsOneAliasOnly)
{
    Alias(u"/a", u"/b");
    Alias(u"/b", u"/c");
    EXPECT_EQ(Resolved(u"/a"), "/b");
}

TEST_F(CFileSpecMacOSXAliases, EveryFolderOnTheWayIsLedThroughTheStages)
{
    mFolder.MakeFolder("real/inner");
    Alias(Path16("alias"), Path16("real"));
    Alias(Path16("real/inner/end"), Path16("real"));
    CFileSpec spec(Path("alias/inner"), false);
    spec.ResolveAlias();
    EXPECT_EQ(PathOf(spec), Path("real/inner"));

    CFileSpec end(Path("alias/inner/end"), false);
    end.ResolveAlias();
    EXPECT_EQ(PathOf(end), Path("real"));

    mFolder.Write("x.afploc", Location(kServer));
    CFileSpec inVolume(Path("x.afploc") + "/a/b", false);
    inVolume.ResolveAlias();
    EXPECT_EQ(PathOf(inVolume), "/Volumes/Share/a/b");
}

TEST_F(CFileSpecMacOSXAliases, CirclesOfAliasesAndLinksComeToAnEnd)
{
    Link("alias", "link");
    Alias(Path16("alias"), Path16("link"));
    EXPECT_EQ(Resolved(Path16("link")), Path("link"));
    EXPECT_EQ(Resolved(Path16("alias")), Path("alias"));

    mFolder.Write("x.afploc", Location(kServer));
    *mRoot = Path16("round");
    Link("x.afploc", "round");
    EXPECT_EQ(Resolved(Path16("round")), Path("round"));
}

TEST_F(CFileSpecMacOSXAliases, IsDiskImageByTheExtensionInAnyCase)
{
    for (std::string const extension : kImageExtensions) {
        SCOPED_TRACE(extension);
        std::string capitals = extension;
        ConvToUpper(capitals);
        std::string mixed = extension;
        mixed[1] = capitals[1];
        for (std::string const& end : {extension, capitals, mixed}) {
            std::string const path = "/a/disk" + end;
            CFileSpecMacOSX const spec(ToUTF16(path), false);
            EXPECT_TRUE(spec.IsDiskImage());
            EXPECT_TRUE(spec.HasCaseUnsensitiveExtension(extension.c_str()));
            EXPECT_TRUE(CFileSpec("a" + end, false).IsDiskImage());
            EXPECT_TRUE(CFileSpec("/" + end, false).IsDiskImage());
            EXPECT_FALSE(CFileSpec(end, false).IsDiskImage());
            EXPECT_FALSE(CFileSpec(path + "/", false).IsDiskImage());
            EXPECT_FALSE(CFileSpec(path + "x", false).IsDiskImage());
            EXPECT_FALSE(CFileSpec(path + "/file", false).IsDiskImage());
            EXPECT_FALSE(CFileSpec("/a/" + end.substr(1), false).IsDiskImage());
        }
    }
    // Upper case is that of Unicode: both have the letter I.
    EXPECT_TRUE(CFileSpec(u"/a.\u0131so", false).IsDiskImage());
    EXPECT_TRUE(CFileSpecMacOSX(u"/a.\u0131so", false).HasCaseUnsensitiveExtension(".iso"));
    EXPECT_FALSE(CFileSpec(u"/a.\u0130so", false).IsDiskImage());
}

TEST_F(CFileSpecMacOSXAliases, IsDiskImageByTheTypeExactly)
{
    char const* const types[] = {"hdro", "rohd", "dimg", "hdcm", "dseg", "oneb", "devi", "devr",
                                 "GImg", "PImg", "devs", "dImg", "DMd0", "DMd1", "DMd2", "DMd3",
                                 "DMd4", "DMd5", "DMd6", "DMd7", "DMdf", "DDim", "OPCD", "hdrv"};
    auto const isImage = [this](char const* type) {
        char const code[5] = {type[0], type[1], type[2], type[3], 0};
        SetTypes({{u"/file", FourCharacterCode(code)}});
        return CFileSpec(u"/file", false).IsDiskImage();
    };
    for (char const* const type : types)
        EXPECT_TRUE(isImage(type)) << type;
    for (char const* const type : {"DMd8", "dmd0", "DIMG", "HDRO", "TEXT", "    "})
        EXPECT_FALSE(isImage(type)) << type;
    SetTypes({});
    EXPECT_FALSE(CFileSpec(u"/file", false).IsDiskImage());
}

TEST_F(CFileSpecMacOSXAliases, AFolderIsADiskImageByItsNameAlone)
{
    std::string const image = mFolder.MakeFolder("folder.dmg");
    std::string const other = mFolder.MakeFolder("folder");
    SetTypes({{ToUTF16(other), FourCharacterCode("devi")}});
    EXPECT_TRUE(CFileSpec(image, false).IsDiskImage());
    EXPECT_FALSE(CFileSpec(other, false).IsDiskImage());
}

TEST_F(CFileSpecMacOSXAliases, WithoutTypesNoFileIsLookedAtForOne)
{
    mFinder.mHasFileTypes = false;
    SetTypes({{u"/file", FourCharacterCode("ilaf")}, {u"/disk", FourCharacterCode("devi")}});
    EXPECT_FALSE(CFileSpec(u"/file", false).IsAlias());
    EXPECT_FALSE(CFileSpec(u"/disk", false).IsDiskImage());
    EXPECT_TRUE(CFileSpec(u"/file.afploc", false).IsAlias());
    EXPECT_TRUE(CFileSpec(u"/disk.dmg", false).IsDiskImage());
    EXPECT_EQ(mFinder.TakeCalls(), "");
}

TEST_F(CFileSpecMacOSXAliases, MountsADiskImageAndBecomesItsFirstVolume)
{
    std::string const point = "<key>mount-point</key><string>/Volumes/A</string>";
    auto const parts = [](std::string const& entries) {
        return List("<dict><key>system-entities</key><array>" + entries + "</array></dict>");
    };

    struct
    {
        char const* mWhat;
        std::string mAnswer;
        char const* mPath;
    } const cases[] = {
        {"one volume", parts("<dict>" + point + "</dict>"), "/Volumes/A"},
        {"behind the scheme",
         parts("<dict><key>dev-entry</key><string>/dev/disk4</string></dict><dict>" + point +
               "</dict>"),
         "/Volumes/A"},
        {"the first of two",
         parts("<dict>" + point +
               "</dict><dict><key>mount-point</key><string>/Volumes/B</string></dict>"),
         "/Volumes/A"},
        {"a name beyond ASCII",
         parts("<dict><key>mount-point</key><string>/Volumes/\xC3\x84 &amp; B</string></dict>"),
         "/Volumes/\xC3\x84 & B"},
        {"what isn't a dictionary", parts("<string>mount-point</string><dict>" + point + "</dict>"),
         "/Volumes/A"},
        {"a mount point that isn't a text",
         parts("<dict><key>mount-point</key><true/></dict><dict>" + point + "</dict>"), "/a.dmg"},
        {"no mount point", parts("<dict/><dict/>"), "/a.dmg"},
        {"no parts", parts(""), "/a.dmg"},
        {"one part without its array",
         List("<dict><key>system-entities</key><dict>" + point + "</dict></dict>"), "/a.dmg"},
        {"another key", List("<dict><key>entities</key><array/></dict>"), "/a.dmg"},
        {"an array", List("<array><dict>" + point + "</dict></array>"), "/a.dmg"},
        {"no list", "hdiutil: attach failed - no mountable file systems\n", "/a.dmg"},
        {"nothing", "", "/a.dmg"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mAliases.mToolOutput = c.mAnswer;
        CFileSpec spec(u"/a.dmg", false);
        spec.MountDiskImage();
        EXPECT_EQ(PathOf(spec), c.mPath);
        EXPECT_EQ(mAliases.mToolArguments,
                  (std::vector<std::u16string>{u"attach", u"/a.dmg", u"-plist"}));
        EXPECT_EQ(mAliases.mToolSeconds, 60.0);
    }
}

TEST_F(CFileSpecMacOSXAliases, WithoutAToolADiskImageKeepsItsPath)
{
    CFileSpec spec(u"/a.dmg", false);
    spec.MountDiskImage();
    EXPECT_EQ(PathOf(spec), "/a.dmg");
}

TEST_F(CFileSpecMacOSXAliases, WhatIsThrownOverTheMountPointStaysInside)
{
    class CThrowing final : public CFileSpecMacOSX
    {
    public:
        using CFileSpecMacOSX::CFileSpecMacOSX;

        void Assign(std::u16string const&) override { throw std::runtime_error("full"); }
    };

    mAliases.mToolOutput =
        List("<dict><key>system-entities</key><array><dict><key>mount-point</key>"
             "<string>/Volumes/A</string></dict></array></dict>");
    CThrowing spec(u"/a.dmg", false);
    spec.MountDiskImage();
    EXPECT_EQ(PathOf(spec), "/a.dmg");
}

TEST_F(CFileSpecMacOSXRealAliases, LinksAreAllThatThisSystemResolves)
{
    if (AliasPlatform().GetAliasWay() != kAliasesAreLinks) GTEST_SKIP() << "there are aliases here";
    mFolder.Write("x.afploc", Location("afp://server/Share"));
    mFolder.Write("file", "");
    mFolder.MakeFolder("real/inner");
    Link("x.afploc", "to-location");
    Link("file", "one");
    Link("one", "two");
    Link(Path("two"), "three");
    Link("missing", "dangling");
    Link("dangling", "far");
    Link("loop", "loop");
    Link("b", "a");
    Link("a", "b");
    Link("a", "into");
    Link("real", "folder");

    struct
    {
        char const* mName;
        char const* mTarget;
    } const cases[] = {
        {"x.afploc", "x.afploc"},
        {"to-location", "x.afploc"},
        {"three", "file"},
        {"far", "missing"},
        {"loop", "loop"},
        {"a", "a"},
        {"into", "into"},
        {"into/file", "into/file"},
        {"folder/inner", "real/inner"},
        {"folder/missing", "real/missing"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        EXPECT_EQ(Resolved(c.mName), Path(c.mTarget));
    }
    EXPECT_TRUE(CFileSpec(Path("x.afploc"), false).IsAlias());
    EXPECT_TRUE(CFileSpec(Path("dangling"), false).IsAlias());
    EXPECT_TRUE(CFileSpec(Path("loop"), false).IsAlias());
    EXPECT_FALSE(CFileSpec(Path("file"), false).IsAlias());
    EXPECT_FALSE(CFileSpec(Path("folder/inner"), false).IsAlias());
}

TEST_F(CFileSpecMacOSXRealAliases, AFileThatIsNoDiskImageKeepsItsPath)
{
    CFileSpec spec(mFolder.Write("a.dmg", "no image"), false);
    EXPECT_TRUE(spec.IsDiskImage());
    spec.MountDiskImage();
    EXPECT_EQ(PathOf(spec), Path("a.dmg"));
}
