// `loamctl agent`, run as a user would.

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;

// With a home of its own, where Linux has the folders of agents and daemons.
class Agent : public testing::Test
{
protected:
    RunResult Run(std::vector<std::string> const& arguments) const
    {
        std::vector<std::string> all{"agent"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return RunLoamctlIn(mHome.Path(), all);
    }

    void SetUp() override
    {
#ifdef __APPLE__
        GTEST_SKIP() << "the desktop has these folders elsewhere";
#endif
    }

    StTempDir mHome;
    StEnvironment mVariable{"HOME", mHome.Path()};
    std::string mProgram = mHome.Write("helper", "");
    std::string mFile = "LaunchAgents/com.example.helper.plist";
};

TEST_F(Agent, IsInstalledCheckedAndRemoved)
{
    RunResult result = Run({"check", "com.example.helper", mProgram, "--", "-v"});
    EXPECT_EQ(result.mExitCode, 1);
    EXPECT_EQ(result.mOutput, "not installed  " + mHome.Path(mFile) + "\n");

    result = Run({"install", "com.example.helper", "./helper", "--", "--json", "-v"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_EQ(result.mOutput + result.mError, "");
    EXPECT_THAT(mHome.Read(mFile), HasSubstr("\t\t<string>" + mProgram +
                                             "</string>\n"
                                             "\t\t<string>--json</string>\n"
                                             "\t\t<string>-v</string>\n"));

    result = Run({"check", "com.example.helper", mProgram, "--", "--json", "-v"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_EQ(result.mOutput, "installed  " + mHome.Path(mFile) + "\n");
    result = Run({"check", "com.example.helper", mProgram});
    EXPECT_EQ(result.mExitCode, 1);
    EXPECT_EQ(result.mOutput, "says something else  " + mHome.Path(mFile) + "\n");

    EXPECT_EQ(Run({"remove", "com.example.helper"}).mExitCode, 0);
    EXPECT_FALSE(mHome.Has(mFile));
    result = Run({"remove", "com.example.helper"});
    EXPECT_EQ(result.mExitCode, 1);
    EXPECT_EQ(result.mError, "loamctl: com.example.helper: not installed\n");
}

TEST_F(Agent, CanBeADaemonOrStartedAtOnce)
{
    EXPECT_EQ(Run({"--daemon", "install", "a", mProgram}).mExitCode, 0);
    EXPECT_TRUE(mHome.Has("LaunchDaemons/a.plist"));
    EXPECT_EQ(Run({"install", "--now", "a", mProgram}).mExitCode, 0);
    EXPECT_EQ(Run({"remove", "--now", "a"}).mExitCode, 0);
    EXPECT_TRUE(mHome.Has("LaunchDaemons/a.plist"));
}

TEST_F(Agent, IsToldAsJSON)
{
    RunResult const result =
        RunLoamctlIn(mHome.Path(), {"--json", "agent", "check", "a\x1B\"", mProgram});
    auto const lines = ParseLines(result.mOutput, "agent");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0]["label"], "a\x1B\"");
    EXPECT_EQ(lines[0]["file"], mHome.Path("LaunchAgents/a\x1B\".plist"));
    EXPECT_EQ(lines[0]["exists"], false);
    EXPECT_EQ(lines[0]["up_to_date"], false);
    EXPECT_EQ(lines[0]["writable"], true);
}

TEST_F(Agent, SaysWhatIsWrong)
{
    struct
    {
        std::vector<std::string> mArguments;
        int mExitCode;
        std::string mError;
    } const cases[] = {
        {{"install", "a"}, 2, "loamctl: PROGRAM is needed\n"},
        {{"install", "a", "/none\x1B"}, 2, "loamctl: /none\\x1b: No such file or directory\n"},
        {{"install", "--daemon", "--now", "a", mProgram},
         2,
         "loamctl: a daemon is started and stopped with the machine, not --now\n"},
        {{"install", "a\xFF", mProgram}, 2, "loamctl: a\xFF: the file can't be made\n"},
        {{"install", "full", mProgram}, 2, "loamctl: full: the file can't be changed\n"},
        {{"remove", "full"}, 2, "loamctl: full: the file can't be removed\n"},
    };

    mHome.Write("LaunchAgents/full.plist/file", "");
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mError);
        RunResult const result = Run(c.mArguments);
        EXPECT_EQ(result.mExitCode, c.mExitCode);
        EXPECT_EQ(result.mError, c.mError);
    }
    EXPECT_EQ(Run({"start", "a", mProgram}).mExitCode, 2);
}

}  // namespace
