// `loamctl spec`, run as a user would.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

// In a folder of its own.
class Spec : public testing::Test
{
protected:
    RunResult Run(std::vector<std::string> const& arguments) const
    {
        return RunLoamctlIn(mFolder.Path(), arguments);
    }

    // What is told of one path.
    nlohmann::json FactsOf(std::string const& path) const
    {
        auto const objects = ParseLines(Run({"spec", "--json", path}).mOutput, "spec");
        return objects.size() == 1 ? objects.front() : nlohmann::json();
    }

    StTempDir mFolder;
};

TEST_F(Spec, TellsAFile)
{
    mFolder.Write("menu.txt", std::string(1234, 'a'));
    nlohmann::json const facts = FactsOf("menu.txt");
    EXPECT_EQ(facts["path"], mFolder.Path("menu.txt"));
    EXPECT_EQ(facts["name"], "menu.txt");
    EXPECT_EQ(facts["display_name"], "menu.txt");
    EXPECT_EQ(facts["extension"], "txt");
    EXPECT_EQ(facts["folder"], mFolder.Path());
    EXPECT_EQ(facts["kind"], "file");
    EXPECT_EQ(facts["type_identifier"], "public.plain-text");
    EXPECT_EQ(facts["bytes"], 1234);
    EXPECT_EQ(facts["label"], 0);
    EXPECT_EQ(facts["visible"], true);
    EXPECT_EQ(facts["package"], false);
    EXPECT_EQ(facts["alias"], false);
    EXPECT_EQ(facts["readable"], true);
    EXPECT_GT(facts["disk_bytes"], 0);
    for (auto const* const key : {"created", "modified", "attributes_modified", "accessed"}) {
        EXPECT_THAT(facts.value(key, ""), MatchesRegex("2[0-9]{3}-[01][0-9]-[0-3][0-9]T"
                                                       "[0-2][0-9]:[0-5][0-9]:[0-6][0-9]Z"))
            << key;
    }
    EXPECT_FALSE(facts.contains("leads_to"));
}

TEST_F(Spec, TellsKindsAndTypes)
{
    mFolder.Write("report.pdf", "");
    mFolder.Write(".hidden", "");
    mFolder.Write("letter.rtfd/inner", "");
    mFolder.Write("plain/inner", "");
    std::filesystem::create_symlink("report.pdf", mFolder.Path("short.txt"));
    std::filesystem::create_symlink("nowhere", mFolder.Path("dangling"));

    struct
    {
        char const* mPath;
        char const* mKind;
        char const* mType;
        bool mVisible;
        int mCode;
    } const cases[] = {
        {"report.pdf", "file", "com.adobe.pdf", true, 0},
        {"REPORT.PDF", "nothing", "com.adobe.pdf", true, 1},
        {".hidden", "file", "", false, 0},
        {"letter.rtfd", "folder", "com.apple.rtfd", true, 0},
        {"plain", "folder", "", true, 0},
        {"plain/", "folder", "", true, 0},
        {"plain/.", "folder", "", true, 0},
        {".", "folder", "", true, 0},
        {"short.txt", "alias", "public.plain-text", true, 0},
        {"dangling", "alias", "", true, 0},
        {"missing/at.all", "nothing", "", true, 1},
        {"/dev/null", "other", "", true, 0},
        {"/", "volume", "", true, 0},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mPath);
        nlohmann::json const facts = FactsOf(c.mPath);
        EXPECT_EQ(facts.value("kind", ""), c.mKind);
        EXPECT_EQ(facts.value("type_identifier", ""), c.mType);
        EXPECT_EQ(facts.value("visible", !c.mVisible), c.mVisible);
        EXPECT_EQ(Run({"spec", c.mPath}).mExitCode, c.mCode);
    }
    EXPECT_EQ(FactsOf("short.txt").value("leads_to", ""), mFolder.Path("report.pdf"));
}

TEST_F(Spec, LeavesOutWhatIsNotKnown)
{
    nlohmann::json const facts = FactsOf("gone.txt");
    for (auto const* const key :
         {"bytes", "created", "modified", "leads_to", "file_type", "creator", "disk_bytes"}) {
        EXPECT_FALSE(facts.contains(key)) << key;
    }
}

TEST_F(Spec, LeavesOutTheDatesOfALinkToNothing)
{
    std::filesystem::create_symlink("nowhere", mFolder.Path("dangling"));
    nlohmann::json const facts = FactsOf("dangling");
    EXPECT_EQ(facts.value("kind", ""), "alias");
    for (auto const* const key : {"bytes", "modified", "attributes_modified", "accessed"})
        EXPECT_FALSE(facts.contains(key)) << key;
}

// Not every file system keeps such times, so it may be another time that is told.
TEST_F(Spec, TellsNoDateThatNoCalendarReaches)
{
    constexpr long kTimes[] = {1L << 60, -(1L << 60), 67768036191676799};
    for (long const seconds : kTimes) {
        std::string const path = mFolder.Write("file", "");
        timespec const times[] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        nlohmann::json const facts = FactsOf("file");
        EXPECT_THAT(facts.value("modified", "-none-"), Not(HasSubstr("-00"))) << seconds;
        EXPECT_THAT(facts.value("created", "-none-"), Not(HasSubstr("-00"))) << seconds;
    }
}

TEST_F(Spec, ShowsPeopleALineForEachFact)
{
    mFolder.Write("a\x1b.txt", std::string(1234, 'a'));
    RunResult const result = Run({"spec", "a\x1b.txt", "b"});
    EXPECT_EQ(result.mExitCode, 1);
    EXPECT_EQ(result.mError, "");
    EXPECT_THAT(result.mOutput, HasSubstr("\nname                 a\\x1b.txt\n"));
    EXPECT_THAT(result.mOutput, HasSubstr("\ntype identifier      public.plain-text\n"));
    EXPECT_THAT(result.mOutput, HasSubstr("\nbytes                1,234 (1.2 KB)\n"));
    EXPECT_THAT(result.mOutput,
                HasSubstr("\nlabel                none\nvisible              yes\n"));
    EXPECT_THAT(result.mOutput, HasSubstr("\n\npath                 " + mFolder.Path("b") + "\n"));
    EXPECT_THAT(result.mOutput, Not(HasSubstr("\x1b")));
}

TEST_F(Spec, RefusesWhatCantBeNamed)
{
    EXPECT_EQ(Run({"spec"}).mExitCode, 2);
    RunResult const result = Run({"spec", "\xff"});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_THAT(result.mError, HasSubstr("a path that is not UTF-8 can't be named"));
    EXPECT_EQ(Run({"spec", ""}).mExitCode, 2);
    EXPECT_THAT(ParseLines(Run({"spec", "--json", "a", "b", "c"}).mOutput), SizeIs(3));
}

}  // namespace
