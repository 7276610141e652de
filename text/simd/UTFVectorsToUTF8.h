// The loops of UTFVectors.h from UTF-16 to UTF-8.
//
// Each unit gets a lane with room for all of its bytes, and the places that it has no
// bytes for are shuffled out.
#pragma once

#include "text/simd/UTFVectors.h"

#include <algorithm>

namespace {

LOAM_VECTOR_INLINE Units IsAbove(Units units, std::uint16_t bits)
{
    return reinterpret_cast<Units>((units & bits) != 0);
}

LOAM_VECTOR_INLINE bool IsAny(Units mask)
{
    return HighBits(reinterpret_cast<Bytes>(mask)) != 0;
}

LOAM_VECTOR_INLINE Units IsOther(Units units)
{
    return IsAbove(units, 0xFF80);
}

LOAM_VECTOR_INLINE Units IsLong(Units units)
{
    return IsAbove(units, 0xF800);
}

LOAM_VECTOR_INLINE Units IsSurrogate(Units units)
{
    return reinterpret_cast<Units>((units & 0xF800) == 0xD800);
}

template <int kIndex>
LOAM_VECTOR_INLINE void
StoreEightShort(Eight const (&units)[kEights / 2], std::uint32_t others, UTF8*& target)
{
    std::uint32_t const row = others >> 16 * kIndex & 0xFF;
    StoreShuffled(units[kIndex], kShortShuffles[row], 8 + __builtin_popcount(row), target);
}

// Units below 0x800.
LOAM_VECTOR_INLINE void StoreShort(Units units, Units isOther, UTF8*& target)
{
    Units const one = units << 8;
    Units const two = (one & 0x3F00) | units >> 6 | 0x80C0;
    Eight eights[kEights / 2];
    Split(Choose(isOther, two, one), eights);
    std::uint32_t const others = BitsOf(isOther);
    StoreEightShort<0>(eights, others, target);
    if constexpr (kEights == 4) StoreEightShort<1>(eights, others, target);
}

template <int kIndex>
LOAM_VECTOR_INLINE void
StoreFour(Eight const (&lanes)[kEights], std::uint32_t others, std::uint32_t longs, UTF8*& target)
{
    constexpr int kShift = 16 * (kIndex / 2) + 4 * (kIndex % 2);
    std::uint32_t const row = (others >> kShift & 0xF) | (longs >> kShift & 0xF) << 4;
    StoreShuffled(lanes[kIndex], kLongShuffles[row], 4 + __builtin_popcount(row), target);
}

// Units that are no surrogates.
LOAM_VECTOR_INLINE void StorePlain(Units units, UTF8*& target)
{
    Units const isOther = IsOther(units);
    Units const isLong = IsLong(units);
    Units const middle = (units << 2 & 0x3F00) | (~isLong & 0x4000);
    Units const last = Choose(isOther, Units((units & 0x3F) | 0x80), units);
    Eight lanes[kEights];
    Join(Units(units >> 12 | middle | 0x80E0), last, lanes);
    std::uint32_t const others = BitsOf(isOther);
    std::uint32_t const longs = BitsOf(isLong);
    StoreFour<0>(lanes, others, longs, target);
    StoreFour<1>(lanes, others, longs, target);
    if constexpr (kEights == 4) {
        StoreFour<2>(lanes, others, longs, target);
        StoreFour<3>(lanes, others, longs, target);
    }
}

// A block of units, and room for three bytes each and a vector that is stored for the last of them.
LOAM_VECTOR_INLINE bool
HasRoom(AnyUTF16 const* source, AnyUTF16 const* sourceEnd, UTF8* target, UTF8* targetEnd)
{
    return sourceEnd - source >= kUnits && targetEnd - target >= 3 * kUnits + 4;
}

// The loops over whole blocks. Each goes on through blocks of a simpler kind too, unless two of
// them follow each other: text that is mixed has no branch that the processor can't foresee.

LOAM_VECTOR_INLINE void
ConvertASCII(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    while (sourceEnd - source >= kBytes && targetEnd - target >= kBytes) {
        auto const first = Load<Units>(source);
        auto const second = Load<Units>(source + kUnits);
        if (IsAny(IsOther(first | second))) return;
        Store(Narrow(first, second), target);
        source += kBytes;
        target += kBytes;
    }
}

LOAM_VECTOR_INLINE void
ConvertShort(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    Units former = ~Units{};
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        auto const units = Load<Units>(source);
        if (IsAny(IsLong(units))) return;
        StoreShort(units, IsOther(units), target);
        source += kUnits;
        if (!IsAny(IsOther(units | former))) return;
        former = units;
    }
}

LOAM_VECTOR_INLINE void
ConvertPlain(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    Units former = ~Units{};
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        auto const units = Load<Units>(source);
        if (IsAny(IsSurrogate(units))) return;
        StorePlain(units, target);
        source += kUnits;
        if (!IsAny(IsLong(units | former))) return;
        former = units;
    }
}

// What is left of less than two vectors, together with ASCII before it, once more.
LOAM_VECTOR_INLINE void FinishASCII(AnyUTF16 const* begin,
                                    AnyUTF16 const*& source,
                                    AnyUTF16 const* sourceEnd,
                                    UTF8*& target,
                                    UTF8* targetEnd)
{
    ptrdiff_t const rest = sourceEnd - source;
    if (rest == 0 || rest >= kBytes || rest > targetEnd - target || sourceEnd - begin < kBytes)
        return;
    auto const first = Load<Units>(sourceEnd - kBytes);
    auto const second = Load<Units>(sourceEnd - kUnits);
    if (IsAny(IsOther(first | second))) return;
    source = sourceEnd;
    target += rest;
    Store(Narrow(first, second), target - kBytes);
}

LOAM_VECTOR inline void ConvertToUTF8(AnyUTF16 const*& sourceStart,
                                      AnyUTF16 const* sourceEnd,
                                      UTF8*& targetStart,
                                      UTF8* targetEnd)
{
    // As many units at a time are for the plain loops where there are surrogates.
    constexpr ptrdiff_t kWithPairs = 128;
    AnyUTF16 const* const begin = sourceStart;
    AnyUTF16 const* source = begin;
    UTF8* target = targetStart;
    ConvertASCII(source, sourceEnd, target, targetEnd);
    while (sourceEnd - source >= kBytes && HasRoom(source, sourceEnd, target, targetEnd)) {
        auto const units = Load<Units>(source);
        if (IsAny(IsSurrogate(units))) {
            AnyUTF16 const* const former = source;
            // They leave a pair that they see half of.
            RunToUTF8Plain(source, source + std::min(sourceEnd - source, kWithPairs), target,
                           targetEnd);
            if (source == former) break;
        } else if (IsAny(IsLong(units))) {
            ConvertPlain(source, sourceEnd, target, targetEnd);
        } else {
            ConvertShort(source, sourceEnd, target, targetEnd);
            ConvertASCII(source, sourceEnd, target, targetEnd);
        }
    }
    FinishASCII(begin, source, sourceEnd, target, targetEnd);
    sourceStart = source;
    targetStart = target;
    if (source < sourceEnd) RunToUTF8Plain(sourceStart, sourceEnd, targetStart, targetEnd);
}

}  // namespace
