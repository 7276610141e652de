// The walk over mapped words with AVX-512: a window of sixteen units is judged at once, by sets of
// bytes for Latin, by comparison for Hangul and by gathered entries for the other alphabets. What
// the word's units become is stored at once too, deleted ones left out.
//
// All arithmetic on the way to the word's end is on the path from one call to the next, and so is
// kept short; what the word becomes is not.
//
// The look-up of bytes in a set by two shuffles is W. Muła's, "SIMD-ized searching in unique
// constant set of characters" (2018).
#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include "marl/CBlockAccess.h"
#include "text/NextMappedWord.h"

namespace {

constexpr std::size_t kWindow = 16;

// A bit for each unit of a window, that of the first one lowest. Behind the window nothing is
// taken, and all is unknown unless the text ends there.
struct Judgement
{
    std::uint32_t mNotTaken;
    std::uint32_t mDeleted;
    std::uint32_t mUnknown;
};

// A word in a window.
struct Span
{
    std::uint32_t mLowest;  // the bit of its first unit; 0 if nothing is taken
    std::uint32_t mEnds;    // the lowest of these is the bit behind it

    // Its units.
    std::uint32_t Bits() const { return (mEnds & -mEnds) - mLowest; }

    std::uint32_t First() const { return static_cast<std::uint32_t>(__builtin_ctz(mLowest)); }

    std::uint32_t End() const { return static_cast<std::uint32_t>(__builtin_ctz(mEnds)); }

    std::uint32_t Length() const { return End() - First(); }
};

// What is unknown before a word's end and right behind it; all that is unknown if nothing is taken.
// So where text follows the window, 0 says that there is a word in it. The units of a word are
// those taken and those deleted between and behind them.
LOAM_AVX512_INLINE std::uint32_t FindWord(Judgement const& judged, Span& span)
{
    // The carry goes up to the lowest unit taken, and turns round all below it.
    std::uint32_t const carried = judged.mNotTaken + 1;
    span.mLowest = carried & ~judged.mNotTaken;
    span.mEnds = carried & judged.mNotTaken & ~judged.mDeleted;
    return judged.mUnknown & (span.mEnds ^ (span.mEnds - 1));
}

// The lowest `count` bits; a plain `bzhi` knows no more than 255.
LOAM_AVX512_INLINE std::uint32_t LowestBits(std::size_t count)
{
    return _bzhi_u32(~0U, static_cast<unsigned int>(count < 32 ? count : 32));
}

LOAM_AVX512_INLINE __m128i Load(void const* address)
{
    return _mm_loadu_si128(static_cast<__m128i const*>(address));
}

// As many units as there are bits in `mask`, from its lowest one on; the others are 0.
LOAM_AVX512_INLINE __m256i LoadUnits(char16_t const* text, std::uint32_t mask)
{
    return _mm256_maskz_loadu_epi16(static_cast<__mmask16>(mask), text);
}

// What vectors are made of. From memory: compilers would rather make each anew, by way of a general
// register and the port that all shuffles wait for.
struct Constants
{
    std::uint8_t mHighest[16];
    std::uint8_t mEighths[16];
};

constexpr Constants kConstants = {
    {254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254},
    {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128},
};

LOAM_AVX512_INLINE Constants const& GetConstants()
{
    Constants const* constants = &kConstants;
    __asm__("" : "+r"(constants));
    return *constants;
}

// A window of units as bytes, 0xFF for those beyond 0xFF, but 0 for those beyond 0x7FFF. And what
// is above the low four bits, of which nothing may be left beyond 0x7FFF, and anything between.
struct Narrowed
{
    __m128i mBytes;
    __m128i mColumns;
};

// Of units given as two eights.
LOAM_AVX512_INLINE Narrowed Narrow(__m128i first, __m128i second)
{
    return {_mm_packus_epi16(first, second),
            _mm_packus_epi16(_mm_srli_epi16(first, 4), _mm_srli_epi16(second, 4))};
}

// The units that are not in a set, and all behind the window.
LOAM_AVX512_INLINE std::uint32_t
FindNot(MappedWordFacts::ByteSet const& set, __m128i bytes, __m128i others, __m128i eighths)
{
    __m128i const low = _mm_shuffle_epi8(Load(set.mRows[0]), bytes);
    __m128i const high = _mm_shuffle_epi8(Load(set.mRows[1]), others);
    __m128i const found = _mm_and_si128(_mm_or_si128(low, high), eighths);
    return static_cast<std::uint32_t>(
               _mm_movemask_epi8(_mm_cmpeq_epi8(found, _mm_setzero_si128()))) +
           0xFFFF0000;
}

template <class Rule>
LOAM_AVX512_INLINE Judgement JudgeLatin(MappedWordFacts const& facts, Narrowed const& units)
{
    MappedWordFacts::Latin const& latin = facts.mLatin[Rule::kTakesSymbols ? 1 : 0];
    __m128i const eighths = _mm_shuffle_epi8(Load(GetConstants().mEighths), units.mColumns);
    __m128i const others = _mm_sub_epi8(Load(GetConstants().mHighest), units.mBytes);
    return {FindNot(latin.mTaken, units.mBytes, others, eighths), 0,
            FindNot(latin.mKnown, units.mBytes, others, eighths)};
}

LOAM_AVX512_INLINE __mmask16 FindSame(MappedWordFacts const& facts, __m256i units)
{
    __m256i const places =
        _mm256_sub_epi16(units, _mm256_set1_epi16(static_cast<short>(facts.mSameFirst)));
    return _mm256_cmplt_epu16_mask(places, _mm256_set1_epi16(static_cast<short>(facts.mSameCount)));
}

LOAM_AVX512_INLINE __m128i Lowest(__m512i vector)
{
    auto const eighths = reinterpret_cast<__v8di>(vector);
    return reinterpret_cast<__m128i>(__builtin_shufflevector(eighths, eighths, 0, 1));
}

// What bytes that are taken become.
LOAM_AVX512_INLINE __m256i MapLatin(MappedWordFacts const& facts, __m128i bytes)
{
    auto const* const map = reinterpret_cast<__m512i const*>(facts.mLatinMap);
    __m512i const at = _mm512_castsi128_si512(bytes);
    __m512i const low = _mm512_permutex2var_epi8(map[0], at, map[1]);
    __m512i const high = _mm512_permutex2var_epi8(map[2], at, map[3]);
    return _mm256_maskz_cvtepu8_epi16(
        0xFFFF, _mm_mask_blend_epi8(_mm_movepi8_mask(bytes), Lowest(low), Lowest(high)));
}

// Whether the block is as the quick ways want it: it holds nothing but the word before, and any
// word of a window finds room.
LOAM_AVX512_INLINE bool IsReady(amortizedmemblock const& block, unsigned int mappedLength)
{
    return CBlockAccess::HasRoom(block, sizeof(__m256i)) &&
           CBlockAccess::GetSize(block) <= mappedLength * sizeof(char16_t);
}

// Makes the first `count` units the block's content.
LOAM_AVX512_INLINE void Put(amortizedmemblock& block, __m256i units, std::uint32_t count)
{
    char* const target = CBlockAccess::SetSize(block, count * sizeof(char16_t));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), units);
}

// Puts a word of Latin, of which `bits` are the units in a window of bytes. Out of line, as wide
// registers would cost the caller a stack of its own.
LOAM_AVX512 __attribute__((noinline)) bool PutLatin(MappedWordFacts const& facts,
                                                    amortizedmemblock& block,
                                                    __m128i bytes,
                                                    std::uint32_t bits,
                                                    std::uint32_t count)
{
    __m128i const word = _mm_maskz_compress_epi8(static_cast<__mmask16>(bits), bytes);
    Put(block, MapLatin(facts, word), count);
    return true;
}

// Where the first unit is that is no gap.
LOAM_AVX512_INLINE std::size_t PassGap(Judgement const& judged, std::size_t at, std::size_t length)
{
    std::uint32_t const stop = ~judged.mNotTaken | judged.mUnknown;
    return stop != 0 ? at + static_cast<std::size_t>(__builtin_ctz(stop)) : length;
}

// Any alphabet, from `at` on. False with `at` moved past gaps if it isn't known how to go on.
template <class Rule>
LOAM_AVX512_INLINE bool
TakeLow(MappedWordFacts const& facts, MappedWordCall const& call, std::size_t& at)
{
    std::uint32_t const all = LowestBits(call.mLength - at);
    __m512i const units = _mm512_maskz_cvtepu16_epi32(0xFFFF, LoadUnits(call.mText + at, all));
    __mmask16 const isLow =
        _mm512_cmplt_epu32_mask(units, _mm512_set1_epi32(MappedWordFacts::kLowUnits));
    __m512i const entries =
        _mm512_mask_i32gather_epi32(_mm512_setzero_si512(), isLow, units, facts.mLow, 4);

    constexpr auto kDeleted = static_cast<int>(MappedWordFacts::kDeleted);
    constexpr auto kTaken = static_cast<int>(Rule::kTakenBit);
    constexpr auto kKnown = kTaken | kDeleted | static_cast<int>(MappedWordFacts::kGap);
    Judgement const judged = {
        ~std::uint32_t{_mm512_test_epi32_mask(entries, _mm512_set1_epi32(kTaken))},
        _mm512_test_epi32_mask(entries, _mm512_set1_epi32(kDeleted)),
        ~std::uint32_t{_mm512_test_epi32_mask(entries, _mm512_set1_epi32(kKnown))} & all};
    Span span;
    if (FindWord(judged, span) != 0 || span.mLowest == 0) {
        at = PassGap(judged, at, call.mLength);
        return false;
    }

    std::uint32_t const mapped = span.Bits() & ~judged.mNotTaken;
    auto const count = static_cast<std::uint32_t>(_mm_popcnt_u32(mapped));
    Put(call.mBlock,
        _mm256_maskz_compress_epi16(static_cast<__mmask16>(mapped),
                                    _mm512_maskz_cvtepi32_epi16(0xFFFF, entries)),
        count);
    call.mStart = static_cast<unsigned int>(at) + span.First();
    call.mRawLength = span.Length();
    call.mMappedLength = count;
    return true;
}

// The same for Latin and Hangul.
template <class Rule>
LOAM_AVX512_INLINE bool
TakeHangul(MappedWordFacts const& facts, MappedWordCall const& call, std::size_t& at)
{
    std::uint32_t const all = LowestBits(call.mLength - at);
    __m256i const units = LoadUnits(call.mText + at, all);
    Narrowed const narrowed =
        Narrow(_mm256_castsi256_si128(units), _mm256_extracti128_si256(units, 1));
    __mmask16 const same = FindSame(facts, units);
    Judgement judged = JudgeLatin<Rule>(facts, narrowed);
    judged.mNotTaken &= ~std::uint32_t{same};
    judged.mNotTaken |= ~all;
    judged.mUnknown &= ~std::uint32_t{same} & all;
    Span span;
    if (FindWord(judged, span) != 0 || span.mLowest == 0) {
        at = PassGap(judged, at, call.mLength);
        return false;
    }
    __m256i const mapped = _mm256_mask_blend_epi16(same, MapLatin(facts, narrowed.mBytes), units);
    Put(call.mBlock, _mm256_maskz_compress_epi16(static_cast<__mmask16>(span.Bits()), mapped),
        span.Length());
    return call.Answer(at + span.First(), span.Length());
}

// A window at a time: any alphabet, Hangul, ideographs, pairs, and gaps between them.
template <class Rule>
LOAM_AVX512 __attribute__((noinline)) bool NextWordAnywhere(MappedWordFacts const& facts,
                                                            char16_t const* text,
                                                            unsigned int length,
                                                            CUnicodeMappingTable const& table,
                                                            unsigned int& start,
                                                            unsigned int& rawLength,
                                                            amortizedmemblock& block,
                                                            unsigned int& mappedLength)
{
    MappedWordCall const call{text, length, table, start, rawLength, block, mappedLength};
    std::size_t at = call.From();
    if (at < length && IsReady(block, mappedLength)) {
        do {
            std::size_t const from = at;
            char16_t const unit = text[at];
            char16_t const next = text[at + (at + 1 < length)];
            bool const isHangul = (unit <= 0x7F ? next : unit) >= facts.mSameFirst;
            if (isHangul && (unit <= 0x7F || unit - facts.mSameFirst < facts.mSameCount)) {
                if (TakeHangul<Rule>(facts, call, at)) return true;
            } else if (unit < MappedWordFacts::kLowUnits) {
                if (TakeLow<Rule>(facts, call, at)) return true;
            } else {
                char16_t units[2];
                unsigned int const count = TakeLoner(text + at, length - at, table, units);
                if (count != 0) {
                    std::memcpy(CBlockAccess::SetSize(block, count * sizeof(char16_t)), units,
                                sizeof units);
                    return call.Answer(at, count);
                }
                bool const isGap = !WordUnits::IsWordUnit(WordUnits::EntryOf(units[0])) &&
                                   units[0] != CUnicodeMappingTable::kNoSingleUnit;
                if (isGap) ++at;
            }
            if (at == from) break;
        } while (at < length);
    }
    return FeedMappedWord<Rule>(call, {call.From(), 0});
}

// Near the end of the text: words of Latin, and the end.
template <class Rule>
LOAM_AVX512 __attribute__((noinline)) bool NextWordNearEnd(MappedWordFacts const& facts,
                                                           char16_t const* text,
                                                           unsigned int length,
                                                           CUnicodeMappingTable const& table,
                                                           unsigned int& start,
                                                           unsigned int& rawLength,
                                                           amortizedmemblock& block,
                                                           unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (IsReady(block, mappedLength)) {
        if (from >= length) {
            CBlockAccess::SetSize(block, 0);
            start = static_cast<unsigned int>(from);
            rawLength = mappedLength = 0;
            return false;
        }
        std::uint32_t const all = LowestBits(length - from);
        __m256i const units = LoadUnits(text + from, all);
        Narrowed const narrowed =
            Narrow(_mm256_castsi256_si128(units), _mm256_extracti128_si256(units, 1));
        Judgement judged = JudgeLatin<Rule>(facts, narrowed);
        judged.mNotTaken |= ~all;
        judged.mUnknown &= all;
        Span span;
        if (FindWord(judged, span) == 0 && span.mLowest != 0) {
            std::uint32_t const count = span.Length();
            start = static_cast<unsigned int>(from) + span.First();
            rawLength = mappedLength = count;
            return PutLatin(facts, block, narrowed.mBytes, span.Bits(), count);
        }
    }
    return NextWordAnywhere<Rule>(facts, text, length, table, start, rawLength, block,
                                  mappedLength);
}

// Whether `unit` becomes one that ends a word and stays out of it.
template <class Rule>
LOAM_AVX512_INLINE bool EndsWord(char16_t unit, CUnicodeMappingTable const& table)
{
    char16_t const mapped = table.MapToSingleUnit(unit);
    return mapped != CUnicodeMappingTable::kNoSingleUnit &&
           Rule::IsDropped(WordUnits::EntryOf(mapped));
}

// Where a unit beyond ASCII comes first: an ideograph, or a gap and then an ideograph.
template <class Rule>
LOAM_AVX512 __attribute__((noinline)) bool NextIdeograph(MappedWordFacts const& facts,
                                                         char16_t const* text,
                                                         unsigned int length,
                                                         CUnicodeMappingTable const& table,
                                                         unsigned int& start,
                                                         unsigned int& rawLength,
                                                         amortizedmemblock& block,
                                                         unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    for (std::size_t at = from; at < from + 2; ++at) {
        char16_t const unit = table.MapToSingleUnit(text[at]);
        unsigned char const entry = WordUnits::EntryOf(unit);
        if (WordUnits::IsIdeographicLetter(entry)) {
            std::memcpy(CBlockAccess::SetSize(block, sizeof unit), &unit, sizeof unit);
            start = static_cast<unsigned int>(at);
            rawLength = mappedLength = 1;
            return true;
        }
        if (WordUnits::IsWordUnit(entry) || unit == CUnicodeMappingTable::kNoSingleUnit) break;
    }
    return NextWordAnywhere<Rule>(facts, text, length, table, start, rawLength, block,
                                  mappedLength);
}

// A word of Latin, or what begins beyond ASCII.
template <class Rule>
LOAM_AVX512_INLINE bool NextWord(MappedWordFacts const& facts,
                                 char16_t const* text,
                                 unsigned int length,
                                 CUnicodeMappingTable const& table,
                                 unsigned int& start,
                                 unsigned int& rawLength,
                                 amortizedmemblock& block,
                                 unsigned int& mappedLength)
{
    std::size_t const from = std::size_t{start} + rawLength;
    if (from + kWindow >= length)
        return NextWordNearEnd<Rule>(facts, text, length, table, start, rawLength, block,
                                     mappedLength);
    if (!IsReady(block, mappedLength))
        return NextWordAnywhere<Rule>(facts, text, length, table, start, rawLength, block,
                                      mappedLength);

    // In this order: the length is known last.
    char16_t const* const window = text + start + rawLength;
    if (window[0] > 0x7F)
        return NextIdeograph<Rule>(facts, text, length, table, start, rawLength, block,
                                   mappedLength);
    if (window[1] > 0xFF)
        return NextWordAnywhere<Rule>(facts, text, length, table, start, rawLength, block,
                                      mappedLength);

    Narrowed const units = Narrow(Load(window), Load(window + kWindow / 2));
    Span span;
    std::uint32_t const unknown = FindWord(JudgeLatin<Rule>(facts, units), span);
    if (unknown != 0) {
        // Perhaps it is only the unit right behind the word.
        bool const isEnd = span.mLowest != 0 && unknown == (span.mEnds & -span.mEnds);
        if (!isEnd || !EndsWord<Rule>(window[span.End()], table))
            return NextWordAnywhere<Rule>(facts, text, length, table, start, rawLength, block,
                                          mappedLength);
    }
    std::uint32_t const count = span.Length();
    start = static_cast<unsigned int>(from) + span.First();
    rawLength = mappedLength = count;
    return PutLatin(facts, block, units.mBytes, span.Bits(), count);
}

}  // namespace

LOAM_AVX512 bool NextStubWordAVX512(MappedWordFacts const& facts,
                                    char16_t const* text,
                                    unsigned int length,
                                    CUnicodeMappingTable const& table,
                                    unsigned int& start,
                                    unsigned int& rawLength,
                                    amortizedmemblock& block,
                                    unsigned int& mappedLength)
{
    return NextWord<StubWordRule>(facts, text, length, table, start, rawLength, block,
                                  mappedLength);
}

LOAM_AVX512 bool NextLegacyWordAVX512(MappedWordFacts const& facts,
                                      char16_t const* text,
                                      unsigned int length,
                                      CUnicodeMappingTable const& table,
                                      unsigned int& start,
                                      unsigned int& rawLength,
                                      amortizedmemblock& block,
                                      unsigned int& mappedLength)
{
    return NextWord<LegacyWordRule>(facts, text, length, table, start, rawLength, block,
                                    mappedLength);
}

#endif
