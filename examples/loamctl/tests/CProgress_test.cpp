#include "loamctl/CProgress.h"

#include <string>

#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include "loamctl/tests/RunLoamctl.h"

namespace {

// What is drawn at one time, and taken away.
std::string Drawn(long long milliseconds, long long files, long long bytes, double share)
{
    StChannel terminal = StChannel::Terminal();
    long long now = 1000000;
    CProgress progress(terminal.In(), [&now] { return now; });
    now += milliseconds;
    progress.Show(files, bytes, share);
    progress.Clear();
    terminal.CloseIn();
    return terminal.ReadAll();
}

TEST(CProgress, TellsFilesBytesSpeedAndTimeLeft)
{
    struct
    {
        char const* mWhat;
        long long mMilliseconds;
        long long mFiles;
        long long mBytes;
        double mShare;
        char const* mLine;
    } const cases[] = {
        {"soon", 300, 1, 3000, 0.5, "1 file, 3.0 KB, 10.0 KB/s"},
        {"after a second", 1000, 2, 512, 0.25, "2 files, 512 bytes, 512 bytes/s, 0:03 left"},
        {"minutes", 10000, 1234, 56700000, 0.1, "1,234 files, 56.7 MB, 5.7 MB/s, 1:30 left"},
        {"hours", 100000, 5, 0, 0.01, "5 files, 0 bytes, 0 bytes/s, 2:45:00 left"},
        {"all done", 5000, 5, 5000, 1, "5 files, 5.0 KB, 1.0 KB/s, 0:00 left"},
        {"nothing to go by", 5000, 0, 0, 0, "0 files, 0 bytes, 0 bytes/s"},
        {"too little to go by", 5000, 0, 0, 0.0009, "0 files, 0 bytes, 0 bytes/s"},
        {"beyond all bounds", 5000000, 0, 0, 0.002, "0 files, 0 bytes, 0 bytes/s"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Drawn(c.mMilliseconds, c.mFiles, c.mBytes, c.mShare),
                  "\r\x1b[K\x1b[2m" + std::string(c.mLine) + "\x1b[0m\r\x1b[K");
    }
}

TEST(CProgress, ShowsNothingOfWhatIsSoonDone)
{
    EXPECT_EQ(Drawn(299, 1, 1, 0.5), "");
}

TEST(CProgress, IsDrawnAFewTimesASecond)
{
    StChannel terminal = StChannel::Terminal();
    long long now = 0;
    CProgress progress(terminal.In(), [&now] { return now; });
    for (long long const time : {0, 300, 350, 399, 400, 401}) {
        now = time;
        progress.Show(time, 0, 0);
    }
    terminal.CloseIn();
    EXPECT_EQ(terminal.ReadAll(), "\r\x1b[K\x1b[2m300 files, 0 bytes, 0 bytes/s\x1b[0m"
                                  "\r\x1b[K\x1b[2m400 files, 0 bytes, 0 bytes/s\x1b[0m");
}

TEST(CProgress, KeepsToOneLine)
{
    StChannel terminal = StChannel::Terminal();
    winsize const narrow{24, 12, 0, 0};
    ASSERT_EQ(ioctl(terminal.In(), TIOCSWINSZ, &narrow), 0);
    long long now = 0;
    CProgress progress(terminal.In(), [&now] { return now; });
    now = 1000;
    progress.Show(123456789, 0, 0.5);
    terminal.CloseIn();
    EXPECT_EQ(terminal.ReadAll(), "\r\x1b[K\x1b[2m123,456,789\x1b[0m");
}

TEST(CProgress, DrawsNothingIntoAPipe)
{
    StChannel pipe = StChannel::Pipe();
    long long now = 0;
    CProgress progress(pipe.In(), [&now] { return now; });
    EXPECT_FALSE(progress.IsTerminal());
    now = 1000;
    progress.Show(1, 1, 0.5);
    progress.Clear();
    pipe.CloseIn();
    EXPECT_EQ(pipe.ReadAll(), "");
}

}  // namespace
