// Compares one text's profile with all languages' in one pass. Inner to the guesser.
#pragma once

#include "text/simd/LanguageKernels.h"

#include <cstddef>
#include <memory>

struct TextCounts;
struct UDM_LANGMAP;

/// What correlations need of the profiles, laid out so that a text reads nothing of a bucket that
/// it has no n-gram in: for each bucket a row of all profiles' deviations from their means, in
/// units of their standard deviations. That is 16 KB a profile.
class CProfileScores
{
public:
    /// Takes over `count` prepared profiles, in place of those before. False, and none are held, if
    /// there is no memory.
    bool Fill(UDM_LANGMAP const* maps, size_t count);

    size_t GetCount() const { return mCount; }

    /// The correlation of profile `i` with `text`, whose counts are `counts`, into
    /// `scores[i * stride]`, as `UdmCheckLangMap` has it but for rounding (the last digits of a
    /// `float`). The rounding is the same on every processor. One thread at a time.
    void Score(UDM_LANGMAP const& text, TextCounts const& counts, float* scores, size_t stride);

private:
    size_t mCount = 0;
    size_t mGroups = 0;  // of sixteen profiles; the last one may have less
    std::unique_ptr<SixteenFloats[]> mDeviations;  // a row of groups for each bucket
    std::unique_ptr<SixteenFloats[]> mTotals;  // of each profile's deviations: 0 but for rounding
    std::unique_ptr<SixteenFloats[]> mSums;    // the text's
};
