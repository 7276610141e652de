// One line at the foot of a terminal that tells how far long work has come.
//
//     1,234 files, 56.7 MB, 12.3 MB/s, 0:42 left
//
// Nothing is drawn where standard error is no terminal. For one thread.
#pragma once

#include <functional>
#include <string>

class CProgress
{
public:
    /// Milliseconds that never go back, from any point in time.
    using Clock = std::function<long long()>;

    /// How often the line changes, and after how long it is shown for the first time: work that
    /// takes no longer needs none. In milliseconds.
    static constexpr long long kStep = 100;
    static constexpr long long kFirst = 300;

    /// Draws on `descriptor` if that is a terminal.
    explicit CProgress(int descriptor);
    CProgress(int descriptor, Clock clock);

    bool IsTerminal() const { return mTerminal; }

    /// Shows the sums so far, if it is time for that. `share` tells how much of the work is done,
    /// from 0 to 1, as well as that is known: the time left is reckoned from it once there is
    /// anything to go by.
    void Show(long long files, long long bytes, double share);
    /// Takes the line away, if there is one.
    void Clear();

private:
    std::string LineOf(long long files, long long bytes, double share, long long elapsed) const;

    int mDescriptor;
    bool mTerminal;
    bool mShown = false;
    Clock mClock;
    long long mStart;
    long long mNext;
};
