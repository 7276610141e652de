// UTF-16 to UTF-8 for AVX-512 with VBMI2: 32 units at a time, whatever their mixture.
//
// The idea of spreading each character over as many places as the longest one needs and squeezing
// out the rest is Robert Clausecker's and Daniel Lemire's, "Transcoding Unicode Characters with
// AVX-512 Instructions" (Software: Practice and Experience 53/12, 2023).
#include "text/simd/TextKernels.h"

#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <algorithm>

namespace {

constexpr ptrdiff_t kBytes = 64;
constexpr ptrdiff_t kUnits = 32;

// Texts up to this many units go without the loops over whole blocks.
constexpr ptrdiff_t kShort = 128;

// How far ahead ASCII is fetched, in units and in bytes.
constexpr ptrdiff_t kAhead = 1024;

// Each unit gets a lane with room for all of its bytes, the last one in the uppermost
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
    __m512i const bits = AndOr(one, EachUnit<0x3F00>(), _mm512_srli_epi16(units, 6));
    __m512i const two = _mm512_or_si512(bits, EachUnit<0x80C0>());
    __m512i const places = _mm512_mask_blend_epi16(isOther, EachUnit<0xFF00>(), EachUnit<0xFFFF>());
    return Squeeze(_mm512_mask_blend_epi16(isOther, one, two),
                   _mm512_maskz_mov_epi16(lanes, places));
}

// Characters of up to three bytes, or, where they are `isPair`, of four, in the lanes of `lanes`.
template <bool kHasPairs>
LOAM_AVX512_INLINE Encoded EncodeLong(__m512i values, __mmask16 lanes, __mmask16 isPair = 0)
{
    __mmask16 const isOther = _mm512_cmpge_epu32_mask(values, EachLane<0x80>());
    __mmask16 const isLong = _mm512_cmpge_epu32_mask(values, EachLane<0x800>());

    // Six bits to each place. Above the highest there is none left in the leads of two and three.
    __m512i const sixes = _mm512_maskz_multishift_epi64_epi8(
        ~__mmask64{0}, _mm512_set1_epi64(0x20262C32'00060C12), values);
    __m512i marks = EachLane<0x80C0E0F0>();
    marks = _mm512_mask_mov_epi32(marks, isLong, EachLane<0x8080E0F0>());
    if (kHasPairs) {
        marks = _mm512_mask_mov_epi32(marks, isPair, EachLane<0x808080F0>());
    }
    __m512i bytes = AndOr(sixes, EachLane<0x3F3F3F07>(), marks);
    bytes = _mm512_mask_slli_epi32(bytes, static_cast<__mmask16>(~isOther), values, 24);

    __m512i places = EachLane<0xFF000000>();
    places = _mm512_mask_mov_epi32(places, isOther, EachLane<0xFFFF0000>());
    places = _mm512_mask_mov_epi32(places, isLong, EachLane<0xFFFFFF00>());
    if (kHasPairs) places = _mm512_mask_mov_epi32(places, isPair, EachLane<0xFFFFFFFF>());
    return Squeeze(bytes, _mm512_maskz_mov_epi32(lanes, places));
}

// 0 to 15 or 16 to 31 of a block's units, in lanes of 32 bits.
LOAM_AVX512_INLINE __m512i WidenHalf(__m512i units, int half)
{
    return _mm512_maskz_cvtepu16_epi32(0xFFFF, half == 0 ? LowerHalf(units) : UpperHalf(units));
}

LOAM_AVX512_INLINE __mmask16 MaskOfHalf(__mmask32 mask, int half)
{
    return static_cast<__mmask16>(mask >> 16 * half);
}

// A block in two parts, the second one behind the first.
struct EncodedBlock
{
    Encoded mParts[2];
};

LOAM_AVX512_INLINE EncodedBlock EncodePlain(__m512i units, __mmask32 lanes)
{
    return {{EncodeLong<false>(WidenHalf(units, 0), MaskOfHalf(lanes, 0)),
             EncodeLong<false>(WidenHalf(units, 1), MaskOfHalf(lanes, 1))}};
}

// `next` are the units behind `units`, of which those of `high` and no others begin a pair; the
// second ones of pairs aren't in `lanes`.
LOAM_AVX512_INLINE EncodedBlock EncodePairs(__m512i units,
                                            __m512i next,
                                            __mmask32 high,
                                            __mmask32 lanes)
{
    EncodedBlock block;
    for (int half = 0; half < 2; ++half) {
        __mmask16 const isPair = MaskOfHalf(high, half);
        __m512i const firsts = WidenHalf(units, half);
        // 0x10000 + (first - 0xD800) * 0x400 + (next - 0xDC00)
        __m512i const joined =
            _mm512_add_epi32(_mm512_maskz_slli_epi32(isPair, firsts, 10), WidenHalf(next, half));
        __m512i const values = _mm512_mask_sub_epi32(firsts, isPair, joined, EachLane<0x35FDC00>());
        block.mParts[half] = EncodeLong<true>(values, MaskOfHalf(lanes, half), isPair);
    }
    return block;
}

// Which units of a block are something.

LOAM_AVX512_INLINE __mmask32 IsOther(__m512i units)
{
    return _mm512_test_epi16_mask(units, EachUnit<0xFF80>());
}

LOAM_AVX512_INLINE __mmask32 IsLong(__m512i units)
{
    return _mm512_test_epi16_mask(units, EachUnit<0xF800>());
}

LOAM_AVX512_INLINE __mmask32 IsSurrogate(__m512i units)
{
    return _mm512_cmpeq_epi16_mask(_mm512_and_si512(units, EachUnit<0xF800>()), EachUnit<0xD800>());
}

LOAM_AVX512_INLINE __mmask32 IsHigh(__m512i units)
{
    return _mm512_cmpeq_epi16_mask(_mm512_and_si512(units, EachUnit<0xFC00>()), EachUnit<0xD800>());
}

LOAM_AVX512_INLINE __mmask32 IsLow(__m512i units)
{
    return _mm512_cmpeq_epi16_mask(_mm512_and_si512(units, EachUnit<0xFC00>()), EachUnit<0xDC00>());
}

// The loops over whole blocks. Each goes on through blocks of a simpler kind too, unless two of
// them follow each other: text that is mixed has no branch that the processor can't foresee.

LOAM_AVX512_INLINE void Store(Encoded const& encoded, UTF8*& target)
{
    _mm512_storeu_si512(target, encoded.mBytes);
    target += encoded.mCount;
}

// A block and one unit behind it, and two vectors of bytes, the first of which may be full.
LOAM_AVX512_INLINE bool
HasRoom(AnyUTF16 const* source, AnyUTF16 const* sourceEnd, UTF8* target, UTF8* targetEnd)
{
    return sourceEnd - source > kUnits && targetEnd - target >= 2 * kBytes;
}

LOAM_AVX512_INLINE __m512i Narrow(__m512i first, __m512i second)
{
    return GatherEighths(_mm512_packus_epi16(first, second));
}

LOAM_AVX512_INLINE void
ConvertASCII(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    while (sourceEnd - source >= kBytes && targetEnd - target >= kBytes) {
        // Beyond the ends nothing is fetched, which costs short texts more than all their work.
        if (sourceEnd - source >= kAhead + kBytes && targetEnd - target >= kAhead + kBytes) {
            _mm_prefetch(reinterpret_cast<char const*>(source + kAhead), _MM_HINT_T0);
            _mm_prefetch(reinterpret_cast<char const*>(source + kAhead + kUnits), _MM_HINT_T0);
            _mm_prefetch(reinterpret_cast<char const*>(target + kAhead), _MM_HINT_T0);
        }
        __m512i const first = _mm512_loadu_si512(source);
        __m512i const second = _mm512_loadu_si512(source + kUnits);
        if (IsOther(_mm512_or_si512(first, second)) != 0) return;
        _mm512_storeu_si512(target, Narrow(first, second));
        source += kBytes;
        target += kBytes;
    }
}

LOAM_AVX512_INLINE void
ConvertShort(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    __mmask32 wasOther = ~__mmask32{0};
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        __m512i const units = _mm512_loadu_si512(source);
        if (IsLong(units) != 0) return;
        __mmask32 const isOther = IsOther(units);
        Store(EncodeShort(units, isOther, ~__mmask32{0}), target);
        source += kUnits;
        if ((isOther | wasOther) == 0) return;
        wasOther = isOther;
    }
}

LOAM_AVX512_INLINE void
ConvertPlain(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    __mmask32 wasLong = ~__mmask32{0};
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        __m512i const units = _mm512_loadu_si512(source);
        if (IsSurrogate(units) != 0) return;
        EncodedBlock const block = EncodePlain(units, ~__mmask32{0});
        Store(block.mParts[0], target);
        Store(block.mParts[1], target);
        source += kUnits;
        __mmask32 const isLong = IsLong(units);
        if ((isLong | wasLong) == 0) return;
        wasLong = isLong;
    }
}

// A pair may begin in one block and end in the next.
LOAM_AVX512_INLINE void
ConvertPairs(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    __mmask32 wasHigh = 0;
    bool wasSimpler = false;
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        __m512i const units = _mm512_loadu_si512(source);
        __m512i const next = _mm512_loadu_si512(source + 1);
        __mmask32 const high = IsHigh(units);
        __mmask32 const low = IsLow(units);
        if ((high << 1 | wasHigh >> 31) != low || (high & ~IsLow(next)) != 0) break;
        EncodedBlock const block = EncodePairs(units, next, high, ~low);
        Store(block.mParts[0], target);
        Store(block.mParts[1], target);
        source += kUnits;
        wasHigh = high;
        bool const isSimpler = high == 0;
        if (isSimpler && wasSimpler) break;
        wasSimpler = isSimpler;
    }
    source += wasHigh >> 31;
}

// False where something calls for a decision.
LOAM_AVX512_INLINE bool
ConvertBlocks(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    while (HasRoom(source, sourceEnd, target, targetEnd)) {
        AnyUTF16 const* const former = source;
        __m512i const units = _mm512_loadu_si512(source);
        if (IsSurrogate(units) != 0) {
            ConvertPairs(source, sourceEnd, target, targetEnd);
            if (source == former) return false;
        } else if (IsLong(units) != 0) {
            ConvertPlain(source, sourceEnd, target, targetEnd);
        } else {
            ConvertASCII(source, sourceEnd, target, targetEnd);
            ConvertShort(source, sourceEnd, target, targetEnd);
        }
    }
    return true;
}

// A block that isn't whole, or hasn't the room of a whole one. False if it is left.
LOAM_AVX512_INLINE bool
ConvertSome(AnyUTF16 const*& source, AnyUTF16 const* sourceEnd, UTF8*& target, UTF8* targetEnd)
{
    ptrdiff_t count = std::min(sourceEnd - source, kUnits);
    auto lanes = static_cast<__mmask32>(LowBits(count));
    __m512i const units = _mm512_maskz_loadu_epi16(lanes, source);
    EncodedBlock block;
    if (IsSurrogate(units) == 0) {
        block = EncodePlain(units, lanes);
    } else {
        // A last one that is a high surrogate is left.
        count -= IsHigh(units) >> (count - 1) & 1;
        lanes = static_cast<__mmask32>(LowBits(count));
        __mmask32 const high = IsHigh(units) & lanes;
        __mmask32 const low = IsLow(units);
        if (count == 0 || high << 1 != low) return false;
        __m512i const next = _mm512_maskz_loadu_epi16(lanes >> 1, source + 1);
        block = EncodePairs(units, next, high, lanes & ~low);
    }
    Encoded const& first = block.mParts[0];
    Encoded const& second = block.mParts[1];
    if (targetEnd - target < first.mCount + second.mCount) return false;
    _mm512_mask_storeu_epi8(target, LowBits(first.mCount), first.mBytes);
    target += first.mCount;
    _mm512_mask_storeu_epi8(target, LowBits(second.mCount), second.mBytes);
    target += second.mCount;
    source += count;
    return true;
}

// The units of `lanes`, none of them surrogates, for which there is room: how many bytes they are.
LOAM_AVX512_INLINE ptrdiff_t PutShort(__m512i first, __m512i second, uint64_t lanes, UTF8* target)
{
    UTF8* const start = target;
    auto const put = [&target](Encoded const& encoded) LOAM_AVX512 {
        _mm512_mask_storeu_epi8(target, LowBits(encoded.mCount), encoded.mBytes);
        target += encoded.mCount;
    };
    EncodedBlock const block = EncodePlain(first, static_cast<__mmask32>(lanes));
    put(block.mParts[0]);
    put(block.mParts[1]);
    if (lanes >> kUnits != 0) {
        EncodedBlock const next = EncodePlain(second, static_cast<__mmask32>(lanes >> kUnits));
        put(next.mParts[0]);
        put(next.mParts[1]);
    }
    return target - start;
}

// A text that is short, beyond its ASCII. Apart, so that what is ASCII alone is spared its
// registers.
[[gnu::noinline]] LOAM_AVX512 ConversionResult ShortToUTF8(UTF16 const** sourceStart,
                                                           UTF16 const* sourceEnd,
                                                           UTF8** targetStart,
                                                           UTF8* targetEnd,
                                                           ConversionFlags flags)
{
    constexpr ptrdiff_t kMostBytes = 3;  // for a unit
    UTF16 const* source = *sourceStart;
    UTF8* target = *targetStart;
    if (targetEnd - target >= kMostBytes * (sourceEnd - source)) {
        do {
            ptrdiff_t const count = std::min(sourceEnd - source, kBytes);
            uint64_t const lanes = LowBits(count);
            __m512i const first = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes), source);
            __m512i const second =
                _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes >> kUnits), source + kUnits);
            if ((IsSurrogate(first) | IsSurrogate(second)) != 0) break;
            target += PutShort(first, second, lanes, target);
            source += count;
        } while (source < sourceEnd);
        *sourceStart = source;
        *targetStart = target;
        if (source == sourceEnd) return conversionOK;
    }
    return WholeToUTF8ByRuns(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

}  // namespace

LOAM_AVX512 void RunToUTF8AVX512(AnyUTF16 const*& sourceStart,
                                 AnyUTF16 const* sourceEnd,
                                 UTF8*& targetStart,
                                 UTF8* targetEnd)
{
    // Copied, so that they may stay in registers: what is written could be anything in memory.
    AnyUTF16 const* source = sourceStart;
    UTF8* target = targetStart;
    bool mayGoOn = true;
    if (sourceEnd - source > kShort) mayGoOn = ConvertBlocks(source, sourceEnd, target, targetEnd);
    while (mayGoOn && source < sourceEnd)
        mayGoOn = ConvertSome(source, sourceEnd, target, targetEnd);
    sourceStart = source;
    targetStart = target;
    if (!mayGoOn) RunToUTF8Plain(sourceStart, sourceEnd, targetStart, targetEnd);
}

LOAM_AVX512 ConversionResult WholeToUTF8AVX512(UTF16 const** sourceStart,
                                               UTF16 const* sourceEnd,
                                               UTF8** targetStart,
                                               UTF8* targetEnd,
                                               ConversionFlags flags)
{
    UTF16 const* source = *sourceStart;
    UTF8* target = *targetStart;
    ptrdiff_t left = sourceEnd - source;
    if (left > kShort || left > targetEnd - target)
        return WholeToUTF8ByRuns(sourceStart, sourceEnd, targetStart, targetEnd, flags);
    while (left > 0) {
        ptrdiff_t const count = std::min(left, kBytes);
        uint64_t const lanes = LowBits(count);
        __m512i const first = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes), source);
        __m512i const second =
            _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes >> kUnits), source + kUnits);
        if (IsOther(_mm512_or_si512(first, second)) != 0) break;
        _mm512_mask_storeu_epi8(target, lanes, Narrow(first, second));
        source += count;
        target += count;
        left -= count;
    }
    *sourceStart = source;
    *targetStart = target;
    return left <= 0 ? conversionOK
                     : ShortToUTF8(sourceStart, sourceEnd, targetStart, targetEnd, flags);
}

#endif
