#include "testing/ScriptedFilePlatform.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

using testing::ElementsAre;

TEST(ScriptedFilePlatform, PassesCallsOn)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    ScriptedFilePlatform platform;
    int error = 0;
    int const descriptor = platform.OpenLocked(path.c_str(), O_WRONLY, error);
    ASSERT_NE(descriptor, -1);
    EXPECT_EQ(write(descriptor, "T", 1), 1);
    close(descriptor);
    EXPECT_EQ(folder.Read("file"), "Text");
}

TEST(ScriptedFilePlatform, FailsTheCallsThatItWasTold)
{
    struct
    {
        char const* mWhat;
        int mNth;
        std::string mAnswers;  // of four calls: + passed on, - failed
    } const cases[] = {
        {"the next", 1, "-+++"},
        {"the third", 3, "++-+"},
        {"each", ScriptedFilePlatform::kAlways, "----"},
    };

    StTempDir const folder;
    std::string const path = folder.Write("file", "");
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedFilePlatform platform;
        platform.Fail("OpenLocked", c.mNth, EIO);
        std::string answers;
        for (int i = 0; i < 4; ++i) {
            int error = 0;
            int const descriptor = platform.OpenLocked(path.c_str(), O_RDWR, error);
            answers += descriptor == -1 ? '-' : '+';
            EXPECT_EQ(error, descriptor == -1 ? EIO : 0);
            if (descriptor != -1) close(descriptor);
        }
        EXPECT_EQ(answers, c.mAnswers);
    }
}

TEST(ScriptedFilePlatform, AnswersWhatItWasTold)
{
    ScriptedFilePlatform platform;
    platform.mPhysicalPosition = 7;
    platform.mWaitOnWatch = [] { return kFileWritten; };
    platform.mReplaceObject = [](auto&&...) { return kFileReplacedByBackup; };

    long long position = 0;
    EXPECT_TRUE(platform.GetPhysicalPosition(-1, 0, position));
    EXPECT_EQ(position, 7);
    EXPECT_EQ(platform.WaitOnWatch(-1, -1, ""), kFileWritten);
    EXPECT_EQ(platform.ReplaceObject("/a", "/b", nullptr, "/"), kFileReplacedByBackup);
    platform.SetBackupExclusion("/a", true);
    EXPECT_TRUE(platform.GetBackupExclusion("/a"));
    EXPECT_FALSE(platform.GetBackupExclusion("/b"));
}

TEST(ScriptedFilePlatform, FailsEveryKindOfCall)
{
    ScriptedFilePlatform platform;
    for (char const* const operation :
         {"MakeWatch", "WaitOnWatch", "CloseWatch", "GetPhysicalPosition", "ReplaceObject",
          "SetBackupExclusion", "GetBackupExclusion", "SetQuarantine", "SetAttribute",
          "GetAttribute", "ListAttributes"}) {
        platform.Fail(operation, ScriptedFilePlatform::kAlways);
    }
    platform.mPhysicalPosition = 7;
    long long position = 0;
    EXPECT_EQ(platform.MakeWatch(), -1);
    EXPECT_EQ(platform.WaitOnWatch(-1, -1, "/a"), kFileWatchFailed);
    EXPECT_FALSE(platform.GetPhysicalPosition(-1, 9, position));
    EXPECT_EQ(platform.ReplaceObject("/a/b", "/a/c", nullptr, "/a"), kFileNotReplaced);
    platform.SetBackupExclusion("/a", true);
    EXPECT_FALSE(platform.GetBackupExclusion("/a"));
    platform.SetQuarantine("/a");
    platform.SetAttribute("/a", "name", "value", 5);
    platform.SetAttribute("/a", "name", nullptr, 0);
    EXPECT_EQ(platform.GetAttribute("/a", "name", nullptr, 0), -1);
    EXPECT_EQ(platform.ListAttributes("/a", nullptr, 0), -1);
    platform.CloseWatch(-1);
    EXPECT_THAT(platform.Calls(),
                ElementsAre("MakeWatch()", "WaitOnWatch(/a)", "GetPhysicalPosition(9)",
                            "ReplaceObject(/a/b, /a/c, null, /a)", "SetBackupExclusion(/a, true)",
                            "GetBackupExclusion(/a)", "SetQuarantine(/a)",
                            "SetAttribute(/a, name, value)", "SetAttribute(/a, name, null)",
                            "GetAttribute(/a, name)", "ListAttributes(/a)", "CloseWatch()"));
}

TEST(StFilePlatform, PutsAnotherInUseForAScope)
{
    CBasicFilePlatform& system = FilePlatform();
    ScriptedFilePlatform outer;
    ScriptedFilePlatform inner;
    {
        StFilePlatform const outerGuard(outer);
        EXPECT_EQ(&FilePlatform(), &outer);
        {
            StFilePlatform const innerGuard(inner);
            EXPECT_EQ(&FilePlatform(), &inner);
        }
        EXPECT_EQ(&FilePlatform(), &outer);
    }
    EXPECT_EQ(&FilePlatform(), &system);
}
