#include "security/Base64Kernels.h"

#if defined(__x86_64__)

#include <bit>

#include <immintrin.h>

#define LOAM_SSSE3 __attribute__((target("ssse3")))
#define LOAM_AVX2 __attribute__((target("avx2")))

namespace {

// The 6 bits of each character into a byte of their own: each lane of 32 bits has been given the
// bytes b a c b of a group, and two multiplications shift four fields at once.
LOAM_SSSE3 inline __m128i Split(__m128i groups)
{
    __m128i const ac = _mm_and_si128(groups, _mm_set1_epi32(0x0FC0FC00));
    __m128i const bd = _mm_and_si128(groups, _mm_set1_epi32(0x003F03F0));
    return _mm_or_si128(_mm_mulhi_epu16(ac, _mm_set1_epi32(0x04000040)),
                        _mm_mullo_epi16(bd, _mm_set1_epi32(0x01000010)));
}

// Values to characters: the distance of each of the five ranges of the alphabet is looked up by a
// number that saturation makes of the value, 13 for A to Z, 0 for a to z, 1 to 12 for the rest.
LOAM_SSSE3 inline __m128i ToText(__m128i values)
{
    __m128i const distances =
        _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                      '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0);
    __m128i const isUpper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
    __m128i const range = _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)),
                                       _mm_and_si128(isUpper, _mm_set1_epi8(13)));
    return _mm_add_epi8(values, _mm_shuffle_epi8(distances, range));
}

// What tells characters apart: the tables by the low and the high half of a byte have no bit in
// common for the alphabet alone. The third holds the distances back to values by the high half,
// with "/" on the place before.
constexpr std::int8_t kLowHalf[16] = {0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                      0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A};
constexpr std::int8_t kHighHalf[16] = {0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                       0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10};
constexpr std::int8_t kDistances[16] = {0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0};

LOAM_SSSE3 inline __m128i Table(std::int8_t const* from)
{
    return _mm_loadu_si128(reinterpret_cast<__m128i const*>(from));
}

// How many characters in front of the first bad one make whole groups.
inline std::size_t WholeGroups(std::uint64_t bad)
{
    return static_cast<std::size_t>(std::countr_zero(bad)) & ~std::size_t{3};
}

LOAM_AVX2 inline __m256i Twice(__m128i half)
{
    return _mm256_broadcastsi128_si256(half);
}

}  // namespace

// 12 bytes, 16 characters at a time.
LOAM_SSSE3 void EncodeBase64SSSE3(unsigned char const* in, std::size_t size, char* out)
{
    __m128i const order = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    for (; size >= 16; in += 12, size -= 12, out += 16) {
        __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(in));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                         ToText(Split(_mm_shuffle_epi8(bytes, order))));
    }
    EncodeBase64Plain(in, size, out);
}

LOAM_SSSE3 std::size_t
DecodeBase64SSSE3(char const* in, std::size_t size, std::size_t padding, unsigned char* out)
{
    __m128i const slash = _mm_set1_epi8('/');
    __m128i const order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    std::size_t done = 0;
    // 16 bytes are written where 12 are meant, and two of those that follow can be missing.
    for (; size - done >= 24; done += 16, out += 12) {
        __m128i const text = _mm_loadu_si128(reinterpret_cast<__m128i const*>(in + done));
        // The look-up minds bits 0 to 3 and 7, which stays clear.
        __m128i const high = _mm_and_si128(_mm_srli_epi32(text, 4), slash);
        __m128i const low = _mm_and_si128(text, slash);
        __m128i const clash = _mm_and_si128(_mm_shuffle_epi8(Table(kLowHalf), low),
                                            _mm_shuffle_epi8(Table(kHighHalf), high));
        auto const bad = static_cast<unsigned int>(
            _mm_movemask_epi8(_mm_cmpgt_epi8(clash, _mm_setzero_si128())));
        __m128i const row = _mm_add_epi8(_mm_cmpeq_epi8(text, slash), high);
        __m128i const values = _mm_add_epi8(text, _mm_shuffle_epi8(Table(kDistances), row));
        __m128i const pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
        __m128i const groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(groups, order));
        if (bad != 0) return done + WholeGroups(bad);
    }
    return done + DecodeBase64Plain(in + done, size - done, padding, out);
}

// The same for 24 bytes, 32 characters.
LOAM_AVX2 void EncodeBase64AVX2(unsigned char const* in, std::size_t size, char* out)
{
    __m256i const order = Twice(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    __m256i const distances =
        Twice(_mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                            '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0));
    for (; size >= 28; in += 24, size -= 24, out += 32) {
        __m128i const low = _mm_loadu_si128(reinterpret_cast<__m128i const*>(in));
        __m128i const high = _mm_loadu_si128(reinterpret_cast<__m128i const*>(in + 12));
        __m256i const groups = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), order);
        __m256i const ac = _mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00));
        __m256i const bd = _mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0));
        __m256i const values =
            _mm256_or_si256(_mm256_mulhi_epu16(ac, _mm256_set1_epi32(0x04000040)),
                            _mm256_mullo_epi16(bd, _mm256_set1_epi32(0x01000010)));
        __m256i const isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
        __m256i const range = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                              _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
        __m256i const text = _mm256_add_epi8(values, _mm256_shuffle_epi8(distances, range));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), text);
    }
    EncodeBase64SSSE3(in, size, out);
}

LOAM_AVX2 std::size_t
DecodeBase64AVX2(char const* in, std::size_t size, std::size_t padding, unsigned char* out)
{
    __m256i const slash = _mm256_set1_epi8('/');
    __m256i const lowHalf = Twice(Table(kLowHalf));
    __m256i const highHalf = Twice(Table(kHighHalf));
    __m256i const distances = Twice(Table(kDistances));
    __m256i const order =
        Twice(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    std::size_t done = 0;
    // 32 bytes are written where 24 are meant.
    for (; size - done >= 48; done += 32, out += 24) {
        __m256i const text = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(in + done));
        __m256i const high = _mm256_and_si256(_mm256_srli_epi32(text, 4), slash);
        __m256i const low = _mm256_and_si256(text, slash);
        __m256i const clash = _mm256_and_si256(_mm256_shuffle_epi8(lowHalf, low),
                                               _mm256_shuffle_epi8(highHalf, high));
        auto const bad = static_cast<unsigned int>(
            _mm256_movemask_epi8(_mm256_cmpgt_epi8(clash, _mm256_setzero_si256())));
        __m256i const row = _mm256_add_epi8(_mm256_cmpeq_epi8(text, slash), high);
        __m256i const values = _mm256_add_epi8(text, _mm256_shuffle_epi8(distances, row));
        __m256i const pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
        __m256i const groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        __m256i const bytes = _mm256_permutevar8x32_epi32(
            _mm256_shuffle_epi8(groups, order), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, -1, -1));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
        if (bad != 0) return done + WholeGroups(bad);
    }
    return done + DecodeBase64SSSE3(in + done, size - done, padding, out);
}

#endif
