// What the fast walks over mapped words have to know of a mapping table. Inner to the word
// delimiters.
//
// Made of the table and of the categories at the first walk, in well under a millisecond, and kept
// with the table (`CUnicodeMappingTable::GetWordFacts`). True for any table: what a fast walk can't
// do with a unit is said to be unknown, and then the feed does it.
#pragma once

#include <cstddef>
#include <cstdint>

class CUnicodeMappingTable;

struct MappedWordFacts
{
    explicit MappedWordFacts(CUnicodeMappingTable const& table);

    // Units below `kLowUnits`, which take in the alphabets from Latin to those of India: what a
    // unit becomes in the low half, and what that is to a word in bits above it. Without any of the
    // bits the unit is unknown: it gives several units, or one that may begin a word of another
    // kind.
    static constexpr std::size_t kLowUnits = 0x1000;
    static constexpr std::uint32_t kTaken = 1 << 16;        // is part of a run of letters
    static constexpr std::uint32_t kTakenLegacy = 1 << 17;  // the same by the earlier rule
    static constexpr std::uint32_t kGap = 1 << 18;
    static constexpr std::uint32_t kDeleted = 1 << 19;

    // A set of bytes in the form that two look-ups by shuffle ask: by the low four bits of a byte,
    // a bit for each value of the three above them. The rows for bytes from 0x80 on go downwards
    // from 0xFE: so 0xFF finds no row in either half.
    struct ByteSet
    {
        std::uint8_t mRows[2][16];

        void Add(unsigned int byte)
        {
            unsigned int const row = byte < 0x80 ? byte : 0xFE - byte;
            mRows[byte >> 7][row & 0xF] |= static_cast<std::uint8_t>(1U << (byte >> 4 & 7));
        }
    };

    // The first 255 units by one of the rules, those taken that become one of them. A byte of 0xFF
    // stands for all others, and is in no set.
    struct Latin
    {
        ByteSet mTaken;
        ByteSet mKnown;  // those, and gaps
    };

    // By rule, the one of `kTaken` first: what the units in `Latin::mTaken` become, 0 for gaps and
    // `kUnknownLatin` for all others. No letter becomes either.
    static constexpr std::uint8_t kUnknownLatin = 1;
    alignas(64) std::uint8_t mLatinMap[2][256];
    alignas(64) std::uint32_t mLow[kLowUnits];
    Latin mLatin[2];  // by rule too

    // What each unit gives: a gap or an ideographic letter; 0 for others, several units and none.
    static constexpr std::uint8_t kGapKind = 1;
    static constexpr std::uint8_t kIdeographKind = 2;
    std::uint8_t mKinds[0x10000];

    // Units that are parts of words by both rules and stay as they are: the Hangul syllables, or
    // none.
    std::uint16_t mSameFirst;
    std::uint16_t mSameCount;

    CUnicodeMappingTable const& mTable;
};
