// The walk over mapped words of Latin and over ideographs, written over vectors of 16 bytes for all
// levels that shuffle bytes. A file defines `LOAM_VECTOR` and `LOAM_VECTOR_INLINE` for its level,
// and then includes this.
//
// A window of sixteen units is judged at once, by sets of bytes. All arithmetic on the way to a
// word's end is on the path from one call to the next, and so is kept short; what the word becomes
// is not.
//
// The look-up of bytes in a set by two shuffles is W. Muła's, "SIMD-ized searching in unique
// constant set of characters" (2018).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "text/NextMappedWord.h"

#if defined(__x86_64__)
#include <immintrin.h>
#else
#include <arm_neon.h>
#endif

namespace {

using Sixteen = std::uint8_t __attribute__((vector_size(16)));
using EightUnits = std::uint16_t __attribute__((vector_size(16)));

inline constexpr std::size_t kWindow = 16;

#if defined(__x86_64__)

// By an index, with 0 for those from 0x80 on; other bits above the low four don't count.
LOAM_VECTOR_INLINE Sixteen LookUp(Sixteen table, Sixteen index)
{
    return reinterpret_cast<Sixteen>(
        _mm_shuffle_epi8(reinterpret_cast<__m128i>(table), reinterpret_cast<__m128i>(index)));
}

// Units beyond 0xFF become 0xFF, but those beyond 0x7FFF 0 or 0xFF.
LOAM_VECTOR_INLINE Sixteen Pack(EightUnits first, EightUnits second)
{
    return reinterpret_cast<Sixteen>(
        _mm_packus_epi16(reinterpret_cast<__m128i>(first), reinterpret_cast<__m128i>(second)));
}

// The highest bit of each byte.
LOAM_VECTOR_INLINE std::uint32_t HighBitsOf(Sixteen bytes)
{
    return static_cast<std::uint32_t>(_mm_movemask_epi8(reinterpret_cast<__m128i>(bytes)));
}

#else

LOAM_VECTOR_INLINE Sixteen LookUp(Sixteen table, Sixteen index)
{
    return reinterpret_cast<Sixteen>(vqtbl1q_u8(reinterpret_cast<uint8x16_t>(table),
                                                reinterpret_cast<uint8x16_t>(index & 0x8F)));
}

LOAM_VECTOR_INLINE Sixteen Pack(EightUnits first, EightUnits second)
{
    return reinterpret_cast<Sixteen>(vcombine_u8(vqmovn_u16(reinterpret_cast<uint16x8_t>(first)),
                                                 vqmovn_u16(reinterpret_cast<uint16x8_t>(second))));
}

LOAM_VECTOR_INLINE std::uint32_t HighBitsOf(Sixteen bytes)
{
    uint8x16_t const weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    int8x16_t const signs = vshrq_n_s8(reinterpret_cast<int8x16_t>(bytes), 7);
    uint8x16_t const bits = vandq_u8(vreinterpretq_u8_s8(signs), weights);
    return vaddv_u8(vget_low_u8(bits)) | std::uint32_t{vaddv_u8(vget_high_u8(bits))} << 8;
}

#endif

template <class Vector>
LOAM_VECTOR_INLINE Vector Load(void const* address)
{
    Vector vector;
    std::memcpy(&vector, address, sizeof vector);
    return vector;
}

// What vectors are made of. From memory: compilers would rather make each anew, by way of a general
// register and the port that all shuffles wait for.
struct Constants
{
    std::uint8_t mHighest[16];
    std::uint8_t mEighths[16];
};

inline constexpr Constants kConstants = {
    {254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254},
    {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128},
};

LOAM_VECTOR_INLINE Constants const& GetConstants()
{
    Constants const* constants = &kConstants;
    __asm__("" : "+r"(constants));
    return *constants;
}

// A window of units as bytes, and the bit to ask for in each one's row.
struct WindowBytes
{
    Sixteen mBytes;
    Sixteen mEighths;
};

// Of units given as two eights.
LOAM_VECTOR_INLINE WindowBytes ToBytes(EightUnits first, EightUnits second)
{
    // The bits come from the units, at the same time as the bytes: there is none for units beyond
    // 0x7FF, and no row for the others beyond 0xFF.
    return {Pack(first, second),
            LookUp(Load<Sixteen>(GetConstants().mEighths), Pack(first >> 4, second >> 4))};
}

// A bit for each unit of a window, that of the first one lowest. Behind the window nothing is
// taken, and all is unknown.
struct LatinBits
{
    std::uint32_t mNotTaken;
    std::uint32_t mUnknown;
};

LOAM_VECTOR_INLINE std::uint32_t
FindNot(MappedWordFacts::ByteSet const& set, WindowBytes const& units, Sixteen others)
{
    Sixteen const low = LookUp(Load<Sixteen>(set.mRows[0]), units.mBytes);
    Sixteen const high = LookUp(Load<Sixteen>(set.mRows[1]), others);
    return HighBitsOf(((low | high) & units.mEighths) == 0) + 0xFFFF0000;
}

template <class Rule>
LOAM_VECTOR_INLINE LatinBits JudgeLatin(MappedWordFacts const& facts, WindowBytes const& units)
{
    MappedWordFacts::Latin const& latin = facts.mLatin[Rule::kTakesSymbols ? 1 : 0];
    Sixteen const others = Load<Sixteen>(GetConstants().mHighest) - units.mBytes;
    return {FindNot(latin.mTaken, units, others), FindNot(latin.mKnown, units, others)};
}

// A word of Latin in a window.
struct LatinWord
{
    std::uint32_t mLowest;  // the bit of its first unit; 0 if nothing is taken
    std::uint32_t mEnds;    // the lowest of these is the bit behind it

    // The carry goes up to the lowest unit taken, and turns round all below it.
    LOAM_VECTOR_INLINE explicit LatinWord(LatinBits const& bits)
        : mLowest((bits.mNotTaken + 1) & ~bits.mNotTaken)
        , mEnds((bits.mNotTaken + 1) & bits.mNotTaken)
    {
    }

    // Whether nothing is unknown before the word's end and right behind it. With nothing taken,
    // whether nothing is unknown at all.
    LOAM_VECTOR_INLINE bool IsKnown(LatinBits const& bits) const
    {
        return (bits.mUnknown & (mEnds ^ (mEnds - 1))) == 0;
    }

    LOAM_VECTOR_INLINE std::uint32_t Bits() const { return (mEnds & -mEnds) - mLowest; }

    LOAM_VECTOR_INLINE std::uint32_t First() const
    {
        return static_cast<std::uint32_t>(__builtin_ctz(mLowest));
    }

    LOAM_VECTOR_INLINE std::uint32_t Count() const
    {
        return static_cast<std::uint32_t>(__builtin_ctz(mEnds)) - First();
    }
};

// Puts `count` units of Latin into the block, those of `bits` in a window. Out of line, as what a
// level may take for it would cost the callers registers.
using PutLatinWord = bool(MappedWordFacts const& facts,
                          amortizedmemblock& block,
                          Sixteen bytes,
                          std::uint32_t bits,
                          std::uint32_t count);

// For levels that have nothing better.
[[maybe_unused]] LOAM_VECTOR __attribute__((noinline)) inline bool
PutLatinByTable(MappedWordFacts const& facts,
                amortizedmemblock& block,
                Sixteen bytes,
                std::uint32_t bits,
                std::uint32_t count)
{
    // Room behind the window, so that the word with all that follows can be read.
    std::uint8_t window[2 * kWindow] = {};
    std::memcpy(window, &bytes, sizeof bytes);
    std::uint8_t const* const word = window + __builtin_ctz(bits);
    char16_t* const target = SetUnits(block, count);
    // All of a window, as the count can't be foreseen.
    for (std::size_t at = 0; at < kWindow; ++at)
        target[at] = facts.mLatinMap[word[at]];
    return true;
}

// Whether `unit` is one of those that are parts of words and stay as they are.
LOAM_VECTOR_INLINE bool IsSame(char16_t unit, MappedWordFacts const& facts)
{
    return static_cast<std::uint16_t>(unit - facts.mSameFirst) < facts.mSameCount;
}

// An ideograph or a pair behind any gap, or another word that begins beyond Latin, perhaps behind
// one gap of ASCII.
template <class Rule, NextMappedWord& kAlphabet, NextMappedWord& kOtherwise>
LOAM_VECTOR __attribute__((noinline)) bool NextBeyondLatin(MappedWordFacts const& facts,
                                                           char16_t const* text,
                                                           unsigned int length,
                                                           unsigned int& start,
                                                           unsigned int& rawLength,
                                                           amortizedmemblock& block,
                                                           unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (!IsReady(block, mappedLength))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
    char16_t const first = text[from] > 0x7F ? text[from] : text[from + 1];
    if (first < MappedWordFacts::kLowUnits)
        return kAlphabet(facts, text, length, start, rawLength, block, mappedLength);
    if (IsSame(first, facts))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);

    for (std::size_t at = from; at < from + kWindow; ++at) {
        char16_t units[2] = {facts.mTable.MapToSingleUnit(text[at]), 0};
        unsigned char const entry = WordUnits::EntryOf(units[0]);
        bool const isIdeograph = WordUnits::IsIdeographicLetter(entry);
        if (!isIdeograph && !WordUnits::IsWordUnit(entry)) {
            if (units[0] == CUnicodeMappingTable::kNoSingleUnit) break;
            continue;
        }
        unsigned int const count =
            isIdeograph ? 1 : TakeLoner<Rule>(text + at, length - at, facts.mTable, units);
        if (count == 0) break;
        std::memcpy(SetUnits(block, count), units, sizeof units);
        start = static_cast<unsigned int>(at);
        rawLength = mappedLength = count;
        return true;
    }
    return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
}

// An ideograph right behind the word before, or any other unit beyond ASCII.
template <class Rule, NextMappedWord& kAlphabet, NextMappedWord& kOtherwise>
LOAM_VECTOR __attribute__((noinline)) bool NextIdeograph(MappedWordFacts const& facts,
                                                         char16_t const* text,
                                                         unsigned int length,
                                                         unsigned int& start,
                                                         unsigned int& rawLength,
                                                         amortizedmemblock& block,
                                                         unsigned int& mappedLength)
{
    std::uint32_t const from = start + rawLength;
    char16_t const unit = facts.mTable.MapToSingleUnit(text[from]);
    if (!WordUnits::IsIdeographicLetter(WordUnits::EntryOf(unit)) || !IsReady(block, mappedLength))
        return NextBeyondLatin<Rule, kAlphabet, kOtherwise>(facts, text, length, start, rawLength,
                                                            block, mappedLength);
    *SetUnits(block, 1) = unit;
    start = from;
    rawLength = mappedLength = 1;
    return true;
}

// A word of Latin with no more than gaps before it, or what another way finds: `kAlphabet` for
// other alphabets, `kNearEnd` in the last window of the text, `kOtherwise` for all that the others
// don't know. Few values live at a time here, as all arguments do.
template <class Rule,
          NextMappedWord& kAlphabet,
          NextMappedWord& kNearEnd,
          NextMappedWord& kOtherwise,
          PutLatinWord& kPutLatin>
LOAM_VECTOR_INLINE bool NextWord(MappedWordFacts const& facts,
                                 char16_t const* text,
                                 unsigned int length,
                                 unsigned int& start,
                                 unsigned int& rawLength,
                                 amortizedmemblock& block,
                                 unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (from + kWindow >= length)
        return kNearEnd(facts, text, length, start, rawLength, block, mappedLength);
    char16_t const* const window = text + from;
    if (window[0] > 0x7F)
        return NextIdeograph<Rule, kAlphabet, kOtherwise>(facts, text, length, start, rawLength,
                                                          block, mappedLength);
    if (window[1] > 0xFF) {
        if (IsSame(window[1], facts))
            return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
        return NextBeyondLatin<Rule, kAlphabet, kOtherwise>(facts, text, length, start, rawLength,
                                                            block, mappedLength);
    }
    if (!IsReady(block, mappedLength))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);

    WindowBytes const units =
        ToBytes(Load<EightUnits>(window), Load<EightUnits>(window + kWindow / 2));
    LatinBits const bits = JudgeLatin<Rule>(facts, units);
    LatinWord const word(bits);
    if (!word.IsKnown(bits))
        return kOtherwise(facts, text, length, start, rawLength, block, mappedLength);
    std::uint32_t const count = word.Count();
    start = static_cast<unsigned int>(from) + word.First();
    rawLength = mappedLength = count;
    return kPutLatin(facts, block, units.mBytes, word.Bits(), count);
}

// The same where all but Latin and ideographs goes unit by unit.
template <class Rule>
LOAM_VECTOR_INLINE bool NextWordOfLevel(MappedWordFacts const& facts,
                                        char16_t const* text,
                                        unsigned int length,
                                        unsigned int& start,
                                        unsigned int& rawLength,
                                        amortizedmemblock& block,
                                        unsigned int& mappedLength)
{
    return NextWord<Rule, NextWordByUnit<Rule>, NextWordByUnit<Rule>, NextWordByUnit<Rule>,
                    PutLatinByTable>(facts, text, length, start, rawLength, block, mappedLength);
}

}  // namespace
