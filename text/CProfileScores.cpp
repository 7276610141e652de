#include "text/CProfileScores.h"

#include "text/LanguageGuesser.h"
#include "text/TextProfile.h"
#include "text/simd/TextKernels.h"

#include <iterator>
#include <new>

namespace {

constexpr size_t kLanes = std::size(SixteenFloats{}.mLanes);

std::unique_ptr<SixteenFloats[]> NewGroups(size_t count)
{
    return std::unique_ptr<SixteenFloats[]>(new (std::nothrow) SixteenFloats[count]());
}

}  // namespace

bool CProfileScores::Fill(UDM_LANGMAP const* maps, size_t count)
{
    mCount = 0;
    mGroups = (count + kLanes - 1) / kLanes;
    mDeviations = NewGroups(mGroups * UDM_LM_BUCKETS);
    mTotals = NewGroups(mGroups);
    mSums = NewGroups(mGroups);
    if (!mDeviations || !mTotals || !mSums) return false;

    for (size_t i = 0; i < count; ++i) {
        double const deviationOfAll = static_cast<double>(maps[i].std);
        if (deviationOfAll < UDM_LM_LEASTSTD) continue;
        double const mean = static_cast<double>(maps[i].mean);
        double total = 0;
        for (size_t bucket = 0; bucket < UDM_LM_BUCKETS; ++bucket) {
            auto const deviation =
                static_cast<float>((maps[i].memb[bucket].count - mean) / deviationOfAll);
            mDeviations[bucket * mGroups + i / kLanes].mLanes[i % kLanes] = deviation;
            total += static_cast<double>(deviation);
        }
        mTotals[i / kLanes].mLanes[i % kLanes] = static_cast<float>(total);
    }
    mCount = count;
    return true;
}

void CProfileScores::Score(UDM_LANGMAP const& text,
                           TextCounts const& counts,
                           float* scores,
                           size_t stride)
{
    if (static_cast<double>(text.std) < UDM_LM_LEASTSTD) {
        for (size_t i = 0; i < mCount; ++i)
            scores[i * stride] = 0;
        return;
    }
    GetTextKernels().mSumRows(mDeviations.get(), mGroups,
                              {counts.mBuckets, counts.mCounts, counts.mFilled}, mSums.get());
    for (size_t i = 0; i < mCount; ++i) {
        // The text's mean matters for the buckets too that it has nothing in.
        float const sum = mSums[i / kLanes].mLanes[i % kLanes] -
                          text.mean * mTotals[i / kLanes].mLanes[i % kLanes];
        scores[i * stride] = sum / UDM_LM_BUCKETS / text.std;
    }
}
