// The words that ScanVectors.h is written with, over those of AVX2.h, SSE42.h or NEON.h, one of
// which is included before. AVX512Bytes.h has the same ones.
//
// A set of places is an integer with a bit for each byte of a vector.
#pragma once

#include <cstring>

namespace {

using Places = std::uint32_t;

// The low and the high bytes of as many units as a vector has bytes.
struct HalvedUnits
{
    Bytes mLow;
    Bytes mHigh;
};

template <class Vector>
LOAM_VECTOR_INLINE Vector LoadFrom(void const* from)
{
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

LOAM_VECTOR_INLINE Bytes EachByte(unsigned char byte)
{
    return Bytes{} + byte;
}

LOAM_VECTOR_INLINE HalvedUnits LoadUnits(void const* units)
{
    auto const first = LoadFrom<Units>(units);
    auto const second = LoadFrom<Units>(static_cast<char const*>(units) + sizeof(Units));
    return {Narrow(first & 0xFF, second & 0xFF), Narrow(first >> 8, second >> 8)};
}

LOAM_VECTOR_INLINE Places WhereEqual(Bytes a, Bytes b)
{
    return HighBits(reinterpret_cast<Bytes>(a == b));
}

LOAM_VECTOR_INLINE Places WhereAtMost(Bytes bytes, unsigned char limit)
{
    return WhereEqual(Min(bytes, EachByte(limit)), bytes);
}

// Of single bits.
LOAM_VECTOR_INLINE Places WhereSet(Bytes bytes, Bytes bits)
{
    return WhereEqual(bytes & bits, bits);
}

// The bits of each byte, moved down. Those of its neighbour come with them.
LOAM_VECTOR_INLINE Bytes MovedDown(Bytes bytes, int count)
{
    return reinterpret_cast<Bytes>(reinterpret_cast<Units>(bytes) >> count);
}

// Which units are the same ones at both addresses.
LOAM_VECTOR_INLINE Places WhereSameUnits(void const* a, void const* b)
{
    auto const first = LoadFrom<Units>(a) == LoadFrom<Units>(b);
    auto const second = LoadFrom<Units>(static_cast<char const*>(a) + sizeof(Units)) ==
                        LoadFrom<Units>(static_cast<char const*>(b) + sizeof(Units));
    return HighBits(
        Narrow(reinterpret_cast<Units>(first) >> 8, reinterpret_cast<Units>(second) >> 8));
}

}  // namespace
