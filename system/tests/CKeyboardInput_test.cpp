// Each case reads the input in a process of its own, whose stdin nobody has touched.
#include "system/CKeyboardInput.h"

#include "system/CKeyboardInputImp.h"
#include "testing/StChildProcess.h"
#include "testing/StTempDir.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Far more than any test takes: a wait of this length ends for another reason.
constexpr float kLong = 3600;
// So short that nobody notices, and long enough to have begun to read before it is over.
constexpr float kShort = 0.002F;

// A terminal whose keys arrive one by one, and the end on which a test types them.
class CTerminal
{
public:
    CTerminal()
        : mKeys(posix_openpt(O_RDWR | O_NOCTTY))
    {
        grantpt(mKeys);
        unlockpt(mKeys);
        mScreen = open(ptsname(mKeys), O_RDWR | O_NOCTTY);
        termios mode{};
        tcgetattr(mScreen, &mode);
        mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        tcsetattr(mScreen, TCSANOW, &mode);
    }

    CTerminal(CTerminal const&) = delete;
    CTerminal& operator=(CTerminal const&) = delete;

    ~CTerminal()
    {
        close(mScreen);
        close(mKeys);
    }

    void UseAsInput() const { dup2(mScreen, STDIN_FILENO); }

    void Type(std::string const& keys) const
    {
        EXPECT_EQ(write(mKeys, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

private:
    int mKeys;
    int mScreen = -1;
};

// A pipe as the input, and its other end.
class CPipe
{
public:
    CPipe() { EXPECT_EQ(pipe(mEnds), 0); }

    CPipe(CPipe const&) = delete;
    CPipe& operator=(CPipe const&) = delete;

    ~CPipe()
    {
        close(mEnds[0]);
        close(mEnds[1]);
    }

    void UseAsInput() const { dup2(mEnds[0], STDIN_FILENO); }

    void Write(std::string const& bytes) const
    {
        EXPECT_EQ(write(mEnds[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    // How many bytes a read got, or -1.
    int Read() const
    {
        char byte = 0;
        return static_cast<int>(read(mEnds[0], &byte, 1));
    }

private:
    int mEnds[2];
};

char const* Wait(float seconds)
{
    return CKeyboardInput::WaitInput(seconds) ? "key" : "no key";
}

std::string NextKey()
{
    int const key = getchar();
    return key == EOF ? "end" : std::to_string(key);
}

bool IsAlarmBlocked()
{
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, SIGALRM) == 1;
}

void BlockAlarm()
{
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
}

}  // namespace

TEST(CKeyboardInput, AnswersFalseWhenTheTimeIsOver)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        parent.Say(Wait(kShort));
    });
    EXPECT_EQ(child.Hear(), "no key");
}

TEST(CKeyboardInput, WaitsForAsLongAsItWasTold)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        auto const start = std::chrono::steady_clock::now();
        parent.Say(Wait(0.1F));
        // A timer is never early; how late it is isn't ours to say.
        bool const isOver =
            std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(100);
        parent.Say(isOver ? "over" : "early");
    });
    EXPECT_EQ(child.Hear(), "no key");
    EXPECT_EQ(child.Hear(), "over");
}

TEST(CKeyboardInput, LeavesTheKeyToTheNextRead)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        parent.Say(Wait(kLong));
        parent.Say(Wait(kLong));
        parent.Say(NextKey());
    });
    terminal.Type("k");
    EXPECT_EQ(child.Hear(), "key");
    EXPECT_EQ(child.Hear(), "key");
    EXPECT_EQ(child.Hear(), std::to_string('k'));
}

TEST(CKeyboardInput, EveryByteIsAKey)
{
    for (int const byte : {0x00, 0x01, 0x20, 0x7F, 0x80, 0xFF}) {
        SCOPED_TRACE(byte);
        CPipe const input;
        input.Write(std::string(1, static_cast<char>(byte)));
        StChildProcess const child([&input](CTestLink& parent) {
            input.UseAsInput();
            parent.Say(Wait(kLong));
            parent.Say(NextKey());
        });
        EXPECT_EQ(child.Hear(), "key");
        EXPECT_EQ(child.Hear(), std::to_string(byte));
    }
}

TEST(CKeyboardInput, SeesWhatTheStreamHasReadAlready)
{
    CPipe const input;
    input.Write("ab");
    StChildProcess const child([&input](CTestLink& parent) {
        input.UseAsInput();
        parent.Say(NextKey());
        parent.Say(Wait(kLong));
        parent.Say(NextKey());
        parent.Say(Wait(kShort));
    });
    EXPECT_EQ(child.Hear(), std::to_string('a'));
    EXPECT_EQ(child.Hear(), "key");
    EXPECT_EQ(child.Hear(), std::to_string('b'));
    EXPECT_EQ(child.Hear(), "no key");
}

TEST(CKeyboardInput, OnlyLooksIfThereIsNoTimeToWait)
{
    for (float const seconds : {0.0F, -0.0F, -1.0F, -1e30F, 1e-30F}) {
        SCOPED_TRACE(seconds);
        CPipe const input;
        StChildProcess const child([&input, seconds](CTestLink& parent) {
            input.UseAsInput();
            parent.Say(Wait(seconds));
            parent.Hear();
            parent.Say(Wait(seconds));
            parent.Say(NextKey());
        });
        EXPECT_EQ(child.Hear(), "no key");
        input.Write("k");
        child.Say("typed");
        EXPECT_EQ(child.Hear(), "key");
        EXPECT_EQ(child.Hear(), std::to_string('k'));
    }
}

TEST(CKeyboardInput, TimeoutLeavesNothingBehindOnTheStream)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        parent.Say(Wait(kShort));
        parent.Say(ferror(stdin) ? "error" : "no error");
        parent.Say(feof(stdin) ? "end" : "no end");
        parent.Say(Wait(kLong));
        parent.Say(NextKey());
    });
    EXPECT_EQ(child.Hear(), "no key");
    EXPECT_EQ(child.Hear(), "no error");
    EXPECT_EQ(child.Hear(), "no end");
    terminal.Type("k");
    EXPECT_EQ(child.Hear(), "key");
    EXPECT_EQ(child.Hear(), std::to_string('k'));
}

TEST(CKeyboardInput, EndOfTheInputAnswersFalseAtOnce)
{
    StTempDir const folder;
    std::string const file = folder.Write("empty", "");

    struct
    {
        char const* mWhat;
        std::string mPath;
    } const cases[] = {
        {"nothing at all", "/dev/null"},
        {"an empty file", file},
        {"a folder", folder.Path()},
        {"closed", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StChildProcess const child([&c](CTestLink& parent) {
            close(STDIN_FILENO);
            if (!c.mPath.empty()) open(c.mPath.c_str(), O_RDONLY);
            parent.Say(Wait(kLong));
            parent.Say(Wait(kLong));
        });
        EXPECT_EQ(child.Hear(), "no key");
        EXPECT_EQ(child.Hear(), "no key");
    }
}

TEST(CKeyboardInput, EndOfAFileComesAfterItsBytes)
{
    StTempDir const folder;
    std::string const file = folder.Write("input", "a");
    StChildProcess const child([&file](CTestLink& parent) {
        close(STDIN_FILENO);
        open(file.c_str(), O_RDONLY);
        parent.Say(Wait(kLong));
        parent.Say(NextKey());
        parent.Say(Wait(kLong));
        parent.Say(feof(stdin) ? "end" : "no end");
    });
    EXPECT_EQ(child.Hear(), "key");
    EXPECT_EQ(child.Hear(), std::to_string('a'));
    EXPECT_EQ(child.Hear(), "no key");
    EXPECT_EQ(child.Hear(), "end");
}

TEST(CKeyboardInput, WriterThatGoesAwayEndsTheWait)
{
    StChildProcess const child([](CTestLink& parent) {
        int ends[2];
        if (pipe(ends) != 0) return parent.Say("no pipe");
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        std::thread writer([&parent, end = ends[1]] {
            parent.Hear();
            close(end);
        });
        parent.Say("waits");
        parent.Say(Wait(kLong));
        writer.join();
    });
    EXPECT_EQ(child.Hear(), "waits");
    child.Say("go");
    EXPECT_EQ(child.Hear(), "no key");
}

TEST(CKeyboardInput, FormerActionAndMaskAreBackAfterwards)
{
    struct
    {
        char const* mWhat;
        float mSeconds;
        char const* mKeys;
        bool mIsBlocked;
    } const cases[] = {
        {"after a timeout", kShort, "", false},
        {"after a key", kLong, "k", false},
        {"after a timeout, blocked", kShort, "", true},
        {"after a key, blocked", kLong, "k", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CPipe const input;
        input.Write(c.mKeys);
        StChildProcess const child([&](CTestLink& parent) {
            input.UseAsInput();
            struct sigaction own
            {
            };
            own.sa_handler = [](int) {};
            own.sa_flags = SA_RESTART | SA_NODEFER;
            sigemptyset(&own.sa_mask);
            sigaddset(&own.sa_mask, SIGUSR1);
            sigaction(SIGALRM, &own, nullptr);
            if (c.mIsBlocked) BlockAlarm();
            parent.Say(Wait(c.mSeconds));

            struct sigaction found
            {
            };
            sigaction(SIGALRM, nullptr, &found);
            bool const isBack = found.sa_handler == own.sa_handler &&
                                (found.sa_flags & (SA_RESTART | SA_NODEFER)) == own.sa_flags &&
                                sigismember(&found.sa_mask, SIGUSR1) == 1;
            parent.Say(isBack ? "back" : "lost");
            parent.Say(IsAlarmBlocked() == c.mIsBlocked ? "back" : "lost");
        });
        EXPECT_EQ(child.Hear(), *c.mKeys ? "key" : "no key");
        EXPECT_EQ(child.Hear(), "back");
        EXPECT_EQ(child.Hear(), "back");
    }
}

// The signal's default action would end the process, so none may be left on its way.
TEST(CKeyboardInput, NoSignalIsLeftWhenTheWaitIsOver)
{
    CTerminal const terminal;
    StChildProcess child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        std::signal(SIGALRM, SIG_DFL);
        for (int i = 0; i < 200; ++i)
            CKeyboardInput::WaitInput(0);
        parent.Say("alive");
    });
    EXPECT_EQ(child.Hear(), "alive");
    EXPECT_EQ(child.WaitForEnd(), 0);
}

TEST(CKeyboardInput, HostsOwnAlarmRunsOn)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        alarm(1000);
        parent.Say(Wait(kShort));
        parent.Say(alarm(0) > 0 ? "runs" : "stopped");
    });
    EXPECT_EQ(child.Hear(), "no key");
    EXPECT_EQ(child.Hear(), "runs");
}

TEST(CKeyboardInput, MainThreadIsReachedBesideOthers)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        CPipe const stop;
        std::thread other([&stop] { stop.Read(); });
        std::thread third([&stop] { stop.Read(); });
        parent.Say(Wait(kShort));
        stop.Write("ab");
        other.join();
        third.join();
    });
    EXPECT_EQ(child.Hear(), "no key");
}

TEST(CKeyboardInput, AnyThreadThatWaitsIsReachedAndNoOtherIsDisturbed)
{
    struct
    {
        char const* mWhat;
        bool mIsBlocked;
    } const cases[] = {
        {"the signal let through", false},
        {"the signal blocked by the host", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CTerminal const terminal;
        StChildProcess const child([&](CTestLink& parent) {
            terminal.UseAsInput();
            CPipe const forMain;
            CPipe const forThird;
            int thirdGot = 0;
            std::thread third([&] { thirdGot = forThird.Read(); });
            std::thread waiter([&] {
                if (c.mIsBlocked) BlockAlarm();
                parent.Say(Wait(kShort));
                forMain.Write("m");
                forThird.Write("t");
            });
            // With the signal gone astray this read would end early and the wait never.
            int const mainGot = forMain.Read();
            waiter.join();
            third.join();
            parent.Say(mainGot == 1 && thirdGot == 1 ? "undisturbed" : "disturbed");
        });
        EXPECT_EQ(child.Hear(), "no key");
        EXPECT_EQ(child.Hear(), "undisturbed");
    }
}

TEST(CKeyboardInput, AnotherThreadGetsTheKey)
{
    CTerminal const terminal;
    StChildProcess const child([&terminal](CTestLink& parent) {
        terminal.UseAsInput();
        std::thread waiter([&parent] { parent.Say(Wait(kLong)); });
        waiter.join();
        parent.Say(NextKey());
    });
    terminal.Type("k");
    EXPECT_EQ(child.Hear(), "key");
    EXPECT_EQ(child.Hear(), std::to_string('k'));
}

TEST(CKeyboardInput, KnowsATerminal)
{
    CTerminal const terminal;
    CPipe const input;
    StTempDir const folder;
    std::string const file = folder.Write("input", "a");
    StChildProcess const child([&](CTestLink& parent) {
        auto const answer = [&parent](char const* what) {
            parent.Say(std::string(what) + (CKeyboardInput::HasTTYInputConsole() ? " yes" : " no"));
        };
        terminal.UseAsInput();
        answer("terminal");
        input.UseAsInput();
        answer("pipe");
        dup2(open(file.c_str(), O_RDONLY), STDIN_FILENO);
        answer("file");
        close(STDIN_FILENO);
        answer("closed");
    });
    EXPECT_EQ(child.Hear(), "terminal yes");
    EXPECT_EQ(child.Hear(), "pipe no");
    EXPECT_EQ(child.Hear(), "file no");
    EXPECT_EQ(child.Hear(), "closed no");
}
