// Real children of the system's own platform. A child that has to live is held by a pipe with a
// name, and time passes where a test says so.
#include "system/CProcessServices.h"
#include "system/Subprocess.h"
#include "system/platform/CBasicSubprocessPlatform.h"
#include "testing/StChildProcess.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Strings = std::vector<std::string>;

constexpr char const* kShell = "/bin/sh";
// Long enough for none of the tests: the clock stands still.
constexpr float kAWhile = 3;

// What a signal does, for a scope.
class StSignal
{
public:
    StSignal(int number, void (*action)(int))
        : mNumber(number)
        , mFormer(signal(number, action))
    {
    }

    StSignal(StSignal const&) = delete;
    StSignal& operator=(StSignal const&) = delete;

    ~StSignal() { signal(mNumber, mFormer); }

private:
    int mNumber;
    void (*mFormer)(int);
};

long OpenDescriptors()
{
    std::filesystem::directory_iterator const list("/proc/self/fd");
    return std::distance(begin(list), end(list));
}

// Blocks until the child has ended or is nobody's any more, and leaves it to be collected.
void WaitForEnd(int process)
{
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOWAIT);
}

// Running or not.
bool HasChildren()
{
    siginfo_t info;
    return waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// How a run goes on, told by its child's number.
struct Course
{
    std::function<void(int process)> mFirstNap;
    std::function<void(int process)> mAfterInterrupt;
    std::function<void(int process)> mAfterTerminate;
};

// A real child whose naps and signals a test goes along with.
class SteppedSubprocess final : public CBasicSubprocess
{
public:
    SteppedSubprocess(std::unique_ptr<CBasicSubprocess> child, Course course, std::string& signals)
        : mChild(std::move(child))
        , mCourse(std::move(course))
        , mSignals(signals)
    {
    }

    int GetProcessId() const override { return mChild->GetProcessId(); }

    bool IsRunning() override { return mChild->IsRunning(); }

    void WaitUntilExit() override { mChild->WaitUntilExit(); }

    void Nap(int) override { Follow(mCourse.mFirstNap); }

    void Interrupt() override
    {
        mSignals += "INT ";
        mChild->Interrupt();
        Follow(mCourse.mAfterInterrupt);
    }

    void Terminate() override
    {
        mSignals += "TERM ";
        mChild->Terminate();
        Follow(mCourse.mAfterTerminate);
    }

    bool ReadOutput(std::string& text) override { return mChild->ReadOutput(text); }

    bool ReadErrors(std::string& text) override { return mChild->ReadErrors(text); }

private:
    void Follow(std::function<void(int)>& step)
    {
        if (step) std::exchange(step, nullptr)(GetProcessId());
    }

    std::unique_ptr<CBasicSubprocess> mChild;
    Course mCourse;
    std::string& mSignals;
};

class SteppedPlatform final : public CBasicSubprocessPlatform
{
public:
    bool FileExists(std::string const& path) const override { return mSystem->FileExists(path); }

    std::unique_ptr<CBasicSubprocess> Launch(std::string const& path,
                                             Strings const& arguments) override
    {
        auto child = mSystem->Launch(path, arguments);
        if (!child) return nullptr;
        return std::make_unique<SteppedSubprocess>(std::move(child), mCourse, mSignals);
    }

    long long GetMicroTime() const override { return mTime; }

    Course mCourse;
    long long mTime = 0;
    std::string mSignals;

private:
    std::unique_ptr<CBasicSubprocessPlatform> mSystem{NewSubprocessPlatform()};
};

struct Answer
{
    bool mIsText = false;
    std::string mText;
    int mStatus = 1;
};

Answer RunProgram(std::string const& path, Strings const& arguments, float timeout)
{
    Answer answer;
    answer.mIsText = RunSubprocess(path, arguments, timeout, answer.mText, &answer.mStatus);
    return answer;
}

Answer RunShell(std::string const& script, Strings const& more = {}, float timeout = 0)
{
    Strings arguments{"-c", script, "sh"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunProgram(kShell, arguments, timeout);
}

int LargestPipe()
{
    int size = 0;
    std::ifstream("/proc/sys/fs/pipe-max-size") >> size;
    int ends[2];
    if (pipe(ends) == -1) return 0;
    bool const isAllowed = fcntl(ends[0], F_SETPIPE_SZ, size) != -1;
    close(ends[0]);
    close(ends[1]);
    return isAllowed ? size : 0;
}

}  // namespace

// Each case leaves no child and no descriptor behind.
class CSubprocessPlatform : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(mkfifo(mReady.c_str(), 0600), 0);
        ASSERT_EQ(mkfifo(mHold.c_str(), 0600), 0);
        mDescriptors = OpenDescriptors();
    }

    void TearDown() override
    {
        EXPECT_FALSE(HasChildren());
        EXPECT_EQ(OpenDescriptors(), mDescriptors);
    }

    // What a child says that has come as far as `echo ready >$1`.
    void WaitUntilReady() const
    {
        std::string word;
        std::ifstream(mReady) >> word;
        EXPECT_EQ(word, "ready");
    }

    // Lets a child go on from `read x <$2`. What is to be interrupted does `exec cat $2`: a shell
    // that waits there may say so.
    void Release() const { std::ofstream(mHold) << "on\n"; }

    // A child that was left behind is collected by a thread, which then goes too.
    void WaitUntilNothingIsLeft() const
    {
        while (HasChildren())
            std::this_thread::yield();
        while (OpenDescriptors() != mDescriptors)
            std::this_thread::yield();
    }

    Strings Pipes() const { return {mReady, mHold}; }

    StTempDir mFolder;
    std::string mReady = mFolder.Path("ready");
    std::string mHold = mFolder.Path("hold");
    // A shell's background job has it ignored, and hands that on.
    StSignal mInterruptible{SIGINT, SIG_DFL};
    long mDescriptors = 0;
};

TEST_F(CSubprocessPlatform, TakesBothOutputsHoweverTheChildEnds)
{
    struct
    {
        char const* mWhat;
        char const* mScript;
        std::string mText;
    } const cases[] = {
        {"nothing", "exit 0", ""},
        {"a failure without a word", "exit 3", ""},
        {"killed", "kill -KILL $$", ""},
        {"killed behind its output", "echo out; kill -KILL $$", "out\n"},
        {"output", "echo out", "out\n"},
        {"errors", "echo err >&2; exit 1", "stderr:\nerr\n"},
        {"both, errors first", "echo err >&2; echo out", "out\n\n\nstderr:\nerr\n"},
        {"output by a child of its own", "(echo out)", "out\n"},
        {"it closes its outputs", "exec >&- 2>&-; exit 1", ""},
    };

    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        for (float const timeout : {0.0F, kAWhile}) {
            Answer const answer = RunShell(c.mScript, {}, timeout);
            EXPECT_TRUE(answer.mIsText);
            EXPECT_EQ(answer.mText, c.mText);
            EXPECT_EQ(answer.mStatus, 0);
        }
    }
    EXPECT_EQ(platform.mSignals, "");
}

TEST_F(CSubprocessPlatform, HandsOverArgumentsAsTheyAre)
{
    std::string const longText(100000, 'x');

    struct
    {
        char const* mWhat;
        Strings mArguments;
        std::string mText;
    } const cases[] = {
        {"none", {}, ""},
        {"an empty one", {""}, "<>\n"},
        {"blanks and what a shell reads", {"a b", "$HOME", "*", "'"}, "<a b>\n<$HOME>\n<*>\n<'>\n"},
        {"text", {"\xC3\xA9"}, "<\xC3\xA9>\n"},
        {"a line end", {"a\nb"}, "<a\nb>\n"},
        {"a long one", {longText}, "<" + longText + ">\n"},
        {"it is cut at a NUL", {std::string("a\0b", 3)}, "<a>\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(RunShell("for a; do printf '<%s>\\n' \"$a\"; done", c.mArguments).mText, c.mText);
    }

    std::string const script = mFolder.Write("tool", "#!/bin/sh\necho $0 $#\n");
    chmod(script.c_str(), 0700);
    EXPECT_EQ(RunProgram(script, {}, 0).mText, script + " 0\n");
    EXPECT_EQ(RunProgram(kShell, {"-c", "echo $0"}, 0).mText, std::string(kShell) + "\n");
}

TEST_F(CSubprocessPlatform, StartsWhatIsAProgramAndNothingElse)
{
    std::string const plain = mFolder.Write("plain", "#!/bin/sh\n");
    std::string const garbage = mFolder.Write("garbage", "\x01\x02 no program\n");
    std::string const noShell = mFolder.Write("no shell", "#!/no/such/shell\n");
    std::string const program = mFolder.Write("program", "#!/bin/sh\necho out\n");
    for (auto const& path : {garbage, noShell, program})
        chmod(path.c_str(), 0700);
    ASSERT_EQ(symlink("program", mFolder.Path("link").c_str()), 0);
    ASSERT_EQ(symlink("nothing", mFolder.Path("dangling").c_str()), 0);

    struct
    {
        char const* mWhat;
        std::string mPath;
        int mStatus;
        bool mIsText;
    } const cases[] = {
        {"a program", program, 0, true},
        {"a link to one", mFolder.Path("link"), 0, true},
        {"no path", "", kSubprocessNotFound, false},
        {"no file", mFolder.Path("nothing"), kSubprocessNotFound, false},
        {"no folder", mFolder.Path("nothing/program"), kSubprocessNotFound, false},
        {"a file for a folder", plain + "/program", kSubprocessNotFound, false},
        {"a link to nothing", mFolder.Path("dangling"), kSubprocessNotFound, false},
        {"a name that only a search path knows", "sh", kSubprocessNotFound, false},
        {"a folder", mFolder.Path(), 0, false},
        {"a file that may not be run", plain, 0, false},
        {"a file that is no program", garbage, 0, false},
        {"a script for no shell", noShell, 0, false},
        {"a pipe", mReady, 0, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        for (float const timeout : {0.0F, kAWhile}) {
            Answer const answer = RunProgram(c.mPath, {"argument"}, timeout);
            EXPECT_EQ(answer.mStatus, c.mStatus);
            EXPECT_EQ(answer.mIsText, c.mIsText);
            EXPECT_EQ(answer.mText, c.mIsText ? "out\n" : "");
        }
    }
    EXPECT_FALSE(RunProgram(kShell, {std::string(8 << 20, 'x')}, 0).mIsText)
        << "too much to hand over";
}

TEST_F(CSubprocessPlatform, EndsAStuckChildByTwoSignals)
{
    struct
    {
        char const* mWhat;
        char const* mScript;
        bool mEndsAtInterrupt;
        std::string mSignals;
        std::string mText;
    } const cases[] = {
        {"it minds the first", "echo ready >$1; exec cat $2", true, "INT ", ""},
        {"it minds the first, and has said something",
         "echo out; echo err >&2; echo ready >$1; exec cat $2", true, "INT ",
         "out\n\n\nstderr:\nerr\n"},
        {"it has closed its outputs and lives on",
         "echo out; exec >/dev/null 2>&1; echo ready >$1; exec cat $2", true, "INT ", "out\n"},
        {"it minds the second", "trap '' INT; echo out; echo ready >$1; read x <$2", false,
         "INT TERM ", "out\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        SteppedPlatform platform;
        StSubprocessPlatform const inUse(platform);
        platform.mCourse.mFirstNap = [&](int) {
            WaitUntilReady();
            platform.mTime += 3000001;
        };
        platform.mCourse.mAfterInterrupt = [&](int process) {
            if (c.mEndsAtInterrupt) WaitForEnd(process);
            platform.mTime += 1000000;
        };
        platform.mCourse.mAfterTerminate = WaitForEnd;
        Answer const answer = RunShell(c.mScript, Pipes(), kAWhile);
        EXPECT_EQ(platform.mSignals, c.mSignals);
        EXPECT_EQ(answer.mText, c.mText);
    }
}

TEST_F(CSubprocessPlatform, KeepsReadingFromAChildThatIgnoresBothSignals)
{
    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    platform.mCourse.mFirstNap = [&](int) {
        WaitUntilReady();
        platform.mTime += 3000001;
    };
    platform.mCourse.mAfterInterrupt = [&](int) { platform.mTime += 1000000; };
    platform.mCourse.mAfterTerminate = [&](int) { Release(); };
    Answer const answer =
        RunShell("trap '' INT TERM; echo ready >$1; read x <$2; echo go $x", Pipes(), kAWhile);
    EXPECT_EQ(platform.mSignals, "INT TERM ");
    EXPECT_EQ(answer.mText, "go on\n");
    WaitUntilNothingIsLeft();
}

TEST_F(CSubprocessPlatform, LeavesAChildThatIgnoresBothSignalsAndHasClosedItsOutputs)
{
    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    platform.mCourse.mFirstNap = [&](int) {
        WaitUntilReady();
        platform.mTime += 3000001;
    };
    platform.mCourse.mAfterInterrupt = [&](int) { platform.mTime += 1000000; };
    Answer const answer = RunShell(
        "trap '' INT TERM; echo out; exec >&- 2>&-; echo ready >$1; read x <$2", Pipes(), kAWhile);
    EXPECT_EQ(platform.mSignals, "INT TERM ");
    EXPECT_EQ(answer.mText, "out\n");
    EXPECT_TRUE(HasChildren());
    Release();
    WaitUntilNothingIsLeft();
}

TEST_F(CSubprocessPlatform, KeepsReadingWhatAChildOfTheChildHoldsOpen)
{
    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    std::thread holder([this] {
        WaitUntilReady();
        Release();
    });
    Answer const answer = RunShell("echo out; (echo ready >$1; read x <$2; echo late) &", Pipes());
    holder.join();
    EXPECT_EQ(answer.mText, "out\nlate\n");
}

TEST_F(CSubprocessPlatform, KeepsAChildThatFillsAPipeUntilASignalEndsIt)
{
    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    size_t room = 0;
    platform.mCourse.mFirstNap = [&](int process) {
        WaitUntilReady();
        int const pipe = open(("/proc/" + std::to_string(process) + "/fd/2").c_str(),
                              O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        room = static_cast<size_t>(fcntl(pipe, F_GETPIPE_SZ));
        close(pipe);
        platform.mTime += 3000001;
    };
    platform.mCourse.mAfterInterrupt = WaitForEnd;
    Answer const answer = RunShell("echo first; echo ready >$1; exec yes", Pipes(), kAWhile);
    EXPECT_EQ(platform.mSignals, "INT ");
    EXPECT_EQ(answer.mText.substr(0, 6), "first\n");
    EXPECT_EQ(answer.mText.find_first_not_of("y\n", 6), std::string::npos);
    EXPECT_LE(answer.mText.size(), room);
    int const largest = LargestPipe();
    EXPECT_TRUE(largest == 0 || room == static_cast<size_t>(largest)) << room;
}

TEST_F(CSubprocessPlatform, TakesAsMuchAsThePipesHold)
{
    auto const room = static_cast<size_t>(LargestPipe());
    if (room == 0) GTEST_SKIP() << "this user has too many pipes";
    std::string const filled(room, 'x');
    Answer const answer =
        RunShell("head -c $1 /dev/zero | tr '\\0' x; head -c $1 /dev/zero | tr '\\0' x >&2",
                 {std::to_string(room)});
    EXPECT_TRUE(answer.mText == filled + "\n\nstderr:\n" + filled) << answer.mText.size();
}

TEST_F(CSubprocessPlatform, NoticesTheEndWhereItIsIgnored)
{
    StSignal const ignored(SIGCHLD, SIG_IGN);
    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    EXPECT_EQ(RunShell("echo out").mText, "out\n");
    EXPECT_EQ(RunShell("echo out", {}, kAWhile).mText, "out\n");
    EXPECT_EQ(RunShell("exit 1", {}, kAWhile).mText, "");
    EXPECT_EQ(platform.mSignals, "");

    platform.mCourse.mFirstNap = [&](int) {
        WaitUntilReady();
        platform.mTime += 3000001;
    };
    platform.mCourse.mAfterInterrupt = WaitForEnd;
    EXPECT_EQ(RunShell("echo out; echo ready >$1; exec cat $2", Pipes(), kAWhile).mText, "out\n");
    EXPECT_EQ(platform.mSignals, "INT ");
}

TEST_F(CSubprocessPlatform, NoticesTheEndWhereAnotherHasCollectedTheChild)
{
    SteppedPlatform platform;
    StSubprocessPlatform const inUse(platform);
    int collected = 0;
    platform.mCourse.mFirstNap = [&](int process) {
        WaitUntilReady();
        collected = waitpid(process, nullptr, 0);
    };
    EXPECT_EQ(RunShell("echo ready >$1; echo out", Pipes(), kAWhile).mText, "out\n");
    EXPECT_GT(collected, 0);
    EXPECT_EQ(platform.mSignals, "");
}

TEST_F(CSubprocessPlatform, HandsNoDescriptorDownButStandardInput)
{
    int const open1 = open("/dev/null", O_RDONLY);
    int const open2 = fcntl(open1, F_DUPFD, 100);
    // The list's own one is not the shell's, which stays since it isn't done.
    EXPECT_EQ(RunShell("ls /proc/$$/fd; :").mText, "0\n1\n2\n");
    close(open1);
    close(open2);

    int const saved = fcntl(0, F_DUPFD_CLOEXEC, 3);
    int const file = open(mFolder.Write("in", "line\n").c_str(), O_RDONLY | O_CLOEXEC);
    dup2(file, 0);
    EXPECT_EQ(RunShell("cat").mText, "line\n");
    dup2(saved, 0);
    close(saved);
    close(file);
}

TEST_F(CSubprocessPlatform, HandsDownEnvironmentFolderAndIgnoredSignalsButNoBlockedOnes)
{
    StEnvironment const variable("LOAM_TEST", "caf\xC3\xA9");
    EXPECT_EQ(RunShell("echo $LOAM_TEST").mText, "caf\xC3\xA9\n");
    EXPECT_EQ(RunShell("pwd -P").mText, std::filesystem::current_path().string() + "\n");

    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    std::string const blocked = RunShell("grep SigBlk /proc/self/status").mText;
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_EQ(blocked, "SigBlk:\t0000000000000000\n");

    constexpr unsigned long kPipeBit = 1UL << (SIGPIPE - 1);
    for (bool const isIgnored : {true, false}) {
        StSignal const action(SIGPIPE, isIgnored ? SIG_IGN : SIG_DFL);
        std::string const text = RunShell("grep SigIgn /proc/self/status").mText;
        ASSERT_EQ(text.substr(0, 8), "SigIgn:\t");
        EXPECT_EQ((std::stoul(text.substr(8), nullptr, 16) & kPipeBit) != 0, isIgnored);
    }
}

TEST_F(CSubprocessPlatform, NeedsNoStandardDescriptors)
{
    for (int const closed : {1, 2, 3}) {
        StChildProcess child([closed](CTestLink& parent) {
            for (int descriptor = 0; descriptor < 3; ++descriptor)
                if (closed == 3 || descriptor == closed) close(descriptor);
            Answer const answer = RunShell("printf out; printf err >&2");
            parent.Say(answer.mText == "out\n\nstderr:\nerr" ? "as ever" : answer.mText);
        });
        EXPECT_EQ(child.Hear(), "as ever");
        child.WaitForEnd();
    }
}

TEST_F(CSubprocessPlatform, RunsTwoHundredAtOnce)
{
    constexpr int kRuns = 200;
    std::atomic<int> right{0};
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < kRuns; ++i) {
            threads.emplace_back([&right, i] {
                std::string const number = std::to_string(i);
                Answer const answer =
                    RunShell("echo $1; echo $1 >&2", {number}, i % 2 == 0 ? 0.0F : 3600.0F);
                std::string expected = number;
                expected += "\n\n\nstderr:\n";
                expected += number + "\n";
                if (answer.mText == expected) ++right;
            });
        }
        for (auto& thread : threads)
            thread.join();
    }
    EXPECT_EQ(right, kRuns);
}

TEST(CProcessServicesImp, ExecutesASubprocess)
{
    CBasicProcessServicesImp const& services = *CProcessServices::GetProcessServices()->mImp;
    EXPECT_EQ(services.ExecuteSubprocess(kShell, {"-c", "echo out; echo err >&2; exit 3"}, 0),
              "out\n\n\nstderr:\nerr\n");
    EXPECT_EQ(services.ExecuteSubprocess("/no/such/program", {}, 10), "");
    EXPECT_EQ(services.ExecuteSubprocess(kShell, {"-c", "printf '\\377'"}, 10), "");
}

TEST(CProcessServicesImp, KeepsEndingTheTextOfASubprocessAtItsFirstNUL)
{
    CBasicProcessServicesImp const& services = *CProcessServices::GetProcessServices()->mImp;
    EXPECT_EQ(services.ExecuteSubprocess(kShell, {"-c", "printf 'a\\000b'"}, 0), "a");
    EXPECT_EQ(services.ExecuteSubprocess(kShell, {"-c", "printf '\\000'; echo err >&2"}, 0), "");
}
