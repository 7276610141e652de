#include "concurrency/CThreadImp.h"

#include "testing/FailureOf.h"

#include <gtest/gtest.h>

#include <cerrno>

TEST(CThreadImp, ThrowsTheCategoryOfTheError)
{
    struct
    {
        char const* mWhat;
        int mError;
        int mCategory;
    } const cases[] = {
        {"ENOMEM", ENOMEM, 3}, {"EAGAIN", EAGAIN, 100},   {"EINVAL", EINVAL, 100},
        {"EPERM", EPERM, 100}, {"EDEADLK", EDEADLK, 100}, {"EBUSY", EBUSY, 100},
        {"no error", 0, 100},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Failure const expected{0x74687265, c.mCategory, 9, c.mError};
        auto const action = [&] { CThreadImp::ThrowOSThreadException(c.mError, 9); };
        EXPECT_EQ(FailureOf(action), expected);
        EXPECT_EQ(FailureTextOf(action), "");
    }
}
