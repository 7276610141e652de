// Turns a text into a profile. Inner to the guesser.
#pragma once

#include "text/LanguageGuesser.h"

#include <cstddef>
#include <cstdint>

/// The buckets that a text has n-grams in, in their order, and how many.
struct TextCounts
{
    size_t mFilled = 0;
    uint16_t mBuckets[UDM_LM_BUCKETS];
    float mCounts[UDM_LM_BUCKETS];
};

/// Makes `map`, which has no counts yet, what `UdmBuildLangMap` and `UdmPrepareLangMap` make it of
/// `text`, and lists its counts.
void MakeTextProfile(UDM_LANGMAP& map, char const* text, long length, TextCounts& counts);
