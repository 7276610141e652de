// The instructions of NEON that UTFVectors.h is written with. For aarch64 alone, all of which have
// them.
#pragma once

#include <cstdint>

#include <arm_neon.h>

#define LOAM_VECTOR
#define LOAM_VECTOR_INLINE __attribute__((always_inline)) inline

namespace {

using Bytes = std::uint8_t __attribute__((vector_size(16)));
using SignedBytes = std::int8_t __attribute__((vector_size(16)));
using Units = std::uint16_t __attribute__((vector_size(16)));
using Eight = Bytes;

LOAM_VECTOR_INLINE Bytes Max(Bytes a, Bytes b)
{
    return reinterpret_cast<Bytes>(
        vmaxq_u8(reinterpret_cast<uint8x16_t>(a), reinterpret_cast<uint8x16_t>(b)));
}

LOAM_VECTOR_INLINE Bytes Min(Bytes a, Bytes b)
{
    return reinterpret_cast<Bytes>(
        vminq_u8(reinterpret_cast<uint8x16_t>(a), reinterpret_cast<uint8x16_t>(b)));
}

// The highest bit of each byte.
LOAM_VECTOR_INLINE std::uint32_t HighBits(Bytes bytes)
{
    uint8x16_t const weights = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    int8x16_t const isNegative =
        vshrq_n_s8(vreinterpretq_s8_u8(reinterpret_cast<uint8x16_t>(bytes)), 7);
    uint8x16_t const bits = vandq_u8(vreinterpretq_u8_s8(isNegative), weights);
    return vaddv_u8(vget_low_u8(bits)) | std::uint32_t{vaddv_u8(vget_high_u8(bits))} << 8;
}

// A bit for each unit of a comparison.
LOAM_VECTOR_INLINE std::uint32_t BitsOf(Units mask)
{
    uint16x8_t const weights = {1, 2, 4, 8, 16, 32, 64, 128};
    return vaddvq_u16(vandq_u16(reinterpret_cast<uint16x8_t>(mask), weights));
}

LOAM_VECTOR_INLINE Eight Shuffle(Eight bytes, Eight order)
{
    return reinterpret_cast<Eight>(
        vqtbl1q_u8(reinterpret_cast<uint8x16_t>(bytes), reinterpret_cast<uint8x16_t>(order)));
}

// What stands in a table of 32 at each index below 32.
LOAM_VECTOR_INLINE Bytes LookUp(unsigned char const* table, Bytes indices)
{
    return reinterpret_cast<Bytes>(
        vqtbl2q_u8(vld1q_u8_x2(table), reinterpret_cast<uint8x16_t>(indices)));
}

// 1 << n for each n below 8.
LOAM_VECTOR_INLINE Bytes PowersOfTwo(Bytes exponents)
{
    return reinterpret_cast<Bytes>(vshlq_u8(vdupq_n_u8(1), reinterpret_cast<int8x16_t>(exponents)));
}

// The units that low and high bytes make, eight by eight.
LOAM_VECTOR_INLINE void Join(Bytes low, Bytes high, Eight (&units)[2])
{
    auto const a = reinterpret_cast<uint8x16_t>(low);
    auto const b = reinterpret_cast<uint8x16_t>(high);
    units[0] = reinterpret_cast<Eight>(vzip1q_u8(a, b));
    units[1] = reinterpret_cast<Eight>(vzip2q_u8(a, b));
}

// The lanes of 32 bits that low and high units make, four by four.
LOAM_VECTOR_INLINE void Join(Units low, Units high, Eight (&lanes)[2])
{
    auto const a = reinterpret_cast<uint16x8_t>(low);
    auto const b = reinterpret_cast<uint16x8_t>(high);
    lanes[0] = reinterpret_cast<Eight>(vzip1q_u16(a, b));
    lanes[1] = reinterpret_cast<Eight>(vzip2q_u16(a, b));
}

LOAM_VECTOR_INLINE void Split(Units units, Eight (&eights)[1])
{
    eights[0] = reinterpret_cast<Eight>(units);
}

// Units below 0x80.
LOAM_VECTOR_INLINE Bytes Narrow(Units first, Units second)
{
    return reinterpret_cast<Bytes>(
        vuzp1q_u8(reinterpret_cast<uint8x16_t>(first), reinterpret_cast<uint8x16_t>(second)));
}

}  // namespace
