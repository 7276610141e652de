// UTF conversion for processors with a shuffle of bytes, over vectors of 16 or 32 bytes: what both
// directions share. The loops are in UTFVectorsToUTF16.h and UTFVectorsToUTF8.h, which are included
// by one source for each level, behind the header with its instructions (SSE42.h, AVX2.h, NEON.h);
// those say too for which target all this is compiled.
//
// All places of a block are computed at once, and the places where no character ends are shuffled
// out by eight, as in the loops for AVX-512. Shuffles looked up by what the bytes of a character
// are come from Daniel Lemire and Wojciech Muła, "Transcoding billions of Unicode characters per
// second with SIMD instructions" (Software: Practice and Experience 52/2, 2022); the way of finding
// malformed sequences from John Keiser and Daniel Lemire, "Validating UTF-8 In Less Than One
// Instruction Per Byte" (Software: Practice and Experience 51/5, 2021).
#pragma once

#include "text/simd/TextKernels.h"
#include "text/simd/UTFShuffles.h"

#include <cstddef>
#include <cstring>

namespace {

inline constexpr ptrdiff_t kBytes = sizeof(Bytes);
inline constexpr ptrdiff_t kUnits = kBytes / 2;
// Of eight units, or of four lanes of 32 bits.
inline constexpr int kEights = static_cast<int>(kBytes) / 8;

template <class Vector>
LOAM_VECTOR_INLINE Vector Load(void const* from)
{
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

template <class Vector>
LOAM_VECTOR_INLINE void Store(Vector vector, void* to)
{
    std::memcpy(to, &vector, sizeof vector);
}

// `mask` has all bits of a lane or none.
template <class Vector>
LOAM_VECTOR_INLINE Vector Choose(Vector mask, Vector ifSet, Vector otherwise)
{
    return (mask & ifSet) | (~mask & otherwise);
}

LOAM_VECTOR_INLINE Bytes LessOrNone(Bytes bytes, std::uint8_t less)
{
    return Max(bytes, Bytes{} + less) - less;
}

LOAM_VECTOR_INLINE Bytes IsAtLeast(Bytes bytes, std::uint8_t limit)
{
    return reinterpret_cast<Bytes>(Max(bytes, Bytes{} + limit) == bytes);
}

LOAM_VECTOR_INLINE Bytes IsBelow(Bytes bytes, std::uint8_t limit)
{
    return reinterpret_cast<Bytes>(Min(bytes, Bytes{} + static_cast<std::uint8_t>(limit - 1)) ==
                                   bytes);
}

// Bits that cross from one byte of two to the other are for the caller to drop.
LOAM_VECTOR_INLINE Bytes ShiftUp(Bytes bytes, int count)
{
    return reinterpret_cast<Bytes>(reinterpret_cast<Units>(bytes) << count);
}

LOAM_VECTOR_INLINE Bytes ShiftDown(Bytes bytes, int count)
{
    return reinterpret_cast<Bytes>(reinterpret_cast<Units>(bytes) >> count);
}

// Keeps what the row says, and moves the target by `count`. A whole vector is stored.
template <class Unit>
LOAM_VECTOR_INLINE void
StoreShuffled(Eight bytes, ShuffleRow const& row, ptrdiff_t count, Unit*& target)
{
    Store(Shuffle(bytes, Load<Eight>(row.data())), target);
    target += count;
}

}  // namespace
