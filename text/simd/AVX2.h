// The instructions of AVX2 that UTFVectors.h is written with. For x86_64 alone.
#pragma once

#include <cstdint>

#include <immintrin.h>

#define LOAM_VECTOR __attribute__((target("avx2,popcnt")))
#define LOAM_VECTOR_INLINE __attribute__((always_inline)) LOAM_VECTOR inline

namespace {

using Bytes = std::uint8_t __attribute__((vector_size(32)));
using SignedBytes = std::int8_t __attribute__((vector_size(32)));
using Units = std::uint16_t __attribute__((vector_size(32)));
using Eight = std::uint8_t __attribute__((vector_size(16)));

LOAM_VECTOR_INLINE Bytes Max(Bytes a, Bytes b)
{
    return reinterpret_cast<Bytes>(
        _mm256_max_epu8(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
}

LOAM_VECTOR_INLINE Bytes Min(Bytes a, Bytes b)
{
    return reinterpret_cast<Bytes>(
        _mm256_min_epu8(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
}

// The highest bit of each byte.
LOAM_VECTOR_INLINE std::uint32_t HighBits(Bytes bytes)
{
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(reinterpret_cast<__m256i>(bytes)));
}

// A bit for each unit of a comparison; those of the n-th eight begin at bit 16 * n.
LOAM_VECTOR_INLINE std::uint32_t BitsOf(Units mask)
{
    auto const bits = reinterpret_cast<__m256i>(mask);
    return static_cast<std::uint32_t>(
        _mm256_movemask_epi8(_mm256_packs_epi16(bits, _mm256_setzero_si256())));
}

LOAM_VECTOR_INLINE Eight Shuffle(Eight bytes, Eight order)
{
    return reinterpret_cast<Eight>(
        _mm_shuffle_epi8(reinterpret_cast<__m128i>(bytes), reinterpret_cast<__m128i>(order)));
}

// What stands in a table of 32 at each index below 32.
LOAM_VECTOR_INLINE Bytes LookUp(unsigned char const* table, Bytes indices)
{
    auto const at = reinterpret_cast<__m256i>(indices);
    auto const* const halves = reinterpret_cast<__m128i const*>(table);
    __m256i const lower = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves));
    __m256i const upper = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves + 1));
    // The fifth bit of an index becomes the highest.
    return reinterpret_cast<Bytes>(_mm256_blendv_epi8(
        _mm256_shuffle_epi8(lower, at), _mm256_shuffle_epi8(upper, at), _mm256_slli_epi16(at, 3)));
}

// 1 << n for each n below 8.
LOAM_VECTOR_INLINE Bytes PowersOfTwo(Bytes exponents)
{
    __m256i const powers = _mm256_set1_epi64x(static_cast<long long>(0x80402010'08040201));
    return reinterpret_cast<Bytes>(
        _mm256_shuffle_epi8(powers, reinterpret_cast<__m256i>(exponents)));
}

LOAM_VECTOR_INLINE Eight LowerHalf(__m256i vector)
{
    return reinterpret_cast<Eight>(_mm256_castsi256_si128(vector));
}

LOAM_VECTOR_INLINE Eight UpperHalf(__m256i vector)
{
    return reinterpret_cast<Eight>(_mm256_extracti128_si256(vector, 1));
}

// The units that low and high bytes make, eight by eight.
LOAM_VECTOR_INLINE void Join(Bytes low, Bytes high, Eight (&units)[4])
{
    auto const a = reinterpret_cast<__m256i>(low);
    auto const b = reinterpret_cast<__m256i>(high);
    __m256i const even = _mm256_unpacklo_epi8(a, b);
    __m256i const odd = _mm256_unpackhi_epi8(a, b);
    units[0] = LowerHalf(even);
    units[1] = LowerHalf(odd);
    units[2] = UpperHalf(even);
    units[3] = UpperHalf(odd);
}

// The lanes of 32 bits that low and high units make, four by four.
LOAM_VECTOR_INLINE void Join(Units low, Units high, Eight (&lanes)[4])
{
    auto const a = reinterpret_cast<__m256i>(low);
    auto const b = reinterpret_cast<__m256i>(high);
    __m256i const even = _mm256_unpacklo_epi16(a, b);
    __m256i const odd = _mm256_unpackhi_epi16(a, b);
    lanes[0] = LowerHalf(even);
    lanes[1] = LowerHalf(odd);
    lanes[2] = UpperHalf(even);
    lanes[3] = UpperHalf(odd);
}

LOAM_VECTOR_INLINE void Split(Units units, Eight (&eights)[2])
{
    auto const vector = reinterpret_cast<__m256i>(units);
    eights[0] = LowerHalf(vector);
    eights[1] = UpperHalf(vector);
}

// Units below 0x80.
LOAM_VECTOR_INLINE Bytes Narrow(Units first, Units second)
{
    __m256i const packed =
        _mm256_packus_epi16(reinterpret_cast<__m256i>(first), reinterpret_cast<__m256i>(second));
    // Each half has been packed by itself.
    return reinterpret_cast<Bytes>(_mm256_permute4x64_epi64(packed, 0xD8));
}

}  // namespace
