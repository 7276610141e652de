#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <array>

#define LOAM_VECTOR_INLINE LOAM_AVX512_INLINE

namespace {

typedef float __attribute__((vector_size(64), may_alias)) Floats;

constexpr std::array<uint16_t, 32> kPlaces = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                              11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                                              22, 23, 24, 25, 26, 27, 28, 29, 30, 31};

}  // namespace

#include "text/simd/SumRows.h"

#include <algorithm>
#include <bit>

LOAM_AVX512 void SumRowsAVX512(SixteenFloats const* table,
                               size_t groups,
                               WeightedRows const& rows,
                               SixteenFloats* sums)
{
    SumGroups<8>(table, groups, rows, sums, groups);
}

// 64 bytes at a time: first those below 0x20 go, then each blank that has one before it by now.
LOAM_AVX512 size_t TakeBytesAVX512(char const* text,
                                   size_t size,
                                   unsigned char* row,
                                   bool& takesBlank)
{
    __m512i const blanks = EachByte<' '>();
    uint64_t isBehindBlank = !takesBlank;
    size_t taken = 0;
    for (size_t i = 0; i < size; i += 64) {
        uint64_t const mask = LowBits(static_cast<ptrdiff_t>(std::min<size_t>(size - i, 64)));
        __m512i const bytes = _mm512_maskz_loadu_epi8(mask, text + i);
        uint64_t const counted = _mm512_cmpge_epu8_mask(bytes, blanks);
        int const count = std::popcount(counted);
        __m512i const close = _mm512_maskz_compress_epi8(counted, bytes);
        uint64_t const isBlank = _mm512_cmpeq_epi8_mask(close, blanks);
        uint64_t const kept = LowBits(count) & ~(isBlank & (isBlank << 1 | isBehindBlank));
        _mm512_storeu_si512(row + taken, _mm512_maskz_compress_epi8(kept, close));
        taken += static_cast<size_t>(std::popcount(kept));
        if (count > 0) isBehindBlank = isBlank >> (count - 1) & 1;
    }
    takesBlank = isBehindBlank == 0;
    return taken;
}

LOAM_AVX512 size_t ListFilledAVX512(uint32_t const* entries, size_t count, uint16_t* places)
{
    __m512i at = _mm512_loadu_si512(kPlaces.data());
    size_t filled = 0;
    for (size_t i = 0; i < count; i += kPlaces.size()) {
        __m512i const low = _mm512_loadu_si512(entries + i);
        __m512i const high = _mm512_loadu_si512(entries + i + kPlaces.size() / 2);
        __mmask32 const mask =
            _mm512_kunpackw(_mm512_test_epi32_mask(high, high), _mm512_test_epi32_mask(low, low));
        // What it stores too much lies before the end, since no more are listed than were seen.
        _mm512_storeu_si512(places + filled, _mm512_maskz_compress_epi16(mask, at));
        filled += static_cast<size_t>(std::popcount(mask));
        at = _mm512_add_epi16(at, EachUnit<kPlaces.size()>());
    }
    return filled;
}

#endif
