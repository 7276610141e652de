// A window of sixteen units as bytes, judged by what a mapping table and a rule make of Latin, and
// a word in it. Written over vectors of 16 bytes for all levels that shuffle bytes. A file defines
// `LOAM_VECTOR` and `LOAM_VECTOR_INLINE` for its level, and then includes this.
//
// The look-up of bytes in a set by two shuffles is W. Muła's, "SIMD-ized searching in unique
// constant set of characters" (2018).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "text/MappedWordFacts.h"

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

}  // namespace
