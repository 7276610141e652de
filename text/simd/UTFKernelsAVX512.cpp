// The loops of UTF conversion for AVX-512 with VBMI2: 64 bytes at a time, whatever their mixture.
//
// The idea of computing the units of all places at once and squeezing out those places where no
// character ends is Robert Clausecker's and Daniel Lemire's, "Transcoding Unicode Characters with
// AVX-512 Instructions" (Software: Practice and Experience 53/12, 2023); that of finding malformed
// sequences by comparing each byte with those before it is John Keiser's and Daniel Lemire's,
// "Validating UTF-8 In Less Than One Instruction Per Byte" (Software: Practice and Experience 51/5,
// 2021).
#include "text/simd/UTFKernels.h"

#if defined(__x86_64__)

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <immintrin.h>

#define LOAM_AVX512                                                                                \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,popcnt")))
#define LOAM_AVX512_INLINE __attribute__((always_inline)) LOAM_AVX512 inline

namespace {

constexpr ptrdiff_t kBytes = 64;
constexpr ptrdiff_t kUnits = 32;

// The lowest `count` bits, of 64 at most.
LOAM_AVX512_INLINE uint64_t LowBits(ptrdiff_t count)
{
    return _bzhi_u64(~uint64_t{0}, static_cast<unsigned int>(count));
}

LOAM_AVX512_INLINE __m512i Bytes(int value)
{
    return _mm512_set1_epi8(static_cast<char>(value));
}

// The bits of `a` where `mask` is set, those of `b` elsewhere.
LOAM_AVX512_INLINE __m512i Select(__m512i mask, __m512i a, __m512i b)
{
    return _mm512_ternarylogic_epi64(mask, a, b, 0xCA);
}

// ------------------------------------------------------------------------------------------------
// From UTF-8. Each place of a block is looked at together with the three bytes before it, which may
// belong to the block before. So blocks need no state from one to the next: a character belongs to
// the block that it ends in.

// `mBefore[i]` is `mHere` moved up by `i + 1` places.
struct Window
{
    __m512i mHere;
    __m512i mBefore[3];
};

// What a block's places come to. Those that aren't `mWritten` hold anything.
struct Units
{
    __m512i mLow;
    __m512i mHigh;
    uint64_t mWritten;
    uint64_t mBad;
};

// The places of `mask`, and all three bytes before them, but nothing before `begin`. No byte is
// read where a load's own mask has none.
LOAM_AVX512_INLINE Window LoadSome(UTF8 const* begin, UTF8 const* first, uint64_t mask)
{
    bool const isFirst = first == begin;
    return {_mm512_maskz_loadu_epi8(mask, first),
            {_mm512_maskz_loadu_epi8(isFirst ? mask & ~uint64_t{1} : mask, first - 1),
             _mm512_maskz_loadu_epi8(isFirst ? mask & ~uint64_t{3} : mask, first - 2),
             _mm512_maskz_loadu_epi8(isFirst ? mask & ~uint64_t{7} : mask | 7, first - 3)}};
}

LOAM_AVX512_INLINE Window LoadWithin(UTF8 const* first)
{
    return {_mm512_loadu_si512(first),
            {_mm512_loadu_si512(first - 1), _mm512_loadu_si512(first - 2),
             _mm512_loadu_si512(first - 3)}};
}

// All of the block and the three bytes before it. Those behind it then are where characters begin.
LOAM_AVX512_INLINE bool IsASCII(Window const& window)
{
    return _mm512_movepi8_mask(_mm512_or_si512(window.mHere, window.mBefore[2])) == 0;
}

LOAM_AVX512_INLINE bool HasFourBytes(Window const& window)
{
    __m512i const highest = _mm512_max_epu8(window.mHere, window.mBefore[2]);
    return _mm512_cmpge_epu8_mask(highest, Bytes(0xF0)) != 0;
}

// Where sequences are of up to three bytes each, or of up to four.
template <bool kHasFour>
LOAM_AVX512_INLINE Units Decode(Window const& window)
{
    __m512i const here = window.mHere;
    __m512i const before = window.mBefore[0];
    __m512i const second = window.mBefore[1];
    __m512i const third = window.mBefore[2];

    // A lead byte calls for continuation bytes one, two and three places on.
    __m512i called = _mm512_max_epu8(before, _mm512_subs_epu8(second, Bytes(0x20)));
    if (kHasFour) called = _mm512_max_epu8(called, _mm512_subs_epu8(third, Bytes(0x30)));
    __mmask64 const isCalledFor = _mm512_cmpge_epu8_mask(called, Bytes(0xC0));
    __mmask64 const isContinuation = _mm512_cmplt_epi8_mask(here, Bytes(0xC0));
    __mmask64 const isOther = _mm512_movepi8_mask(here);

    // The last byte of a character is no lead, and none that has two more to come goes before it.
    // That is true of the third of four as well, where the high surrogate is written.
    __m512i const notLast = _mm512_max_epu8(here, _mm512_subs_epu8(before, Bytes(0x20)));
    Units units;
    units.mWritten = _mm512_cmplt_epu8_mask(notLast, Bytes(0xC0));

    // The lower byte: six bits, and two of the byte before. The upper one: the rest of that, and
    // the lead of three bytes.
    __mmask64 const isThird = _mm512_cmpge_epu8_mask(second, Bytes(0xE0));
    __m512i const low = Select(Bytes(0x3F), here, _mm512_slli_epi16(before, 6));
    units.mLow = _mm512_mask_blend_epi8(isOther, here, low);
    __m512i const lead = _mm512_maskz_mov_epi8(isThird, _mm512_slli_epi16(second, 4));
    __m512i high = Select(Bytes(0x0F), _mm512_srli_epi16(before, 2), lead);

    // Three bytes for a value below 0x800 or for a surrogate: below 8 either way. Lead bytes C0 and
    // C1: below 2.
    __m512i const surrogate = _mm512_xor_si512(high, Bytes(0xD8));
    __m512i const overlong = _mm512_adds_epu8(_mm512_xor_si512(here, Bytes(0xC0)), Bytes(6));
    __mmask64 isLastOfThree = isThird;
    __mmask64 isBad = isContinuation ^ isCalledFor;
    if (kHasFour) {
        // The four bytes are 11110aaa 10aabbbb 10bbccdd 10dddddd; the surrogates 110110aa aabbbbcc
        // less 0x40, and 110111cc dddddddd by the bits' own names above.
        __mmask64 const isHighPlace = _mm512_cmpge_epu8_mask(second, Bytes(0xF0));
        __mmask64 const isLowPlace = _mm512_cmpge_epu8_mask(third, Bytes(0xF0));
        isLastOfThree &= ~isHighPlace & ~isLowPlace;

        __m512i const two = _mm512_and_si512(_mm512_srli_epi16(here, 4), Bytes(0x03));
        __m512i const top = Select(Bytes(0xFC), _mm512_slli_epi16(before, 2), two);
        units.mLow = _mm512_mask_sub_epi8(units.mLow, isHighPlace, top, Bytes(0x40));
        __m512i const upper = _mm512_add_epi8(_mm512_and_si512(second, Bytes(0x0F)), Bytes(0xD8));
        high = _mm512_mask_mov_epi8(high, isHighPlace, upper);
        __mmask64 const borrows = _mm512_mask_cmplt_epu8_mask(isHighPlace, top, Bytes(0x40));
        high = _mm512_mask_sub_epi8(high, borrows, high, Bytes(1));
        isBad |= _mm512_mask_cmpneq_epu8_mask(isHighPlace, _mm512_and_si512(high, Bytes(0xFC)),
                                              Bytes(0xD8));
        __m512i const lower = Select(Bytes(0x03), _mm512_srli_epi16(before, 2), Bytes(0xDC));
        high = _mm512_mask_mov_epi8(high, isLowPlace, lower);
    }
    __m512i const distance =
        _mm512_mask_min_epu8(overlong, isLastOfThree, overlong, _mm512_min_epu8(high, surrogate));
    isBad |= _mm512_cmplt_epu8_mask(distance, Bytes(8));
    units.mHigh = _mm512_maskz_mov_epi8(isOther, high);
    units.mBad = isBad;
    return units;
}

LOAM_AVX512_INLINE __m512i DealEighths(__m512i bytes)
{
    auto const eighths = reinterpret_cast<__v8di>(bytes);
    return reinterpret_cast<__m512i>(
        __builtin_shufflevector(eighths, eighths, 0, 4, 1, 5, 2, 6, 3, 7));
}

// The units that are written, 0 to 31 and 32 to 63 of them.
struct Squeezed
{
    __m512i mHalves[2];
};

LOAM_AVX512_INLINE Squeezed Squeeze(Units const& units)
{
    // Two bytes are joined within each quarter of a vector, so its eighths are dealt out first.
    __m512i const low = DealEighths(_mm512_maskz_compress_epi8(units.mWritten, units.mLow));
    __m512i const high = DealEighths(_mm512_maskz_compress_epi8(units.mWritten, units.mHigh));
    return {{_mm512_unpacklo_epi8(low, high), _mm512_unpackhi_epi8(low, high)}};
}

LOAM_AVX512_INLINE Squeezed Widen(__m512i bytes)
{
    auto const halves = reinterpret_cast<__v8di>(bytes);
    return {{_mm512_cvtepu8_epi16(
                 reinterpret_cast<__m256i>(__builtin_shufflevector(halves, halves, 0, 1, 2, 3))),
             _mm512_cvtepu8_epi16(
                 reinterpret_cast<__m256i>(__builtin_shufflevector(halves, halves, 4, 5, 6, 7)))}};
}

LOAM_AVX512_INLINE void Store(Squeezed const& units, AnyUTF16* target)
{
    _mm512_storeu_si512(target, units.mHalves[0]);
    _mm512_storeu_si512(target + kUnits, units.mHalves[1]);
}

LOAM_AVX512_INLINE void StoreSome(Squeezed const& units, uint64_t mask, AnyUTF16* target)
{
    _mm512_mask_storeu_epi16(target, static_cast<uint32_t>(mask), units.mHalves[0]);
    _mm512_mask_storeu_epi16(target + kUnits, static_cast<uint32_t>(mask >> 32), units.mHalves[1]);
}

// What has been decoded up to `source` goes back to where its last character begins, if that isn't
// all there: none of it is written but the high surrogate of three bytes of four.
LOAM_AVX512_INLINE void LeaveCutCharacter(UTF8 const* begin, UTF8 const*& source, AnyUTF16*& target)
{
    ptrdiff_t const size = source - begin;
    if (size >= 1 && source[-1] >= 0xC0) {
        source -= 1;
    } else if (size >= 2 && source[-2] >= 0xE0) {
        source -= 2;
    } else if (size >= 3 && source[-3] >= 0xF0) {
        source -= 3;
        target -= 1;
    }
}

// A block that isn't whole, or hasn't the room of a whole one. False if it is left.
LOAM_AVX512_INLINE bool ConvertSome(UTF8 const* begin,
                                    UTF8 const*& source,
                                    UTF8 const* sourceEnd,
                                    AnyUTF16*& target,
                                    AnyUTF16* targetEnd)
{
    ptrdiff_t const count = std::min(sourceEnd - source, kBytes);
    uint64_t const mask = LowBits(count);
    Window const window = LoadSome(begin, source, mask);
    if (IsASCII(window)) {
        if (targetEnd - target < count) return false;
        StoreSome(Widen(window.mHere), mask, target);
        source += count;
        target += count;
        return true;
    }
    Units const units = HasFourBytes(window) ? Decode<true>(window) : Decode<false>(window);
    ptrdiff_t const written = _mm_popcnt_u64(units.mWritten & mask);
    if ((units.mBad & mask) != 0 || targetEnd - target < written) return false;
    StoreSome(Squeeze(units), LowBits(written), target);
    source += count;
    target += written;
    return true;
}

LOAM_AVX512 void ToUTF16(UTF8 const*& sourceStart,
                         UTF8 const* sourceEnd,
                         AnyUTF16*& targetStart,
                         AnyUTF16* targetEnd)
{
    UTF8 const* const begin = sourceStart;
    UTF8 const* source = begin;
    AnyUTF16* target = targetStart;
    bool mayGoOn = source < sourceEnd;
    if (sourceEnd - source >= kBytes)
        mayGoOn = ConvertSome(begin, source, sourceEnd, target, targetEnd);
    while (mayGoOn && sourceEnd - source >= kBytes && targetEnd - target >= kBytes) {
        Window const window = LoadWithin(source);
        if (IsASCII(window)) {
            Store(Widen(window.mHere), target);
            source += kBytes;
            target += kBytes;
            continue;
        }
        Units const units = HasFourBytes(window) ? Decode<true>(window) : Decode<false>(window);
        if (units.mBad != 0) {
            mayGoOn = false;
            break;
        }
        Store(Squeeze(units), target);
        source += kBytes;
        target += _mm_popcnt_u64(units.mWritten);
    }
    while (mayGoOn && source < sourceEnd)
        mayGoOn = ConvertSome(begin, source, sourceEnd, target, targetEnd);
    LeaveCutCharacter(begin, source, target);
    sourceStart = source;
    targetStart = target;
    if (!mayGoOn) RunUTF8toUTF16Plain(sourceStart, sourceEnd, targetStart, targetEnd);
}

// ------------------------------------------------------------------------------------------------
// From UTF-16. Each unit gets a lane with room for all of its bytes, the last one in the uppermost
// place, and the places that it has no bytes for are squeezed out.

struct Encoded
{
    __m512i mBytes = {};
    ptrdiff_t mCount = 0;
};

// `places` is negative for each place that has a byte.
LOAM_AVX512_INLINE Encoded Squeeze(__m512i bytes, __m512i places)
{
    __mmask64 const mask = _mm512_movepi8_mask(places);
    return {_mm512_maskz_compress_epi8(mask, bytes), _mm_popcnt_u64(mask)};
}

// Units below 0x800, in the lanes of `lanes`; `isOther` marks those that aren't ASCII.
LOAM_AVX512_INLINE Encoded EncodeShort(__m512i units, __mmask32 isOther, __mmask32 lanes)
{
    __m512i const one = _mm512_slli_epi16(units, 8);
    // (one & 0x3F00) | (units >> 6)
    __m512i const bits = _mm512_ternarylogic_epi64(_mm512_set1_epi16(0x3F00), one,
                                                   _mm512_srli_epi16(units, 6), 0xEA);
    __m512i const two = _mm512_or_si512(bits, _mm512_set1_epi16(static_cast<short>(0x80C0)));
    __m512i const places = _mm512_mask_blend_epi16(
        isOther, _mm512_set1_epi16(static_cast<short>(0xFF00)), _mm512_set1_epi16(-1));
    return Squeeze(_mm512_mask_blend_epi16(isOther, one, two),
                   _mm512_maskz_mov_epi16(lanes, places));
}

// Characters of up to three bytes, or, where they are `isPair`, of four, in the lanes of `lanes`.
template <bool kHasPairs>
LOAM_AVX512_INLINE Encoded EncodeLong(__m512i values, __mmask16 lanes, __mmask16 isPair = 0)
{
    __mmask16 const isOther = _mm512_cmpge_epu32_mask(values, _mm512_set1_epi32(0x80));
    __mmask16 const isLong = _mm512_cmpge_epu32_mask(values, _mm512_set1_epi32(0x800));

    // Six bits to each place. Above the highest there is none left in the leads of two and three.
    __m512i const sixes = _mm512_maskz_multishift_epi64_epi8(
        ~__mmask64{0}, _mm512_set1_epi64(0x20262C32'00060C12), values);
    __m512i marks = _mm512_set1_epi32(static_cast<int>(0x80C0E0F0));
    marks = _mm512_mask_mov_epi32(marks, isLong, _mm512_set1_epi32(static_cast<int>(0x8080E0F0)));
    if (kHasPairs) {
        marks =
            _mm512_mask_mov_epi32(marks, isPair, _mm512_set1_epi32(static_cast<int>(0x808080F0)));
    }
    // (sixes & 0x3F3F3F07) | marks
    __m512i bytes = _mm512_ternarylogic_epi64(_mm512_set1_epi32(0x3F3F3F07), sixes, marks, 0xEA);
    bytes = _mm512_mask_slli_epi32(bytes, static_cast<__mmask16>(~isOther), values, 24);

    __m512i places = _mm512_set1_epi32(static_cast<int>(0xFF000000));
    places =
        _mm512_mask_mov_epi32(places, isOther, _mm512_set1_epi32(static_cast<int>(0xFFFF0000)));
    places = _mm512_mask_mov_epi32(places, isLong, _mm512_set1_epi32(static_cast<int>(0xFFFFFF00)));
    if (kHasPairs) places = _mm512_mask_mov_epi32(places, isPair, _mm512_set1_epi32(-1));
    return Squeeze(bytes, _mm512_maskz_mov_epi32(lanes, places));
}

// A block's units of 32 bits, 0 to 15 or 16 to 31 of them.
LOAM_AVX512_INLINE __m512i WidenHalf(__m512i units, int half)
{
    auto const quarters = reinterpret_cast<__v8di>(units);
    auto const chosen = half == 0 ? __builtin_shufflevector(quarters, quarters, 0, 1, 2, 3)
                                  : __builtin_shufflevector(quarters, quarters, 4, 5, 6, 7);
    return _mm512_maskz_cvtepu16_epi32(0xFFFF, reinterpret_cast<__m256i>(chosen));
}

// A block in up to two parts, the second one behind the first.
struct EncodedBlock
{
    Encoded mParts[2];
    ptrdiff_t mUnits;  // how many are encoded; 0 where the block calls for a decision
};

LOAM_AVX512_INLINE EncodedBlock EncodePlain(__m512i units, ptrdiff_t count, __mmask32 lanes)
{
    return {{EncodeLong<false>(WidenHalf(units, 0), static_cast<__mmask16>(lanes)),
             EncodeLong<false>(WidenHalf(units, 1), static_cast<__mmask16>(lanes >> 16))},
            count};
}

// The block's units have been loaded from `source`. A last one that is a high surrogate is left.
LOAM_AVX512_INLINE EncodedBlock EncodePairs(AnyUTF16 const* source,
                                            __m512i units,
                                            ptrdiff_t count,
                                            __mmask32 lanes)
{
    __m512i const kind = _mm512_and_si512(units, _mm512_set1_epi16(static_cast<short>(0xFC00)));
    __mmask32 high = _mm512_cmpeq_epi16_mask(kind, _mm512_set1_epi16(static_cast<short>(0xD800)));
    __mmask32 const low =
        _mm512_cmpeq_epi16_mask(kind, _mm512_set1_epi16(static_cast<short>(0xDC00)));
    count -= high >> (count - 1) & 1;
    lanes = static_cast<__mmask32>(LowBits(count));
    high &= lanes;
    if (high << 1 != low) return {{Encoded(), Encoded()}, 0};

    __m512i const next = _mm512_maskz_loadu_epi16(lanes >> 1, source + 1);
    __mmask32 const written = lanes & ~low;
    EncodedBlock block = {{Encoded(), Encoded()}, count};
    for (int half = 0; half < 2; ++half) {
        auto const isPair = static_cast<__mmask16>(high >> 16 * half);
        __m512i const firsts = WidenHalf(units, half);
        // 0x10000 + (first - 0xD800) * 0x400 + (next - 0xDC00)
        __m512i const joined =
            _mm512_add_epi32(_mm512_maskz_slli_epi32(isPair, firsts, 10), WidenHalf(next, half));
        __m512i const values =
            _mm512_mask_sub_epi32(firsts, isPair, joined, _mm512_set1_epi32(0x35FDC00));
        block.mParts[half] =
            EncodeLong<true>(values, static_cast<__mmask16>(written >> 16 * half), isPair);
    }
    return block;
}

LOAM_AVX512_INLINE bool HasSurrogates(__m512i units)
{
    __m512i const kind = _mm512_and_si512(units, _mm512_set1_epi16(static_cast<short>(0xF800)));
    return _mm512_cmpeq_epi16_mask(kind, _mm512_set1_epi16(static_cast<short>(0xD800))) != 0;
}

LOAM_AVX512_INLINE EncodedBlock EncodeMixed(
    AnyUTF16 const* source, __m512i units, __mmask32 isOther, ptrdiff_t count, __mmask32 lanes)
{
    if (_mm512_test_epi16_mask(units, _mm512_set1_epi16(static_cast<short>(0xF800))) == 0)
        return {{EncodeShort(units, isOther, lanes), Encoded()}, count};
    if (!HasSurrogates(units)) return EncodePlain(units, count, lanes);
    return EncodePairs(source, units, count, lanes);
}

LOAM_AVX512_INLINE __mmask32 IsOther(__m512i units)
{
    return _mm512_test_epi16_mask(units, _mm512_set1_epi16(static_cast<short>(0xFF80)));
}

LOAM_AVX512_INLINE __m256i Narrow(__m512i units)
{
    return _mm512_maskz_cvtepi16_epi8(~__mmask32{0}, units);
}

// A block that isn't whole, or hasn't the room of a whole one. False if it is left.
LOAM_AVX512_INLINE bool
ConvertSome(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    ptrdiff_t const count = std::min(sourceEnd - source, kUnits);
    auto const lanes = static_cast<__mmask32>(LowBits(count));
    __m512i const units = _mm512_maskz_loadu_epi16(lanes, source);
    __mmask32 const isOther = IsOther(units);
    if (isOther == 0) {
        if (targetEnd - target < count) return false;
        _mm256_mask_storeu_epi8(target, lanes, Narrow(units));
        source += count;
        target += count;
        return true;
    }
    EncodedBlock const block = EncodeMixed(source, units, isOther, count, lanes);
    Encoded const& first = block.mParts[0];
    Encoded const& second = block.mParts[1];
    if (block.mUnits == 0 || targetEnd - target < first.mCount + second.mCount) return false;
    _mm512_mask_storeu_epi8(target, LowBits(first.mCount), first.mBytes);
    target += first.mCount;
    _mm512_mask_storeu_epi8(target, LowBits(second.mCount), second.mBytes);
    target += second.mCount;
    source += block.mUnits;
    return true;
}

LOAM_AVX512 void
ToUTF8(AnyUTF16 const*& sourceStart, AnyUTF16 const* sourceEnd, UTF8*& targetStart, UTF8* targetEnd)
{
    // Two vectors are stored, the first of which may be full.
    constexpr ptrdiff_t kRoom = 2 * kBytes;
    AnyUTF16 const* source = sourceStart;
    UTF8* target = targetStart;
    bool mayGoOn = true;
    while (sourceEnd - source >= kUnits && targetEnd - target >= kRoom) {
        __m512i const units = _mm512_loadu_si512(source);
        __mmask32 const isOther = IsOther(units);
        if (isOther == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), Narrow(units));
            source += kUnits;
            target += kUnits;
            continue;
        }
        EncodedBlock const block = EncodeMixed(source, units, isOther, kUnits, ~__mmask32{0});
        if (block.mUnits == 0) {
            mayGoOn = false;
            break;
        }
        for (Encoded const& part : block.mParts) {
            _mm512_storeu_si512(target, part.mBytes);
            target += part.mCount;
        }
        source += block.mUnits;
    }
    while (mayGoOn && source < sourceEnd)
        mayGoOn = ConvertSome(source, sourceEnd, target, targetEnd);
    sourceStart = source;
    targetStart = target;
    if (!mayGoOn) RunUTF16toUTF8Plain(sourceStart, sourceEnd, targetStart, targetEnd);
}

}  // namespace

UTFKernels const kAVX512UTFKernels = {"AVX-512 VBMI2", ToUTF16, ToUTF8};

#endif
