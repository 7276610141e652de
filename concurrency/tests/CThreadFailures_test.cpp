// What a thread makes of the system's refusals and of times to sleep.

#include "concurrency/CThread.h"

#include <cerrno>
#include <iterator>
#include <limits>
#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "marl/HierarchicalException.h"

extern "C" int __real_pthread_create(pthread_t* thread,
                                     pthread_attr_t const* attributes,
                                     void* (*routine)(void*),
                                     void* argument);
extern "C" int __real_pthread_cancel(pthread_t thread);

namespace {

int sCreateResult = 0;
int sCancelResult = 0;
std::vector<useconds_t> sSleeps;

class CIdle : public CThread
{
public:
    CIdle()
        : CThread(nullptr, nullptr, nullptr)
    {
    }

    void* Run() override { return nullptr; }
};

template <class Action>
std::optional<HierarchicalException> Thrown(Action action)
{
    try {
        action();
    } catch (HierarchicalException const& e) {
        return e;
    }
    return std::nullopt;
}

}  // namespace

extern "C" {

int __wrap_pthread_create(pthread_t* thread,
                          pthread_attr_t const* attributes,
                          void* (*routine)(void*),
                          void* argument)
{
    if (sCreateResult != 0) return sCreateResult;
    return __real_pthread_create(thread, attributes, routine, argument);
}

int __wrap_pthread_cancel(pthread_t thread)
{
    if (sCancelResult != 0) return sCancelResult;
    return __real_pthread_cancel(thread);
}

int __wrap_usleep(useconds_t microseconds)
{
    sSleeps.push_back(microseconds);
    return 0;
}
}

TEST(CThreadFailures, StartAndKillTellTheSystemsRefusal)
{
    struct Case
    {
        char const* mWhat;
        bool mIsKill;
        int mError;
        int mCategory;
        int mContext;
    };

    static constexpr Case cases[] = {
        {"no room for a thread", false, EAGAIN, 100, 1},
        {"no memory", false, ENOMEM, 3, 1},
        {"no such thread", true, ESRCH, 100, 4},
    };
    // Reachable for good: what a thread object leaves that was never started is lost by design.
    static CBasicThreadImp* sLeftBehind[std::size(cases)] = {};
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        auto* const idle = new CIdle;
        sLeftBehind[&c - cases] = idle->mImp;
        (c.mIsKill ? sCancelResult : sCreateResult) = c.mError;
        auto const thrown = Thrown([&] {
            if (c.mIsKill) {
                idle->mImp->Kill();
            } else {
                idle->mImp->Start();
            }
        });
        sCancelResult = sCreateResult = 0;
        // Still the creator's to delete.
        delete idle;
        EXPECT_NE(sLeftBehind[&c - cases], nullptr);
        ASSERT_TRUE(thrown);
        EXPECT_EQ(thrown->levels[0].signature, 0x74687265u);
        EXPECT_EQ(thrown->levels[0].category, c.mCategory);
        EXPECT_EQ(thrown->levels[0].context, c.mContext);
        EXPECT_EQ(thrown->levels[0].osError, c.mError);
        EXPECT_EQ(thrown->levels[0].text, "");
    }
}

TEST(CThreadFailures, SleepsInWholeMicroseconds)
{
    struct Case
    {
        char const* mWhat;
        double mSeconds;
        useconds_t mMicroseconds;
    };

    Case const cases[] = {
        {"a quarter of a second", 0.25, 250000},
        {"less than a microsecond", 0.0000004, 0},
        {"cut, not rounded", 0.0000019, 1},
        {"nothing", 0, 0},
        {"before now", -3, 0},
        {"longer than can be told", 1e9, 2147483647},
        {"for ever", std::numeric_limits<double>::infinity(), 2147483647},
        {"not a number", std::numeric_limits<double>::quiet_NaN(), 0},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        sSleeps.clear();
        CThread::Sleep(c.mSeconds);
        EXPECT_EQ(sSleeps, std::vector<useconds_t>{c.mMicroseconds});
    }
}
