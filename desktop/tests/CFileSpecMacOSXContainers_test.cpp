// Well-known folders. `access` is wrapped, so that names can be taken where no test may write.
#include "desktop/CFileSpecMacOSX.h"
#include "desktop/StandardFolderConstants.h"
#include "desktop/platform/CBasicDesktopPlatform.h"
#include "files/CFileSpec.h"
#include "files/tests/FileTestTools.h"
#include "testing/FailureOf.h"
#include "testing/ScriptedDesktopPlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// A path that is taken, whatever the file system says; null for none.
char const* sTakenPath = nullptr;

}  // namespace

extern "C" {
int __real_access(char const* path, int mode);
int __wrap_access(char const* path, int mode);

int __wrap_access(char const* path, int mode)
{
    return sTakenPath && std::string(path) == sTakenPath ? 0 : __real_access(path, mode);
}
}

namespace {

using Container = CFileSpec::StdContainerEnum;

class StTakenPath
{
public:
    explicit StTakenPath(char const* path) { sTakenPath = path; }

    StTakenPath(StTakenPath const&) = delete;
    StTakenPath& operator=(StTakenPath const&) = delete;

    ~StTakenPath() { sTakenPath = nullptr; }
};

class StUmask
{
public:
    explicit StUmask(mode_t mask)
        : mFormer(umask(mask))
    {
    }

    StUmask(StUmask const&) = delete;
    StUmask& operator=(StUmask const&) = delete;

    ~StUmask() { umask(mFormer); }

private:
    mode_t mFormer;
};

mode_t ModeOf(std::string const& path)
{
    constexpr mode_t kPermissions = 07777;
    struct stat found = {};
    return stat(path.c_str(), &found) == 0 ? found.st_mode & kPermissions : 0;
}

bool StandsForAllVolumes(CFileSpec const& spec)
{
    auto const* const imp = dynamic_cast<CFileSpecMacOSX const*>(spec.GetImp());
    return imp && imp->IsVolumesEnumerator();
}

class StandardFoldersTest : public testing::Test
{
protected:
    StEnvironment const mHome{"HOME", "/home/someone"};
    ScriptedDesktopPlatform mDesktop;
    StDesktopPlatform const mInUse{mDesktop};
};

struct ContainerCase
{
    int mContainer;
    char const* mFound;     // with all folders known
    char const* mPortable;  // with none
    char const* mCalls;     // with all folders known
};

constexpr ContainerCase kContainers[] = {
    {0, "/f/flnt", "/tmp", "FindFolder(-32763, flnt)"},
    {1, "/f/dtop", "/home/someone", "FindFolder(-32763, dtop)"},
    {2, "/f/logs", "/home/someone", "FindFolder(-32763, logs)"},
    {3, "/f/asup", "/home/someone", "FindFolder(-32763, asup)"},
    {4, "/f/dlib", "/home/someone", "FindFolder(-32763, dlib)"},
    {5, "/f/pref", "/home/someone", "FindFolder(-32763, pref)"},
    {6, "/boot", "", "GetVolumeOfFolder(-32768, root) FindFolder(-7, root)"},
    {9, "", "", ""},
    {10, "/machine/dlib", "/home/someone", "FindFolder(-32765, dlib)"},
    {11, "/machine/cach/TemporaryPublicItems", "/tmp", "FindFolder(-32765, cach)"},
    {12, "/machine/asup", "/home/someone", "FindFolder(-32765, asup)"},
    {13, "/f/dtop", "/home/someone", "FindFolder(-32763, dtop)"},
    {15, "/f/dtop", "/home/someone", "FindFolder(-32763, dtop)"},
};

void KnowAllFolders(ScriptedDesktopPlatform& desktop)
{
    desktop.mFolders = {
        {{kDesktopUserDomain, "flnt"}, u"/f/flnt"},
        {{kDesktopUserDomain, "dtop"}, u"/f/dtop"},
        {{kDesktopUserDomain, "logs"}, u"/f/logs"},
        {{kDesktopUserDomain, "dlib"}, u"/f/dlib"},
        {{kDesktopUserDomain, "asup"}, u"/f/asup"},
        {{kDesktopUserDomain, "pref"}, u"/f/pref"},
        {{kDesktopLocalDomain, "dlib"}, u"/machine/dlib"},
        {{kDesktopLocalDomain, "cach"}, u"/machine/cach"},
        {{kDesktopLocalDomain, "asup"}, u"/machine/asup"},
        {{-7, "root"}, u"/boot"},
    };
    desktop.mVolumes = {{{kDesktopSystemDisk, "root"}, -7}};
}

std::string NameIn(Container container, bool unique = false)
{
    return PathOf(CFileSpec(container, u"a/b.txt", unique));
}

}  // namespace

TEST_F(StandardFoldersTest, AreTheDesktops)
{
    KnowAllFolders(mDesktop);
    for (ContainerCase const& c : kContainers) {
        SCOPED_TRACE(c.mContainer);
        auto const container = static_cast<Container>(c.mContainer);
        std::string const folder = c.mFound;
        EXPECT_EQ(NameIn(container), folder + "/a_b.txt");
        EXPECT_EQ(mDesktop.TakeCalls(), c.mCalls);
        EXPECT_EQ(PathOf(CFileSpec(container)), folder + "/");
        EXPECT_TRUE(CFileSpec(container).Changed());
        mDesktop.TakeCalls();
    }
}

TEST_F(StandardFoldersTest, ArePortableWhereTheDesktopKnowsNone)
{
    for (ContainerCase const& c : kContainers) {
        SCOPED_TRACE(c.mContainer);
        auto const container = static_cast<Container>(c.mContainer);
        EXPECT_EQ(NameIn(container), std::string(c.mPortable) + "/a_b.txt");
        EXPECT_TRUE(CFileSpec(container).Changed());
    }
}

TEST_F(StandardFoldersTest, ArePortableWhereNoPathLeadsToTheDesktops)
{
    KnowAllFolders(mDesktop);
    for (auto& [key, path] : mDesktop.mFolders)
        path.reset();
    for (ContainerCase const& c : kContainers) {
        SCOPED_TRACE(c.mContainer);
        auto const container = static_cast<Container>(c.mContainer);
        EXPECT_EQ(NameIn(container), std::string(c.mPortable) + "/a_b.txt");
        EXPECT_EQ(mDesktop.TakeCalls(), c.mCalls) << "one look-up is all";
    }
}

TEST_F(StandardFoldersTest, NamesInThemAreMadeUnique)
{
    StTempDir const folder;
    folder.Write("a_b.txt", "");
    mDesktop.mFolders[{kDesktopUserDomain, "dtop"}] = folder.Path16();
    EXPECT_EQ(NameIn(CFileSpec::cContainerDesktop, true), folder.Path("a_b 2.txt"));
    EXPECT_EQ(NameIn(CFileSpec::cContainerDesktop, false), folder.Path("a_b.txt"));

    StEnvironment const home("HOME", folder.Path());
    EXPECT_EQ(NameIn(CFileSpec::cContainerPreferences, true), folder.Path("a_b 2.txt"));
    EXPECT_EQ(NameIn(CFileSpec::cContainerPreferences, false), folder.Path("a_b.txt"));
}

TEST_F(StandardFoldersTest, ThrowWhereUniquenessCannotBeTold)
{
    StTempDir const folder;
    folder.Write("file", "");
    mDesktop.mFolders[{kDesktopUserDomain, "dtop"}] = folder.Path16("file");
    EXPECT_EQ(FailureOf([&] { NameIn(CFileSpec::cContainerDesktop, true); }),
              FileFailure(kFileNotAFolder, kFileStat, ENOTDIR));
}

TEST_F(StandardFoldersTest, LogsFallBackOnTheLibrary)
{
    mDesktop.mFolders[{kDesktopUserDomain, "dlib"}] = u"/Users/ann/Library";
    EXPECT_EQ(NameIn(CFileSpec::cContainerLogs), "/Users/ann/Library/Logs/a_b.txt");
    EXPECT_EQ(mDesktop.TakeCalls(), "FindFolder(-32763, logs) FindFolder(-32763, dlib)");

    mDesktop.mFolders[{kDesktopUserDomain, "dlib"}].reset();
    EXPECT_EQ(NameIn(CFileSpec::cContainerLogs), "/home/someone/a_b.txt");
    mDesktop.mFolders.clear();
    EXPECT_EQ(NameIn(CFileSpec::cContainerLogs), "/home/someone/a_b.txt");
}

TEST_F(StandardFoldersTest, TheBootVolumeNeedsItsNumberAndItsRoot)
{
    mDesktop.mVolumes[{kDesktopSystemDisk, "root"}] = -7;
    EXPECT_EQ(NameIn(CFileSpec::cContainerBootVolume), "/a_b.txt");
    EXPECT_EQ(mDesktop.TakeCalls(), "GetVolumeOfFolder(-32768, root) FindFolder(-7, root)");
    mDesktop.mVolumes.clear();
    mDesktop.mFolders[{-7, "root"}] = u"/boot";
    EXPECT_EQ(NameIn(CFileSpec::cContainerBootVolume), "/a_b.txt");
    EXPECT_EQ(mDesktop.TakeCalls(), "GetVolumeOfFolder(-32768, root)");
}

TEST_F(StandardFoldersTest, TheSharedTemporaryFolderIsMadeForAll)
{
    StTempDir const caches;
    mDesktop.mFolders[{kDesktopLocalDomain, "cach"}] = caches.Path16();
    std::string const shared = caches.Path("TemporaryPublicItems");
    StUmask const mask(077);

    EXPECT_EQ(NameIn(CFileSpec::cContainerSharedTemporary), shared + "/a_b.txt");
    EXPECT_EQ(ModeOf(shared), mode_t{0777}) << "whatever the process's mask";

    fs::permissions(shared, fs::perms::owner_all);
    EXPECT_EQ(NameIn(CFileSpec::cContainerSharedTemporary), shared + "/a_b.txt");
    EXPECT_EQ(ModeOf(shared), mode_t{0777}) << "also if it is there already";
}

TEST_F(StandardFoldersTest, ASharedTemporaryFolderThatCannotBeMadeIsNamedAllTheSame)
{
    StTempDir const caches;
    mDesktop.mFolders[{kDesktopLocalDomain, "cach"}] = caches.Path16("missing");
    EXPECT_EQ(NameIn(CFileSpec::cContainerSharedTemporary),
              caches.Path("missing/TemporaryPublicItems/a_b.txt"));
    EXPECT_FALSE(caches.Has("missing"));
}

TEST_F(StandardFoldersTest, OtherFoldersAreNotMade)
{
    StTempDir const library;
    mDesktop.mFolders[{kDesktopUserDomain, "dlib"}] = library.Path16();
    CFileSpec const spec(CFileSpec::cContainerLogs);
    EXPECT_FALSE(library.Has("Logs"));
}

TEST(StandardFolderConstants, AreTheAddedPaths)
{
    EXPECT_EQ(std::u16string(logs), u"/Logs");
    EXPECT_EQ(std::u16string(temporaryPublicItems), u"/TemporaryPublicItems");
}

// ---- All volumes

TEST_F(StandardFoldersTest, AllVolumesAreMarked)
{
    CFileSpec const all(CFileSpec::cContainerAllVolumes);
    EXPECT_EQ(PathOf(all), "/");
    EXPECT_TRUE(StandsForAllVolumes(all));

    CFileSpec assigned;
    assigned = all;
    CFileSpec pointed(all);
    pointed.GetImp()->Assign(u"/a");
    CFileSpec ofImp(*all.GetImp());
    CFileSpecMacOSX const copy(static_cast<CFileSpecMacOSX const&>(*all.GetImp()));
    EXPECT_TRUE(StandsForAllVolumes(CFileSpec(all)));
    EXPECT_TRUE(StandsForAllVolumes(assigned));
    EXPECT_TRUE(StandsForAllVolumes(pointed)) << "a new path doesn't change that";
    EXPECT_TRUE(StandsForAllVolumes(ofImp));
    EXPECT_TRUE(copy.IsVolumesEnumerator());

    CFileSpec moved = all;
    moved = CFileSpec();
    EXPECT_FALSE(StandsForAllVolumes(moved));
}

TEST_F(StandardFoldersTest, NothingElseIsMarkedAsAllVolumes)
{
    CFileSpec const all(CFileSpec::cContainerAllVolumes);
    CFileSpec container(u"/a/b", false);
    EXPECT_TRUE(container.GetContainer(&container));
    CFileSpec const specs[] = {
        CFileSpec(),
        container,
        CFileSpec(all, u"name", false),
        CFileSpec(u"/", false),
        CFileSpec(u"/a", true),
        CFileSpec(CFileSpecImp(u"/", false)),
        CFileSpec(CFileSpecImp(all)),
        CFileSpec(CFileSpec::cContainerBootVolume),
        CFileSpec(CFileSpec::cContainerMountedVolume),
        CFileSpec(CFileSpec::cContainerNetworkVolume),
    };
    for (CFileSpec const& spec : specs)
        EXPECT_FALSE(StandsForAllVolumes(spec)) << PathOf(spec);
}

// ---- Mounted volumes

class MountedVolumesTest : public StandardFoldersTest
{
protected:
    static std::string Find(std::u16string const& name, bool unique = false)
    {
        CFileSpec const spec(CFileSpec::cContainerMountedVolume, name, unique);
        EXPECT_TRUE(spec.Changed());
        return PathOf(spec);
    }

    StTempDir const mVolumes;
};

TEST_F(MountedVolumesTest, AreFoundByFolderOrByShownName)
{
    std::string const first = mVolumes.MakeFolder("first");
    std::string const second = mVolumes.MakeFolder("second");
    std::string const third = mVolumes.MakeFolder("deep/first");
    std::string const accented = mVolumes.MakeFolder("Gr\xC3\xB6\xC3\x9F"
                                                     "e");
    std::string const file = mVolumes.Write("file", "");
    mDesktop.mMountPoints = {"/",      mVolumes.Path("gone"),          file, first, second, third,
                             accented, mVolumes.Path("not UTF-8 \xFF")};
    mDesktop.mDisplayNames = {
        {u"/", u"Macintosh HD"},
        {mVolumes.Path16("gone"), u"Gone"},
        {mVolumes.Path16("file"), u"A file"},
        {mVolumes.Path16("second"), u"Second \u00E9"},
        {mVolumes.Path16("deep/first"), u"second"},
    };

    struct
    {
        char const* mWhat;
        char16_t const* mName;
        std::string mPath;
    } const cases[] = {
        {"by its folder, the first of two", u"first", first},
        {"by its folder, before another one that shows the name", u"second", second},
        {"by the name shown", u"Second \u00E9", second},
        {"not ASCII", u"Gr\u00F6\u00DFe", accented},
        {"another case", u"First", "/Volumes/First"},
        {"more than a component", u"deep/first", "/Volumes/deep_first"},
        {"not there any more, by its folder", u"gone", "/Volumes/gone"},
        {"not there any more, by its name", u"Gone", "/Volumes/Gone"},
        {"no folder, by its path", u"file", "/Volumes/file"},
        {"no folder, by its name", u"A file", "/Volumes/A file"},
        {"the root, by its name", u"Macintosh HD", "/Volumes/Macintosh HD"},
        {"the root, by its folder", u"", "/Volumes/"},
        {"unknown", u"x", "/Volumes/x"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Find(c.mName), c.mPath);
        EXPECT_EQ(Find(c.mName, true), c.mPath) << "the path that was found is never numbered";
    }
}

TEST_F(MountedVolumesTest, OrderIsTheSystems)
{
    std::string const first = mVolumes.MakeFolder("first");
    std::string const second = mVolumes.MakeFolder("second");
    mDesktop.mDisplayNames = {{mVolumes.Path16("second"), u"first"}};
    mDesktop.mMountPoints = {second, first};
    EXPECT_EQ(Find(u"first"), second) << "by the name shown, before the other one by its folder";
    mDesktop.mMountPoints = {first, second};
    EXPECT_EQ(Find(u"first"), first);
}

TEST_F(MountedVolumesTest, OfAnEmptyListThereAreNone)
{
    EXPECT_EQ(Find(u"x"), "/Volumes/x");
    EXPECT_EQ(mDesktop.TakeCalls(), "GetMountPoints()");
}

TEST_F(MountedVolumesTest, KeepsNumberingTheNameOfAMissingVolumeThoughNobodyAsked)
{
    StTakenPath const taken("/Volumes/x.dmg");
    EXPECT_EQ(Find(u"x.dmg", false), "/Volumes/x 2.dmg");
    EXPECT_EQ(Find(u"x.dmg", true), "/Volumes/x 2.dmg");
    EXPECT_EQ(Find(u"y", false), "/Volumes/y");
}

TEST_F(MountedVolumesTest, HaveNoFurtherQuestionsAfterTheFirstThatFits)
{
    std::string const first = mVolumes.MakeFolder("first");
    std::string const second = mVolumes.MakeFolder("second");
    mDesktop.mMountPoints = {first, second};
    EXPECT_EQ(Find(u"first"), first);
    EXPECT_EQ(mDesktop.TakeCalls(), "GetMountPoints()");
}

TEST(DesktopPlatform, FindsAMountedVolume)
{
    for (std::string const& point : DesktopPlatform().GetMountPoints()) {
        std::string const name = point.substr(point.rfind('/') + 1);
        if (point == "/" || !fs::is_directory(point)) continue;
        CFileSpec const spec(CFileSpec::cContainerMountedVolume, name, false);
        EXPECT_TRUE(spec.IsFolder()) << point;
        EXPECT_EQ(NameOf(spec), name);
    }
    EXPECT_EQ(PathOf(CFileSpec(CFileSpec::cContainerMountedVolume, u"no such volume", false)),
              "/Volumes/no such volume");
}

// ---- Network volumes

class NetworkVolumesTest : public StandardFoldersTest
{
protected:
    static constexpr short kVolume = -120;

    static CFileSpec Mount(bool unique = false)
    {
        return {CFileSpec::cContainerNetworkVolume, u"smb://h/\u00E9", unique};
    }
};

TEST_F(NetworkVolumesTest, AreMountedByTheirURL)
{
    mDesktop.mServers["smb://h/\xC3\xA9"] = kVolume;
    mDesktop.mFolders[{kVolume, "root"}] = u"/Volumes/\u00E9";
    EXPECT_EQ(PathOf(Mount()), "/Volumes/\xC3\xA9/") << "the root, the name left out";
    EXPECT_TRUE(Mount().Changed());
    mDesktop.TakeCalls();
    Mount();
    EXPECT_EQ(mDesktop.TakeCalls(), "MountServerVolume(smb://h/\xC3\xA9) FindFolder(-120, root)");
}

TEST_F(NetworkVolumesTest, KeepsNumberingTheRootWhereAUniqueNameIsAskedFor)
{
    StTempDir const root;
    mDesktop.mServers["smb://h/\xC3\xA9"] = kVolume;
    mDesktop.mFolders[{kVolume, "root"}] = root.Path16();
    EXPECT_EQ(PathOf(Mount(true)), root.Path(" 2"));
}

TEST_F(NetworkVolumesTest, ThatCannotBeMountedAreNamedAmongTheMountedOnes)
{
    EXPECT_EQ(PathOf(Mount()), "/Volumes/smb:__h_\xC3\xA9");
    EXPECT_TRUE(Mount().Changed());
    mDesktop.mServers["smb://h/\xC3\xA9"] = kVolume;
    EXPECT_EQ(PathOf(Mount()), "/Volumes/smb:__h_\xC3\xA9") << "mounted, but without a root";

    StTakenPath const taken("/Volumes/smb:__h_\xC3\xA9");
    EXPECT_EQ(PathOf(Mount(false)), "/Volumes/smb:__h_\xC3\xA9 2") << "numbered in any case";
}

TEST_F(NetworkVolumesTest, KeepsTheSpecifierEmptyWhereNoPathLeadsToTheVolume)
{
    mDesktop.mServers["smb://h/\xC3\xA9"] = kVolume;
    mDesktop.mFolders[{kVolume, "root"}];
    EXPECT_EQ(PathOf(Mount()), "");
    EXPECT_FALSE(
        CFileSpecMacOSX(CFileSpec::cContainerNetworkVolume, u"smb://h/\u00E9", false).Changed());
}
