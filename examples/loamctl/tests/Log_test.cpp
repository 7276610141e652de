// `--log` and `loamctl log`, run as a user would.

#include <string>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"
#include "testing/StTimeZone.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr std::size_t kStampSize = std::string_view("2024/03/05, 14:07:09 +0100: ").size();

std::string const s_seconds = "[0-9]{4}/[0-9]{2}/[0-9]{2}, [0-9]{2}:[0-9]{2}:[0-9]{2} [+-][0-9]{4}";
std::string const s_milliseconds =
    "[0-9]{4}/[0-9]{2}/[0-9]{2}, [0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3} [+-][0-9]{4}";

// The lines of a log without their stamps.
std::string Unstamped(std::string const& log)
{
    std::string result;
    for (std::size_t at = 0; at < log.size();) {
        std::size_t const end = log.find('\n', at) + 1;
        result += log.substr(at + kStampSize, end - at - kStampSize);
        at = end;
    }
    return result;
}

TEST(RunLog, TellsWhatWasDoneAndWhatWasNot)
{
    StTempDir const folder;
    folder.Write("docs/a.txt", "cafe cafe\n");
    folder.Write("docs/b.bin", std::string("b\0", 2));
    folder.Write("docs/c\n.txt", "tea");
    auto const run = [&folder](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), {"--log", "log", "--log-max", "0", "-j", "4"});
        RunLoamctlIn(folder.Path(), arguments);
        std::string const log = folder.Read("log");
        EXPECT_THAT(log, MatchesRegex("(" + s_seconds + ": [^\n]*\n)*"));
        return Unstamped(log);
    };
    EXPECT_EQ(run({"search", "cafe", "docs", "none"}),
              "started: search\nlooking for cafe\n"
              "read docs/a.txt (UTF-8, 10 bytes): 2 hits\n"
              "skipped docs/b.bin (binary: a null byte at offset 1)\n"
              "read docs/c\\n.txt (UTF-8, 3 bytes): 0 hits\n"
              "failed none (unreadable: No such file or directory)\n"
              "done, exit code 2\n");
    EXPECT_EQ(run({"search", "-l", "cafe", "docs/a.txt", "docs/c\n.txt"}),
              "started: search\nlooking for cafe\n"
              "read docs/a.txt (UTF-8, 10 bytes): a hit\n"
              "read docs/c\\n.txt (UTF-8, 3 bytes): no hit\n"
              "done, exit code 0\n");
    EXPECT_EQ(run({"words", "docs/a.txt"}), "started: words\n"
                                            "read docs/a.txt (UTF-8, 10 bytes): 2 words\n"
                                            "done, exit code 0\n");
    EXPECT_EQ(run({"scan", "docs/a.txt"}), "started: scan\n"
                                           "read docs/a.txt (UTF-8, 10 bytes)\n"
                                           "done, exit code 0\n");
    EXPECT_EQ(run({"search", ""}), "started: search\nlooking for \n"
                                   "failed: there is nothing to look for, exit code 2\n");
}

TEST(RunLog, IsAddedToAndCut)
{
    StTempDir const folder;
    folder.Write("a.txt", "a\n");
    std::string const old(1000, 'o');
    auto const run = [&](std::vector<std::string> arguments) {
        folder.Write("log", old);
        arguments.insert(arguments.begin(), {"scan", "a.txt", "--log", "log"});
        EXPECT_EQ(RunLoamctlIn(folder.Path(), arguments).mExitCode, 0);
        return folder.Read("log");
    };
    std::string const added = run({"--log-max", "0"});
    EXPECT_THAT(added, HasSubstr(": started: scan\n"));
    EXPECT_THAT(run({}), StartsWith(old));
    EXPECT_THAT(run({"--log-max", "1000"}), StartsWith(old));
    std::string const cut = run({"--log-max", "100"});
    EXPECT_THAT(cut, StartsWith(old.substr(0, 100)));
    EXPECT_EQ(cut.find_first_not_of('o'), 100U);
    EXPECT_THAT(cut, EndsWith(": done, exit code 0\n"));
}

TEST(RunLog, IsRefusedWhereItCannotBe)
{
    StTempDir const folder;

    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
        char const* mError;
    } const cases[] = {
        {"no folder",
         {"scan", "--log", "none/log"},
         "loamctl: the log none/log: No such file or directory\n"},
        {"a folder", {"scan", "--log", "."}, "loamctl: the log .: Is a directory\n"},
        {"not UTF-8", {"scan", "--log", "\xff"}, "loamctl: the log \xff: not the name of a file\n"},
        {"a size without a log",
         {"scan", "--log-max", "1"},
         "loamctl: --log-max requires --log\nTry loamctl --help\n"},
        {"by the command",
         {"log", "none/log"},
         "loamctl: the log none/log: No such file or directory\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctlIn(folder.Path(), c.mArguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_EQ(result.mError, c.mError);
    }
}

TEST(Log, ShowsEachFormOfStamp)
{
    StTempDir const folder;
    for (std::string const granularity :
         {"call", "second", "ten-seconds", "minute", "ten-minutes", "hour"}) {
        SCOPED_TRACE(granularity);
        RunResult const result = RunLoamctlIn(
            folder.Path(), {"log", "log", "a", "b\n", "--granularity", granularity, "--max", "0"});
        EXPECT_EQ(result.mExitCode, 0);
        EXPECT_EQ(result.mError, "");
        EXPECT_EQ(result.mOutput, folder.Read("log"));
        std::string expected = "a\nb\\\\n\n";
        for (std::string const& stamp : {s_seconds, s_milliseconds}) {
            std::string const inner = "(" + stamp + "\n)?";  // if the clock moved on meanwhile
            expected += granularity == "call" ? stamp + ": a\n" + stamp + ": b\\\\n\n"
                                              : stamp + "\na\n" + inner + "b\\\\n\n";
        }
        EXPECT_THAT(result.mOutput, MatchesRegex(expected));
    }
}

TEST(Log, ShowsTheZoneOfEachForm)
{
    StTempDir const folder;
    StTimeZone const zone("EST5");
    EXPECT_THAT(RunLoamctlIn(folder.Path(), {"log", "log", "--stamp", "seconds"}).mOutput,
                HasSubstr(" -0500: loamctl was here\n"));
    EXPECT_THAT(RunLoamctlIn(folder.Path(), {"log", "log", "--stamp", "milliseconds"}).mOutput,
                HasSubstr(" +0500: loamctl was here\n"));
}

TEST(Log, AddsAndCuts)
{
    StTempDir const folder;
    auto const run = [&folder](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"log", "log", "--stamp", "none"});
        return RunLoamctlIn(folder.Path(), arguments).mOutput;
    };
    EXPECT_EQ(run({"12345"}), "12345\n");
    EXPECT_EQ(run({"abc", "--json"}), "{\"type\":\"line\",\"text\":\"abc\"}\n");
    EXPECT_EQ(folder.Read("log"), "12345\nabc\n");
    EXPECT_EQ(run({"x", "--max", "6"}), "x\n");
    EXPECT_EQ(folder.Read("log"), "5\nabc\nx\n");
}

}  // namespace
