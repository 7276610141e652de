#include "files/tests/FileTestTools.h"
#include "testing/FailureOf.h"
#include "testing/ScriptedFilePlatform.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

// The watches of this process.
std::vector<int> Watches()
{
    return DescriptorsOf("anon_inode:inotify");
}

// Whether a watch has a file under watch, as the kernel tells it.
bool IsArmed(int watch)
{
    std::ifstream info("/proc/self/fdinfo/" + std::to_string(watch));
    std::string const text{std::istreambuf_iterator<char>(info), {}};
    return text.find("inotify wd:") != std::string::npos;
}

// Waits for a modification on a thread of its own.
class CWaiter
{
public:
    explicit CWaiter(CFile& file)
        : mThread([this, &file] {
            mFailure = FailureOf([&] { mAnswer = file.WaitForModification(); });
            mIsOver = true;
        })
    {
    }

    CWaiter(CWaiter const&) = delete;
    CWaiter& operator=(CWaiter const&) = delete;

    ~CWaiter()
    {
        if (mThread.joinable()) mThread.join();
    }

    bool IsOver() const { return mIsOver; }

    // Returns when the file is under watch, or when the wait is over already.
    void UntilArmed() const
    {
        while (!mIsOver && (Watches().empty() || !IsArmed(Watches()[0])))
            std::this_thread::yield();
    }

    // Returns when the waiter has taken all that there was to tell, or when the wait is over.
    void UntilTaken() const
    {
        int left = 1;
        while (!mIsOver && left > 0) {
            std::this_thread::yield();
            for (int const watch : Watches())
                ioctl(watch, FIONREAD, &left);
        }
    }

    // What it answered; none if it threw.
    std::optional<bool> Join()
    {
        mThread.join();
        return mAnswer;
    }

    void Signal(int signal) { pthread_kill(mThread.native_handle(), signal); }

    Failure const& Thrown() const { return mFailure; }

private:
    std::optional<bool> mAnswer;
    Failure mFailure;
    std::atomic<bool> mIsOver{false};
    std::thread mThread;
};

std::string ContentOf(CFile& file)
{
    char buffer[64];
    return std::string(buffer, static_cast<std::size_t>(file.Read(buffer, sizeof buffer)));
}

// As editors do it: a new file takes the name.
void ReplaceByRename(std::string const& path, std::string const& content)
{
    std::ofstream(path + ".new", std::ios::binary) << content;
    fs::rename(path + ".new", path);
}

}  // namespace

TEST(CFileWatch, AnswersAWrite)
{
    struct
    {
        char const* mWhat;
        std::function<void(std::string const&)> mWrite;
    } const cases[] = {
        {"append", [](auto& path) { std::ofstream(path, std::ios::app) << "more"; }},
        {"overwrite", [](auto& path) { std::fstream(path) << "T"; }},
        {"cut", [](auto& path) { fs::resize_file(path, 1); }},
        {"write anew", [](auto& path) { std::ofstream(path, std::ios::trunc) << "new"; }},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const folder;
        std::string const path = folder.Write("file", "text");
        CFile file(Spec(path));
        file.Open(CFile::cPrivilegeRead);
        CWaiter waiter(file);
        waiter.UntilArmed();
        c.mWrite(path);
        EXPECT_EQ(waiter.Join(), true);
        EXPECT_TRUE(file.IsOpen());
        EXPECT_EQ(file.GetCursorPos(), 0);
    }
}

TEST(CFileWatch, AnswersWritesThatBeginBeforeTheWait)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeRead);
    std::atomic<bool> isOver{false};
    std::thread writer([&] {
        while (!isOver)
            std::ofstream(path, std::ios::app) << "x" << std::flush;
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(file.WaitForModification());
    isOver = true;
    writer.join();
}

TEST(CFileWatch, IgnoresWhatIsNoModification)
{
    struct
    {
        char const* mWhat;
        std::function<void(std::string const&)> mAction;
    } const cases[] = {
        {"mode", [](auto& path) { fs::permissions(path, fs::perms::owner_all); }},
        {"dates", [](auto& path) { utimensat(AT_FDCWD, path.c_str(), nullptr, 0); }},
        {"an attribute", [](auto& path) { setxattr(path.c_str(), "user.a", "b", 1, 0); }},
        {"a second name", [](auto& path) { fs::create_hard_link(path, path + ".second"); }},
        {"reading", [](auto& path) { std::ifstream(path).get(); }},
        {"another name", [](auto& path) { fs::rename(path, path + ".moved"); }},
        {"another name and mode",
         [](auto& path) {
             fs::rename(path, path + ".moved");
             fs::permissions(path + ".moved", fs::perms::owner_all);
         }},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const folder;
        std::string const path = folder.Write("file", "text");
        std::ofstream writer(path, std::ios::app);
        CFile file(Spec(path));
        file.Open(CFile::cPrivilegeRead);
        CWaiter waiter(file);
        waiter.UntilArmed();
        c.mAction(path);
        waiter.UntilTaken();
        EXPECT_FALSE(waiter.IsOver());
        writer << "more" << std::flush;
        EXPECT_EQ(waiter.Join(), true);
        EXPECT_EQ(ContentOf(file), "textmore");
    }
}

TEST(CFileWatch, FollowsTheFileThatTookTheName)
{
    struct
    {
        char const* mWhat;
        std::function<void(std::string const&)> mReplace;
    } const cases[] = {
        {"renamed over", [](auto& path) { ReplaceByRename(path, "new"); }},
        {"renamed over, the old one kept by a link",
         [](auto& path) {
             fs::create_hard_link(path, path + "~");
             ReplaceByRename(path, "new");
         }},
        {"exchanged by ReplaceFile",
         [](auto& path) {
             std::ofstream(path + ".new", std::ios::binary) << "new";
             CFile(Spec(path + ".new")).ReplaceFile(Spec(path), false);
         }},
    };

    for (bool const isBefore : {false, true}) {
        for (auto const& c : cases) {
            SCOPED_TRACE(testing::Message() << c.mWhat << (isBefore ? ", before the wait" : ""));
            StTempDir const folder;
            std::string const path = folder.Write("file", "old");
            CFile file(Spec(path));
            file.Open(CFile::cPrivilegeReadWrite);
            if (isBefore) c.mReplace(path);
            CWaiter waiter(file);
            waiter.UntilArmed();
            if (!isBefore) c.mReplace(path);
            EXPECT_EQ(waiter.Join(), true);
            EXPECT_EQ(ContentOf(file), "new");
            // With the privileges, and so the lock, that it had.
            EXPECT_EQ(FailureOf([&] { CFile(Spec(path)).Open(CFile::cPrivilegeWrite); }),
                      FileFailure(kFileAccessDenied, kFileOpen, EAGAIN));
            EXPECT_THAT(DescriptorsOf(path), SizeIs(1));
            EXPECT_THAT(DescriptorsOf(path + " (deleted)"), IsEmpty());
        }
    }
}

TEST(CFileWatch, TellsThatADeletedFileHasNoFollower)
{
    for (bool const isBefore : {false, true}) {
        SCOPED_TRACE(isBefore ? "before the wait" : "during the wait");
        StTempDir const folder;
        std::string const path = folder.Write("file", "old");
        CFile file(Spec(path));
        file.Open(CFile::cPrivilegeRead);
        if (isBefore) fs::remove(path);
        {
            CWaiter waiter(file);
            waiter.UntilArmed();
            if (!isBefore) fs::remove(path);
            EXPECT_EQ(waiter.Join(), std::nullopt);
            EXPECT_EQ(waiter.Thrown(), FileFailure(kFileNotFound, kFileOpen, ENOENT));
        }
        EXPECT_FALSE(file.IsOpen());

        // The object can be used again, with the watch that it has.
        folder.Write("file", "new");
        file.Open(CFile::cPrivilegeRead);
        CWaiter waiter(file);
        waiter.UntilArmed();
        EXPECT_THAT(Watches(), SizeIs(1));
        std::ofstream(path, std::ios::app) << "er";
        EXPECT_EQ(waiter.Join(), true);
        EXPECT_EQ(ContentOf(file), "newer");
    }
}

TEST(CFileWatch, ForgetsWhatAnEarlierWaitLeft)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeRead);
    {
        CWaiter waiter(file);
        waiter.UntilArmed();
        for (int i = 0; i < 100; ++i) {
            std::ofstream(path, std::ios::app) << "x";
            fs::permissions(path, fs::perms::owner_all);
        }
        EXPECT_EQ(waiter.Join(), true);
    }
    CWaiter waiter(file);
    waiter.UntilArmed();
    waiter.UntilTaken();
    EXPECT_FALSE(waiter.IsOver());
    std::ofstream(path, std::ios::app) << "y";
    EXPECT_EQ(waiter.Join(), true);
}

TEST(CFileWatch, ASignalEndsTheWait)
{
    struct sigaction action = {};
    struct sigaction former = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &former);
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeRead);
    {
        CWaiter waiter(file);
        waiter.UntilArmed();
        // One that comes before the thread blocks is lost.
        while (!waiter.IsOver())
            waiter.Signal(SIGUSR1);
        EXPECT_EQ(waiter.Join(), false);
    }
    EXPECT_TRUE(file.IsOpen());
    sigaction(SIGUSR1, &former, nullptr);
}

TEST(CFileWatch, IsClosedWithTheFile)
{
    for (bool const isByClose : {false, true}) {
        SCOPED_TRACE(isByClose);
        StTempDir const folder;
        std::string const path = folder.Write("file", "text");
        {
            CFile file(Spec(path));
            file.Open(CFile::cPrivilegeRead);
            ReplaceByRename(path, "new");
            EXPECT_TRUE(file.WaitForModification());
            EXPECT_THAT(Watches(), SizeIs(1));
            if (isByClose) {
                file.Close();
                EXPECT_THAT(Watches(), IsEmpty());
            }
        }
        EXPECT_THAT(Watches(), IsEmpty());
    }
}

// ---- Decisions, on a scripted platform

TEST(CFileWatch, IsMadeOnceAndUsedAgain)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.mWaitOnWatch = [] { return kFileWritten; };
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeRead);
    EXPECT_TRUE(file.WaitForModification());
    EXPECT_TRUE(file.WaitForModification());
    file.Close();
    EXPECT_THAT(platform.Calls(), ElementsAre("MakeWatch()", "WaitOnWatch(" + path + ")",
                                              "WaitOnWatch(" + path + ")", "CloseWatch()"));
}

TEST(CFileWatch, AnswersFalseWhereItCannotWatch)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeRead);
    platform.Fail("MakeWatch", 1);
    EXPECT_FALSE(file.WaitForModification());
    platform.Fail("WaitOnWatch", 1);
    EXPECT_FALSE(file.WaitForModification());
    EXPECT_TRUE(file.IsOpen());
    EXPECT_THAT(platform.Calls(),
                ElementsAre("MakeWatch()", "MakeWatch()", "WaitOnWatch(" + path + ")"));
    file.Close();
}

TEST(CFileWatch, StaysWhileTheNewFileIsOpened)
{
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.mWaitOnWatch = [] { return kFileDeleted; };
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeWrite);
    EXPECT_TRUE(file.WaitForModification());
    EXPECT_TRUE(file.IsOpen());
    platform.Fail("OpenLocked", 1, EACCES);
    EXPECT_EQ(FailureOf([&] { file.WaitForModification(); }),
              FileFailure(kFileAccessDenied, kFileOpen, EACCES));
    EXPECT_FALSE(file.IsOpen());
    file.Open(CFile::cPrivilegeRead);
    EXPECT_TRUE(file.WaitForModification());
    auto const calls = platform.Calls();
    EXPECT_THAT(calls, testing::Not(testing::Contains("CloseWatch()")));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "MakeWatch()"), 1);
    file.Close();
}
