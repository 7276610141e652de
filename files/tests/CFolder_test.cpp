#include "files/CFolder.h"

#include "files/CFolderImp.h"
#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

CFolder Folder(std::string const& path)
{
    return CFolder(Spec(path));
}

// Runs an action on a thread with little stack, far too little for a call on it per level of a deep
// tree.
template <class Action>
void OnSmallStack(Action action)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{128} * 1024), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void* argument) -> void* {
                      (*static_cast<Action*>(argument))();
                      return nullptr;
                  },
                  &action),
              0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace

TEST(CFolder, MakesAFolder)
{
    StTempDir const temp;
    mode_t const mask = umask(027);
    Folder(temp.Path("new")).Create(false);
    umask(mask);
    struct stat now = {};
    ASSERT_EQ(stat(temp.Path("new").c_str(), &now), 0);
    EXPECT_TRUE(S_ISDIR(now.st_mode));
    EXPECT_EQ(now.st_mode & 07777, 0750U);
    mode_t const after = umask(mask);
    EXPECT_EQ(after, mask) << "the process's mask stays";
}

TEST(CFolder, MakesTheParentsThatAreMissing)
{
    StTempDir const temp;
    temp.MakeFolder("a");
    Folder(temp.Path("a/b/c")).Create(true);
    EXPECT_TRUE(fs::is_directory(temp.Path("a/b/c")));
    Folder(temp.Path("x")).Create(true);
    EXPECT_TRUE(fs::is_directory(temp.Path("x")));
}

TEST(CFolder, TellsWhyItCannotBeMade)
{
    StTempDir const temp;
    temp.MakeFolder("folder");
    temp.Write("file", "");
    fs::create_symlink("missing", temp.Path("dangling"));
    std::string const longName = temp.Path(std::string(256, 'x'));

    struct
    {
        char const* mWhat;
        std::string mPath;
        bool mWithParents;
        std::string mFailure;
    } const cases[] = {
        {"no parent", temp.Path("a/b"), false, "2 in 1: " + temp.Path("a/b")},
        {"there already", temp.Path("folder"), false, "6 in 1: " + temp.Path("folder")},
        {"there already, with parents", temp.Path("folder"), true,
         "6 in 1: " + temp.Path("folder")},
        {"a file", temp.Path("file"), true, "6 in 1: " + temp.Path("file")},
        {"a file as parent", temp.Path("file/x"), false, "3 in 1: " + temp.Path("file/x")},
        {"a file as parent, with parents", temp.Path("file/x"), true,
         "3 in 1: " + temp.Path("file/x")},
        {"a file further up", temp.Path("file/x/y"), true, "3 in 1: " + temp.Path("file/x")},
        {"a link to nothing as parent", temp.Path("dangling/x"), true,
         "6 in 1: " + temp.Path("dangling")},
        {"a name too long", longName, false, "1 in 1: " + longName},
        {"a parent's name too long", longName + "/x", true, "1 in 1: " + longName},
        {"the root", "/", true, "6 in 1: /"},
        {"nothing", "", true, "2 in 1: "},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Thrown([&] { Folder(c.mPath).Create(c.mWithParents); }), c.mFailure);
    }
    EXPECT_FALSE(temp.Has("a"));
}

TEST(CFolder, KeepsTheParentsOfAFailure)
{
    StTempDir const temp;
    std::string const longName(256, 'x');
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("a/b/" + longName)).Create(true); }).substr(0, 6),
              "1 in 1");
    EXPECT_TRUE(temp.Has("a/b"));
}

TEST(CFolder, KeepsRefusingAPathWithASlashAtItsEndThatItMadeAsAParent)
{
    StTempDir const temp;
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("a/b/")).Create(true); }),
              "6 in 1: " + temp.Path("a/b/"));
    EXPECT_TRUE(fs::is_directory(temp.Path("a/b")));
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("c/")).Create(false); }), "nothing");
    EXPECT_TRUE(fs::is_directory(temp.Path("c")));
}

TEST(CFolder, DeletesWhatItIsAskedFor)
{
    struct
    {
        char const* mWhat;
        bool mDeleteFolder;
        bool mDeleteContent;
        bool mHasFolder;
        bool mHasContent;
        char const* mFailure;
    } const cases[] = {
        {"nothing", false, false, true, true, "nothing"},
        {"the content", false, true, true, false, "nothing"},
        {"all", true, true, false, false, "nothing"},
        {"the folder alone", true, false, true, true, "100 in 4: "},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        for (bool const withoutError : {false, true}) {
            SCOPED_TRACE(withoutError);
            StTempDir const temp;
            temp.Write("top/file", "1");
            temp.Write("top/.hidden", "1");
            temp.Write("top/one/.two/three/file", "1");
            temp.MakeFolder("top/empty");
            temp.Write("beside", "");
            CFolder folder(Spec(temp.Path("top")));
            std::string failure = Thrown([&] {
                if (withoutError) {
                    folder.DeleteOrTrashWithoutError(c.mDeleteFolder, c.mDeleteContent);
                } else {
                    folder.Delete(c.mDeleteFolder, c.mDeleteContent);
                }
            });
            std::string const expected = c.mFailure;
            EXPECT_EQ(failure, withoutError || expected == "nothing" ? "nothing"
                                                                     : expected + temp.Path("top"));
            EXPECT_EQ(temp.Has("top"), c.mHasFolder);
            EXPECT_EQ(temp.Has("top/.hidden"), c.mHasContent);
            EXPECT_EQ(temp.Has("top/one/.two/three/file"), c.mHasContent);
            EXPECT_EQ(temp.Has("top/empty"), c.mHasContent);
            EXPECT_TRUE(temp.Has("beside"));
        }
    }
}

TEST(CFolder, DeletesAnEmptyFolderAlone)
{
    StTempDir const temp;
    temp.MakeFolder("empty");
    Folder(temp.Path("empty")).Delete(true, false);
    EXPECT_FALSE(temp.Has("empty"));
}

TEST(CFolder, ThrowsFromTheListingOfWhatIsNotThere)
{
    StTempDir const temp;
    std::string const missing = temp.Path("missing");
    EXPECT_EQ(Thrown([&] { Folder(missing).Delete(true, true); }), "2 in 17: ");
    EXPECT_EQ(Thrown([&] { Folder(missing).DeleteOrTrashWithoutError(true, true); }), "2 in 17: ")
        << "only the deleting is without errors";
    EXPECT_EQ(Thrown([&] { Folder(missing).Delete(true, false); }), "2 in 4: " + missing);
    EXPECT_EQ(Thrown([&] { Folder(missing).DeleteOrTrashWithoutError(true, false); }), "nothing");
}

TEST(CFolder, KeepsDeletingTheContentOfALinksTarget)
{
    StTempDir const temp;
    temp.Write("target/inner/file", "");
    temp.MakeFolder("top");
    fs::create_symlink("../target", temp.Path("top/link"));
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("top")).Delete(true, true); }),
              "3 in 4: " + temp.Path("top/link"))
        << "the link itself is no folder";
    EXPECT_TRUE(temp.Has("target"));
    EXPECT_FALSE(temp.Has("target/inner"));
    EXPECT_TRUE(temp.Has("top/link"));

    temp.Write("target/inner/file", "");
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("top")).DeleteOrTrashWithoutError(true, true); }),
              "nothing");
    EXPECT_FALSE(temp.Has("target/inner"));
    EXPECT_TRUE(temp.Has("top/link"));
}

TEST(CFolder, RemovesOtherLinksAndLeavesTheirTargets)
{
    StTempDir const temp;
    temp.Write("target", "");
    temp.MakeFolder("top");
    fs::create_symlink("../target", temp.Path("top/to-file"));
    fs::create_symlink("missing", temp.Path("top/to-nothing"));
    fs::create_symlink("loop", temp.Path("top/loop"));
    Folder(temp.Path("top")).Delete(true, true);
    EXPECT_FALSE(temp.Has("top"));
    EXPECT_TRUE(temp.Has("target"));
}

TEST(CFolder, LinksInACircleEnd)
{
    for (bool const withoutError : {false, true}) {
        SCOPED_TRACE(withoutError);
        StTempDir const temp;
        temp.Write("top/file", "");
        temp.Write("top/inner/file", "");
        // Each doubles the ways through the folders.
        for (char const* const name : {"top/a", "top/b", "top/c", "top/inner/d"}) {
            fs::create_symlink(temp.Path("top"), temp.Path(name));
        }
        if (withoutError) {
            EXPECT_EQ(
                Thrown([&] { Folder(temp.Path("top")).DeleteOrTrashWithoutError(true, true); }),
                "nothing");
            EXPECT_FALSE(temp.Has("top/file"));
            EXPECT_FALSE(temp.Has("top/inner/file"));
            EXPECT_TRUE(temp.Has("top/a")) << "a link to a folder can't be removed";
        } else {
            // As deep as the system follows links. What the failure there is depends on the order
            // of the entries.
            EXPECT_NE(Thrown([&] { Folder(temp.Path("top")).Delete(true, true); }), "nothing");
            EXPECT_TRUE(temp.Has("top"));
        }
    }
}

TEST(CFolder, StopsAtTheFirstFailure)
{
    StTempDir const temp;
    fs::permissions(temp.Path(), fs::perms::all);
    temp.Write("top/a", "");
    temp.Write("top/closed/file", "");
    temp.Write("top/z", "");
    fs::permissions(temp.Path("top"), fs::perms::all);
    fs::permissions(temp.Path("top/closed"), fs::perms::owner_read | fs::perms::others_read |
                                                 fs::perms::owner_exec | fs::perms::others_exec);
    std::vector<std::string> const names = NamesIn(Spec(temp.Path("top")));
    EXPECT_EQ(AsOrdinaryUser(
                  [&] { return Thrown([&] { Folder(temp.Path("top")).Delete(true, true); }); }),
              "5 in 4: " + temp.Path("top/closed/file"));
    // From the last entry to the first: what stands before the closed one in the listing is still
    // there.
    bool isBefore = true;
    for (std::string const& name : names) {
        if (name == "closed") isBefore = false;
        EXPECT_EQ(temp.Has("top/" + name), isBefore || name == "closed") << name;
    }
    EXPECT_EQ(AsOrdinaryUser([&] {
                  return Thrown(
                      [&] { Folder(temp.Path("top")).DeleteOrTrashWithoutError(true, true); });
              }),
              "nothing");
    EXPECT_FALSE(temp.Has("top/a"));
    EXPECT_FALSE(temp.Has("top/z"));
    EXPECT_TRUE(temp.Has("top/closed/file"));
}

TEST(CFolder, AFolderThatCannotBeListedThrowsFromBoth)
{
    StTempDir const temp;
    fs::permissions(temp.Path(), fs::perms::all);
    temp.Write("top/closed/file", "");
    fs::permissions(temp.Path("top"), fs::perms::all);
    fs::permissions(temp.Path("top/closed"), fs::perms::none);
    std::string const failure = "5 in 17: " + temp.Path("top/closed");
    EXPECT_EQ(AsOrdinaryUser(
                  [&] { return Thrown([&] { Folder(temp.Path("top")).Delete(true, true); }); }),
              failure);
    EXPECT_EQ(AsOrdinaryUser([&] {
                  return Thrown(
                      [&] { Folder(temp.Path("top")).DeleteOrTrashWithoutError(true, true); });
              }),
              failure);
}

TEST(CFolder, NeverTakesANameThatIsNotUTF8ForTheFolderItself)
{
    StTempDir const temp;
    temp.Write("top/\xFF", "");
    temp.Write("top/file", "");
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("top")).Delete(true, true); }),
              "100 in 4: " + temp.Path("top"))
        << "it isn't empty";
    EXPECT_TRUE(temp.Has("top/\xFF"));
    EXPECT_FALSE(temp.Has("top/file"));
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("top")).Delete(false, true); }), "nothing");
}

TEST(CFolder, WorksOnAPathWithASlashAtItsEnd)
{
    StTempDir const temp;
    temp.Write("top/inner/file", "");
    Folder(temp.Path("top/")).Delete(true, true);
    EXPECT_FALSE(temp.Has("top"));
}

TEST(CFolder, NeedsNoStackForADeepTree)
{
    StTempDir const temp;
    std::string deepest = temp.Path();
    for (int i = 0; i < 600; ++i)
        deepest += "/d";
    OnSmallStack([&] {
        EXPECT_EQ(Thrown([&] { Folder(deepest).Create(true); }), "nothing");
        EXPECT_TRUE(Spec(deepest).IsFolder());
        EXPECT_EQ(Thrown([&] { Folder(temp.Path("d")).Delete(true, true); }), "nothing");
    });
    EXPECT_FALSE(temp.Has("d"));
}

TEST(CFolder, PathsThatAreTooLongAreAnErrorAtTheFirstOfThem)
{
    StTempDir const temp;
    std::string path = temp.Path("new");
    std::string reached;
    for (int i = 0; i < 20; ++i) {
        if (path.size() < 4096) reached = path;
        path += "/" + std::string(250, 'd');
    }
    EXPECT_EQ(Thrown([&] { Folder(path).Create(true); }).substr(0, 7), "1 in 1:");
    EXPECT_TRUE(Spec(reached).IsFolder()) << "the parents that the system takes stay";
    EXPECT_EQ(Thrown([&] { Folder(temp.Path("new")).Delete(true, true); }), "nothing");
    EXPECT_FALSE(temp.Has("new"));
}

TEST(CFolder, CopiesNameTheSameFolder)
{
    StTempDir const temp;
    CFolder const folder = Folder(temp.Path("a"));
    CFolder copy(folder);
    copy.Create(false);
    EXPECT_TRUE(temp.Has("a"));
    CFolder other = Folder(temp.Path("b"));
    other = copy;
    CFolder& same = other;
    other = same;
    other.Delete(true, true);
    EXPECT_FALSE(temp.Has("a"));
    other.Create(false);
    EXPECT_TRUE(temp.Has("a"));
    EXPECT_FALSE(temp.Has("b"));
}

TEST(CFolder, TheBodyRemovesOneEmptyFolder)
{
    StTempDir const temp;
    temp.Write("full/file", "");
    CFolderImp empty(Spec(temp.Path("empty")));
    empty.Create();
    empty.Delete();
    EXPECT_FALSE(temp.Has("empty"));
    EXPECT_EQ(Thrown([&] { empty.Delete(); }), "2 in 4: " + temp.Path("empty"));
    CFolderImp full(Spec(temp.Path("full")));
    EXPECT_EQ(Thrown([&] { full.Delete(); }), "100 in 4: " + temp.Path("full"));
}

TEST(CFileSpec, DeletesThroughAFile)
{
    StTempDir const temp;

    struct
    {
        char const* mWhat;
        void (*mDelete)(CFileSpec&);
        bool mThrowsWhenMissing;
    } const cases[] = {
        {"MoveToTrash", [](CFileSpec& spec) { spec.MoveToTrash(); }, true},
        {"Delete", [](CFileSpec& spec) { spec.Delete(); }, true},
        {"DeleteOrTrash", [](CFileSpec& spec) { spec.DeleteOrTrash(); }, false},
        {"DeleteOrTrashWithoutError", [](CFileSpec& spec) { spec.DeleteOrTrashWithoutError(); },
         false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        for (char const* const name : {"file", "folder"}) {
            SCOPED_TRACE(name);
            temp.Write("file", "");
            temp.MakeFolder("folder");
            CFileSpec spec = Spec(temp.Path(name));
            c.mDelete(spec);
            EXPECT_FALSE(temp.Has(name));
            std::string const failure = Thrown([&] { c.mDelete(spec); });
            EXPECT_EQ(failure, c.mThrowsWhenMissing ? "2 in 4: " + temp.Path(name) : "nothing");
        }
    }
}
