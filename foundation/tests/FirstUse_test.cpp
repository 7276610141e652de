#include "foundation/FirstUse.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

// Tells how many there are, and holds what only a complete object holds.
class CCounted
{
public:
    CCounted()
        : mContent(100, 7)
    {
        ++sAlive;
    }

    CCounted(CCounted const&) = delete;
    CCounted& operator=(CCounted const&) = delete;

    ~CCounted() { --sAlive; }

    bool IsComplete() const { return mContent == std::vector<int>(100, 7); }

    static std::atomic<int> sAlive;

private:
    std::vector<int> mContent;
};

std::atomic<int> CCounted::sAlive{0};

}  // namespace

TEST(FirstUse, MakesOnce)
{
    std::atomic<CCounted*> slot{nullptr};
    int made = 0;
    auto const make = [&made] {
        ++made;
        return std::make_unique<CCounted>();
    };
    bool isMaker = false;
    CCounted* const first = GetOrMake(slot, make, &isMaker);
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(isMaker);
    EXPECT_EQ(slot.load(), first);
    EXPECT_EQ(GetOrMake(slot, make, &isMaker), first);
    EXPECT_FALSE(isMaker);
    EXPECT_EQ(GetOrMake(slot, make), first);
    EXPECT_EQ(made, 1);
    delete first;
}

TEST(FirstUse, StartsAgainAfterAMakerThatThrew)
{
    std::atomic<CCounted*> slot{nullptr};
    auto const fail = []() -> std::unique_ptr<CCounted> { throw std::bad_alloc(); };
    bool isMaker = true;
    EXPECT_THROW(GetOrMake(slot, fail, &isMaker), std::bad_alloc);
    EXPECT_FALSE(isMaker);
    EXPECT_EQ(slot.load(), nullptr);

    CCounted* const made = GetOrMake(slot, [] { return std::make_unique<CCounted>(); });
    EXPECT_EQ(slot.load(), made);
    delete made;
}

TEST(FirstUse, GivesAllThreadsTheSameCompleteObject)
{
    constexpr int kThreads = 8;
    std::atomic<CCounted*> slot{nullptr};
    // All threads are within their first use at the same time.
    std::barrier meeting(kThreads);
    std::atomic<int> makers = 0;
    std::atomic<int> complete = 0;
    std::vector<CCounted*> seen(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (CCounted*& mine : seen) {
        threads.emplace_back([&] {
            bool isMaker = false;
            mine = GetOrMake(
                slot,
                [&] {
                    auto fresh = std::make_unique<CCounted>();
                    meeting.arrive_and_wait();
                    return fresh;
                },
                &isMaker);
            if (isMaker) ++makers;
            if (mine->IsComplete()) ++complete;
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(makers, 1);
    EXPECT_EQ(complete, kThreads);
    EXPECT_EQ(CCounted::sAlive, 1) << "the losers' objects are gone";
    EXPECT_EQ(seen, std::vector<CCounted*>(kThreads, slot.load()));
    delete slot.load();
}

TEST(FirstUse, ShowsWhatWasMadeToWhoeverReadsLater)
{
    // No other order between the threads than the slot's own.
    for (int round = 0; round < 200; ++round) {
        std::atomic<CCounted*> slot{nullptr};
        std::atomic<int> complete = 0;
        std::vector<std::thread> threads;
        threads.reserve(3);
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                if (GetOrMake(slot, [] { return std::make_unique<CCounted>(); })->IsComplete()) {
                    ++complete;
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(complete, 3);
        delete slot.load();
    }
}
