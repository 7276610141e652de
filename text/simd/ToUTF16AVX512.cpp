// UTF-8 to UTF-16 for AVX-512 with VBMI2: 64 bytes at a time, whatever their mixture.
//
// The idea of computing the units of all places at once and squeezing out those places where no
// character ends is Robert Clausecker's and Daniel Lemire's, "Transcoding Unicode Characters with
// AVX-512 Instructions" (Software: Practice and Experience 53/12, 2023); that of finding malformed
// sequences by comparing each byte with those before it is John Keiser's and Daniel Lemire's,
// "Validating UTF-8 In Less Than One Instruction Per Byte" (Software: Practice and Experience 51/5,
// 2021).
#include "text/simd/TextKernels.h"

#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <algorithm>

namespace {

constexpr ptrdiff_t kBytes = 64;
constexpr ptrdiff_t kUnits = 32;

// Texts up to this many units go without the loops over whole blocks.
constexpr ptrdiff_t kShort = 128;

// How far ahead the room for ASCII is fetched, in units.
constexpr ptrdiff_t kAhead = 512;

// Each place of a block is looked at together with the three bytes before it, which may
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
    return _mm512_cmpge_epu8_mask(highest, EachByte<0xF0>()) != 0;
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
    __m512i called = _mm512_max_epu8(before, _mm512_subs_epu8(second, EachByte<0x20>()));
    if (kHasFour) called = _mm512_max_epu8(called, _mm512_subs_epu8(third, EachByte<0x30>()));
    __mmask64 const isCalledFor = _mm512_cmpge_epu8_mask(called, EachByte<0xC0>());
    __mmask64 const isContinuation = _mm512_cmplt_epi8_mask(here, EachByte<0xC0>());
    __mmask64 const isOther = _mm512_movepi8_mask(here);

    // The last byte of a character is no lead, and none that has two more to come goes before it.
    // That is true of the third of four as well, where the high surrogate is written.
    __m512i const notLast = _mm512_max_epu8(here, _mm512_subs_epu8(before, EachByte<0x20>()));
    Units units;
    units.mWritten = _mm512_cmplt_epu8_mask(notLast, EachByte<0xC0>());

    // The lower byte: six bits, and two of the byte before. The upper one: the rest of that, and
    // the lead of three bytes.
    __mmask64 const isThird = _mm512_cmpge_epu8_mask(second, EachByte<0xE0>());
    __m512i const low = Select(EachByte<0x3F>(), here, _mm512_slli_epi16(before, 6));
    units.mLow = _mm512_mask_blend_epi8(isOther, here, low);
    __m512i const lead = _mm512_maskz_mov_epi8(isThird, _mm512_slli_epi16(second, 4));
    __m512i high = Select(EachByte<0x0F>(), _mm512_srli_epi16(before, 2), lead);

    // Three bytes for a value below 0x800 or for a surrogate: below 8 either way. Lead bytes C0 and
    // C1: below 2.
    __m512i const surrogate = _mm512_xor_si512(high, EachByte<0xD8>());
    __m512i const overlong =
        _mm512_adds_epu8(_mm512_xor_si512(here, EachByte<0xC0>()), EachByte<6>());
    __mmask64 isLastOfThree = isThird;
    __mmask64 isBad = isContinuation ^ isCalledFor;
    if (kHasFour) {
        // The four bytes are 11110aaa 10aabbbb 10bbccdd 10dddddd; the surrogates 110110aa aabbbbcc
        // less 0x40, and 110111cc dddddddd by the bits' own names above.
        __mmask64 const isHighPlace = _mm512_cmpge_epu8_mask(second, EachByte<0xF0>());
        __mmask64 const isLowPlace = _mm512_cmpge_epu8_mask(third, EachByte<0xF0>());
        isLastOfThree &= ~isHighPlace & ~isLowPlace;

        __m512i const two = _mm512_and_si512(_mm512_srli_epi16(here, 4), EachByte<0x03>());
        __m512i const top = Select(EachByte<0xFC>(), _mm512_slli_epi16(before, 2), two);
        units.mLow = _mm512_mask_sub_epi8(units.mLow, isHighPlace, top, EachByte<0x40>());
        __m512i const upper =
            _mm512_add_epi8(_mm512_and_si512(second, EachByte<0x0F>()), EachByte<0xD8>());
        high = _mm512_mask_mov_epi8(high, isHighPlace, upper);
        __mmask64 const borrows = _mm512_mask_cmplt_epu8_mask(isHighPlace, top, EachByte<0x40>());
        high = _mm512_mask_sub_epi8(high, borrows, high, EachByte<1>());
        isBad |= _mm512_mask_cmpneq_epu8_mask(isHighPlace, _mm512_and_si512(high, EachByte<0xFC>()),
                                              EachByte<0xD8>());
        __m512i const lower =
            Select(EachByte<0x03>(), _mm512_srli_epi16(before, 2), EachByte<0xDC>());
        high = _mm512_mask_mov_epi8(high, isLowPlace, lower);
    }
    __m512i const distance =
        _mm512_mask_min_epu8(overlong, isLastOfThree, overlong, _mm512_min_epu8(high, surrogate));
    isBad |= _mm512_cmplt_epu8_mask(distance, EachByte<8>());
    units.mHigh = _mm512_maskz_mov_epi8(isOther, high);
    units.mBad = isBad;
    return units;
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
    return {{_mm512_cvtepu8_epi16(LowerHalf(bytes)), _mm512_cvtepu8_epi16(UpperHalf(bytes))}};
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

// A block that isn't whole, or hasn't the room of a whole one. False if it is left, as it is too
// where it holds nothing but a part of a character.
LOAM_AVX512_INLINE bool ConvertSome(UTF8 const* begin,
                                    UTF8 const*& source,
                                    UTF8 const* sourceEnd,
                                    AnyUTF16*& target,
                                    AnyUTF16* targetEnd)
{
    ptrdiff_t const count = std::min(sourceEnd - source, kBytes);
    uint64_t const mask = LowBits(count);
    Window const window = LoadSome(begin, source, mask);
    Units const units = HasFourBytes(window) ? Decode<true>(window) : Decode<false>(window);
    ptrdiff_t const written = _mm_popcnt_u64(units.mWritten & mask);
    if ((units.mBad & mask) != 0 || written == 0 || targetEnd - target < written) return false;
    StoreSome(Squeeze(units), LowBits(written), target);
    source += count;
    target += written;
    return true;
}

// The loops over whole blocks. Each goes on through blocks of a simpler kind too, unless two of
// them follow each other: text that is mixed has no branch that the processor can't foresee.

LOAM_AVX512_INLINE bool
HasRoom(UTF8 const* source, UTF8 const* sourceEnd, AnyUTF16* target, AnyUTF16* targetEnd)
{
    return sourceEnd - source >= kBytes && targetEnd - target >= kBytes;
}

LOAM_AVX512_INLINE void
ConvertASCII(UTF8 const*& source, UTF8 const* sourceEnd, AnyUTF16*& target, AnyUTF16* targetEnd)
{
    bool isAligned = false;
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        // Beyond the ends nothing is fetched, which costs short texts more than all their work.
        if (targetEnd - target >= kAhead + kBytes && sourceEnd - source >= kAhead + kBytes) {
            _mm_prefetch(reinterpret_cast<char const*>(target + kAhead), _MM_HINT_T0);
            _mm_prefetch(reinterpret_cast<char const*>(target + kAhead + kUnits), _MM_HINT_T0);
        }
        __m512i const bytes = _mm512_loadu_si512(source);
        if (_mm512_movepi8_mask(bytes) != 0) return;
        Store(Widen(bytes), target);
        // What is stored across two lines of the cache costs twice, so it is done only once.
        auto const past = static_cast<ptrdiff_t>(reinterpret_cast<uintptr_t>(target) % kBytes / 2);
        ptrdiff_t const count = isAligned ? kBytes : kBytes - past;
        isAligned = true;
        source += count;
        target += count;
    }
}

template <bool kHasFour>
LOAM_AVX512_INLINE void
ConvertMixed(UTF8 const*& source, UTF8 const* sourceEnd, AnyUTF16*& target, AnyUTF16* targetEnd)
{
    bool wasSimpler = false;
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        Window const window = LoadWithin(source);
        bool const hasFour = HasFourBytes(window);
        if (!kHasFour && hasFour) return;
        Units const units = Decode<kHasFour>(window);
        if (units.mBad != 0) return;
        Store(Squeeze(units), target);
        source += kBytes;
        target += _mm_popcnt_u64(units.mWritten);

        // Every place ends a character where all of them are ASCII.
        bool const isSimpler = kHasFour ? !hasFour : units.mWritten == ~uint64_t{0};
        if (isSimpler && wasSimpler) return;
        wasSimpler = isSimpler;
    }
}

// From the second block on; false where something calls for a decision.
LOAM_AVX512_INLINE bool
ConvertBlocks(UTF8 const*& source, UTF8 const* sourceEnd, AnyUTF16*& target, AnyUTF16* targetEnd)
{
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        UTF8 const* const former = source;
        Window const window = LoadWithin(source);
        if (IsASCII(window)) {
            ConvertASCII(source, sourceEnd, target, targetEnd);
        } else if (HasFourBytes(window)) {
            ConvertMixed<true>(source, sourceEnd, target, targetEnd);
        } else {
            ConvertMixed<false>(source, sourceEnd, target, targetEnd);
        }
        if (source == former) return false;
    }
    return true;
}

// A text that is short, beyond its ASCII. Apart, so that what is ASCII alone is spared its
// registers.
[[gnu::noinline]] LOAM_AVX512 ConversionResult ShortToUTF16(UTF8 const** sourceStart,
                                                            UTF8 const* sourceEnd,
                                                            UTF16** targetStart,
                                                            UTF16* targetEnd,
                                                            ConversionFlags flags)
{
    UTF8 const* const begin = *sourceStart;
    UTF8 const* source = begin;
    UTF16* target = *targetStart;
    uint64_t last = 0;
    do {
        ptrdiff_t const count = std::min(sourceEnd - source, kBytes);
        uint64_t const mask = LowBits(count);
        Window const window = LoadSome(begin, source, mask);
        if (HasFourBytes(window)) break;
        Units const units = Decode<false>(window);
        if ((units.mBad & mask) != 0) break;
        uint64_t const written = units.mWritten & mask;
        ptrdiff_t const writtenCount = _mm_popcnt_u64(written);
        StoreSome(Squeeze(units), LowBits(writtenCount), target);
        source += count;
        target += writtenCount;
        last = written >> (count - 1);
    } while (source < sourceEnd);
    // The last byte ends a character.
    if (source == sourceEnd && last != 0) {
        *sourceStart = source;
        *targetStart = target;
        return conversionOK;
    }
    return WholeToUTF16ByRuns(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

}  // namespace

LOAM_AVX512 void RunToUTF16AVX512(UTF8 const*& sourceStart,
                                  UTF8 const* sourceEnd,
                                  AnyUTF16*& targetStart,
                                  AnyUTF16* targetEnd)
{
    // Copied, so that they may stay in registers: bytes could be anything in memory.
    UTF8 const* const begin = sourceStart;
    UTF8 const* source = begin;
    AnyUTF16* target = targetStart;
    bool mayGoOn = true;
    if (sourceEnd - source > kShort) {
        mayGoOn = ConvertSome(begin, source, sourceEnd, target, targetEnd) &&
                  ConvertBlocks(source, sourceEnd, target, targetEnd);
    }
    while (mayGoOn && source < sourceEnd)
        mayGoOn = ConvertSome(begin, source, sourceEnd, target, targetEnd);
    LeaveCutCharacter(begin, source, target);
    sourceStart = source;
    targetStart = target;
    if (!mayGoOn) RunToUTF16Plain(sourceStart, sourceEnd, targetStart, targetEnd);
}

LOAM_AVX512 ConversionResult WholeToUTF16AVX512(UTF8 const** sourceStart,
                                                UTF8 const* sourceEnd,
                                                UTF16** targetStart,
                                                UTF16* targetEnd,
                                                ConversionFlags flags)
{
    UTF8 const* source = *sourceStart;
    UTF16* target = *targetStart;
    ptrdiff_t left = sourceEnd - source;
    if (left > kShort || left > targetEnd - target)
        return WholeToUTF16ByRuns(sourceStart, sourceEnd, targetStart, targetEnd, flags);
    while (left > 0) {
        ptrdiff_t const count = std::min(left, kBytes);
        uint64_t const mask = LowBits(count);
        __m512i const bytes = _mm512_maskz_loadu_epi8(mask, source);
        if (_mm512_movepi8_mask(bytes) != 0) break;
        StoreSome(Widen(bytes), mask, target);
        source += count;
        target += count;
        left -= count;
    }
    *sourceStart = source;
    *targetStart = target;
    return left <= 0 ? conversionOK
                     : ShortToUTF16(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

#endif
