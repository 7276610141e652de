// The one classification of UTF-16 units that the library's text engine decides by, and searches on
// it.
//
// A unit is classified on its own: a supplementary character is seen as its two surrogates. All
// data is constant, no operation allocates or fails, and any thread may call. Lengths and indexes
// are in UTF-16 units.
#pragma once

#include <cstdint>

#include "foundation/LoamExport.h"

class LOAM_EXPORT CUnicodeCategoriesTable
{
public:
    /// The low five bits of an entry: the `General_Category` of Unicode 13.0, surrogates split in
    /// two.
    enum Category : unsigned char
    {
        kLu,      ///< letter, uppercase
        kLl,      ///< letter, lowercase
        kLt,      ///< letter, titlecase
        kLm,      ///< letter, modifier
        kLo,      ///< letter, other
        kMn,      ///< mark, nonspacing
        kMc,      ///< mark, spacing
        kMe,      ///< mark, enclosing
        kNd,      ///< number, decimal digit
        kNl,      ///< number, letter
        kNo,      ///< number, other
        kPc,      ///< punctuation, connector
        kPd,      ///< punctuation, dash
        kPs,      ///< punctuation, open
        kPe,      ///< punctuation, close
        kPi,      ///< punctuation, initial quote
        kPf,      ///< punctuation, final quote
        kPo,      ///< punctuation, other
        kSm,      ///< symbol, math
        kSc,      ///< symbol, currency
        kSk,      ///< symbol, modifier
        kSo,      ///< symbol, other
        kZs,      ///< separator, space
        kZl,      ///< separator, line
        kZp,      ///< separator, paragraph
        kCc,      ///< control
        kCf,      ///< format
        kCsHigh,  ///< surrogate, D800 to DBFF
        kCsLow,   ///< surrogate, DC00 to DFFF
        kCo,      ///< private use
        kCn,      ///< unassigned, non-characters among them
    };

    static constexpr unsigned char kCategoryBits = 0x1F;

    /// Bit n stands for category n. In the searches 0 stands for all categories.
    using CategoriesMask = std::uint32_t;

    static constexpr CategoriesMask MaskOf(Category category)
    {
        return CategoriesMask{1} << category;
    }

    /// The high bits of an entry. They are set by range, so that unassigned units and punctuation
    /// have them too.
    using Flags = std::uint32_t;
    /// 2E80 to 333F, 3400 to 4DBE, 4E00 to 9FFB, F900 to FA6C, FA70 to FAD8, and the high
    /// surrogates of ideographic blocks. U+4DBF and U+9FFC have no flag.
    static constexpr Flags kFlagIdeographic = 0x80;
    /// High surrogates that lead musical and mathematical symbols and pictographs: D834, D836, D83C
    /// to D83E.
    static constexpr Flags kFlagSymbolPlane = 0x40;

    /// Category and flags of every unit. Generated from Unicode 13.0, but # % & @ § ¶ are So, and
    /// so count as parts of words, and + < = > | ~ are Po.
    static unsigned char const sTable[0x10000];

    /// Whether an entry of `sTable` is in `mask` (0 for any) and carries none of `flags`, or with
    /// `flagSense` at least one. `flags` 0 asks for nothing.
    static constexpr bool
    EntryMatches(unsigned char entry, CategoriesMask mask, Flags flags, bool flagSense)
    {
        return (mask == 0 || (mask >> (entry & kCategoryBits) & 1) != 0) &&
               (flags == 0 || ((entry & flags) != 0) == flagSense);
    }

    static bool Matches(char16_t unit, CategoriesMask mask, Flags flags, bool flagSense)
    {
        return EntryMatches(sTable[unit], mask, flags, flagSense);
    }

    /// The first or last unit of `text` that matches, or that doesn't. True stores its index; false
    /// leaves `index` as it is. A `length` of 0 or below gives false and reads nothing.
    static bool FindFirstOfCategories(unsigned int& index,
                                      char16_t const* text,
                                      int length,
                                      CategoriesMask mask,
                                      Flags flags,
                                      bool flagSense);
    static bool FindFirstNotOfCategories(unsigned int& index,
                                         char16_t const* text,
                                         int length,
                                         CategoriesMask mask,
                                         Flags flags,
                                         bool flagSense);
    static bool FindLastOfCategories(unsigned int& index,
                                     char16_t const* text,
                                     int length,
                                     CategoriesMask mask,
                                     Flags flags,
                                     bool flagSense);
    static bool FindLastNotOfCategories(unsigned int& index,
                                        char16_t const* text,
                                        int length,
                                        CategoriesMask mask,
                                        Flags flags,
                                        bool flagSense);
};
