// The walk over mapped words with AVX-512: windows of 32 units of Latin, together with Hangul and
// up to the end of the text where there is need, and of 16 units of other alphabets, by gathered
// entries. What the word's units become is packed together, deleted ones left out.
#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#define LOAM_VECTOR LOAM_AVX512
#define LOAM_VECTOR_INLINE LOAM_AVX512_INLINE

#include "text/simd/MappedWordVectors.h"

namespace {

// A word in a window, with a bit for each unit, that of the first one lowest.
struct Span
{
    std::uint64_t mLowest;   // of its first unit; 0 if nothing is taken
    std::uint64_t mEnds;     // the lowest of these is the bit behind it
    std::uint64_t mUnknown;  // up to that, and all if nothing is taken

    // `all` are the units that there are. Behind them nothing is taken, and nothing unknown if the
    // text ends there. The units of a word are those taken and those deleted between and behind
    // them.
    LOAM_VECTOR_INLINE
    Span(std::uint64_t taken, std::uint64_t deleted, std::uint64_t known, std::uint64_t all)
        : mLowest(taken & -taken)
        , mEnds(-taken & ~(taken | deleted))
        , mUnknown(~known & all & (mEnds ^ (mEnds - 1)))
    {
    }

    std::uint64_t Bits() const { return (mEnds & -mEnds) - mLowest; }

    unsigned int First() const { return static_cast<unsigned int>(__builtin_ctzll(mLowest)); }

    unsigned int End() const { return static_cast<unsigned int>(__builtin_ctzll(mEnds)); }

    // Whether the word is whole; `text` is where the window begins.
    template <class Rule>
    LOAM_VECTOR_INLINE bool
    IsWord(char16_t const* text, unsigned int window, CUnicodeMappingTable const& table) const
    {
        if (mLowest == 0) return false;
        if (mUnknown == 0) return true;
        return mUnknown == (mEnds & -mEnds) && End() < window && EndsWord<Rule>(text[End()], table);
    }
};

// The units that there are of a window and of what comes behind it.
LOAM_VECTOR_INLINE std::uint64_t All(std::size_t left, std::size_t window)
{
    return left > window ? ~std::uint64_t{0} : LowBits(static_cast<std::ptrdiff_t>(left));
}

// An alphabet below `kLowUnits`.
template <class Rule>
LOAM_VECTOR __attribute__((noinline)) bool NextOfAlphabet(MappedWordFacts const& facts,
                                                          char16_t const* text,
                                                          unsigned int length,
                                                          unsigned int& start,
                                                          unsigned int& rawLength,
                                                          amortizedmemblock& block,
                                                          unsigned int& mappedLength)
{
    if (!IsReady(block, mappedLength)) [[unlikely]]
        return NextWordByUnit<Rule>(facts, text, length, start, rawLength, block, mappedLength);

    constexpr unsigned int kUnits = 16;
    std::size_t const from = std::size_t{start} + rawLength;
    std::uint64_t const all = All(length - from, kUnits);
    __m256i const narrow = _mm256_maskz_loadu_epi16(static_cast<__mmask16>(all), text + from);
    __m512i const units = _mm512_maskz_cvtepu16_epi32(0xFFFF, narrow);
    // Behind the text is nothing, whatever the table makes of NUL.
    __mmask16 const isLow = _mm512_mask_cmplt_epu32_mask(
        static_cast<__mmask16>(all), units, _mm512_set1_epi32(MappedWordFacts::kLowUnits));
    __m512i const entries =
        _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), isLow, units, facts.mLow, 4);

    constexpr auto kDeleted = static_cast<int>(MappedWordFacts::kDeleted);
    constexpr auto kTaken = static_cast<int>(Rule::kTakenBit);
    constexpr auto kKnown = kTaken | kDeleted | static_cast<int>(MappedWordFacts::kGap);
    std::uint64_t const taken = _mm512_test_epi32_mask(entries, _mm512_set1_epi32(kTaken)) & all;
    Span const span(taken, _mm512_test_epi32_mask(entries, _mm512_set1_epi32(kDeleted)),
                    _mm512_test_epi32_mask(entries, _mm512_set1_epi32(kKnown)), all);
    if (!span.IsWord<Rule>(text + from, kUnits, facts.mTable))
        return NextWordByUnit<Rule>(facts, text, length, start, rawLength, block, mappedLength);

    auto const mapped = static_cast<__mmask16>(taken & span.Bits());
    auto const count = static_cast<unsigned int>(_mm_popcnt_u32(mapped));
    __m256i const word =
        _mm256_maskz_compress_epi16(mapped, _mm512_maskz_cvtepi32_epi16(0xFFFF, entries));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(SetUnits(block, count)), word);
    start = static_cast<unsigned int>(from) + span.First();
    rawLength = span.End() - span.First();
    mappedLength = count;
    return true;
}

LOAM_VECTOR_INLINE __m256i FindRows(std::uint8_t const* rows, __m256i bytes)
{
    return _mm256_shuffle_epi8(
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<__m128i const*>(rows))),
        bytes);
}

LOAM_VECTOR_INLINE std::uint32_t FindIn(MappedWordFacts::ByteSet const& set, __m256i bytes)
{
    __m256i const others = _mm256_sub_epi8(_mm256_set1_epi8(-2), bytes);
    __m256i const columns = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), _mm256_set1_epi8(0x0F));
    return _mm256_test_epi8_mask(
        _mm256_or_si256(FindRows(set.mRows[0], bytes), FindRows(set.mRows[1], others)),
        FindRows(kConstants.mEighths, columns));
}

// What bytes of Latin become, as `MappedWordFacts::mLatinMap` has them.
template <class Rule>
LOAM_VECTOR_INLINE __m256i MapLatin(MappedWordFacts const& facts, __m256i bytes)
{
    auto const* const map =
        reinterpret_cast<__m512i const*>(facts.mLatinMap[Rule::kTakesSymbols ? 1 : 0]);
    __m512i const at = _mm512_castsi256_si512(bytes);
    __m256i const low = LowerHalf(_mm512_permutex2var_epi8(map[0], at, map[1]));
    __m256i const high = LowerHalf(_mm512_permutex2var_epi8(map[2], at, map[3]));
    return _mm256_mask_blend_epi8(_mm256_movepi8_mask(bytes), low, high);
}

// Latin and Hangul, up to the end of the text.
template <class Rule>
LOAM_VECTOR __attribute__((noinline)) bool NextOtherwise(MappedWordFacts const& facts,
                                                         char16_t const* text,
                                                         unsigned int length,
                                                         unsigned int& start,
                                                         unsigned int& rawLength,
                                                         amortizedmemblock& block,
                                                         unsigned int& mappedLength)
{
    constexpr unsigned int kUnits = 32;
    std::size_t const from = std::size_t{start} + rawLength;
    if (from >= length || !IsReady(block, mappedLength))
        return NextWordByUnit<Rule>(facts, text, length, start, rawLength, block, mappedLength);

    MappedWordFacts::Latin const& latin = facts.mLatin[Rule::kTakesSymbols ? 1 : 0];
    std::uint64_t const all = All(length - from, kUnits);
    __m512i const units = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(all), text + from);
    __mmask32 const same = _mm512_cmplt_epu16_mask(
        _mm512_sub_epi16(units, _mm512_set1_epi16(static_cast<short>(facts.mSameFirst))),
        _mm512_set1_epi16(static_cast<short>(facts.mSameCount)));
    __m256i const bytes = _mm512_maskz_cvtusepi16_epi8(~0U, units);
    std::uint64_t const taken = (FindIn(latin.mTaken, bytes) | same) & all;
    Span const span(taken, 0, FindIn(latin.mKnown, bytes) | same, all);
    if (!span.IsWord<Rule>(text + from, kUnits, facts.mTable))
        return NextWordByUnit<Rule>(facts, text, length, start, rawLength, block, mappedLength);

    __m512i const mapped = _mm512_mask_blend_epi16(
        same, _mm512_maskz_cvtepu8_epi16(~0U, MapLatin<Rule>(facts, bytes)), units);
    unsigned int const count = span.End() - span.First();
    _mm512_storeu_si512(SetUnits(block, count),
                        _mm512_maskz_compress_epi16(static_cast<__mmask32>(span.Bits()), mapped));
    start = static_cast<unsigned int>(from) + span.First();
    rawLength = mappedLength = count;
    return true;
}

// Where the next calls will begin, as far as a window shows. It saves time and decides nothing.
//
// A call begins at the end of the word before, and that comes late: by way of a judged window and
// through the caller's variables, some forty cycles. So each call also tells, by its own window,
// where the call after the next will begin. That one compares, and where it is right goes on with
// the place foretold: as the processor foresees the branch, it begins with a word while it still
// judges the one before. The place may be of another walk or another text: then it differs, or it
// is right all the same.
class CForesight
{
public:
    // Answers `from`. Where that was foretold the processor doesn't wait for it.
    LOAM_VECTOR_INLINE std::size_t Confirm(std::size_t from)
    {
        std::size_t const foretold = mNext;
        mNext = mAfterNext;
        // A compiler that knew them to be equal would use either, and might choose without a
        // branch.
        std::size_t place;
        __asm__("" : "=r"(place) : "0"(foretold));
        if (from == foretold) {
            __asm__ volatile("" : "=r"(from) : "0"(place));
        }
        return from;
    }

    LOAM_VECTOR_INLINE void Foretell(std::size_t from) { mAfterNext = from; }

private:
    std::size_t mNext;
    std::size_t mAfterNext;
};

// By this model it is reached without a call. A library loaded at run time then has all its
// `thread_local` objects, a few dozen bytes, in the little static storage that is left for such.
[[gnu::tls_model("initial-exec")]] constinit thread_local CForesight sForesight{};

// Latin, near the end of the text or with a window and more before it. Out of line, as its vectors
// take a frame and many registers, which ideographs do without.
template <class Rule, bool kIsNearEnd>
LOAM_VECTOR __attribute__((noinline)) bool NextOfLatin(MappedWordFacts const& facts,
                                                       char16_t const* text,
                                                       unsigned int length,
                                                       unsigned int& start,
                                                       unsigned int& rawLength,
                                                       amortizedmemblock& block,
                                                       unsigned int& mappedLength)
{
    if (!IsReady(block, mappedLength)) [[unlikely]]
        return NextOtherwise<Rule>(facts, text, length, start, rawLength, block, mappedLength);

    std::size_t const from = sForesight.Confirm(std::size_t{start} + rawLength);
    static_assert(kMostUnits == 32);
    // Behind the text nothing is taken, and nothing is unknown.
    auto const all =
        kIsNearEnd ? static_cast<__mmask32>(All(length - from, kMostUnits)) : ~__mmask32{0};
    __m512i const units =
        kIsNearEnd ? _mm512_maskz_loadu_epi16(all, text + from) : _mm512_loadu_si512(text + from);
    // Units beyond Latin become 0xFF, and that becomes unknown.
    __m256i const bytes = _mm512_maskz_cvtusepi16_epi8(~0U, units);
    __m256i const mapped = MapLatin<Rule>(facts, bytes);
    __m256i const isUnknown = LowerHalf(EachByte<MappedWordFacts::kUnknownLatin>());
    std::uint32_t const unknown = _mm256_cmpeq_epi8_mask(mapped, isUnknown) & all;
    std::uint32_t const taken = _mm256_cmpgt_epu8_mask(mapped, isUnknown) & all;
    // The carry goes from the lowest unit up to the first that isn't taken.
    std::uint32_t const ends = taken + (taken & -taken);
    // What is taken behind this word; the lowest run of it is the next one.
    std::uint32_t const further = taken & ends;
    sForesight.Foretell(from + _tzcnt_u32(further + (further & -further)));
    // A word that goes to the last unit may go further, and without an end there is none.
    constexpr std::uint32_t kLast = 1U << (kMostUnits - 1);
    std::uint32_t const upToEnd = ends ^ (ends - 1);
    if ((upToEnd & (unknown | kLast)) != 0) [[unlikely]]
        return NextOtherwise<Rule>(facts, text, length, start, rawLength, block, mappedLength);

    unsigned int const first = _tzcnt_u32(taken);
    unsigned int const count = _tzcnt_u32(ends) - first;
    start = static_cast<unsigned int>(from) + first;
    rawLength = mappedLength = count;
    _mm512_storeu_si512(
        SetUnits(block, count),
        _mm512_maskz_cvtepu8_epi16(~0U, _mm256_maskz_compress_epi8(taken & upToEnd, mapped)));
    return true;
}

// Near the end of the text, and the end.
template <class Rule>
LOAM_VECTOR __attribute__((noinline)) bool NextNearEnd(MappedWordFacts const& facts,
                                                       char16_t const* text,
                                                       unsigned int length,
                                                       unsigned int& start,
                                                       unsigned int& rawLength,
                                                       amortizedmemblock& block,
                                                       unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (from + 1 >= length)
        return NextWordByUnit<Rule>(facts, text, length, start, rawLength, block, mappedLength);
    if (BeginsBeyondLatin(text + from))
        return NextIdeograph<Rule, NextOfAlphabet<Rule>, NextOtherwise<Rule>, NextWordByUnit<Rule>>(
            from, facts, text, length, start, rawLength, block, mappedLength);
    return NextOfLatin<Rule, true>(facts, text, length, start, rawLength, block, mappedLength);
}

template <class Rule>
LOAM_VECTOR_INLINE bool Next(MappedWordFacts const& facts,
                             char16_t const* text,
                             unsigned int length,
                             unsigned int& start,
                             unsigned int& rawLength,
                             amortizedmemblock& block,
                             unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (from + kMostUnits >= length) [[unlikely]]
        return NextNearEnd<Rule>(facts, text, length, start, rawLength, block, mappedLength);
    if (BeginsBeyondLatin(text + from))
        return NextIdeograph<Rule, NextOfAlphabet<Rule>, NextOtherwise<Rule>>(
            from, facts, text, length, start, rawLength, block, mappedLength);
    return NextOfLatin<Rule, false>(facts, text, length, start, rawLength, block, mappedLength);
}

}  // namespace

LOAM_VECTOR bool NextStubWordAVX512(MappedWordFacts const& facts,
                                    char16_t const* text,
                                    unsigned int length,
                                    unsigned int& start,
                                    unsigned int& rawLength,
                                    amortizedmemblock& block,
                                    unsigned int& mappedLength)
{
    return Next<StubWordRule>(facts, text, length, start, rawLength, block, mappedLength);
}

LOAM_VECTOR bool NextLegacyWordAVX512(MappedWordFacts const& facts,
                                      char16_t const* text,
                                      unsigned int length,
                                      unsigned int& start,
                                      unsigned int& rawLength,
                                      amortizedmemblock& block,
                                      unsigned int& mappedLength)
{
    return Next<LegacyWordRule>(facts, text, length, start, rawLength, block, mappedLength);
}

#endif
