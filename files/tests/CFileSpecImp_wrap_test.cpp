// What a specifier asks of the system, call by call, and what it makes of answers that no real
// folder gives.
#include "files/CFileSpecImp.h"

#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// The calls made while one is in place, and what else than the system answers them.
class StCalls
{
public:
    StCalls() { sCurrent = this; }

    StCalls(StCalls const&) = delete;
    StCalls& operator=(StCalls const&) = delete;

    ~StCalls() { sCurrent = nullptr; }

    // The calls since the last question, apart by blanks.
    std::string Taken()
    {
        std::string calls;
        calls.swap(mCalls);
        return calls;
    }

    void Add(char const* call) { mCalls += mCalls.empty() ? call : std::string(" ") + call; }

    // Each answers an errno value, 0 for success.
    std::function<int(std::string const& path)> mAccess;
    std::function<long(std::string const& path)> mNameLimit;

    static StCalls* sCurrent;

private:
    std::string mCalls;
};

StCalls* StCalls::sCurrent = nullptr;

}  // namespace

extern "C" {
int __real_access(char const* path, int mode);
long __real_pathconf(char const* path, int name);
int __real_stat(char const* path, struct stat* result);
int __real_lstat(char const* path, struct stat* result);
int __wrap_access(char const* path, int mode);
long __wrap_pathconf(char const* path, int name);
int __wrap_stat(char const* path, struct stat* result);
int __wrap_lstat(char const* path, struct stat* result);

int __wrap_access(char const* path, int mode)
{
    if (!StCalls::sCurrent || !StCalls::sCurrent->mAccess) return __real_access(path, mode);
    errno = StCalls::sCurrent->mAccess(path);
    return errno == 0 ? 0 : -1;
}

long __wrap_pathconf(char const* path, int name)
{
    if (!StCalls::sCurrent || !StCalls::sCurrent->mNameLimit) return __real_pathconf(path, name);
    EXPECT_EQ(name, _PC_NAME_MAX);
    return StCalls::sCurrent->mNameLimit(path);
}

int __wrap_stat(char const* path, struct stat* result)
{
    if (StCalls::sCurrent) StCalls::sCurrent->Add("stat");
    return __real_stat(path, result);
}

int __wrap_lstat(char const* path, struct stat* result)
{
    if (StCalls::sCurrent) StCalls::sCurrent->Add("lstat");
    return __real_lstat(path, result);
}
}

TEST(CFileSpecCalls, NothingTouchesTheFileSystemBeforeItIsAsked)
{
    StCalls calls;
    CFileSpec spec(u"/a/b", false);
    CFileSpec const copy(spec);
    spec = copy;
    CFileSpec container;
    spec.GetContainer(&container);
    EXPECT_TRUE(spec.IsInsideFolder(container));
    EXPECT_FALSE(CFileSpec(container, u"c", false).IsVolume());
    EXPECT_EQ(calls.Taken(), "");
}

TEST(CFileSpecCalls, ABatchOfAttributesCostsOneCall)
{
    StTempDir const folder;
    folder.Write("file", "");
    CFileSpecImp const spec(folder.Path16("file"), false);
    StCalls calls;
    spec.GetFileSize();
    spec.GetFileModifDateUTC();
    spec.GetFileAccessDateUTC();
    spec.GetFileAttributesModifDateUTC();
    spec.IsFolder(true);
    spec.IsRealFile(true);
    EXPECT_EQ(calls.Taken(), "stat");
}

TEST(CFileSpecCalls, AskingAgainLooksAgain)
{
    StTempDir const folder;
    folder.Write("file", "");
    CFileSpecImp const spec(folder.Path16("file"), false);

    struct
    {
        char const* mWhat;
        std::function<void()> mAsk;
        char const* mCalls;
    } const steps[] = {
        {"first size", [&] { spec.GetFileSize(); }, "stat"},
        {"second size", [&] { spec.GetFileSize(); }, "stat"},
        {"third size", [&] { spec.GetFileSize(); }, "stat"},
        {"first change date, from the third size", [&] { spec.GetFileModifDateUTC(); }, ""},
        {"second change date", [&] { spec.GetFileModifDateUTC(); }, "stat"},
        {"the creation date is the change date", [&] { spec.GetFileCreationDateUTC(); }, "stat"},
        {"first access date", [&] { spec.GetFileAccessDateUTC(); }, ""},
        {"second access date", [&] { spec.GetFileAccessDateUTC(); }, "stat"},
        {"first attribute date", [&] { spec.GetFileAttributesModifDateUTC(); }, ""},
        {"second attribute date", [&] { spec.GetFileAttributesModifDateUTC(); }, "stat"},
        {"kinds, time and again",
         [&] {
             spec.IsFolder(true);
             spec.IsRealFile(true);
             spec.IsFolder(true);
         },
         ""},
        {"the link itself", [&] { spec.IsAlias(); }, "lstat"},
        {"the link itself again", [&] { spec.IsFolder(false); }, ""},
        {"a fourth size", [&] { spec.GetFileSize(); }, "stat"},
        {"which forgot the link too", [&] { spec.IsRealFile(false); }, "lstat"},
        {"and left its target alone", [&] { spec.IsRealFile(true); }, ""},
    };

    StCalls calls;
    for (auto const& step : steps) {
        SCOPED_TRACE(step.mWhat);
        step.mAsk();
        EXPECT_EQ(calls.Taken(), step.mCalls);
    }
}

TEST(CFileSpecCalls, SetupForgetsWhichAttributesWereAsked)
{
    StTempDir const folder;
    folder.Write("file", "");
    CFileSpecImp spec(folder.Path16("file"), false);
    StCalls calls;
    spec.GetFileSize();
    spec.IsAlias();
    EXPECT_EQ(calls.Taken(), "stat lstat");
    spec.SetupFromFile();
    spec.IsRealFile(true);
    EXPECT_EQ(calls.Taken(), "stat");
    spec.GetFileSize();
    EXPECT_EQ(calls.Taken(), "") << "the first question after that";
    spec.GetFileSize();
    EXPECT_EQ(calls.Taken(), "stat");
}

TEST(CFileSpecCalls, FailuresAreNotKept)
{
    StTempDir const folder;
    CFileSpec const spec = Spec(folder.Path("missing"));
    StCalls calls;
    EXPECT_FALSE(spec.IsFolder());
    EXPECT_FALSE(spec.IsFolder());
    EXPECT_FALSE(spec.IsAlias());
    EXPECT_EQ(calls.Taken(), "stat stat lstat");
    EXPECT_EQ(Thrown([&] { spec.GetFileSize(); }), "2 in 5: " + folder.Path("missing"));
    folder.Write("missing", "123");
    EXPECT_EQ(spec.GetFileSize(), 3);
    EXPECT_EQ(calls.Taken(), "stat stat");
}

TEST(CFileSpecCalls, AFailedQuestionCountsAsAsked)
{
    StTempDir const folder;
    CFileSpecImp const spec(folder.Path16("file"), false);
    EXPECT_ANY_THROW(spec.GetFileSize());
    folder.Write("file", "1");
    StCalls calls;
    EXPECT_TRUE(spec.IsRealFile(true));
    EXPECT_EQ(spec.GetFileSize(), 1);
    EXPECT_EQ(calls.Taken(), "stat stat") << "the second question for the size looks anew";
}

TEST(CFileSpecCalls, TheLimitIsThatOfTheFolder)
{
    struct
    {
        char const* mWhat;
        long mLimit;
        char16_t const* mName;
        short mReserved;
        char16_t const* mLegal;
    } const cases[] = {
        {"no limit to tell", -1, u"abcdefghij.txt", 0, u"abcdefghij.txt"},
        {"long enough", 14, u"abcdefghij.txt", 0, u"abcdefghij.txt"},
        {"not without the room", 14, u"abcdefghij.txt", 2, u"abcdefgh.txt"},
        {"one too many", 13, u"abcdefghij.txt", 0, u"abcdefghi.txt"},
        {"one unit before the tail", 5, u"abcdefghij.txt", 0, u"a.txt"},
        {"only as long as the tail", 4, u"abcdefghij.txt", 0, u"abcd"},
        {"shorter than the tail", 3, u"abcdefghij.txt", 0, u"abc"},
        {"all of it for the room", 3, u"abcdefghij.txt", 3, u""},
        {"more room than there is", 3, u"abcdefghij.txt", 6, u""},
        {"no limit, with room", -1, u"ab", 254, u"a"},
    };

    StCalls calls;
    CFileSpecImp const folder(u"/some/folder", false);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        calls.mNameLimit = [&](std::string const& path) {
            EXPECT_EQ(path, "/some/folder");
            return c.mLimit;
        };
        std::u16string name = c.mName;
        CFileSpecImp::ValidateFileName(&folder, name, c.mReserved);
        EXPECT_EQ(name, c.mLegal);
    }
}

TEST(CFileSpecCalls, EveryNumberLeavesRoomForItself)
{
    StCalls calls;
    calls.mNameLimit = [](std::string const&) { return 9L; };
    std::vector<std::string> asked;
    calls.mAccess = [&](std::string const& path) {
        asked.push_back(path);
        return asked.size() < 11 ? 0 : ENOENT;
    };
    CFileSpec const spec(CFileSpec(u"/f", false), u"abcdefghij.txt", true);
    EXPECT_EQ(PathOf(spec), "/f/ab 11.txt");
    EXPECT_EQ(asked.front(), "/f/abcde.txt");
    EXPECT_EQ(asked[1], "/f/abc 2.txt");
    EXPECT_EQ(asked[8], "/f/abc 9.txt");
    EXPECT_EQ(asked[9], "/f/ab 10.txt");
}

TEST(CFileSpecCalls, ThrowsWhatTheProbeFailsWith)
{
    struct
    {
        int mError;
        char const* mFailure;
    } const cases[] = {
        {EACCES, "5 in 5: /f/x"},  {ENAMETOOLONG, "1 in 5: /f/x"},
        {ENOTDIR, "3 in 5: /f/x"}, {ELOOP, "100 in 5: /f/x"},
        {EIO, "100 in 5: /f/x"},   {EPERM, "7 in 5: /f/x"},
        {EROFS, "5 in 5: /f/x"},   {ENOENT, "nothing"},
    };

    StCalls calls;
    for (auto const& c : cases) {
        SCOPED_TRACE(strerrorname_np(c.mError));
        calls.mAccess = [&](std::string const&) { return c.mError; };
        EXPECT_EQ(Thrown([] { CFileSpec(u"/f/x", true); }), c.mFailure);
    }
}

TEST(CFileSpecCalls, KeepsTheNumberIn16SignedBits)
{
    struct
    {
        unsigned int mTaken;
        char const* mPath;
    } const cases[] = {
        {0, "/f/x.t"},
        {1, "/f/x 2.t"},
        {32766, "/f/x 32767.t"},
        {32767, "/f/x -32768.t"},
        {32768, "/f/x -32767.t"},
        {65534, "/f/x -1.t"},
        {65535, "/f/x 0.t"},
        {65536, "/f/x 1.t"},
    };

    StCalls calls;
    calls.mNameLimit = [](std::string const&) { return 255L; };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mPath);
        unsigned int asked = 0;
        calls.mAccess = [&](std::string const&) { return asked++ < c.mTaken ? 0 : ENOENT; };
        EXPECT_EQ(PathOf(CFileSpec(u"/f/x.t", true)), c.mPath);
    }
}

TEST(CFileSpecCalls, EndsWhenAllNumbersAreTaken)
{
    StCalls calls;
    calls.mNameLimit = [](std::string const&) { return 255L; };
    unsigned int asked = 0;
    calls.mAccess = [&](std::string const&) {
        ++asked;
        return 0;
    };
    EXPECT_EQ(Thrown([] { CFileSpec(u"/f/x", true); }).substr(0, 8), "100 in 5");
    EXPECT_EQ(asked, 65537U) << "the bare name, and each number once";
}
