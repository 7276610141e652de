#include "loamctl/AskPatiently.h"

#include <atomic>
#include <memory>
#include <utility>

#include "concurrency/CSemaphore.h"
#include "concurrency/CThread.h"
#include "loamctl/StartThread.h"

namespace {

constexpr long long kStep = 100000;  // microseconds
constexpr int kMostQuietSteps = 20;

// Shared by the caller and the threads: who is stuck may come back when all others have gone.
struct Round
{
    std::size_t mCount;
    std::function<void(std::size_t)> mAsk;
    std::atomic<std::size_t> mNext{0};
    std::atomic<std::size_t> mAnswered{0};
    CSemaphore mDone;
};

class CAsker final : public CThread
{
public:
    explicit CAsker(std::shared_ptr<Round> round)
        : CThread(nullptr, nullptr, nullptr)
        , mRound(std::move(round))
    {
    }

    void* Run() override
    {
        Round& round = *mRound;
        for (;;) {
            std::size_t const next = round.mNext.fetch_add(1);
            if (next >= round.mCount) return nullptr;
            round.mAsk(next);
            if (round.mAnswered.fetch_add(1) + 1 == round.mCount) round.mDone.Post();
        }
    }

private:
    std::shared_ptr<Round> mRound;
};

}  // namespace

void AskPatiently(std::size_t count, std::function<void(std::size_t)> ask)
{
    auto const round = std::make_shared<Round>();
    round->mCount = count;
    round->mAsk = std::move(ask);
    if (count > 0) StartThread(std::make_unique<CAsker>(round));
    // Not woken for each answer: that would cost more than most of them.
    std::size_t lastAnswered = 0;
    for (int quietSteps = 0; lastAnswered < count && quietSteps < kMostQuietSteps;) {
        round->mDone.TimedWait(kStep);
        std::size_t const answered = round->mAnswered.load();
        quietSteps = answered == lastAnswered ? quietSteps + 1 : 0;
        lastAnswered = answered;
        bool const isStuck = quietSteps > 0 && round->mNext.load() < count;
        if (isStuck) StartThread(std::make_unique<CAsker>(round));
    }
}
