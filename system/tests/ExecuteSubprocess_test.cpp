#include "system/ExecuteSubprocess.h"

#include "system/CProcessServicesImp.h"
#include "system/Subprocess.h"
#include "testing/ScriptedSubprocessPlatform.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>

namespace {

using Calls = std::vector<std::string>;

}  // namespace

TEST(RunSubprocess, MakesOneTextOfTwoOutputs)
{
    struct
    {
        char const* mWhat;
        std::string mOutput;
        std::string mErrors;
        bool mIsText;
        std::string mText;
    } const cases[] = {
        {"neither", "", "", true, ""},
        {"output alone", "out", "", true, "out"},
        {"errors alone, with nothing ahead of them", "", "err", true, "stderr:\nerr"},
        {"both", "out", "err", true, "out\n\nstderr:\nerr"},
        {"line ends stay", "out\n", "err\n", true, "out\n\n\nstderr:\nerr\n"},
        {"a NUL counts as text", std::string(1, '\0'), "err", true,
         std::string(1, '\0') + "\n\nstderr:\nerr"},
        {"text of all lengths", "\x41\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "", true,
         "\x41\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"output isn't UTF-8", "caf\xE9", "err", false, ""},
        {"output is cut within a character", "\xE2\x82", "", false, ""},
        {"output has a surrogate", "\xED\xA0\x80", "", false, ""},
        {"output has a longer form than needed", "\xC0\xAF", "", false, ""},
        {"output has a character beyond the last", "\xF4\x90\x80\x80", "", false, ""},
        {"errors aren't UTF-8", "out", "\xFF", true, "out"},
        {"errors alone, and they aren't UTF-8", "", "\xFF", true, ""},
        {"a long text", std::string(100000, 'x'), "", true, std::string(100000, 'x')},
        {"a long text that ends badly", std::string(100000, 'x') + "\xFF", "", false, ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedSubprocessPlatform platform;
        platform.mProgram = [&c](auto const&, auto const&) {
            ScriptedProgram program;
            program.mOutput = c.mOutput;
            program.mErrors = c.mErrors;
            return program;
        };
        StSubprocessPlatform const inUse(platform);
        std::string text = "former";
        int status = 1;
        EXPECT_EQ(RunSubprocess("/bin/tool", {}, 1, text, &status), c.mIsText);
        EXPECT_EQ(text, c.mText);
        EXPECT_EQ(status, 0);
    }
}

TEST(RunSubprocess, TellsAProgramThatIsNotThereAndNoOtherFailure)
{
    struct
    {
        char const* mWhat;
        bool mIsThere;
        bool mIsStarted;
        bool mIsOutputReadable;
        bool mAreErrorsReadable;
        bool mIsText;
        int mStatus;
        std::string mText;
        Calls mCalls;
    } const cases[] = {
        {"no file", false, true, true, true, false, -43, "", {"FileExists(/bin/tool)"}},
        {"it can't be started",
         true,
         false,
         true,
         true,
         false,
         0,
         "",
         {"FileExists(/bin/tool)", "Launch(/bin/tool, a, b c, )"}},
        {"output can't be read",
         true,
         true,
         false,
         true,
         false,
         0,
         "",
         {"FileExists(/bin/tool)", "Launch(/bin/tool, a, b c, )", "ReadOutput"}},
        {"errors can't be read",
         true,
         true,
         true,
         false,
         true,
         0,
         "out",
         {"FileExists(/bin/tool)", "Launch(/bin/tool, a, b c, )", "ReadOutput", "ReadErrors"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedSubprocessPlatform platform;
        platform.mIsThere = c.mIsThere;
        platform.mProgram = [&c](auto const&, auto const&) {
            ScriptedProgram program;
            program.mIsStarted = c.mIsStarted;
            program.mIsOutputReadable = c.mIsOutputReadable;
            program.mAreErrorsReadable = c.mAreErrorsReadable;
            program.mOutput = "out";
            program.mErrors = "err";
            return program;
        };
        StSubprocessPlatform const inUse(platform);
        for (bool const isStatusWanted : {true, false}) {
            platform.mCalls.clear();
            std::string text = "former";
            int status = 1;
            EXPECT_EQ(RunSubprocess("/bin/tool", {"a", "b c", ""}, 1, text,
                                    isStatusWanted ? &status : nullptr),
                      c.mIsText);
            EXPECT_EQ(status, isStatusWanted ? c.mStatus : 1);
            EXPECT_EQ(text, c.mText);
            EXPECT_EQ(platform.mCalls, c.mCalls);
        }
    }
}

TEST(RunSubprocess, KeepsReadingErrorsAfterOutputThatIsNoText)
{
    ScriptedSubprocessPlatform platform;
    platform.mProgram = [](auto const&, auto const&) {
        ScriptedProgram program;
        program.mOutput = "\xFF";
        return program;
    };
    StSubprocessPlatform const inUse(platform);
    std::string text;
    EXPECT_FALSE(RunSubprocess("/bin/tool", {}, 1, text, nullptr));
    EXPECT_EQ(platform.mCalls,
              (Calls{"FileExists(/bin/tool)", "Launch(/bin/tool)", "ReadOutput", "ReadErrors"}));
}

// Whatever the program does, what is read is read after the wait.
TEST(RunSubprocess, KeepsReadingForTheEnd)
{
    constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
    constexpr float kForEver = std::numeric_limits<float>::infinity();

    struct
    {
        char const* mWhat;
        float mTimeout;
        std::optional<long long> mEnd;
        bool mEndsAtInterrupt;
        std::optional<long long> mIsUnknown;
        Calls mCalls;
        int mNaps;
    } const cases[] = {
        {"no timeout", 0, {}, false, {}, {"WaitUntilExit"}, 0},
        {"a negative one", -1, {}, false, {}, {"WaitUntilExit"}, 0},
        {"the least negative zero", -0.0F, {}, false, {}, {"WaitUntilExit"}, 0},
        {"not a number", kNoNumber, {}, false, {}, {"WaitUntilExit"}, 0},
        {"endless", kForEver, 100000000, false, {}, {}, 1000},
        {"it ends before the first look", 3, 0, false, {}, {}, 0},
        {"during the first nap", 3, 1, false, {}, {}, 1},
        {"during the second", 3, 100001, false, {}, {}, 2},
        {"just before the interrupt", 3, 3100000, false, {}, {}, 31},
        {"three seconds, polite", 3, {}, true, {}, {"Interrupt(3100000)"}, 32},
        {"three seconds, late but polite", 3, 4100000, false, {}, {"Interrupt(3100000)"}, 41},
        {"three seconds, ignored",
         3,
         {},
         false,
         {},
         {"Interrupt(3100000)", "Terminate(4100000)"},
         41},
        {"eleven seconds, ignored",
         10,
         {},
         false,
         {},
         {"Interrupt(10100000)", "Terminate(11100000)"},
         111},
        {"sixty-one seconds, ignored",
         60,
         {},
         false,
         {},
         {"Interrupt(60100000)", "Terminate(61100000)"},
         611},
        {"next to no timeout",
         1e-6F,
         {},
         false,
         {},
         {"Interrupt(100000)", "Terminate(1100000)"},
         11},
        {"the system knows no such process", 3, {}, false, 0, {}, 0},
        {"nor after a second", 3, {}, false, 1000000, {}, 10},
        {"nor after the interrupt", 3, {}, false, 3100001, {"Interrupt(3100000)"}, 32},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedSubprocessPlatform platform;
        platform.mProgram = [&c](auto const&, auto const&) {
            ScriptedProgram program;
            program.mEnd = c.mEnd;
            program.mEndsAtInterrupt = c.mEndsAtInterrupt;
            program.mIsUnknown = c.mIsUnknown;
            program.mOutput = "out";
            return program;
        };
        StSubprocessPlatform const inUse(platform);
        std::string text;
        EXPECT_TRUE(RunSubprocess("/bin/tool", {}, c.mTimeout, text, nullptr));
        EXPECT_EQ(text, "out");
        Calls calls{"FileExists(/bin/tool)", "Launch(/bin/tool)"};
        calls.insert(calls.end(), c.mCalls.begin(), c.mCalls.end());
        calls.insert(calls.end(), {"ReadOutput", "ReadErrors"});
        EXPECT_EQ(platform.mCalls, calls);
        EXPECT_EQ(platform.mNaps, c.mNaps);
    }
}

TEST(WaitForSubprocess, KeepsToAClockThatCanBeSet)
{
    struct
    {
        char const* mWhat;
        std::map<int, long long> mJumps;
        Calls mCalls;
    } const cases[] = {
        {"forward by an hour", {{1, 3600000000}}, {"Interrupt(100000)", "Terminate(200000)"}},
        {"back by a second", {{1, -1000000}}, {"Interrupt(4100000)", "Terminate(5100000)"}},
        {"back, after the interrupt",
         {{32, -1000000}},
         {"Interrupt(3100000)", "Terminate(5100000)"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedSubprocessPlatform platform;
        platform.mJumps = c.mJumps;
        platform.mProgram = [](auto const&, auto const&) {
            ScriptedProgram program;
            program.mEnd.reset();
            return program;
        };
        StSubprocessPlatform const inUse(platform);
        auto const child = platform.Launch("/bin/tool", {});
        platform.mCalls.clear();
        WaitForSubprocess(*child, 3);
        EXPECT_EQ(platform.mCalls, c.mCalls);
    }
}

TEST(WaitForSubprocess, KeepsLosingTheSecondBetweenSignalsOfAVeryLongTimeout)
{
    constexpr float kWholeFloats = 16777216;
    for (float const timeout : {kWholeFloats, 2 * kWholeFloats}) {
        ScriptedSubprocessPlatform platform;
        platform.mJumps = {{1, static_cast<long long>(timeout) * 1000000}};
        platform.mProgram = [](auto const&, auto const&) {
            ScriptedProgram program;
            program.mEnd.reset();
            return program;
        };
        StSubprocessPlatform const inUse(platform);
        auto const child = platform.Launch("/bin/tool", {});
        platform.mCalls.clear();
        WaitForSubprocess(*child, timeout);
        EXPECT_EQ(platform.mCalls, (Calls{"Interrupt(100000)", "Terminate(200000)"}));
    }
}

TEST(safeWaitGetCurrentMicroTime, IsTheSystemsClock)
{
    time_t const before = time(nullptr);
    long long const now = safeWaitGetCurrentMicroTime();
    // `time` may be a tick behind.
    EXPECT_GE(now / 1000000, before);
    EXPECT_LE(now / 1000000, time(nullptr) + 1);
}
