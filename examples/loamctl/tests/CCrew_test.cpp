// Several files at a time: the order of what comes out, and how it all ends.

#include "loamctl/CCrew.h"

#include <atomic>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "loamctl/CBasicSink.h"
#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CStandardStreams.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/Interruption.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

// What has been written, or a reader that has gone.
class CTestSink final : public CBasicSink
{
public:
    void Write(std::string_view lines) override
    {
        if (mClosed) throw COutputClosed();
        mText += lines;
    }

    void WriteError(std::string_view lines) override { mText += lines; }

    void BeginGroup() override {}

    bool mClosed = false;
    std::string mText;
};

using Task = std::function<void(std::string const& name, COutput& output)>;

class CTestWorker final : public CBasicFileWorker
{
public:
    explicit CTestWorker(Task const& task)
        : mTask(task)
    {
    }

    Outcome Work(TreeEntry const& entry, COutput& output) override
    {
        mTask(entry.mPath.substr(entry.mPath.rfind('/') + 1), output);
        return {};
    }

private:
    Task const& mTask;
};

// A folder with files that are called 0, 1, 2 and so on, and a crew that works on them.
class CCrewTest : public testing::Test
{
protected:
    void Run(int files, int threads, Task const& task)
    {
        std::vector<std::string> paths;
        for (int i = 0; i < files; ++i)
            paths.push_back(mFolder.Write(std::to_string(i), ""));
        CTreeWalk walk(paths, false);
        Run(walk, threads, task);
    }

    void Run(CBasicWalk& walk, int threads, Task const& task)
    {
        CRunLog log({});
        CProgress progress(STDERR_FILENO);
        COutput output({}, mSink);
        CInterruption interruption;
        Session session{output, progress, log, interruption};
        CCrew crew(
            threads, [&task] { return std::make_unique<CTestWorker>(task); }, session);
        try {
            crew.Run(walk, [this](TreeEntry const& entry, Outcome const&) {
                mFinished += entry.mPath + " ";
            });
        } catch (...) {
            output.Flush();
            throw;
        }
        output.Flush();
    }

    StTempDir mFolder;
    CTestSink mSink;
    std::string mFinished;  // their paths
};

// Entries that are called 0, 1, 2 and so on, so many at a time.
class CTestWalk final : public CBasicWalk
{
public:
    explicit CTestWalk(std::vector<int> batches)
        : mBatches(std::move(batches))
    {
    }

    bool NextBatch(std::vector<TreeEntry>& entries) override
    {
        entries.clear();
        if (mNextBatch == mBatches.size()) return false;
        for (int left = mBatches[mNextBatch++]; left > 0; --left)
            entries.emplace_back().mPath = std::to_string(mNextEntry++);
        return true;
    }

    double GetShare() const override { return 0; }

private:
    std::vector<int> mBatches;
    std::size_t mNextBatch = 0;
    int mNextEntry = 0;
};

[[noreturn]] void WorkUntilInterrupted()
{
    for (;;)
        ThrowIfInterrupted();
}

void Tell(std::string const& text, COutput& output)
{
    output.Add(text);
    output.EndLine();
}

TEST_F(CCrewTest, TellsInTheOrderOfTheWalk)
{
    // Each is done before the one in front of it.
    CSemaphore done[5];
    Run(4, 4, [&done](std::string const& name, COutput& output) {
        int const number = std::stoi(name);
        if (number < 3) done[number + 1].Wait();
        Tell("first of " + name, output);
        output.Note("note of " + name);
        Tell("last of " + name, output);
        done[number].Post();
    });
    EXPECT_EQ(mSink.mText, "first of 0\nnote of 0\nlast of 0\nfirst of 1\nnote of 1\nlast of 1\n"
                           "first of 2\nnote of 2\nlast of 2\nfirst of 3\nnote of 3\nlast of 3\n");
}

TEST_F(CCrewTest, WorksOnMoreThanItKeeps)
{
    std::atomic<int> count{0};
    std::string expected;
    for (int i = 0; i < 200; ++i)
        expected += std::to_string(i) + "\n";
    Run(200, 3, [&count](std::string const& name, COutput& output) {
        ++count;
        Tell(name, output);
    });
    EXPECT_EQ(count, 200);
    EXPECT_EQ(mSink.mText, expected);
}

TEST_F(CCrewTest, HoldsUpWhoRunsTooFarAhead)
{
    std::string const line(65536, 'x');
    std::atomic<int> handedOn{0};
    int handedOnBeforeItsTurn = 0;
    CSemaphore ahead;
    Run(2, 2, [&](std::string const& name, COutput& output) {
        if (name == "0") {
            for (int i = 0; i < 4; ++i)
                ahead.Wait();
            handedOnBeforeItsTurn = handedOn;
            return;
        }
        for (int i = 0; i < 20; ++i) {
            Tell(line, output);
            ++handedOn;
            ahead.Post();
        }
    });
    EXPECT_EQ(handedOnBeforeItsTurn, 4);
    EXPECT_EQ(mSink.mText.size(), 20 * (line.size() + 1));
}

TEST_F(CCrewTest, PassesOnWhatAWorkerThrowsInItsTurn)
{
    auto const work = [](std::string const& name, COutput& output) {
        if (name == "2") throw std::runtime_error("enough");
        if (name > "2") WorkUntilInterrupted();
        Tell(name, output);
    };
    EXPECT_THROW(Run(8, 4, work), std::runtime_error);
    EXPECT_FALSE(IsInterrupted());
}

TEST_F(CCrewTest, FinishesEachEntryOfABatch)
{
    CTestWalk walk({3, 1, 2});
    Run(walk, 2, [](std::string const& name, COutput& output) { Tell(name, output); });
    EXPECT_EQ(mSink.mText, "0\n1\n2\n3\n4\n5\n");
    EXPECT_EQ(mFinished, "0 1 2 3 4 5 ");
}

TEST_F(CCrewTest, PassesOnWhatABatchToldBeforeItFailed)
{
    CTestWalk walk({2, 3, 2});
    auto const work = [](std::string const& name, COutput& output) {
        if (name == "4") throw std::runtime_error("enough");
        Tell(name, output);
    };
    EXPECT_THROW(Run(walk, 2, work), std::runtime_error);
    EXPECT_EQ(mSink.mText, "0\n1\n2\n3\n");
    EXPECT_EQ(mFinished, "0 1 2 3 ");
}

TEST_F(CCrewTest, EndsWhenTheReaderHasGone)
{
    mSink.mClosed = true;
    auto const work = [](std::string const& name, COutput& output) {
        if (name != "0") WorkUntilInterrupted();
        Tell(std::string(65536, 'x'), output);
    };
    EXPECT_THROW(Run(8, 4, work), COutputClosed);
    EXPECT_FALSE(IsInterrupted());
}

TEST_F(CCrewTest, StopsAtASignal)
{
    for (int const signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        // One thread works, one waits for room, one waits for work, and the caller for the first.
        CSemaphore full;
        auto const work = [&full, signal](std::string const& name, COutput& output) {
            if (name == "0") {
                full.Wait();
                kill(getpid(), signal);
                WorkUntilInterrupted();
            }
            if (name == "1") {
                for (int i = 0;; ++i) {
                    if (i == 4) full.Post();
                    Tell(std::string(65536, 'x'), output);
                }
            }
        };
        int told = 0;
        try {
            Run(3, 3, work);
        } catch (CInterrupted const& interrupted) {
            told = interrupted.GetSignal();
        }
        EXPECT_EQ(told, signal);
        EXPECT_FALSE(IsInterrupted());
        EXPECT_EQ(mSink.mText, "");
    }
}

TEST(Jobs, ChangeNothingInTheOutput)
{
    std::vector<std::string> const commands[] = {
        {"search", "e", LOAMCTL_DOCUMENTS, "-v"},
        {"search", "cafe", LOAMCTL_DOCUMENTS, Document("none"), "--json"},
        {"search", "cafe", LOAMCTL_DOCUMENTS, "-c", "-m", "2"},
        {"search", "-w", "cafe", LOAMCTL_DOCUMENTS, "-l"},
        {"scan", LOAMCTL_DOCUMENTS},
        {"scan", LOAMCTL_DOCUMENTS, "--json"},
        {"words", LOAMCTL_DOCUMENTS, "-v"},
        {"words", Document("asia"), Document("europe"), "--json"},
    };
    for (std::vector<std::string> const& command : commands) {
        SCOPED_TRACE(command[0] + " " + command.back());
        auto const run = [&command](std::string const& jobs) {
            std::vector<std::string> arguments = command;
            arguments.insert(arguments.end(), {"-j", jobs});
            return RunLoamctl(arguments);
        };
        RunResult const alone = run("1");
        EXPECT_NE(alone.mOutput, "");
        for (std::string const jobs : {"2", "8"}) {
            RunResult const several = run(jobs);
            EXPECT_EQ(several.mExitCode, alone.mExitCode);
            EXPECT_TRUE(several.mOutput == alone.mOutput) << jobs;
            EXPECT_EQ(several.mError, alone.mError);
        }
    }
}

// A child that has come as far as its first complaint, and will then write to a pipe that is full.
struct StBlockedOnItsReader
{
    StBlockedOnItsReader()
        : mOutput(StChannel::Pipe())
        , mError(StChannel::Pipe())
    {
        mOutput.Fill();
        std::string lines;
        for (int i = 0; i < 20000; ++i)
            lines += "cafe and more cafe\n";
        for (int i = 0; i < 20; ++i)
            mFolder.Write("text" + std::to_string(i), lines);
    }

    // From now on the files are those in a store.
    void MakeStore()
    {
        std::string const store = mLog.Path("store");
        RunLoamctl({"index", mFolder.Path("none"), mFolder.Path(), "-o", store});
        mWhere = {"--in", store};
    }

    void Start(std::vector<std::string> const& options)
    {
        std::vector<std::string> arguments{"search", "cafe", "-j", "3", "--log", mLog.Path("log")};
        arguments.insert(arguments.end(), mWhere.begin(), mWhere.end());
        arguments.insert(arguments.end(), options.begin(), options.end());
        mChild = std::make_unique<StLoamctl>(arguments, mOutput.In(), mError.In());
        mOutput.CloseIn();
        mError.CloseIn();
        mError.ReadUntil("No such file or directory\n");
    }

    StTempDir mFolder;
    StTempDir mLog;
    std::vector<std::string> mWhere{mFolder.Path("none"), mFolder.Path()};
    StChannel mOutput;
    StChannel mError;
    std::unique_ptr<StLoamctl> mChild;
};

TEST(Jobs, StopWhileTheReaderDoesNotRead)
{
    struct
    {
        int mSignal;
        int mExitCode;
        char const* mReason;
        bool mInStore;
    } const cases[] = {
        {SIGINT, 130, "stopped by signal 2", false},
        {SIGTERM, 143, "stopped by signal 15", false},
        {SIGINT, 130, "stopped by signal 2", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mReason);
        StBlockedOnItsReader loamctl;
        if (c.mInStore) loamctl.MakeStore();
        loamctl.Start({});
        loamctl.mChild->Signal(c.mSignal);
        EXPECT_EQ(loamctl.mChild->Wait(), c.mExitCode);
        EXPECT_FALSE(loamctl.mChild->WasKilled());
        EXPECT_EQ(loamctl.mError.ReadAll(), "loamctl: " + std::string(c.mReason) + "\n");
        // Nothing but what it was filled with.
        EXPECT_EQ(loamctl.mOutput.ReadAll().find_first_not_of('-'), std::string::npos);
        EXPECT_THAT(loamctl.mLog.Read("log"),
                    EndsWith(std::string(": ") + c.mReason + ", exit code " +
                             std::to_string(c.mExitCode) + "\n"));
    }
}

TEST(Jobs, EndTheirOutputWithAWholeLine)
{
    StBlockedOnItsReader loamctl;
    loamctl.Start({});
    // Let some of it through.
    std::string output = loamctl.mOutput.ReadUntil("cafe and more cafe\n");
    loamctl.mChild->Signal(SIGINT);
    EXPECT_EQ(loamctl.mChild->Wait(), 130);
    output += loamctl.mOutput.ReadAll();
    EXPECT_THAT(output.substr(output.size() - 200), EndsWith(": cafe and more cafe\n"));
}

TEST(Jobs, MindThatASignalIsIgnored)
{
    StBlockedOnItsReader loamctl;
    auto* const before = std::signal(SIGINT, SIG_IGN);
    loamctl.Start({"-c"});
    std::signal(SIGINT, before);
    loamctl.mChild->Signal(SIGINT);
    std::string const output = loamctl.mOutput.ReadAll();
    EXPECT_EQ(loamctl.mChild->Wait(), 2);
    EXPECT_THAT(output, HasSubstr("/text7:40000\n"));
}

#ifdef F_SETLEASE
// Files that can't be opened until this one lets go, for some seconds: whoever tries is blocked,
// and the test gets a signal.
class StLease
{
public:
    explicit StLease(std::string const& path)
        : mDescriptor(open(path.c_str(), O_WRONLY | O_CLOEXEC))
    {
        sigemptyset(&mSignals);
        sigaddset(&mSignals, SIGRTMIN);
        pthread_sigmask(SIG_BLOCK, &mSignals, &mOldMask);
        fcntl(mDescriptor, F_SETSIG, SIGRTMIN);
        mHeld = fcntl(mDescriptor, F_SETLEASE, F_WRLCK) == 0;
    }

    StLease(StLease const&) = delete;
    StLease& operator=(StLease const&) = delete;

    ~StLease()
    {
        Release();
        pthread_sigmask(SIG_SETMASK, &mOldMask, nullptr);
    }

    bool IsHeld() const { return mHeld; }

    void WaitUntilSomebodyIsBlocked() const
    {
        int signal = 0;
        sigwait(&mSignals, &signal);
    }

    void Release()
    {
        if (mDescriptor >= 0) close(mDescriptor);
        mDescriptor = -1;
    }

private:
    int mDescriptor;
    bool mHeld = false;
    sigset_t mSignals = {};
    sigset_t mOldMask = {};
};

TEST(Jobs, StopWhileAFileCannotBeOpened)
{
    StTempDir const folder;
    StLease const lease(folder.Write("a.txt", "cafe\n"));
    if (!lease.IsHeld()) GTEST_SKIP() << "no leases on this file system";
    StChannel output = StChannel::Pipe();
    StLoamctl loamctl({"search", "cafe", folder.Path()}, output.In(), output.In());
    output.CloseIn();
    lease.WaitUntilSomebodyIsBlocked();
    loamctl.Signal(SIGINT);
    EXPECT_EQ(loamctl.Wait(), 130);
    EXPECT_FALSE(loamctl.WasKilled());
    EXPECT_EQ(output.ReadAll(), "loamctl: stopped by signal 2\n");
}

TEST(Jobs, ShowOnATerminalHowFarTheyAre)
{
    StTempDir const folder;
    folder.Write("a.txt", "cafe\n");
    StLease lease(folder.Write("b.txt", "more cafe\n"));
    if (!lease.IsHeld()) GTEST_SKIP() << "no leases on this file system";
    StChannel terminal = StChannel::Terminal();
    StChannel output = StChannel::Pipe();
    StLoamctl loamctl({"search", "cafe", folder.Path()}, output.In(), terminal.In());
    terminal.CloseIn();
    output.CloseIn();
    lease.WaitUntilSomebodyIsBlocked();
    EXPECT_THAT(terminal.ReadUntil("1 file, 5 bytes, "),
                HasSubstr("\r\x1b[K\x1b[2m1 file, 5 bytes, "));
    lease.Release();
    EXPECT_THAT(terminal.ReadAll(), EndsWith("\r\x1b[K\r\n2 hits in 2 of 2 files, 15 bytes\r\n"));
    EXPECT_EQ(loamctl.Wait(), 0);
    EXPECT_EQ(output.ReadAll(),
              folder.Path("a.txt") + ":1:1: cafe\n" + folder.Path("b.txt") + ":1:6: more cafe\n");
}
#endif

}  // namespace
