#include "loamctl/CProgress.h"

#include <chrono>
#include <cmath>
#include <utility>

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "loamctl/DisplayText.h"
#include "loamctl/WriteAll.h"

namespace {

// Before so much of the time and of the work has gone by, a guess would be none.
constexpr long long kFirstGuess = 1000;  // milliseconds
constexpr double kLeastShare = 0.001;
constexpr double kLongestGuess = 100.0 * 3600;  // seconds

long long SteadyNow()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::size_t WidthOf(int terminal)
{
    winsize size{};
    bool const known = ioctl(terminal, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

std::string TimeForPeople(long long seconds)
{
    if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
    return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

}  // namespace

CProgress::CProgress(int descriptor)
    : CProgress(descriptor, SteadyNow)
{
}

CProgress::CProgress(int descriptor, Clock clock)
    : mDescriptor(descriptor)
    , mTerminal(isatty(descriptor) == 1)
    , mClock(std::move(clock))
    , mStart(mClock())
    , mNext(mStart + kFirst)
{
}

void CProgress::Show(long long files, long long bytes, double share)
{
    if (!mTerminal) return;
    long long const now = mClock();
    if (now < mNext) return;
    mNext = now + kStep;
    // A line of digits, so a byte is a column.
    std::string const line =
        LineOf(files, bytes, share, now - mStart).substr(0, WidthOf(mDescriptor) - 1);
    mShown = true;
    WriteAll(mDescriptor, fmt::format("\r\x1b[K\x1b[2m{}\x1b[0m", line));
}

void CProgress::Clear()
{
    if (mShown) WriteAll(mDescriptor, "\r\x1b[K");
    mShown = false;
}

std::string
CProgress::LineOf(long long files, long long bytes, double share, long long elapsed) const
{
    double const seconds = static_cast<double>(elapsed) / 1000;
    auto const speed = static_cast<long long>(static_cast<double>(bytes) / seconds);
    std::string line = fmt::format("{}, {}, {}/s", Counted(files, "file", "files"),
                                   SizeForPeople(bytes), SizeForPeople(speed));
    if (elapsed >= kFirstGuess && share >= kLeastShare && share <= 1) {
        double const left = seconds * (1 - share) / share;
        if (left <= kLongestGuess)
            line += fmt::format(", {} left", TimeForPeople(std::llround(left)));
    }
    return line;
}
