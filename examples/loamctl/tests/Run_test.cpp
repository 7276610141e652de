// `loamctl run`, as a user would.

#include <string>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;

TEST(Run, ShowsBothOutputsOfAProgram)
{
    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
        std::string mOutput;
    } const cases[] = {
        {"output", {"run", "printf", "a\\nb"}, "a\nb\n"},
        {"a path", {"run", "/bin/sh", "-c", "echo $0 $#"}, "/bin/sh 0\n"},
        {"errors", {"run", "sh", "-c", "echo err >&2; exit 3"}, "stderr:\nerr\n"},
        {"both", {"run", "sh", "-c", "echo err >&2; echo out"}, "out\n\n\nstderr:\nerr\n"},
        {"neither", {"run", "false"}, ""},
        {"options of the program", {"run", "echo", "--json", "-v", "-t", "5"}, "--json -v -t 5\n"},
        {"dashes of its own", {"run", "echo", "--", "a"}, "-- a\n"},
        {"dashes ahead of it", {"run", "--", "echo", "-t"}, "-t\n"},
        {"a bracket", {"run", "echo", "[a,b]"}, "[a,b]\n"},
        {"a timeout it keeps", {"run", "-t", "3600", "echo", "out"}, "out\n"},
        {"none", {"run", "--timeout", "0", "echo", "out"}, "out\n"},
        {"controls", {"run", "printf", "\\033[1m"}, "\\x1b[1m\n"},
        {"a pipe that is closed", {"run", "sh", "-c", "yes | head -n 1"}, "y\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctl(c.mArguments);
        EXPECT_EQ(result.mOutput, c.mOutput);
        EXPECT_EQ(result.mError, "");
        EXPECT_EQ(result.mExitCode, 0);
    }

    EXPECT_EQ(RunLoamctl({"--json", "run", "/bin/sh", "-c", "printf 'a\\033\\n'"}).mOutput,
              "{\"type\":\"run\",\"program\":\"/bin/sh\",\"text\":\"a\\u001b\\n\"}\n");
}

TEST(Run, RefusesWhatItCannotRun)
{
    StTempDir const folder;

    struct
    {
        char const* mWhat;
        std::vector<std::string> mArguments;
        std::string mError;
    } const cases[] = {
        {"nothing", {"run"}, "CMD is required"},
        {"no such name", {"run", "no-such-program"}, "cannot run no-such-program: No such file"},
        {"no such path", {"run", "/no/such"}, "cannot run /no/such: No such file"},
        {"a folder", {"run", folder.Path()}, "Permission denied"},
        {"a plain file", {"run", folder.Write("plain", "")}, "Permission denied"},
        {"an empty name", {"run", ""}, "cannot run"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctl(c.mArguments);
        EXPECT_THAT(result.mError, HasSubstr(c.mError));
        EXPECT_EQ(result.mOutput, "");
        EXPECT_EQ(result.mExitCode, 2);
    }
    for (char const* const seconds : {"", "x", "1x", "-1", "nan", "inf", "1e99"}) {
        SCOPED_TRACE(seconds);
        RunResult const result = RunLoamctl({"run", std::string("-t") + seconds, "echo"});
        EXPECT_NE(result.mExitCode, 0);
        EXPECT_EQ(result.mOutput, "");
    }
}

TEST(Run, EndsAProgramThatTakesTooLong)
{
    StTempDir const folder;
    std::string const pipe = folder.Path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    RunResult const result = RunLoamctl({"run", "-t", "0.001", "cat", pipe});
    EXPECT_EQ(result.mOutput, "");
    EXPECT_EQ(result.mExitCode, 0);
}

TEST(Run, AsksAProgramTwiceToEnd)
{
    constexpr char kScript[] = "trap 'echo interrupted' INT; trap 'echo terminated; exit' TERM; "
                               "while :; do sleep 0.01; done";
    RunResult const result = RunLoamctl({"run", "-t", "1", "sh", "-c", kScript});
    EXPECT_EQ(result.mOutput, "interrupted\nterminated\n");
    EXPECT_EQ(result.mExitCode, 0);
}

}  // namespace
