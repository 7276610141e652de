#include "concurrency/CConditionImp.h"

#include <gtest/gtest.h>

#include <limits>

TEST(CConditionImp, AddsMicrosecondsToTheClock)
{
    constexpr long long kLeast = std::numeric_limits<long long>::min();
    constexpr long long kMost = std::numeric_limits<long long>::max();

    struct Case
    {
        char const* mWhat;
        timeval mNow;
        long long mMicroseconds;
        timespec mExpected;
    };

    Case const cases[] = {
        {"nothing", {1000, 5}, 0, {1000, 5000}},
        {"within the second", {1000, 5}, 10, {1000, 15000}},
        {"to the end of the second", {1000, 5}, 999994, {1000, 999999000}},
        {"to the next second", {1000, 5}, 999995, {1001, 0}},
        {"with a carry", {1000, 800000}, 1500000, {1002, 300000000}},
        {"back", {1000, 5}, -6, {999, 999999000}},
        {"back to before 1970", {1000, 5}, -1000000006, {0, 0}},
        {"as far back as there is", {1000, 5}, kLeast, {0, 0}},
        {"as far as there is", {1000, 5}, kMost, {kMost / 1000000, kMost % 1000000 * 1000}},
        {"a day beyond 2038", {2147483647, 0}, 86400000000, {2147570047, 0}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        timespec const deadline = CConditionImp::DeadlineAfter(c.mNow, c.mMicroseconds);
        EXPECT_EQ(deadline.tv_sec, c.mExpected.tv_sec);
        EXPECT_EQ(deadline.tv_nsec, c.mExpected.tv_nsec);
    }
}
