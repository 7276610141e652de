// The words that ScanVectors.h is written with, for AVX-512 with VBMI2; ByteVectors.h has the same
// ones for the other levels. For x86_64 alone.
#pragma once

#include "text/simd/AVX512.h"

#define LOAM_VECTOR LOAM_AVX512
#define LOAM_VECTOR_INLINE LOAM_AVX512_INLINE

namespace {

using Bytes = std::uint8_t __attribute__((vector_size(64)));
using Places = std::uint64_t;

struct HalvedUnits
{
    Bytes mLow;
    Bytes mHigh;
};

LOAM_VECTOR_INLINE __m512i In(Bytes bytes)
{
    return reinterpret_cast<__m512i>(bytes);
}

LOAM_VECTOR_INLINE Bytes Out(__m512i vector)
{
    return reinterpret_cast<Bytes>(vector);
}

LOAM_VECTOR_INLINE Bytes EachByte(unsigned char byte)
{
    return Out(_mm512_set1_epi8(static_cast<char>(byte)));
}

template <class Vector>
LOAM_VECTOR_INLINE Vector LoadFrom(void const* from)
{
    return reinterpret_cast<Vector>(_mm512_loadu_si512(from));
}

LOAM_VECTOR_INLINE HalvedUnits LoadUnits(void const* units)
{
    __m512i const first = _mm512_loadu_si512(units);
    __m512i const second = _mm512_loadu_si512(static_cast<char const*>(units) + sizeof(Bytes));
    return {Out(LowBytes(first, second)), Out(HighBytes(first, second))};
}

LOAM_VECTOR_INLINE Places WhereEqual(Bytes a, Bytes b)
{
    return _mm512_cmpeq_epi8_mask(In(a), In(b));
}

LOAM_VECTOR_INLINE Places WhereAtMost(Bytes bytes, unsigned char limit)
{
    return _mm512_cmple_epu8_mask(In(bytes), In(EachByte(limit)));
}

LOAM_VECTOR_INLINE Places WhereSet(Bytes bytes, Bytes bits)
{
    return _mm512_test_epi8_mask(In(bytes), In(bits));
}

LOAM_VECTOR_INLINE Bytes MovedDown(Bytes bytes, unsigned int count)
{
    return Out(_mm512_srli_epi16(In(bytes), count));
}

// What stands in a table of 32 at each index below 32.
LOAM_VECTOR_INLINE Bytes LookUp(unsigned char const* table, Bytes indices)
{
    // Broadcast by a load, where `_mm512_broadcast_i64x4` makes gcc warn of itself.
    using Half = long long __attribute__((vector_size(32)));
    Half half;
    __builtin_memcpy(&half, table, sizeof half);
    auto const both = __builtin_shufflevector(half, half, 0, 1, 2, 3, 0, 1, 2, 3);
    return Out(
        _mm512_maskz_permutexvar_epi8(~Places{0}, In(indices), reinterpret_cast<__m512i>(both)));
}

// 1 << n for each n below 8.
LOAM_VECTOR_INLINE Bytes PowersOfTwo(Bytes exponents)
{
    __m512i const powers = _mm512_set1_epi64(static_cast<long long>(0x80402010'08040201));
    return Out(_mm512_shuffle_epi8(powers, In(exponents)));
}

LOAM_VECTOR_INLINE Places WhereSameUnits(void const* a, void const* b)
{
    __mmask32 const first = _mm512_cmpeq_epi16_mask(_mm512_loadu_si512(a), _mm512_loadu_si512(b));
    __mmask32 const second =
        _mm512_cmpeq_epi16_mask(_mm512_loadu_si512(static_cast<char const*>(a) + sizeof(Bytes)),
                                _mm512_loadu_si512(static_cast<char const*>(b) + sizeof(Bytes)));
    return first | Places{second} << 32;
}

}  // namespace
