// The loops of UTFVectors.h from UTF-8 to UTF-16.
//
// Each place of a block is looked at together with the three bytes before it, which may
// belong to the block before. So blocks need no state from one to the next: a character belongs to
// the block that it ends in.
#pragma once

#include "text/simd/UTFVectors.h"

#include <algorithm>

namespace {

// `mBefore[i]` is `mHere` moved up by `i + 1` places.
struct Window
{
    Bytes mHere;
    Bytes mBefore[3];
};

LOAM_VECTOR_INLINE Window LoadWithin(UTF8 const* first)
{
    return {Load<Bytes>(first),
            {Load<Bytes>(first - 1), Load<Bytes>(first - 2), Load<Bytes>(first - 3)}};
}

// With nothing before it.
LOAM_VECTOR_INLINE Window LoadFirst(UTF8 const* first)
{
    UTF8 copy[3 + kBytes] = {};
    std::memcpy(copy + 3, first, kBytes);
    return LoadWithin(copy + 3);
}

// All of the block and the three bytes before it.
LOAM_VECTOR_INLINE bool IsASCII(Window const& window)
{
    return HighBits(window.mHere | window.mBefore[2]) == 0;
}

LOAM_VECTOR_INLINE bool HasFourBytes(Window const& window)
{
    return HighBits(IsAtLeast(Max(window.mHere, window.mBefore[2]), 0xF0)) != 0;
}

// What a block's places come to. Those that aren't `mWritten` hold anything.
struct Places
{
    Bytes mLow;
    Bytes mHigh;
    std::uint32_t mWritten;
    bool mIsBad;
};

// The surrogates of what has four bytes, and what is wrong with them.
LOAM_VECTOR_INLINE Bytes DecodePairs(Window const& window, Bytes& low, Bytes& high)
{
    Bytes const before = window.mBefore[0];
    Bytes const second = window.mBefore[1];
    Bytes const isHighPlace = IsAtLeast(second, 0xF0);
    Bytes const isLowPlace = IsAtLeast(window.mBefore[2], 0xF0);

    // Of 11110aaa 10aabbbb 10bbccdd, at the third byte, 110110aa aabbbbcc less 0x40.
    Bytes const top = (ShiftUp(before, 2) & 0xFC) | (ShiftDown(window.mHere, 4) & 0x03);
    Bytes const borrows = IsBelow(top, 0x40);
    Bytes const upper = (second & 0x0F) + 0xD8 + borrows;
    low = Choose(isHighPlace, Bytes(top - 0x40), low);
    high = Choose(isHighPlace, upper, high);
    // Behind a 10ccdddd and a 10dddddd, at the fourth.
    high = Choose(isLowPlace, Bytes((ShiftDown(before, 2) & 0x03) | 0xDC), high);
    return isHighPlace & reinterpret_cast<Bytes>((upper & 0xFC) != 0xD8);
}

// Where sequences are of up to three bytes each, or of up to four.
template <bool kHasFour>
LOAM_VECTOR_INLINE Places Decode(Window const& window)
{
    Bytes const here = window.mHere;
    Bytes const before = window.mBefore[0];
    Bytes const second = window.mBefore[1];

    // A lead byte calls for continuation bytes one, two and three places on.
    Bytes called = Max(before, LessOrNone(second, 0x20));
    if (kHasFour) called = Max(called, LessOrNone(window.mBefore[2], 0x30));
    auto const isContinuation =
        reinterpret_cast<Bytes>(reinterpret_cast<SignedBytes>(here) < -0x40);
    Bytes bad = IsAtLeast(called, 0xC0) ^ isContinuation;

    // The last byte of a character is no lead, and none that has two more to come goes before it.
    // That is true of the third of four as well, where the high surrogate is written.
    Places places;
    places.mWritten = ~HighBits(IsAtLeast(Max(here, LessOrNone(before, 0x20)), 0xC0));

    // The lower byte: six bits, and two of the byte before. The upper one: the rest of that, and
    // the lead of three bytes.
    Bytes isLastOfThree = IsAtLeast(second, 0xE0);
    auto const isOther = reinterpret_cast<Bytes>(reinterpret_cast<SignedBytes>(here) < 0);
    places.mLow = Choose(isOther, Bytes((here & 0x3F) | (ShiftUp(before, 6) & 0xC0)), here);
    Bytes high = (ShiftDown(before, 2) & 0x0F) | (ShiftUp(second, 4) & 0xF0 & isLastOfThree);

    // Three bytes for a value below 0x800 or for a surrogate: below 8 either way. Lead bytes C0 and
    // C1: the lowest of their kind.
    Bytes const surrogate = high ^ 0xD8;
    Bytes const distance = Min(high, surrogate);
    if (kHasFour) {
        isLastOfThree &= IsBelow(Max(second, window.mBefore[2]), 0xF0);
        bad |= DecodePairs(window, places.mLow, high);
    }
    bad |= isLastOfThree & IsBelow(distance, 8);
    bad |= reinterpret_cast<Bytes>((here & 0xFE) == 0xC0);
    places.mHigh = high & isOther;
    places.mIsBad = HighBits(bad) != 0;
    return places;
}

// By hand for each eight: compilers leave such a loop, and its array in memory.
template <int kIndex>
LOAM_VECTOR_INLINE void
StoreEight(Eight const (&units)[kEights], std::uint32_t written, AnyUTF16*& target)
{
    std::uint32_t const row = written >> 8 * kIndex & 0xFF;
    StoreShuffled(units[kIndex], kUnitShuffles[row], __builtin_popcount(row), target);
}

LOAM_VECTOR_INLINE void StorePlaces(Places const& places, AnyUTF16*& target)
{
    Eight units[kEights];
    Join(places.mLow, places.mHigh, units);
    StoreEight<0>(units, places.mWritten, target);
    StoreEight<1>(units, places.mWritten, target);
    if constexpr (kEights == 4) {
        StoreEight<2>(units, places.mWritten, target);
        StoreEight<3>(units, places.mWritten, target);
    }
}

LOAM_VECTOR_INLINE void Widen(Bytes bytes, AnyUTF16* target)
{
    Eight units[kEights];
    Join(bytes, Bytes{}, units);
    for (int i = 0; i < kEights; ++i)
        Store(units[i], target + ptrdiff_t{8} * i);
}

// What has been decoded up to `source` goes back to where its last character begins, if that isn't
// all there: none of it is written but the high surrogate of three bytes of four.
LOAM_VECTOR_INLINE void LeaveCutCharacter(UTF8 const* begin, UTF8 const*& source, AnyUTF16*& target)
{
    ptrdiff_t const size = source - begin;
    if (size >= 1 && source[-1] >= 0xC0) {
        source -= 1;
    } else if (size >= 2 && source[-2] >= 0xE0) {
        source -= 2;
    } else if (size >= 3 && source[-3] >= 0xF0) {
        source -= 3;
        target -= 1;
    }
}

// False where something calls for a decision.
LOAM_VECTOR_INLINE bool ConvertWindow(Window const& window, AnyUTF16*& target)
{
    Places const places = HasFourBytes(window) ? Decode<true>(window) : Decode<false>(window);
    if (places.mIsBad) return false;
    StorePlaces(places, target);
    return true;
}

LOAM_VECTOR_INLINE void ConvertASCII(UTF8 const*& source, ptrdiff_t blocks, AnyUTF16*& target)
{
    for (; blocks > 0; --blocks) {
        auto const bytes = Load<Bytes>(source);
        if (HighBits(bytes) != 0) return;
        Widen(bytes, target);
        source += kBytes;
        target += kBytes;
    }
}

// What is left of less than a block, together with ASCII before it, once more.
LOAM_VECTOR_INLINE void FinishASCII(UTF8 const* begin,
                                    UTF8 const*& source,
                                    UTF8 const* sourceEnd,
                                    AnyUTF16*& target,
                                    AnyUTF16* targetEnd)
{
    ptrdiff_t const rest = sourceEnd - source;
    if (rest == 0 || rest >= kBytes || rest > targetEnd - target || sourceEnd - begin < kBytes)
        return;
    auto const bytes = Load<Bytes>(sourceEnd - kBytes);
    if (HighBits(bytes) != 0) return;
    source = sourceEnd;
    target += rest;
    Widen(bytes, target - kBytes);
}

LOAM_VECTOR inline void ConvertToUTF16(UTF8 const*& sourceStart,
                                       UTF8 const* sourceEnd,
                                       AnyUTF16*& targetStart,
                                       AnyUTF16* targetEnd)
{
    UTF8 const* const begin = sourceStart;
    UTF8 const* source = begin;
    AnyUTF16* target = targetStart;
    bool mayBeASCII = true;
    bool wasASCII = false;
    for (;;) {
        // No character has more units than bytes. Negative where a cursor is behind its end.
        ptrdiff_t const blocks = std::min(sourceEnd - source, targetEnd - target) / kBytes;
        if (blocks <= 0) break;
        if (mayBeASCII) {
            ConvertASCII(source, blocks, target);
            mayBeASCII = false;
            continue;
        }
        Window const window = source == begin ? LoadFirst(source) : LoadWithin(source);
        if (!ConvertWindow(window, target)) break;
        source += kBytes;
        // A block of ASCII among others isn't worth a branch that can't be foreseen.
        bool const isASCII = IsASCII(window);
        mayBeASCII = isASCII && wasASCII;
        wasASCII = isASCII;
    }
    LeaveCutCharacter(begin, source, target);
    FinishASCII(begin, source, sourceEnd, target, targetEnd);
    sourceStart = source;
    targetStart = target;
    if (source < sourceEnd) RunToUTF16Plain(sourceStart, sourceEnd, targetStart, targetEnd);
}

}  // namespace
