// What the category table's entry of a unit means to a word. Inner to the word delimiters.
#pragma once

#include "text/CUnicodeCategoriesTable.h"

namespace WordUnits {

using Categories = CUnicodeCategoriesTable;

constexpr Categories::CategoriesMask kLettersAndNumbers =
    Categories::MaskOf(Categories::kLu) | Categories::MaskOf(Categories::kLl) |
    Categories::MaskOf(Categories::kLt) | Categories::MaskOf(Categories::kLm) |
    Categories::MaskOf(Categories::kLo) | Categories::MaskOf(Categories::kNd) |
    Categories::MaskOf(Categories::kNl) | Categories::MaskOf(Categories::kNo);

constexpr Categories::CategoriesMask kSurrogates =
    Categories::MaskOf(Categories::kCsHigh) | Categories::MaskOf(Categories::kCsLow);

// All that can be part of a word; the rest is gaps. Sk is one, so that a spacing accent of its own
// separates.
constexpr Categories::CategoriesMask kWord =
    kLettersAndNumbers | kSurrogates | Categories::MaskOf(Categories::kMn) |
    Categories::MaskOf(Categories::kSm) | Categories::MaskOf(Categories::kSc) |
    Categories::MaskOf(Categories::kSo);

static_assert(kLettersAndNumbers == 0x0000071F && kWord == 0x182C073F);

constexpr unsigned char kAnyFlag = Categories::kFlagIdeographic | Categories::kFlagSymbolPlane;

constexpr bool IsIn(Categories::CategoriesMask mask, unsigned char entry)
{
    return (mask >> (entry & Categories::kCategoryBits) & 1) != 0;
}

constexpr bool IsWordUnit(unsigned char entry)
{
    return IsIn(kWord, entry);
}

constexpr bool IsHighSurrogate(unsigned char entry)
{
    return (entry & Categories::kCategoryBits) == Categories::kCsHigh;
}

constexpr bool IsLowSurrogate(unsigned char entry)
{
    return (entry & Categories::kCategoryBits) == Categories::kCsLow;
}

// Letters and nonspacing marks; an ideographic number such as U+3007 is none.
constexpr bool IsIdeographicLetter(unsigned char entry)
{
    return (entry & kAnyFlag) != 0 && (entry & Categories::kCategoryBits) <= Categories::kMn;
}

constexpr bool IsFlaggedHighSurrogate(unsigned char entry)
{
    return (entry & kAnyFlag) != 0 && IsHighSurrogate(entry);
}

// What a run of letters and numbers goes on with.
constexpr bool IsWordBody(unsigned char entry)
{
    return (kLettersAndNumbers >> (entry & Categories::kCategoryBits) & ~(entry >> 7) & 1) != 0;
}

inline unsigned char EntryOf(char16_t unit)
{
    return Categories::sTable[unit];
}

}  // namespace WordUnits
