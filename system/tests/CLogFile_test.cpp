#include "system/CLogFile.h"

#include "files/CFileSpec.h"
#include "marl/HierarchicalException.h"
#include "system/platform/CBasicDateTimePlatform.h"
#include "testing/ScriptedDateTimePlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"
#include "testing/StTimeZone.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

namespace {

// 2024-03-05 13:07:09 UTC, which is 14:07:09 in the zone that the tests are in.
constexpr long kStart = 1709644029;

// A log in a folder of its own, an hour east of UTC, under a clock that stands still.
class CLogFileTest : public testing::Test
{
protected:
    void SetUp() override
    {
        mPlatform.mSeconds = kStart;
        mPlatform.mMicroSeconds = 250999;
        mPlatform.mMinutesWest = -60;
    }

    void Open(long long maxSize)
    {
        mLog.OpenLogFile(CFileSpec(mFolder.Path("log.txt"), false), maxSize);
    }

    std::string Content() const { return mFolder.Read("log.txt"); }

    StTimeZone mZone{"XYZ-1"};
    ScriptedDateTimePlatform mPlatform;
    StDateTimePlatform mInUse{mPlatform};
    StTempDir mFolder;
    CLogFile mLog;
};

}  // namespace

TEST_F(CLogFileTest, WritesEachFormOfALine)
{
    Open(-1);
    mLog.Log("plain %d\n", 1);
    mLog.TimedLog("seconds %s\n", "2");
    mLog.MilliTimedLog("milliseconds %c\n", '3');
    EXPECT_EQ(Content(), "plain 1\n"
                         "2024/03/05, 14:07:09 +0100: seconds 2\n"
                         "2024/03/05, 14:07:09.250 -0100: milliseconds 3\n");
}

TEST_F(CLogFileTest, EveryLineIsInTheFileAtOnce)
{
    Open(-1);
    mLog.Log("no line end");
    EXPECT_EQ(Content(), "no line end");
}

TEST_F(CLogFileTest, AddsNoLineEnd)
{
    Open(-1);
    mLog.Log("a");
    mLog.Log("b\n");
    EXPECT_EQ(Content(), "ab\n");
}

TEST_F(CLogFileTest, ZeroEmptiesAndNegativeKeeps)
{
    mFolder.Write("log.txt", std::string(5000, 'x'));
    Open(-1);
    mLog.CloseLogFile();
    EXPECT_EQ(Content().size(), 5000u);
    Open(0);
    mLog.Log("new\n");
    mLog.CloseLogFile();
    EXPECT_EQ(Content(), "new\n");
}

TEST_F(CLogFileTest, KeepsExactlyTheNewestBytesThoughTheFirstLineIsBroken)
{
    std::string old;
    for (int i = 0; i < 100; ++i)
        old += "line " + std::to_string(1000 + i) + "\n";
    ASSERT_EQ(old.size(), 1000u);
    mFolder.Write("log.txt", old);
    Open(300);
    mLog.Log("new\n");
    EXPECT_EQ(Content(), old.substr(700) + "new\n");
    // The copy has taken the log's place: nothing else is left in the folder.
    EXPECT_FALSE(mFolder.Has("log 2.txt"));
    EXPECT_FALSE(mFolder.Has("log.txt.old"));
}

TEST_F(CLogFileTest, ALimitOfTheFilesSizeLeavesItAlone)
{
    mFolder.Write("log.txt", std::string(300, 'x'));

    struct stat before
    {
    };

    struct stat after
    {
    };

    ASSERT_EQ(stat(mFolder.Path("log.txt").c_str(), &before), 0);
    Open(300);
    ASSERT_EQ(stat(mFolder.Path("log.txt").c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(after.st_size, 300);
}

TEST_F(CLogFileTest, TheSizeIsLookedAtAfreshHoweverOldTheSpecifier)
{
    CFileSpec const spec(mFolder.Write("log.txt", std::string(1000, 'x')), false);
    spec.GetFileModifDateUTC();  // reads the size too, and remembers it
    mFolder.Write("log.txt", std::string(200, 'y'));
    mLog.OpenLogFile(spec, 300);
    EXPECT_EQ(Content(), std::string(200, 'y'));

    CFileSpec const small(mFolder.Path("log.txt"), false);
    small.GetFileModifDateUTC();
    mFolder.Write("log.txt", std::string(100, 'a') + std::string(300, 'b'));
    mLog.OpenLogFile(small, 300);
    EXPECT_EQ(Content(), std::string(300, 'b'));
}

TEST_F(CLogFileTest, ABareNameIsTrimmedInTheFolderThatTheProcessWorksIn)
{
    mFolder.Write("log.txt", "0123456789");
    std::filesystem::path const former = std::filesystem::current_path();
    std::filesystem::current_path(mFolder.Path(""));
    mLog.OpenLogFile(CFileSpec(std::string("log.txt"), false), 4);
    mLog.CloseLogFile();
    std::filesystem::current_path(former);
    EXPECT_EQ(Content(), "6789");
    EXPECT_FALSE(CFileSpec(std::string("/log.txt"), false).Exist());
}

TEST_F(CLogFileTest, TheSizeIsLookedAtWhenOpeningOnly)
{
    Open(10);
    for (int i = 0; i < 10; ++i)
        mLog.Log("0123456789\n");
    EXPECT_EQ(Content().size(), 110u);
    Open(10);
    EXPECT_EQ(Content(), "123456789\n");
}

TEST_F(CLogFileTest, NamesStandForTheUsersLogsFolder)
{
    StEnvironment const home("HOME", mFolder.Path());
    std::u16string folder;
    CFileSpec(CFileSpec::cContainerLogs).GetFullPath(&folder);
    ASSERT_EQ(folder.rfind(mFolder.Path16(), 0), 0u)
        << "the logs folder isn't in the home folder here";

    mLog.OpenLogFile(std::string("caf\xC3\xA9.log"), 0);
    mLog.Log("8 bit\n");
    mLog.OpenLogFile(std::u16string(u"caf\u00E9.log"), -1);
    mLog.Log("16 bit\n");
    mLog.CloseLogFile();
    std::string path;
    CFileSpec(CFileSpec::cContainerLogs, std::u16string(u"caf\u00E9.log"), false)
        .GetFullPath8bit(&path);
    EXPECT_EQ(mFolder.Read(path.substr(mFolder.Path().size() + 1)), "8 bit\n16 bit\n");
}

TEST_F(CLogFileTest, AClosedLogDoesNothingAndTakesNoTime)
{
    mLog.Log("a");
    mLog.TimedLog("b");
    mLog.MilliTimedLog(CLogFile::kGranularitySecond, "c");
    mLog.CloseLogFile();
    EXPECT_TRUE(mPlatform.Calls().empty());
    EXPECT_FALSE(mFolder.Has("log.txt"));
}

TEST_F(CLogFileTest, OneThatCantBeOpenedStaysSilent)
{
    mFolder.MakeFolder("log.txt");
    Open(0);
    mLog.TimedLog("lost\n");
    mLog.OpenLogFile(CFileSpec(mFolder.Path("nowhere/log.txt"), false), -1);
    mLog.Log("lost\n");
    EXPECT_TRUE(mPlatform.Calls().empty());
}

TEST_F(CLogFileTest, WritesAStampWhereOneIsDue)
{
    struct Case
    {
        char const* mWhat;
        CLogFile::Granularity mGranularity;
        long mFirst;  // seconds from 2024-03-05 10:00:00 local
        long mSecond;
        bool mIsDue;
    };

    constexpr long kTen = kStart - (4 * 3600 + 7 * 60 + 9);
    constexpr long kDay = 86400;
    Case const cases[] = {
        {"the same second", CLogFile::kGranularitySecond, 5, 5, false},
        {"the next second", CLogFile::kGranularitySecond, 5, 6, true},
        {"a minute on", CLogFile::kGranularitySecond, 5, 65, true},
        {"19 to 20", CLogFile::kGranularityTenSeconds, 19, 20, true},
        {"20 to 21", CLogFile::kGranularityTenSeconds, 20, 21, false},
        {"the same tens a minute on", CLogFile::kGranularityTenSeconds, 20, 80, true},
        {"within a minute", CLogFile::kGranularityMinute, 60, 119, false},
        {"the next minute", CLogFile::kGranularityMinute, 119, 120, true},
        {"the same minute an hour on", CLogFile::kGranularityMinute, 60, 3660, true},
        {"10:09 to 10:10", CLogFile::kGranularityTenMinutes, 9 * 60, 10 * 60, true},
        {"10:10 to 10:19", CLogFile::kGranularityTenMinutes, 10 * 60, 19 * 60 + 59, false},
        {"the same tens an hour on", CLogFile::kGranularityTenMinutes, 600, 4200, true},
        {"10:59 to 11:00", CLogFile::kGranularityHour, 59 * 60, 3600, true},
        {"within an hour", CLogFile::kGranularityHour, 0, 3599, false},
        {"the same hour a day on", CLogFile::kGranularityHour, 0, kDay, true},
        {"the same hour and day a month on", CLogFile::kGranularityHour, 0, 31 * kDay, true},
        {"the same hour, day and month a year on", CLogFile::kGranularityHour, 0, 365 * kDay, true},
        {"back in time", CLogFile::kGranularitySecond, 10, 9, true},
    };
    for (Case const& c : cases) {
        for (bool const milliseconds : {false, true}) {
            SCOPED_TRACE(c.mWhat);
            char out[CLogFile::kLongestStamp + 2];
            tm last{};
            mPlatform.mSeconds = kTen + c.mFirst;
            CLogFile::FormatCurrentTime(milliseconds, c.mGranularity, last, "\n", out);
            EXPECT_STRNE(out, "");
            tm const before = last;
            mPlatform.mSeconds = kTen + c.mSecond;
            CLogFile::FormatCurrentTime(milliseconds, c.mGranularity, last, "\n", out);
            EXPECT_EQ(*out != '\0', c.mIsDue);
            EXPECT_EQ(last.tm_sec == before.tm_sec && last.tm_min == before.tm_min &&
                          last.tm_hour == before.tm_hour && last.tm_yday == before.tm_yday &&
                          last.tm_year == before.tm_year,
                      !c.mIsDue);
        }
    }
}

TEST_F(CLogFileTest, ThinnedStampsStandOnALineOfTheirOwn)
{
    Open(0);
    mLog.TimedLog(CLogFile::kGranularityMinute, "one\n");
    mLog.TimedLog(CLogFile::kGranularityMinute, "two\n");
    mPlatform.mSeconds += 60;
    mLog.MilliTimedLog(CLogFile::kGranularityMinute, "three\n");
    mLog.MilliTimedLog(CLogFile::kGranularityEveryCall, "four\n");
    EXPECT_EQ(Content(), "2024/03/05, 14:07:09 +0100\n"
                         "one\n"
                         "two\n"
                         "2024/03/05, 14:08:09.250 -0100\n"
                         "three\n"
                         "2024/03/05, 14:08:09.250 -0100: four\n");
}

TEST_F(CLogFileTest, KeepsAPlainStampPushingBackTheNextThinnedOne)
{
    Open(0);
    mLog.TimedLog("plain\n");
    mLog.TimedLog(CLogFile::kGranularityHour, "thinned\n");
    mLog.CloseLogFile();
    Open(-1);
    mLog.TimedLog(CLogFile::kGranularityHour, "after opening again\n");
    EXPECT_EQ(Content(), "2024/03/05, 14:07:09 +0100: plain\nthinned\nafter opening again\n");
}

TEST_F(CLogFileTest, AnUnknownGranularityWritesNoStamp)
{
    Open(0);
    mLog.TimedLog(static_cast<CLogFile::Granularity>(6), "text\n");
    EXPECT_EQ(Content(), "text\n");
    char out[CLogFile::kLongestStamp + 1] = "untouched";
    tm last{};
    last.tm_year = 12;
    CLogFile::FormatCurrentTime(false, static_cast<CLogFile::Granularity>(6), last, "", out);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(last.tm_year, 12);
}

TEST_F(CLogFileTest, TheGeneralFormTakesTheKindOfStamp)
{
    auto const log = [this](int kind, CLogFile::Granularity granularity, char const* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        mLog.vaLog(kind, granularity, format, arguments);
        va_end(arguments);
    };
    Open(0);
    log(0, CLogFile::kGranularityHour, "%s\n", "none");
    log(1, CLogFile::kGranularityEveryCall, "%s\n", "seconds");
    log(2, CLogFile::kGranularityEveryCall, "%s\n", "milliseconds");
    log(77, CLogFile::kGranularityEveryCall, "%s\n", "seconds too");
    EXPECT_EQ(Content(), "none\n"
                         "2024/03/05, 14:07:09 +0100: seconds\n"
                         "2024/03/05, 14:07:09.250 -0100: milliseconds\n"
                         "2024/03/05, 14:07:09 +0100: seconds too\n");
}

TEST_F(CLogFileTest, KeepsTheOppositeSignsOfTheZoneInTheTwoForms)
{
    struct Case
    {
        char const* mZone;
        long mMinutesWest;
        char const* mSeconds;
        char const* mMilliSeconds;
    };

    Case const cases[] = {
        {"UTC0", 0, "2024/03/05, 13:07:09 +0000", "2024/03/05, 13:07:09.250 +0000"},
        {"IND-5:30", -330, "2024/03/05, 18:37:09 +0530", "2024/03/05, 18:37:09.250 -0530"},
        {"NFT3:30", 210, "2024/03/05, 09:37:09 -0330", "2024/03/05, 09:37:09.250 +0330"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mZone);
        StTimeZone const zone(c.mZone);
        mPlatform.mMinutesWest = c.mMinutesWest;
        char out[CLogFile::kLongestStamp + 1];
        tm last{};
        CLogFile::FormatCurrentTime(false, CLogFile::kGranularityEveryCall, last, "", out);
        EXPECT_STREQ(out, c.mSeconds);
        CLogFile::FormatCurrentTime(true, CLogFile::kGranularityEveryCall, last, "", out);
        EXPECT_STREQ(out, c.mMilliSeconds);
    }
}

TEST_F(CLogFileTest, TheLongestStampFitsItsRoom)
{
    StTimeZone const zone("FAR-167:59:59");
    mPlatform.mMinutesWest = -167 * 60 - 59;
    for (long const seconds : {67768036191676799L - 700000, -67768040609740800L + 700000}) {
        mPlatform.mSeconds = seconds;
        for (bool const milliseconds : {false, true}) {
            char out[CLogFile::kLongestStamp + 3];
            tm last{};
            CLogFile::FormatCurrentTime(milliseconds, CLogFile::kGranularityEveryCall, last, ": ",
                                        out);
            std::string const stamp = out;
            EXPECT_EQ(stamp.substr(stamp.size() - 2), ": ");
            EXPECT_LE(stamp.size() - 2, std::size_t{CLogFile::kLongestStamp});
        }
    }
}

TEST_F(CLogFileTest, LinesOfManyThreadsDontMix)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    Open(0);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([this, i] {
            std::string const text(200, static_cast<char>('a' + i));
            for (int k = 0; k < kLines; ++k)
                mLog.TimedLog("%s\n", text.c_str());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    mLog.CloseLogFile();

    std::string const content = Content();
    constexpr std::size_t kLine = sizeof("2024/03/05, 14:07:09 +0100: ") - 1 + 200 + 1;
    ASSERT_EQ(content.size(), kLine * kThreads * kLines);
    for (std::size_t at = 0; at < content.size(); at += kLine) {
        std::string const line = content.substr(at, kLine);
        EXPECT_EQ(line.rfind("2024/03/05, 14:07:09 +0100: ", 0), 0u);
        EXPECT_EQ(line.find_first_not_of(line[28], 28), kLine - 1);
    }
}
