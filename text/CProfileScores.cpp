#include "text/CProfileScores.h"

#include "text/LanguageGuesser.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

constexpr size_t kLanes = 16;
constexpr size_t kGroupSize = UDM_LM_BUCKETS * kLanes;

// The compilers' vectors, which become SSE2 and NEON.
using Floats = float __attribute__((vector_size(16)));
constexpr size_t kVectors = kLanes * sizeof(float) / sizeof(Floats);

// The buckets that a text has n-grams in.
struct Filled
{
    size_t mCount = 0;
    uint16_t mBuckets[UDM_LM_BUCKETS];
    float mCounts[UDM_LM_BUCKETS];
};

void FindFilled(UDM_LANGMAP const& text, Filled& filled)
{
    size_t count = 0;
    for (size_t bucket = 0; bucket < UDM_LM_BUCKETS; ++bucket) {
        int const here = text.memb[bucket].count;
        filled.mBuckets[count] = static_cast<uint16_t>(bucket);
        filled.mCounts[count] = static_cast<float>(here);
        count += here != 0;
    }
    filled.mCount = count;
}

// Sixteen languages' sums of deviation times count.
void SumUp(Filled const& filled, float const* deviations, float* sums)
{
    Floats all[kVectors] = {};
    for (size_t i = 0; i < filled.mCount; ++i) {
        float const* const lanes = deviations + filled.mBuckets[i] * kLanes;
        Floats some[kVectors];
        std::memcpy(some, lanes, sizeof some);
        for (size_t k = 0; k < kVectors; ++k)
            all[k] += some[k] * filled.mCounts[i];
    }
    std::memcpy(sums, all, sizeof all);
}

}  // namespace

bool CProfileScores::Fill(UDM_LANGMAP const* maps, size_t count)
{
    size_t const groups = (count + kLanes - 1) / kLanes;
    mCount = 0;
    mDeviations.reset(new (std::nothrow) float[groups * kGroupSize]());
    mSums.reset(new (std::nothrow) float[count]());
    if (!mDeviations || !mSums) return false;

    for (size_t i = 0; i < count; ++i) {
        if (static_cast<double>(maps[i].std) < UDM_LM_LEASTSTD) continue;
        float* const lane = mDeviations.get() + i / kLanes * kGroupSize + i % kLanes;
        double sum = 0;
        for (size_t bucket = 0; bucket < UDM_LM_BUCKETS; ++bucket) {
            double const deviation = maps[i].memb[bucket].count - static_cast<double>(maps[i].mean);
            lane[bucket * kLanes] =
                static_cast<float>(deviation / static_cast<double>(maps[i].std));
            sum += static_cast<double>(lane[bucket * kLanes]);
        }
        mSums[i] = static_cast<float>(sum);
    }
    mCount = count;
    return true;
}

void CProfileScores::Score(UDM_LANGMAP const& text, float* scores, size_t stride) const
{
    if (static_cast<double>(text.std) < UDM_LM_LEASTSTD) {
        for (size_t i = 0; i < mCount; ++i)
            scores[i * stride] = 0;
        return;
    }
    Filled filled;
    FindFilled(text, filled);
    for (size_t first = 0; first < mCount; first += kLanes) {
        float sums[kLanes];
        SumUp(filled, mDeviations.get() + first / kLanes * kGroupSize, sums);
        for (size_t i = first; i < mCount && i < first + kLanes; ++i) {
            // The text's mean matters for the buckets too that it has nothing in.
            float const sum = sums[i - first] - text.mean * mSums[i];
            scores[i * stride] = sum / UDM_LM_BUCKETS / text.std;
        }
    }
}
