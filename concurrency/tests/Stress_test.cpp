// Many threads, many times over. What is counted at the end is what each of them did.

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "concurrency/CThread.h"
#include "concurrency/StMutexLocker.h"
#include "marl/HierarchicalException.h"
#include "testing/Sanitizers.h"

namespace {

constexpr bool kIsSanitized = kIsThreadSanitized || kIsAddressSanitized;
constexpr int kLess = kIsThreadSanitized ? 20 : 1;  // each step costs this much more there

class CBrief : public CThread
{
public:
    CBrief(std::atomic<int>& count, CSemaphore& done)
        : CThread(nullptr, nullptr, &done)
        , mCount(count)
    {
    }

    void* Run() override
    {
        ++mCount;
        return nullptr;
    }

private:
    std::atomic<int>& mCount;
};

void RunThreads(int count, std::function<void(int)> const& work)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

// Resident memory in pages.
long ResidentPages()
{
    long size = 0;
    long resident = 0;
    FILE* const file = std::fopen("/proc/self/statm", "r");
    if (!file) return 0;
    if (std::fscanf(file, "%ld %ld", &size, &resident) != 2) resident = 0;
    std::fclose(file);
    return resident;
}

}  // namespace

TEST(Stress, TenMillionLocksExcludeEachOther)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 10000000 / kThreads / kLess;
    for (bool const isRecursive : {false, true}) {
        CMutex mutex(isRecursive);
        long long count = 0;
        RunThreads(kThreads, [&](int) {
            for (int i = 0; i < kRounds; ++i) {
                StMutexLocker const lock(mutex);
                ++count;
            }
        });
        EXPECT_EQ(count, static_cast<long long>(kThreads) * kRounds);
    }
}

TEST(Stress, AMillionPostsAndWaitsLoseNone)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 1000000 / kThreads / kLess;
    CSemaphore semaphore;
    std::atomic<int> taken{0};
    RunThreads(2 * kThreads, [&](int i) {
        for (int round = 0; round < kRounds; ++round) {
            if (i % 2 == 0) {
                semaphore.Post();
            } else {
                semaphore.Wait();
                taken.fetch_add(1, std::memory_order_relaxed);
            }
        }
    });
    EXPECT_EQ(taken, kThreads * kRounds);
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(Stress, TenThousandAbortsReleaseEveryBlockedWaiter)
{
    constexpr int kWaiters = 3;
    constexpr int kRounds = 10000 / kLess;
    CSemaphore semaphore;
    CSemaphore rest;  // one unit for each waiter that was thrown out
    std::atomic<int> thrown{0};
    std::vector<std::thread> waiters;
    std::atomic<int> round{0};
    for (int i = 0; i < kWaiters; ++i) {
        waiters.emplace_back([&] {
            for (int mine = 1; mine <= kRounds; ++mine) {
                while (round.load() < mine)
                    std::this_thread::yield();
                try {
                    semaphore.Wait();
                } catch (HierarchicalException const&) {
                    ++thrown;
                }
                rest.Post();
            }
        });
    }
    for (int i = 1; i <= kRounds; ++i) {
        round = i;
        while (semaphore.GetState() != -kWaiters)
            std::this_thread::yield();
        semaphore.Abort();
        for (int k = 0; k < kWaiters; ++k)
            rest.Wait();
        semaphore.Unabort();
    }
    for (std::thread& waiter : waiters)
        waiter.join();
    EXPECT_EQ(thrown, kWaiters * kRounds);
    EXPECT_EQ(semaphore.GetState(), 0);
}

TEST(Stress, AHundredThousandThreadsComeAndGoInTheSameMemory)
{
    constexpr int kAtOnce = 50;
    constexpr int kRounds = 100000 / kAtOnce / kLess;
    std::atomic<int> count{0};
    CSemaphore done;
    long pagesAtFirst = 0;
    for (int round = 0; round < kRounds; ++round) {
        for (int i = 0; i < kAtOnce; ++i)
            (new CBrief(count, done))->mImp->Start();
        for (int i = 0; i < kAtOnce; ++i)
            done.Wait();
        if (round == kRounds / 4) pagesAtFirst = ResidentPages();
    }
    EXPECT_EQ(count, kRounds * kAtOnce);
    // A leak of the smallest block for each thread would show. A sanitizer's own books grow.
    long const allowance = kIsSanitized ? 1000000 : kRounds * kAtOnce / 200;
    EXPECT_LT(ResidentPages(), pagesAtFirst + allowance);
}
