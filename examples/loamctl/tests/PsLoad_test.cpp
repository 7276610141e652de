// How busy the processors are.
#include <cmath>
#include <csignal>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "loamctl/LoadBars.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StEnvironment.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr char kSummary[] = "[0-9]+\\.[0-9][0-9] of [0-9]+ processors?, [0-9]+% by loamctl";

TEST(LoadBars, GrowByEighthsOfACharacter)
{
    struct
    {
        char const* mWhat;
        float mLoad;
        char const* mBar;
    } const cases[] = {
        {"nothing", 0, "    "},
        {"less than half a step", 0.01F, "    "},
        {"a step", 1 / 32.0F, "▏   "},
        {"half a character", 4 / 32.0F, "▌   "},
        {"a character", 8 / 32.0F, "█   "},
        {"and a step", 9 / 32.0F, "█▏  "},
        {"all but a step", 31 / 32.0F, "███▉"},
        {"all", 1, "████"},
        {"more", 7, "████"},
        {"less than nothing", -1, "    "},
        {"no number", NAN, "    "},
        {"without bounds", INFINITY, "████"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(BarOf(c.mLoad, 4), c.mBar);
    }
}

TEST(LoadBars, TellPercent)
{
    EXPECT_EQ(PercentOf(0), "0%");
    EXPECT_EQ(PercentOf(0.657F), "66%");
    EXPECT_EQ(PercentOf(12), "1200%");
    EXPECT_EQ(PercentOf(NAN), "?");
    EXPECT_EQ(PercentOf(INFINITY), "?");
}

TEST(LoadBars, StandSideBySideWhereThereIsRoom)
{
    EXPECT_THAT(LinesOfBars({0.5F, 1, 0.5F}, 80, 24),
                ElementsAre("  0 ██████        50%    1 ████████████ 100%    2 ██████        50%"));
    EXPECT_THAT(
        LinesOfBars({0.5F, 1, 0.5F}, 44, 24),
        ElementsAre("  0 ██████        50%    1 ████████████ 100%", "  2 ██████        50%"));
    EXPECT_THAT(LinesOfBars({0.5F, 1}, 43, 24), SizeIs(2));
    EXPECT_THAT(LinesOfBars({0.5F, 1}, 1, 24), SizeIs(2));
    EXPECT_THAT(LinesOfBars({0.5F, 1, 1}, 44, 1), SizeIs(1));
    EXPECT_THAT(LinesOfBars({0.5F, 1, 1}, 44, -1), IsEmpty());
    EXPECT_THAT(LinesOfBars({}, 80, 24), IsEmpty());
    EXPECT_THAT(LinesOfBars(std::vector<float>(256, 1), 80, 24), SizeIs(24));
}

TEST(PsLoad, TellsALineATime)
{
    RunResult const run = RunLoamctl({"ps-load", "-n", "2", "-i", "20"});
    EXPECT_EQ(run.mExitCode, 0);
    EXPECT_EQ(run.mError, "");
    std::string const line = std::string(kSummary) + ":( [0-9]+%)+\n";
    EXPECT_THAT(run.mOutput, MatchesRegex(line + line));
}

TEST(PsLoad, TellsJSON)
{
    RunResult const run = RunLoamctl({"ps-load", "-n", "1", "-i", "20", "--json"});
    EXPECT_EQ(run.mExitCode, 0);
    auto const object = nlohmann::json::parse(run.mOutput);
    EXPECT_EQ(object["type"], "load");
    EXPECT_TRUE(object["total"].is_number());
    EXPECT_TRUE(object["process"].is_number());
    EXPECT_FALSE(object["processors"].empty());
}

TEST(PsLoad, DrawsBarsInTheirPlacesOnATerminal)
{
    StEnvironment const terminal("TERM", "xterm");
    RunResult const run = RunLoamctlOnTerminal({"ps-load", "-n", "3", "-i", "20", "--color=never"});
    EXPECT_EQ(run.mExitCode, 0);
    EXPECT_THAT(run.mOutput, MatchesRegex("\x1b\\[K  0 .*%\r\n\x1b\\[K" + std::string(kSummary) +
                                          "\r\n\x1b\\[J(\x1b\\[[0-9]+A.*){2}"));
}

TEST(PsLoad, DrawsNothingWhereTheCursorDoesNotMove)
{
    StEnvironment const terminal("TERM", "dumb");
    RunResult const run = RunLoamctlOnTerminal({"ps-load", "-n", "1", "-i", "20"});
    EXPECT_EQ(run.mExitCode, 0);
    EXPECT_THAT(run.mOutput, MatchesRegex(std::string(kSummary) + ":( [0-9]+%)+\r\n"));
}

TEST(PsLoad, EndsByASignal)
{
    StChannel output = StChannel::Pipe();
    StChannel error = StChannel::Pipe();
    StLoamctl child({"ps-load", "-i", "20"}, output.In(), error.In());
    output.CloseIn();
    error.CloseIn();
    EXPECT_THAT(output.ReadUntil("\n"), HasSubstr("by loamctl"));
    child.Signal(SIGINT);
    EXPECT_EQ(child.Wait(), 130);
    EXPECT_FALSE(child.WasKilled());
    EXPECT_EQ(error.ReadAll(), "loamctl: stopped by signal 2\n");
}

TEST(PsLoad, RefusesWhatMakesNoSense)
{
    std::vector<std::string> const cases[] = {
        {"ps-load", "-n", "0"},  {"ps-load", "-n", "-1"},      {"ps-load", "-n", "many"},
        {"ps-load", "-i", "19"}, {"ps-load", "-i", "3600001"}, {"ps-load", "extra"},
    };
    for (auto const& arguments : cases) {
        SCOPED_TRACE(arguments.back());
        RunResult const run = RunLoamctl(arguments);
        EXPECT_EQ(run.mExitCode, 2);
        EXPECT_EQ(run.mOutput, "");
        EXPECT_NE(run.mError, "");
    }
}

}  // namespace
