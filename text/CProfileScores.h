// Compares one text's profile with all languages' in one pass. Inner to the guesser.
#pragma once

#include <cstddef>
#include <memory>

struct UDM_LANGMAP;

/// What correlations need of the profiles, laid out so that a text reads nothing of a bucket that
/// it has no n-gram in: for each sixteen languages the buckets in order, for each bucket the
/// sixteen deviations from the mean, in units of the standard deviation.
class CProfileScores
{
public:
    /// Takes over `count` prepared profiles, in place of those before. False, and none are held, if
    /// there is no memory.
    bool Fill(UDM_LANGMAP const* maps, size_t count);

    size_t GetCount() const { return mCount; }

    /// The correlation of profile `i` with `text` into `scores[i * stride]`, as `UdmCheckLangMap`
    /// has it but for rounding (the last digits of a `float`).
    void Score(UDM_LANGMAP const& text, float* scores, size_t stride) const;

private:
    size_t mCount = 0;
    std::unique_ptr<float[]> mDeviations;
    std::unique_ptr<float[]> mSums;  // of each profile's deviations: 0 but for rounding
};
