#include "marl/progressive_lock.h"

#include <gtest/gtest.h>

#include <latch>
#include <map>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace {

// What another thread could get of the mutex right now.
bool CanShare(std::shared_mutex& mutex)
{
    bool can = false;
    std::thread([&] {
        can = mutex.try_lock_shared();
        if (can) mutex.unlock_shared();
    }).join();
    return can;
}

bool CanOwn(std::shared_mutex& mutex)
{
    bool can = false;
    std::thread([&] {
        can = mutex.try_lock();
        if (can) mutex.unlock();
    }).join();
    return can;
}

}  // namespace

TEST(progressive_lock, SharesAtFirst)
{
    EXPECT_EQ(progressive_lock::shared, 1);
    std::shared_mutex mutex;
    {
        progressive_lock const lock(&mutex, progressive_lock::shared);
        EXPECT_TRUE(CanShare(mutex));
        EXPECT_FALSE(CanOwn(mutex));
    }
    EXPECT_TRUE(CanOwn(mutex));
}

TEST(progressive_lock, GivesBackTheExclusiveHold)
{
    std::shared_mutex mutex;
    {
        progressive_lock lock(&mutex, progressive_lock::shared);
        lock.lock_exclusive();
        EXPECT_FALSE(CanShare(mutex));
        lock.lock_exclusive();
        EXPECT_FALSE(CanShare(mutex));
    }
    EXPECT_TRUE(CanOwn(mutex));
}

TEST(progressive_lock, CanBeExclusiveFromTheStart)
{
    std::shared_mutex mutex;
    {
        progressive_lock lock(&mutex, progressive_lock::exclusive);
        EXPECT_FALSE(CanShare(mutex));
        lock.lock_exclusive();
        EXPECT_FALSE(CanShare(mutex));
    }
    EXPECT_TRUE(CanOwn(mutex));
}

TEST(progressive_lock, WaitsForTheOthersBeforeItIsExclusive)
{
    std::shared_mutex mutex;
    std::latch bothShare(2);
    bool isReaderGone = false;
    std::thread reader([&] {
        progressive_lock const lock(&mutex, progressive_lock::shared);
        bothShare.arrive_and_wait();
        isReaderGone = true;
    });
    {
        progressive_lock lock(&mutex, progressive_lock::shared);
        bothShare.arrive_and_wait();
        lock.lock_exclusive();
        EXPECT_TRUE(isReaderGone);
    }
    reader.join();
}

TEST(progressive_lock, LetsManyRaiseAtOnce)
{
    // The way a cache is filled: look up, raise, look up again, fill.
    constexpr int kThreads = 4;
    constexpr int kKeys = 50;
    std::shared_mutex mutex;
    std::map<int, int> cache;
    std::vector<int> fills(kKeys);
    std::latch start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int key = 0; key < kKeys; ++key) {
                progressive_lock lock(&mutex, progressive_lock::shared);
                if (cache.find(key) != cache.end()) continue;
                lock.lock_exclusive();
                if (cache.find(key) != cache.end()) continue;
                cache[key] = key;
                ++fills[static_cast<std::size_t>(key)];
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(fills, std::vector<int>(kKeys, 1));
}
