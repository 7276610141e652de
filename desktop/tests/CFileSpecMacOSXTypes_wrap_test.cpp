// What threads get that ask for types at the same time. The raise of the lock is wrapped, so that a
// case can hold threads there.
#include "desktop/CFileSpecMacOSX.h"

#include "marl/progressive_lock.h"
#include "testing/ScriptedTypePlatform.h"

#include <barrier>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

std::function<void()> sBeforeRaise;  // set while no thread asks

std::string TypeOf(std::u16string const& extension, unsigned int fileType = 0)
{
    std::string uti;
    CFileSpecMacOSX::GetUTIForAttributes(extension, fileType, 0, false, &uti);
    return uti;
}

template <class Action>
void OnThreads(int count, Action const& action)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(action, i);
    for (auto& thread : threads)
        thread.join();
}

}  // namespace

extern "C" {

// progressive_lock::lock_exclusive()
void __real__ZN16progressive_lock14lock_exclusiveEv(progressive_lock* lock);
void __wrap__ZN16progressive_lock14lock_exclusiveEv(progressive_lock* lock);

void __wrap__ZN16progressive_lock14lock_exclusiveEv(progressive_lock* lock)
{
    if (sBeforeRaise) sBeforeRaise();
    __real__ZN16progressive_lock14lock_exclusiveEv(lock);
}
}

TEST(CFileSpecMacOSXTypes, ThreadsThatMissTogetherAskOnce)
{
    constexpr int kThreads = 8;
    ScriptedTypePlatform platform;
    platform.mAnswers = {{"extension together", u"once"}};
    StTypePlatform const inUse(platform);

    // All of them have looked in vain, sharing the lock, before the first one raises it.
    std::barrier allMissed(kThreads);
    sBeforeRaise = [&] { allMissed.arrive_and_wait(); };
    std::string answers[kThreads];
    OnThreads(kThreads, [&](int i) { answers[i] = TypeOf(u"together"); });
    sBeforeRaise = nullptr;

    EXPECT_THAT(answers, testing::Each("once"));
    EXPECT_THAT(platform.GetQuestions(), testing::ElementsAre("extension together"));
}

TEST(CFileSpecMacOSXTypes, ThreadsThatMissTogetherShareAnEmptyAnswer)
{
    constexpr int kThreads = 2;
    ScriptedTypePlatform platform;
    StTypePlatform const inUse(platform);
    std::barrier allMissed(kThreads);
    sBeforeRaise = [&] { allMissed.arrive_and_wait(); };
    OnThreads(kThreads, [](int) { TypeOf(u"nothing together"); });
    sBeforeRaise = nullptr;
    EXPECT_THAT(platform.GetQuestions(), testing::ElementsAre("extension nothing together"));
}

TEST(CFileSpecMacOSXTypes, NoHitRaisesTheLock)
{
    ScriptedTypePlatform platform;
    StTypePlatform const inUse(platform);
    int raises = 0;
    sBeforeRaise = [&] { ++raises; };
    TypeOf(u"hit");
    EXPECT_EQ(raises, 1);
    TypeOf(u"hit");
    EXPECT_EQ(raises, 1);
    sBeforeRaise = nullptr;
}

// Nobody is asked about these, so only the lock tells that they have been looked up before.
TEST(CFileSpecMacOSXTypes, KeepsTheEmptyAnswerForNoTypeAndNoExtension)
{
    ScriptedTypePlatform platform;
    StTypePlatform const inUse(platform);
    constexpr unsigned int kNoTypes[] = {0, 0x20202020, 0x3F3F3F3F};
    for (unsigned int const fileType : kNoTypes) {
        int raises = 0;
        EXPECT_EQ(TypeOf(u"", fileType), "");
        sBeforeRaise = [&] { ++raises; };
        EXPECT_EQ(TypeOf(u"", fileType), "");
        sBeforeRaise = nullptr;
        EXPECT_EQ(raises, 0) << fileType;
    }
    EXPECT_THAT(platform.GetQuestions(), testing::IsEmpty());
}

TEST(CFileSpecMacOSXTypes, ThreadsAskOneAfterTheOtherAndOnceForEachKey)
{
    constexpr int kThreads = 8;
    constexpr int kKeys = 200;
    ScriptedTypePlatform platform;
    platform.mMeanwhile = [] { std::this_thread::yield(); };
    for (int i = 0; i < kKeys; ++i) {
        std::string const key = "key" + std::to_string(i);
        platform.mAnswers["extension " + key] = std::u16string(key.begin(), key.end());
    }
    StTypePlatform const inUse(platform);
    std::string wrong[kThreads];
    OnThreads(kThreads, [&](int thread) {
        // Each thread begins elsewhere, so that all meet hits, misses and each other.
        for (int i = 0; i < 2 * kKeys; ++i) {
            std::string const key = "key" + std::to_string((thread * 31 + i) % kKeys);
            if (TypeOf(std::u16string(key.begin(), key.end())) != key) wrong[thread] += key + ' ';
        }
    });
    EXPECT_THAT(wrong, testing::Each(""));
    EXPECT_EQ(platform.GetQuestions().size(), static_cast<std::size_t>(kKeys));
    EXPECT_EQ(platform.mMostAtATime, 1);
}
