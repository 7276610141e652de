// The seed of the random numbers, with the clock under a script.
#include "foundation/CRandomServices.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include <sys/time.h>
#include <unistd.h>

namespace {

timeval sNow{};
std::atomic<int> sSeedings{0};
std::atomic<unsigned int> sSeed{0};

// Ends the process with 0 if the getter seeds once, however many threads come first.
[[noreturn]] void GetAtOnceAndExit()
{
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] { CRandomServices::GetRandomServices(); });
    for (std::thread& thread : threads)
        thread.join();
    CRandomServices::GetRandomServices();
    std::_Exit(sSeedings == 1 ? 0 : 1);
}

}  // namespace

extern "C" {

int __wrap_gettimeofday(timeval* now, void* zone);
void __wrap_srandom(unsigned int seed);

int __wrap_gettimeofday(timeval* now, void*)
{
    *now = sNow;
    return 0;
}

void __wrap_srandom(unsigned int seed)
{
    ++sSeedings;
    sSeed = seed;
}
}

TEST(CRandomServices, SeedsFromTheClockAndTheProcess)
{
    struct
    {
        char const* mWhat;
        long mSeconds;
        long mMicroSeconds;
    } const cases[] = {
        {"the epoch", 0, 0},
        {"some day", 1767225600, 654321},
        {"more than 32 bits", 0x1234567890, 999999},
    };

    CRandomServices const services;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        sNow.tv_sec = c.mSeconds;
        sNow.tv_usec = static_cast<suseconds_t>(c.mMicroSeconds);
        int const former = sSeedings;
        services.mImp->Initialize();
        EXPECT_EQ(sSeedings, former + 1);
        EXPECT_EQ(sSeed, static_cast<unsigned int>(c.mSeconds) ^
                             static_cast<unsigned int>(c.mMicroSeconds) ^
                             static_cast<unsigned int>(getpid()));
    }
}

TEST(CRandomServices, DoesNotSeedInItsConstructor)
{
    int const former = sSeedings;
    CRandomServices const services;
    services.mImp->Random();
    EXPECT_EQ(sSeedings, former);
}

TEST(CRandomServicesDeathTest, SeedsOnceInTheGetter)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(GetAtOnceAndExit(), testing::ExitedWithCode(0), "");
}
