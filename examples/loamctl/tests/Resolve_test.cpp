// `loamctl resolve`, run as a user would.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;

// In a folder of its own.
class Resolve : public testing::Test
{
protected:
    RunResult Run(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "resolve");
        return RunLoamctlIn(mFolder.Path(), arguments);
    }

    std::string Path(std::string const& name) const { return mFolder.Path(name); }

    void Link(std::string const& target, std::string const& name) const
    {
        fs::create_symlink(target, Path(name));
    }

    std::string Stage(std::string const& from, std::string const& to) const
    {
        return "link           " + Path(from) + " -> " + Path(to) + "\n";
    }

    std::string End(std::string const& kind, std::string const& name) const
    {
        return kind + std::string(15 - kind.size(), ' ') + Path(name) + "\n";
    }

    StTempDir mFolder;
};

TEST_F(Resolve, ShowsEachStageAndTheEnd)
{
    mFolder.Write("real/file", "");
    mFolder.Write("disk.dmg", "");
    mFolder.Write("server.afploc", "");
    Link("real", "folder");
    Link("file", "real/one");
    Link(Path("real/one"), "two");
    Link("missing", "dangling");
    Link("b", "a");
    Link("a", "b");
    Link("disk.dmg", "disk");
    Link("server.afploc", "server");
    Link("/dev/null", "device");

    struct
    {
        char const* mPath;
        int mExitCode;
        std::string mOutput;
    } const cases[] = {
        {"real/file", 0, End("file", "real/file")},
        {"real/", 0, End("folder", "real/")},
        {"real/../real", 0, End("folder", "real/../real")},
        {"folder/file", 0, Stage("folder", "real") + End("file", "real/file")},
        {"two", 0,
         Stage("two", "real/one") + Stage("real/one", "real/file") + End("file", "real/file")},
        {"folder/one", 0,
         Stage("folder", "real") + Stage("real/one", "real/file") + End("file", "real/file")},
        {"device", 0,
         "link           " + Path("device") + " -> /dev/null\n" + "other          /dev/null\n"},
        {"disk", 0, Stage("disk", "disk.dmg") + End("disk image", "disk.dmg")},
        {"dangling", 1, Stage("dangling", "missing") + End("missing", "missing")},
        {"none/x", 1, End("missing", "none/x")},
        {"a", 1, End("link", "a")},
        {"a/x", 1, End("missing", "a/x")},
        {"server", 1, Stage("server", "server.afploc") + End("location file", "server.afploc")},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mPath);
        RunResult const result = Run({c.mPath});
        EXPECT_EQ(result.mOutput, c.mOutput);
        EXPECT_EQ(result.mExitCode, c.mExitCode);
        EXPECT_EQ(result.mError, "");
    }
    // Nothing is mounted here, and nothing is lost.
    EXPECT_EQ(Run({"--mount", "disk.dmg"}).mOutput, End("disk image", "disk.dmg"));
    EXPECT_EQ(Run({"/"}).mOutput, "folder         /\n");
}

TEST_F(Resolve, TakesSeveralPaths)
{
    mFolder.Write("file", "");
    RunResult const result = Run({"none", Path("file")});
    EXPECT_EQ(result.mOutput, End("missing", "none") + End("file", "file"));
    EXPECT_EQ(result.mExitCode, 1);
}

TEST_F(Resolve, TellsProgramsTheSame)
{
    mFolder.Write("file", "");
    Link("file", "a\nb");
    RunResult const result = Run({"--json", "a\nb"});
    nlohmann::json const stage = ParseLines(result.mOutput, "stage").at(0);
    EXPECT_EQ(stage["path"], "a\nb");
    EXPECT_EQ(stage["kind"], "link");
    EXPECT_EQ(stage["from"], Path("a\nb"));
    EXPECT_EQ(stage["to"], Path("file"));
    nlohmann::json const end = ParseLines(result.mOutput, "resolved").at(0);
    EXPECT_EQ(end["path"], "a\nb");
    EXPECT_EQ(end["kind"], "file");
    EXPECT_EQ(end["to"], Path("file"));
    // People see no control characters.
    EXPECT_THAT(Run({"a\nb"}).mOutput, HasSubstr("a\\nb -> "));
}

TEST_F(Resolve, RefusesWhatIsNoPath)
{
    struct
    {
        std::vector<std::string> mArguments;
        char const* mReason;
    } const cases[] = {
        {{}, "PATH is required"},
        {{""}, "an empty path leads nowhere"},
        {{"\xE4"}, "not UTF-8"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mReason);
        RunResult const result = Run(c.mArguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_THAT(result.mError, HasSubstr(c.mReason));
        EXPECT_EQ(result.mOutput, "");
    }
}

}  // namespace
