// What the kernels for AVX-512 with VBMI2 share. For x86_64 alone.
//
// A function of another target can be inlined in none of a higher one, and gcc warns of its own
// intrinsics where they start from undefined registers: so each function here says its target, and
// shuffles with a fixed order are left to the compiler.
#pragma once

#include <cstddef>
#include <cstdint>

#include <immintrin.h>

#define LOAM_AVX512                                                                                \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,popcnt")))
#define LOAM_AVX512_INLINE __attribute__((always_inline)) LOAM_AVX512 inline

/// The lowest `count` bits, of 64 at most.
LOAM_AVX512_INLINE std::uint64_t LowBits(std::ptrdiff_t count)
{
    return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned int>(count));
}

/// A constant in each lane of 32 bits. It comes from memory: gcc would rather make it anew in every
/// round of a loop, by way of another register and the port that all shuffles wait for. It belongs
/// to one source, so that it is reached at once and not by its address in a register.
template <std::uint32_t kValue>
static constexpr std::uint32_t kConstant = kValue;

template <std::uint32_t kValue>
LOAM_AVX512_INLINE __m512i EachLane()
{
#if defined(__clang__)
    return _mm512_set1_epi32(static_cast<int>(kValue));
#else
    __m512i lanes;
    __asm__("vpbroadcastd %1, %0" : "=v"(lanes) : "m"(kConstant<kValue>));
    return lanes;
#endif
}

template <std::uint32_t kValue>
LOAM_AVX512_INLINE __m512i EachUnit()
{
    return EachLane<kValue * 0x00010001>();
}

template <std::uint32_t kValue>
LOAM_AVX512_INLINE __m512i EachByte()
{
    return EachLane<kValue * 0x01010101>();
}

/// The bits of `a` where `mask` is set, those of `b` elsewhere.
LOAM_AVX512_INLINE __m512i Select(__m512i mask, __m512i a, __m512i b)
{
    return _mm512_ternarylogic_epi64(mask, a, b, 0xCA);
}

/// `(a & mask) | b`
LOAM_AVX512_INLINE __m512i AndOr(__m512i a, __m512i mask, __m512i b)
{
    return _mm512_ternarylogic_epi64(a, mask, b, 0xEA);
}

LOAM_AVX512_INLINE __m256i LowerHalf(__m512i vector)
{
    auto const eighths = reinterpret_cast<__v8di>(vector);
    return reinterpret_cast<__m256i>(__builtin_shufflevector(eighths, eighths, 0, 1, 2, 3));
}

LOAM_AVX512_INLINE __m256i UpperHalf(__m512i vector)
{
    auto const eighths = reinterpret_cast<__v8di>(vector);
    return reinterpret_cast<__m256i>(__builtin_shufflevector(eighths, eighths, 4, 5, 6, 7));
}

/// The eighths of both halves by turns, as the unpacking instructions want them, and back.
LOAM_AVX512_INLINE __m512i DealEighths(__m512i vector)
{
    auto const eighths = reinterpret_cast<__v8di>(vector);
    return reinterpret_cast<__m512i>(
        __builtin_shufflevector(eighths, eighths, 0, 4, 1, 5, 2, 6, 3, 7));
}

LOAM_AVX512_INLINE __m512i GatherEighths(__m512i vector)
{
    auto const eighths = reinterpret_cast<__v8di>(vector);
    return reinterpret_cast<__m512i>(
        __builtin_shufflevector(eighths, eighths, 0, 2, 4, 6, 1, 3, 5, 7));
}

/// Each second byte of two vectors, as the look-up in both wants its places, from the first one on.
struct EverySecond
{
    alignas(64) std::uint8_t mPlaces[64];

    constexpr explicit EverySecond(unsigned int first)
        : mPlaces{}
    {
        for (unsigned int at = 0; at < 64; ++at)
            mPlaces[at] = static_cast<std::uint8_t>(2 * at + first);
    }
};

static constexpr EverySecond kLowBytes(0);
static constexpr EverySecond kHighBytes(1);

/// Of 64 units, 32 in each vector.
LOAM_AVX512_INLINE __m512i LowBytes(__m512i first, __m512i second)
{
    return _mm512_permutex2var_epi8(first, _mm512_load_si512(&kLowBytes), second);
}

LOAM_AVX512_INLINE __m512i HighBytes(__m512i first, __m512i second)
{
    return _mm512_permutex2var_epi8(first, _mm512_load_si512(&kHighBytes), second);
}

/// What stands in a table of 128 bytes at the lower seven bits of each of `places`.
LOAM_AVX512_INLINE __m512i LookUpIn128(void const* table, __m512i places)
{
    return _mm512_permutex2var_epi8(
        _mm512_loadu_si512(table), places,
        _mm512_loadu_si512(static_cast<std::uint8_t const*>(table) + 64));
}

/// What stands in a table of 256 bytes.
LOAM_AVX512_INLINE __m512i LookUpIn256(void const* table, __m512i places)
{
    __m512i const lower = LookUpIn128(table, places);
    __m512i const upper = LookUpIn128(static_cast<std::uint8_t const*>(table) + 128, places);
    return _mm512_mask_mov_epi8(lower, _mm512_movepi8_mask(places), upper);
}
