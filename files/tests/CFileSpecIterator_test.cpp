#include "files/CFileSpecIterator.h"

#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <set>
#include <thread>

#include <fcntl.h>

namespace fs = std::filesystem;

namespace {

std::set<std::string> PathsIn(CFileSpec const& folder)
{
    std::set<std::string> paths;
    CFileSpecIterator iterator(folder);
    for (CFileSpec entry; iterator.Next(&entry);) {
        EXPECT_TRUE(paths.insert(PathOf(entry)).second) << PathOf(entry) << " came twice";
    }
    return paths;
}

}  // namespace

TEST(CFileSpecIterator, AnEmptyFolderHasNoEntries)
{
    StTempDir const folder;
    CFileSpecIterator iterator(Spec(folder.Path()));
    CFileSpec entry = Spec("/old");
    EXPECT_FALSE(iterator.Next(&entry));
    EXPECT_FALSE(iterator.Next(&entry)) << "and none later";
    EXPECT_EQ(PathOf(entry), "/old");
}

TEST(CFileSpecIterator, GivesEachEntryOnce)
{
    StTempDir const folder;
    folder.Write("file", "");
    folder.Write(".hidden", "");
    folder.Write("...", "");
    folder.Write("folder/inner", "");
    folder.Write("\xC3\xA9\xF0\x9F\x98\x80", "");
    folder.Write(std::string(255, 'x'), "");
    fs::create_symlink("missing", folder.Path("dangling"));
    EXPECT_EQ(
        PathsIn(Spec(folder.Path())),
        (std::set<std::string>{folder.Path("file"), folder.Path(".hidden"), folder.Path("..."),
                               folder.Path("folder"), folder.Path("\xC3\xA9\xF0\x9F\x98\x80"),
                               folder.Path(std::string(255, 'x')), folder.Path("dangling")}));
}

TEST(CFileSpecIterator, EntriesKnowNothingOfTheirPredecessor)
{
    StTempDir const folder;
    folder.MakeFolder("folder");
    folder.Write("file", "");
    CFileSpecIterator iterator(Spec(folder.Path()));
    for (CFileSpec entry; iterator.Next(&entry);) {
        EXPECT_EQ(entry.IsFolder(), NameOf(entry) == "folder");
        EXPECT_EQ(entry.IsRealFile(), NameOf(entry) == "file");
        EXPECT_TRUE(entry.Changed());
    }
}

TEST(CFileSpecIterator, AddsASlashUnlessItIsTheRoot)
{
    StTempDir const folder;
    folder.Write("file", "");
    EXPECT_EQ(PathsIn(Spec(folder.Path())), std::set<std::string>{folder.Path() + "/file"});
    EXPECT_EQ(PathsIn(Spec("/")).count("/tmp"), 1U);
}

TEST(CFileSpecIterator, KeepsDoublingTheSlashAtTheEndOfAFolder)
{
    StTempDir const folder;
    folder.Write("file", "");
    EXPECT_EQ(PathsIn(Spec(folder.Path() + "/")), std::set<std::string>{folder.Path() + "//file"});
    EXPECT_EQ(PathsIn(CFileSpec(Spec(folder.Path()), std::string(), false)),
              std::set<std::string>{folder.Path() + "//file"});
}

TEST(CFileSpecIterator, FollowsALinkToItsFolder)
{
    StTempDir const folder;
    folder.Write("real/file", "");
    fs::create_symlink("real", folder.Path("link"));
    EXPECT_EQ(PathsIn(Spec(folder.Path("link"))), std::set<std::string>{folder.Path("link/file")});
}

TEST(CFileSpecIterator, TheFailureComesOutOfTheFirstNext)
{
    StTempDir const folder;
    folder.Write("file", "");

    struct
    {
        char const* mWhat;
        std::string mPath;
        char const* mFailure;
    } const cases[] = {
        {"missing", folder.Path("missing"), "2 in 17: "},
        {"a name too long", folder.Path(std::string(256, 'x')), "1 in 17: "},
        {"a file on the way", folder.Path("file/x"), "3 in 17: "},
        {"no path", "", "2 in 17: "},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFileSpecIterator iterator(Spec(c.mPath));
        CFileSpec entry;
        EXPECT_EQ(Thrown([&] { iterator.Next(&entry); }), c.mFailure);
    }
}

TEST(CFileSpecIterator, KeepsTakingTheFailureFromErrnoAtNext)
{
    StTempDir const folder;
    CFileSpecIterator iterator(Spec(folder.Write("file", "")));
    CFileSpec entry = Spec("/old");
    errno = EIO;
    EXPECT_EQ(Thrown([&] { iterator.Next(&entry); }), "100 in 17: ")
        << "and names what it opened, nothing here";
    errno = 0;
    EXPECT_FALSE(iterator.Next(&entry)) << "without an error it is the end";
    errno = EACCES;
    EXPECT_EQ(Thrown([&] { iterator.Next(&entry); }), "5 in 17: ");
    EXPECT_EQ(PathOf(entry), "/old");
}

TEST(CFileSpecIterator, ThrowsAccessDeniedForAClosedFolder)
{
    StTempDir const folder;
    fs::permissions(folder.Path(), fs::perms::all);
    folder.Write("closed/file", "");
    fs::permissions(folder.Path("closed"), fs::perms::none);
    EXPECT_EQ(AsOrdinaryUser([&] { return Thrown([&] { NamesIn(Spec(folder.Path("closed"))); }); }),
              "5 in 17: " + folder.Path("closed"));
}

TEST(CFileSpecIterator, PassesOverNamesThatAreNotUTF8)
{
    StTempDir const folder;
    folder.Write("good", "");
    folder.MakeFolder("inner");
    // A stray byte, a cut sequence, an overlong one, a surrogate, and one past the last code point.
    for (char const* const name :
         {"\xFF", "a\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
        folder.Write(name, "");
    }
    EXPECT_EQ(PathsIn(Spec(folder.Path())),
              (std::set<std::string>{folder.Path("good"), folder.Path("inner")}));
}

TEST(CFileSpecIterator, EndsInAFolderThatHasVanished)
{
    StTempDir const folder;
    folder.MakeFolder("gone");
    CFileSpecIterator iterator(Spec(folder.Path("gone")));
    fs::remove(folder.Path("gone"));
    CFileSpec entry;
    EXPECT_FALSE(iterator.Next(&entry));
}

TEST(CFileSpecIterator, TheDescriptorIsNotInherited)
{
    StTempDir const folder;
    int const next = open("/dev/null", O_RDONLY);
    ASSERT_GE(next, 0);
    close(next);
    CFileSpecIterator const iterator(Spec(folder.Path()));
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
}

TEST(CFileSpecIterator, ClosesItsDescriptor)
{
    StTempDir const folder;
    for (int i = 0; i < 5000; ++i) {
        CFileSpecIterator iterator(Spec(folder.Path()));
        CFileSpec entry;
        ASSERT_EQ(Thrown([&] { EXPECT_FALSE(iterator.Next(&entry)); }), "nothing") << i;
    }
}

TEST(CFileSpecIterator, GivesEachEntryToOneThreadOnly)
{
    constexpr int kEntries = 2000;
    constexpr int kThreads = 4;
    StTempDir const folder;
    for (int i = 0; i < kEntries; ++i)
        folder.Write(std::to_string(i), "");
    CFileSpecIterator iterator(Spec(folder.Path()));
    std::vector<std::string> names[kThreads];
    std::vector<std::thread> threads;
    for (std::vector<std::string>& own : names) {
        threads.emplace_back([&iterator, &own] {
            for (CFileSpec entry; iterator.Next(&entry);)
                own.push_back(NameOf(entry));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::set<std::string> all;
    std::size_t count = 0;
    for (std::vector<std::string> const& own : names) {
        count += own.size();
        all.insert(own.begin(), own.end());
    }
    EXPECT_EQ(count, static_cast<std::size_t>(kEntries));
    EXPECT_EQ(all.size(), static_cast<std::size_t>(kEntries));
}
