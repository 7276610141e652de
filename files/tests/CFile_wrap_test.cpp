// Files on a system whose calls fail, or do less than asked, when a test says so.
#include "files/tests/FileTestTools.h"
#include "testing/FailureOf.h"
#include "testing/ScriptedFilePlatform.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>

#include <fcntl.h>

using testing::ElementsAre;

namespace {

// What a call is to do in place of its own work; none means its own work.
struct Verdict
{
    long mResult;
    int mError = 0;
    // Not the result, but how much of the work is done: for reading and writing.
    bool mIsCut = false;
};

using Judge = std::function<std::optional<Verdict>(std::string const& name, int nth)>;

// Traces the calls made while one is in place, and lets `judge` decide what becomes of each; `nth`
// counts the calls of one name from 1.
class StSystemCalls
{
public:
    explicit StSystemCalls(Judge judge = {})
        : mJudge(std::move(judge))
    {
        sCurrent = this;
    }

    StSystemCalls(StSystemCalls const&) = delete;
    StSystemCalls& operator=(StSystemCalls const&) = delete;

    ~StSystemCalls() { sCurrent = nullptr; }

    std::vector<std::string> const& Trace() const { return mTrace; }

    // "from -> to", whatever became of it.
    std::vector<std::string> const& Renames() const { return mRenames; }

    static void NoteRename(std::string const& from, std::string const& to)
    {
        if (sCurrent) sCurrent->mRenames.push_back(from + " -> " + to);
    }

    static std::optional<Verdict> Judged(std::string const& name)
    {
        // Not while the judge itself calls the system.
        StSystemCalls* const current = std::exchange(sCurrent, nullptr);
        if (!current) return std::nullopt;
        current->mTrace.push_back(name);
        int const nth = ++current->mCounts[name];
        auto const verdict = current->mJudge ? current->mJudge(name, nth) : std::nullopt;
        sCurrent = current;
        return verdict;
    }

private:
    Judge mJudge;
    std::vector<std::string> mTrace;
    std::vector<std::string> mRenames;
    std::map<std::string, int> mCounts;

    static thread_local StSystemCalls* sCurrent;
};

thread_local StSystemCalls* StSystemCalls::sCurrent = nullptr;

// The `nth` call of `name` does nothing and gives `error`.
Judge FailNth(std::string name, int nth, int error)
{
    return [=](std::string const& called, int count) -> std::optional<Verdict> {
        if (called != name || count != nth) return std::nullopt;
        return Verdict{-1, error};
    };
}

template <class Result, class Call>
Result Judged(char const* name, Call const& call)
{
    auto const verdict = StSystemCalls::Judged(name);
    if (!verdict) return call();
    errno = verdict->mError;
    return static_cast<Result>(verdict->mResult);
}

template <class Call>
ssize_t JudgedTransfer(char const* name, size_t size, Call const& call)
{
    auto const verdict = StSystemCalls::Judged(name);
    if (!verdict) return call(size);
    if (verdict->mIsCut) return call(std::min(size, static_cast<size_t>(verdict->mResult)));
    errno = verdict->mError;
    return verdict->mResult;
}

}  // namespace

extern "C" {
int __real_close(int descriptor);
int __real_fsync(int descriptor);
off_t __real_lseek(int descriptor, off_t offset, int whence);
int __real_open(char const* path, int flags, ...);
ssize_t __real_read(int descriptor, void* buffer, size_t size);
int __real_rename(char const* from, char const* to);
int __real_renameat2(
    int fromFolder, char const* from, int toFolder, char const* to, unsigned flags);
int __real_unlink(char const* path);
ssize_t __real_write(int descriptor, void const* buffer, size_t size);

int __wrap_close(int descriptor);
int __wrap_fsync(int descriptor);
off_t __wrap_lseek(int descriptor, off_t offset, int whence);
int __wrap_open(char const* path, int flags, ...);
ssize_t __wrap_read(int descriptor, void* buffer, size_t size);
int __wrap_rename(char const* from, char const* to);
int __wrap_renameat2(
    int fromFolder, char const* from, int toFolder, char const* to, unsigned flags);
int __wrap_unlink(char const* path);
ssize_t __wrap_write(int descriptor, void const* buffer, size_t size);

int __wrap_close(int descriptor)
{
    return Judged<int>("close", [=] { return __real_close(descriptor); });
}

int __wrap_fsync(int descriptor)
{
    return Judged<int>("fsync", [=] { return __real_fsync(descriptor); });
}

off_t __wrap_lseek(int descriptor, off_t offset, int whence)
{
    return Judged<off_t>("lseek", [=] { return __real_lseek(descriptor, offset, whence); });
}

int __wrap_open(char const* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    int const mode = flags & O_CREAT ? va_arg(more, int) : 0;
    va_end(more);
    char name[40];
    std::snprintf(name, sizeof name, flags & O_CREAT ? "open %#x %#o" : "open %#x", flags, mode);
    return Judged<int>(name, [=] { return __real_open(path, flags, mode); });
}

ssize_t __wrap_read(int descriptor, void* buffer, size_t size)
{
    return JudgedTransfer("read", size,
                          [=](size_t part) { return __real_read(descriptor, buffer, part); });
}

int __wrap_rename(char const* from, char const* to)
{
    StSystemCalls::NoteRename(from, to);
    return Judged<int>("rename", [=] { return __real_rename(from, to); });
}

int __wrap_renameat2(int fromFolder, char const* from, int toFolder, char const* to, unsigned flags)
{
    return Judged<int>(flags == 0 ? "renameat2" : "renameat2 exchange",
                       [=] { return __real_renameat2(fromFolder, from, toFolder, to, flags); });
}

int __wrap_unlink(char const* path)
{
    return Judged<int>("unlink", [=] { return __real_unlink(path); });
}

ssize_t __wrap_write(int descriptor, void const* buffer, size_t size)
{
    return JudgedTransfer("write", size,
                          [=](size_t part) { return __real_write(descriptor, buffer, part); });
}
}

namespace {

std::string OpenCall(int flags)
{
    char name[40];
    std::snprintf(name, sizeof name, "open %#x", flags);
    return name;
}

}  // namespace

// ---- Calls

TEST(CFileCalls, CreateOpensOnceForItselfAlone)
{
    StTempDir const folder;
    CFile file(Spec(folder.Path("new")));
    StSystemCalls const calls;
    file.Create();
    EXPECT_THAT(calls.Trace(),
                ElementsAre(OpenCall(O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC) + " 0666", "close"));
}

TEST(CFileCalls, AreCloseOnExecFromBirth)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    StSystemCalls const calls;
    file.Open(CFile::cPrivilegeRead);
    file.Open(CFile::cPrivilegeWrite);
    file.Close();
    file.Open(CFile::cPrivilegeReadWrite);
    EXPECT_THAT(calls.Trace(), ElementsAre(OpenCall(O_RDONLY | O_CLOEXEC),
                                           OpenCall(O_WRONLY | O_NONBLOCK | O_CLOEXEC), "close",
                                           "close", OpenCall(O_RDWR | O_NONBLOCK | O_CLOEXEC)));
}

TEST(CFileCalls, ALineCostsOneReadAndOneSeek)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "a\nb\nc")));
    file.Open(CFile::cPrivilegeRead);
    char buffer[65];
    StSystemCalls const calls;
    for (int i = 0; i < 3; ++i)
        file.ReadLine(buffer, 64, nullptr);
    EXPECT_THAT(calls.Trace(), ElementsAre("read", "lseek", "read", "lseek", "read", "lseek"));
}

TEST(CFileCalls, NumbersOfIntegersCostOneCallUnlessTheyAreWrittenSwapped)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "")));
    file.Open(CFile::cPrivilegeReadWrite);
    std::uint16_t values[] = {1, 2, 3};
    std::uint16_t const before[] = {1, 2, 3};
    for (auto const order : {CFile::cLittleEndian, CFile::cBigEndian}) {
        file.SetFileEndianness(order);
        StSystemCalls const calls;
        file.WriteMultipleInt16(values, 3);
        file.WriteMultipleInt8(values, 6);
        file.ReadMultipleInt16(values, 3);
        EXPECT_THAT(calls.Trace(),
                    order == CFile::cLittleEndian
                        ? ElementsAre("write", "write", "read")
                        : testing::Matcher<std::vector<std::string> const&>(
                              ElementsAre("write", "write", "write", "write", "read")));
        std::copy(std::begin(before), std::end(before), values);
    }
}

TEST(CFileCalls, SwappedIntegersSumShortCounts)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "")));
    file.SetFileEndianness(CFile::cBigEndian);
    file.Open(CFile::cPrivilegeWrite);
    std::uint32_t const values[] = {0x01020304, 0x05060708, 0x090A0B0C};
    StSystemCalls const calls([](auto&, int nth) -> std::optional<Verdict> {
        if (nth != 2) return std::nullopt;
        return Verdict{1, 0, true};
    });
    EXPECT_EQ(file.WriteMultipleInt32(values, 3), 9);
    EXPECT_EQ(folder.Read("file"), "\x01\x02\x03\x04\x05\x09\x0A\x0B\x0C");
}

// ---- Failures

TEST(CFileCalls, TellWhatTheSystemReports)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeReadWrite);
    char buffer[8] = {};

    struct
    {
        char const* mWhat;
        char const* mCall;
        int mError;
        Failure mFailure;
        std::function<void()> mAction;
    } const cases[] = {
        {"interrupted read", "read", EINTR, FileFailure(kOtherFailure, kFileRead, EINTR),
         [&] { file.Read(buffer, 4); }},
        {"broken read", "read", EIO, FileFailure(kOtherFailure, kFileRead, EIO),
         [&] { file.ReadInt16(buffer); }},
        {"interrupted write", "write", EINTR, FileFailure(kOtherFailure, kFileWrite, EINTR),
         [&] { file.Write(buffer, 4); }},
        {"full disk", "write", ENOSPC, FileFailure(kOtherFailure, kFileWrite, ENOSPC),
         [&] { file.Write(buffer, 4); }},
        {"broken seek", "lseek", EIO, FileFailure(kOtherFailure, kFileGetCursor, EIO),
         [&] { file.GetCursorPos(); }},
        {"broken flush isn't told", "fsync", EIO, Failure(), [&] { file.Flush(); }},
        {"no error isn't told", "read", 0, Failure(), [&] { file.Read(buffer, 4); }},
        {"broken rename", "rename", EROFS, FileFailure(kFileAccessDenied, kFileMove, EROFS),
         [&] { file.Rename(u"b", false, false); }},
        {"not permitted", "unlink", EPERM, FileFailure(kFileNotPermitted, kFileDelete, EPERM),
         [&] { file.Delete(); }},
        {"broken close", "close", EIO, FileFailure(kOtherFailure, kFileClose, EIO),
         [&] { file.Close(); }},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StSystemCalls const calls(FailNth(c.mCall, 1, c.mError));
        EXPECT_EQ(FailureOf(c.mAction), c.mFailure);
        EXPECT_TRUE(file.IsOpen());
    }
    EXPECT_EQ(folder.Read("file"), "text");
}

TEST(CFileCalls, AnOpenThatFailsWithNoErrorThrowsNothing)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    StSystemCalls const calls(FailNth(OpenCall(O_RDONLY | O_CLOEXEC), 1, 0));
    EXPECT_EQ(FailureOf([&] { file.Open(CFile::cPrivilegeRead); }), Failure());
    EXPECT_FALSE(file.IsOpen());
}

// ---- Copying

TEST(CFileCalls, CopyWritesAllThatItRead)
{
    StTempDir const folder;
    std::string content(300000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 7 + i / 251);
    CFile file(Spec(folder.Write("a", content)));
    {
        StSystemCalls const calls([](std::string const& name, int nth) -> std::optional<Verdict> {
            if (name != "write") return std::nullopt;
            return Verdict{1000 + nth, 0, true};
        });
        file.CopyTo(Spec(folder.Path()), u"b", false, false, nullptr, 0, 0);
    }
    EXPECT_TRUE(folder.Read("b") == content);
}

TEST(CFileCalls, CopyNeverPassesAFailureForSuccess)
{
    struct
    {
        char const* mWhat;
        char const* mCall;
        int mNth;
        Verdict mVerdict;
        Failure mFailure;
    } const cases[] = {
        {"full disk", "write", 2, {-1, ENOSPC}, FileFailure(kOtherFailure, kFileWrite, ENOSPC)},
        {"interrupted", "write", 2, {-1, EINTR}, FileFailure(kOtherFailure, kFileWrite, EINTR)},
        {"nothing written", "write", 2, {0, 0}, FileFailure(kOtherFailure, kFileWrite, EIO)},
        {"no reason given", "write", 1, {-1, 0}, FileFailure(kOtherFailure, kFileWrite, EIO)},
        {"broken read", "read", 2, {-1, EIO}, FileFailure(kOtherFailure, kFileRead, EIO)},
        // The first close is that of `Create`.
        {"late failure", "close", 2, {-1, EDQUOT}, FileFailure(kOtherFailure, kFileClose, EDQUOT)},
        {"late failure of the source",
         "close",
         3,
         {-1, EIO},
         FileFailure(kOtherFailure, kFileClose, EIO)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const folder;
        CFile file(Spec(folder.Write("a", std::string(200000, 'x'))));
        StSystemCalls const calls([&](std::string const& name, int nth) -> std::optional<Verdict> {
            if (name != c.mCall || nth != c.mNth) return std::nullopt;
            return c.mVerdict;
        });
        EXPECT_EQ(
            FailureOf([&] { file.CopyTo(Spec(folder.Path()), u"b", false, false, nullptr, 0, 0); }),
            c.mFailure);
        EXPECT_FALSE(file.IsOpen());
        EXPECT_THAT(DescriptorsOf(folder.Path("b")), testing::IsEmpty());
        EXPECT_TRUE(folder.Has("b"));
    }
}

TEST(CFileCalls, KeepsCountingWhatCopyAskedForAfterAShortRead)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("a", "0123456789")));
    {
        StSystemCalls const calls([](std::string const& name, int) -> std::optional<Verdict> {
            if (name != "read") return std::nullopt;
            return Verdict{4, 0, true};
        });
        file.CopyTo(Spec(folder.Path()), u"b", false, false, nullptr, 0, 0);
    }
    EXPECT_EQ(folder.Read("b"), "0123");
}

// ---- Replacing

TEST(CFileCalls, ReplaceIsOneStepAfterTheContentIsOnTheDisk)
{
    for (bool const keepReplaced : {false, true}) {
        SCOPED_TRACE(keepReplaced);
        StTempDir const folder;
        CFileSpec const target = Spec(folder.Write("target", "old"));
        CFile file(Spec(folder.Write("file", "new")));
        StSystemCalls const calls;
        file.ReplaceFile(target, keepReplaced);
        EXPECT_THAT(calls.Trace(),
                    ElementsAre(OpenCall(O_RDONLY | O_NONBLOCK | O_CLOEXEC), "fsync", "close",
                                keepReplaced ? "renameat2 exchange" : "renameat2"));
    }
}

// What each failing step of the generic level leaves.
TEST(CFileCalls, ReplaceByMovesIsNotRolledBack)
{
    struct
    {
        char const* mWhat;
        char const* mCall;
        int mNth;
        bool mKeepReplaced;
        Failure mFailure;
        std::string mFile;  // what stands where, "-" for nothing
        std::string mTarget;
        std::string mBackup;
        bool mNamesTarget;
    } const cases[] = {
        {"target aside", "rename", 1, false, FileFailure(kOtherFailure, kFileMove, EIO), "new",
         "old", "-", false},
        {"file to its place", "rename", 2, false, FileFailure(kOtherFailure, kFileMove, EIO), "new",
         "-", "old", false},
        {"target to the file's place", "rename", 3, true,
         FileFailure(kOtherFailure, kFileMove, EIO), "-", "new", "old", true},
        {"target away", "unlink", 1, false, Failure(), "-", "new", "old", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedFilePlatform platform;
        StFilePlatform const guard(platform);
        platform.Fail("ReplaceObject", ScriptedFilePlatform::kAlways);
        StTempDir const folder;
        CFileSpec const target = Spec(folder.Write("target", "old"));
        CFile file(Spec(folder.Write("file", "new")));
        {
            // The trash is tried after the first refusal, so both are refused.
            StSystemCalls const calls(
                [&](std::string const& name, int nth) -> std::optional<Verdict> {
                    if (name != c.mCall || (name == "rename" && nth != c.mNth)) return std::nullopt;
                    return Verdict{-1, EIO};
                });
            EXPECT_EQ(FailureOf([&] { file.ReplaceFile(target, c.mKeepReplaced); }), c.mFailure);
        }
        auto const contentOf = [&](char const* name) {
            return folder.Has(name) ? folder.Read(name) : "-";
        };
        EXPECT_EQ(contentOf("file"), c.mFile);
        EXPECT_EQ(contentOf("target"), c.mTarget);
        EXPECT_EQ(contentOf("target.old"), c.mBackup);
        EXPECT_EQ(PathOf(file), folder.Path(c.mNamesTarget ? "target" : "file"));
    }
}

TEST(CFileCalls, KeepsMovingABareNameToTheRootFolder)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.Fail("ReplaceObject", ScriptedFilePlatform::kAlways);
    StTempDir const folder;
    folder.Write("loam bare file", "");
    folder.Write("loam bare target", "");
    auto const former = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    CFile file(Spec("loam bare file"));
    StSystemCalls const calls([](std::string const& name, int) -> std::optional<Verdict> {
        if (name != "rename") return std::nullopt;
        return Verdict{-1, EACCES};
    });
    auto const refusal = FileFailure(kFileAccessDenied, kFileMove, EACCES);
    EXPECT_EQ(FailureOf([&] { file.Rename(u"loam new name", false, false); }), refusal);
    EXPECT_EQ(FailureOf([&] { file.ReplaceFile(Spec("loam bare target"), false); }), refusal);
    EXPECT_THAT(calls.Renames(), ElementsAre("loam bare file -> /loam new name",
                                             "loam bare target -> /loam bare target.old"));
    std::filesystem::current_path(former);
}
