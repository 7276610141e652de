// Arguments, help and exit codes.

#include <string>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(CommandLine, Teaches)
{
    RunResult const all = RunLoamctl({"--help"});
    EXPECT_EQ(all.mExitCode, 0);
    EXPECT_THAT(all.mOutput, HasSubstr("Examples:\n  loamctl search cafe"));
    for (std::string const command : {"search", "scan", "words", "log"}) {
        SCOPED_TRACE(command);
        RunResult const result = RunLoamctl({command, "--help"});
        EXPECT_EQ(result.mExitCode, 0);
        EXPECT_THAT(result.mOutput, HasSubstr("Usage: loamctl " + command));
        EXPECT_EQ(result.mError, "");
    }
    RunResult const version = RunLoamctl({"--version"});
    EXPECT_EQ(version.mExitCode, 0);
    EXPECT_THAT(version.mOutput, StartsWith("loamctl 1."));
}

TEST(CommandLine, RefusesWhatItDoesNotKnow)
{
    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
    } const cases[] = {
        {"nothing", {}},
        {"unknown command", {"find", "x"}},
        {"no command", {"--json"}},
        {"no word", {"search"}},
        {"no file", {"words"}},
        {"unknown option", {"search", "x", "--nonsense"}},
        {"unknown colour", {"search", "x", "--color", "blue"}},
        {"counts and names", {"search", "x", "-c", "-l"}},
        {"no number", {"search", "x", "-m", "many"}},
        {"no hits at all", {"search", "x", "-m", "0"}},
        {"negative", {"search", "x", "--max-columns", "-1"}},
        {"no jobs", {"scan", "-j", "0"}},
        {"too many jobs", {"scan", "-j", "257"}},
        {"no log", {"log"}},
        {"unknown granularity", {"log", "x", "--granularity", "day"}},
        {"unknown stamp", {"log", "x", "--stamp", "minutes"}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctl(c.mArguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_THAT(result.mError, HasSubstr("loamctl"));
    }
}

TEST(CommandLine, TakesOptionsBeforeAndBehindTheCommand)
{
    std::string const menu = Document("europe/fr-menu.txt");
    std::string const expected = RunLoamctl({"--json", "search", "cafe", menu}).mOutput;
    EXPECT_THAT(expected, StartsWith("{"));
    EXPECT_EQ(RunLoamctl({"search", "--json", "cafe", menu}).mOutput, expected);
    EXPECT_EQ(RunLoamctl({"search", "cafe", menu, "--json"}).mOutput, expected);
}

TEST(CommandLine, TakesAWordThatLooksLikeAnOption)
{
    RunResult const result =
        RunLoamctl({"search", "--", "-Bl", Document("europe/fr-mirabeau.txt")});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_THAT(result.mOutput, HasSubstr("Louis-Ble\u0301riot"));
}

TEST(CommandLine, TakesNamesAsTheyStand)
{
    StTempDir const folder;
    for (std::string const name : {"[a,b]", "a;b", "a b", "\"q\"", "{}", "%", "true"}) {
        SCOPED_TRACE(name);
        folder.Write(name, "cafe\n");
        EXPECT_EQ(RunLoamctlIn(folder.Path(), {"search", "-l", "cafe", name}).mOutput, name + "\n");
        EXPECT_EQ(RunLoamctlIn(folder.Path(), {"words", name}).mOutput, "cafe\t0\t4\n");
        folder.Write("text", "in " + name + "\n");
        EXPECT_EQ(RunLoamctlIn(folder.Path(), {"search", "-c", name, "text"}).mOutput, "text:1\n");
    }
}

}  // namespace
