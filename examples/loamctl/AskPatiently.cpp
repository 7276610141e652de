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
    CSemaphore mNews;
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
            round.mAnswered.fetch_add(1);
            round.mNews.Post();
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
    int quietSteps = 0;
    while (round->mAnswered.load() < count && quietSteps < kMostQuietSteps) {
        if (round->mNews.TimedWait(kStep)) {
            quietSteps = 0;
            continue;
        }
        quietSteps += 1;
        if (round->mNext.load() < count) StartThread(std::make_unique<CAsker>(round));
    }
}
