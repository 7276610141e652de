// The instructions of SSE4.2 that UTFVectors.h is written with. For x86_64 alone.
#pragma once

#include <cstdint>

#include <immintrin.h>

#define LOAM_VECTOR __attribute__((target("sse4.2,popcnt")))
#define LOAM_VECTOR_INLINE __attribute__((always_inline)) LOAM_VECTOR inline

namespace {

using Bytes = std::uint8_t __attribute__((vector_size(16)));
using SignedBytes = std::int8_t __attribute__((vector_size(16)));
using Units = std::uint16_t __attribute__((vector_size(16)));
using Eight = Bytes;

LOAM_VECTOR_INLINE Bytes Max(Bytes a, Bytes b)
{
    return reinterpret_cast<Bytes>(
        _mm_max_epu8(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}

LOAM_VECTOR_INLINE Bytes Min(Bytes a, Bytes b)
{
    return reinterpret_cast<Bytes>(
        _mm_min_epu8(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
}

// The highest bit of each byte.
LOAM_VECTOR_INLINE std::uint32_t HighBits(Bytes bytes)
{
    return static_cast<std::uint32_t>(_mm_movemask_epi8(reinterpret_cast<__m128i>(bytes)));
}

// A bit for each unit of a comparison; those of the n-th eight begin at bit 16 * n.
LOAM_VECTOR_INLINE std::uint32_t BitsOf(Units mask)
{
    auto const bits = reinterpret_cast<__m128i>(mask);
    return static_cast<std::uint32_t>(
        _mm_movemask_epi8(_mm_packs_epi16(bits, _mm_setzero_si128())));
}

LOAM_VECTOR_INLINE Eight Shuffle(Eight bytes, Eight order)
{
    return reinterpret_cast<Eight>(
        _mm_shuffle_epi8(reinterpret_cast<__m128i>(bytes), reinterpret_cast<__m128i>(order)));
}

// What stands in a table of 32 at each index below 32.
LOAM_VECTOR_INLINE Bytes LookUp(unsigned char const* table, Bytes indices)
{
    auto const at = reinterpret_cast<__m128i>(indices);
    auto const* const halves = reinterpret_cast<__m128i const*>(table);
    __m128i const lower = _mm_shuffle_epi8(_mm_loadu_si128(halves), at);
    __m128i const upper = _mm_shuffle_epi8(_mm_loadu_si128(halves + 1), at);
    // The fifth bit of an index becomes the highest.
    return reinterpret_cast<Bytes>(_mm_blendv_epi8(lower, upper, _mm_slli_epi16(at, 3)));
}

// 1 << n for each n below 8.
LOAM_VECTOR_INLINE Bytes PowersOfTwo(Bytes exponents)
{
    __m128i const powers = _mm_set1_epi64x(static_cast<long long>(0x80402010'08040201));
    return reinterpret_cast<Bytes>(_mm_shuffle_epi8(powers, reinterpret_cast<__m128i>(exponents)));
}

// The units that low and high bytes make, eight by eight.
LOAM_VECTOR_INLINE void Join(Bytes low, Bytes high, Eight (&units)[2])
{
    auto const a = reinterpret_cast<__m128i>(low);
    auto const b = reinterpret_cast<__m128i>(high);
    units[0] = reinterpret_cast<Eight>(_mm_unpacklo_epi8(a, b));
    units[1] = reinterpret_cast<Eight>(_mm_unpackhi_epi8(a, b));
}

// The lanes of 32 bits that low and high units make, four by four.
LOAM_VECTOR_INLINE void Join(Units low, Units high, Eight (&lanes)[2])
{
    auto const a = reinterpret_cast<__m128i>(low);
    auto const b = reinterpret_cast<__m128i>(high);
    lanes[0] = reinterpret_cast<Eight>(_mm_unpacklo_epi16(a, b));
    lanes[1] = reinterpret_cast<Eight>(_mm_unpackhi_epi16(a, b));
}

LOAM_VECTOR_INLINE void Split(Units units, Eight (&eights)[1])
{
    eights[0] = reinterpret_cast<Eight>(units);
}

// Units below 0x80.
LOAM_VECTOR_INLINE Bytes Narrow(Units first, Units second)
{
    return reinterpret_cast<Bytes>(
        _mm_packus_epi16(reinterpret_cast<__m128i>(first), reinterpret_cast<__m128i>(second)));
}

}  // namespace
