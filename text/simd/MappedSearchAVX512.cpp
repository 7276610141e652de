// Finding where a mapped needle can begin, for AVX-512 with VBMI2: 64 units at a time, by the codes
// of what they give.
//
// A look-up of bytes serves half of a page at once. Text stays with few halves of those pages that
// have mappings: each window is looked up in all that were met lately, and units of any other page
// have codes that are computed.
#include "text/simd/MappingKernels.h"

#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "text/CUnicodeMappingTable.h"

namespace {

constexpr int kWindow = 64;

// What is shorter is done unit by unit before a window is set up.
constexpr int kShort = 12;

// By the lower two bits of a page, where the bits of its halves stand in a byte.
struct BitsOfHalves
{
    alignas(64) std::uint8_t mBits[64];

    constexpr BitsOfHalves()
        : mBits{}
    {
        for (unsigned int page = 0; page < 64; ++page)
            mBits[page] = static_cast<std::uint8_t>(3U << page % 4 * 2);
    }
};

constexpr BitsOfHalves kBitsOfHalves;

LOAM_AVX512_INLINE __m512i LookUp(void const* table, __m512i places)
{
    return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, places, _mm512_loadu_si512(table));
}

// Up to 64 units.
struct Window
{
    __m512i mLow;
    __m512i mHigh;

    LOAM_AVX512_INLINE Window(char16_t const* text, __mmask64 lanes)
    {
        __m512i const first = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes), text);
        __m512i const second =
            _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes >> 32), text + 32);
        mLow = LowBytes(first, second);
        mHigh = HighBytes(first, second);
    }
};

// As if each unit stayed as it is.
LOAM_AVX512_INLINE __m512i ComputeCodes(Window const& units)
{
    __m512i const ofPages = LookUp(SearchCode::kOfPages.data(), units.mHigh);
    return _mm512_min_epu8(_mm512_xor_si512(units.mLow, ofPages), EachByte<SearchCode::kHighest>());
}

// Gives the codes of one window after another.
class CCoder
{
public:
    // ASCII is everywhere, and the half of a page with the needle's first unit is likely to be that
    // of a text. With ASCII at hand or not mapped, lanes behind the text, which hold NUL, are never
    // asked for in it.
    LOAM_AVX512_INLINE CCoder(CUnicodeMappingTable const& table, char16_t likely)
        : mMappedHalves(_mm512_loadu_si512(table.GetMappedHalves()))
        , mTable(table)
    {
        unsigned int const half = likely / CUnicodeMappingTable::kHalfSize;
        if (IsMapped(0)) mLower.Add(HalfOf(0));
        if (half != 0 && IsMapped(half)) (half % 2 == 0 ? mLower : mUpper).Add(HalfOf(half));
        mLower.mLikelyCount = mLower.mCount;
        mUpper.mLikelyCount = mUpper.mCount;
    }

    LOAM_AVX512_INLINE __m512i Code(char16_t const* text, Window const& units)
    {
        if (++mWindows % kWindows == 0) {
            mLower.mCount = mLower.mLikelyCount;
            mUpper.mCount = mUpper.mLikelyCount;
        }
        __mmask64 const isUpper = _mm512_movepi8_mask(units.mLow);
        __m512i codes = _mm512_setzero_si512();
        __mmask64 left = ~__mmask64{0};
        mLower.Take(units, ~isUpper, left, codes);
        mUpper.Take(units, isUpper, left, codes);
        if (left == 0) return codes;
        codes = _mm512_mask_mov_epi8(codes, left, ComputeCodes(units));
        left &= HaveMappedPage(units.mHigh);
        while (left != 0) {
            unsigned int const half =
                text[std::countr_zero(left)] / CUnicodeMappingTable::kHalfSize;
            Halves& halves = half % 2 == 0 ? mLower : mUpper;
            Half const met = HalfOf(half);
            met.Take(units, half % 2 == 0 ? ~isUpper : isUpper, left, codes);
            if (halves.mCount < kUsual) halves.Add(met);
        }
        return codes;
    }

private:
    // Halves that were met are asked for again in the windows that follow, for a while: whether
    // they occur is nothing that a processor can foresee, and a wrong guess takes longer than they
    // do.
    static constexpr unsigned int kUsual = 8;
    static constexpr unsigned int kWindows = 32;

    // Half of a page that has mappings.
    struct Half
    {
        std::uint32_t mPages;  // its page four times
        std::uint8_t const* mCodes;

        // Takes its units out of `left`; it lies in one of `lanes`.
        LOAM_AVX512_INLINE void
        Take(Window const& units, __mmask64 lanes, __mmask64& left, __m512i& codes) const
        {
            __m512i const pages = _mm512_set1_epi32(static_cast<int>(mPages));
            __mmask64 const isHere = _mm512_mask_cmpeq_epi8_mask(lanes, units.mHigh, pages);
            codes = _mm512_mask_mov_epi8(codes, isHere, LookUpIn128(mCodes, units.mLow));
            left &= ~isHere;
        }
    };

    // The lower halves of some pages, or the upper ones.
    struct Halves
    {
        Half mUsual[kUsual];
        unsigned int mCount = 0;
        unsigned int mLikelyCount = 0;

        void Add(Half const& half) { mUsual[mCount++] = half; }

        LOAM_AVX512_INLINE void
        Take(Window const& units, __mmask64 lanes, __mmask64& left, __m512i& codes) const
        {
            for (unsigned int i = 0; i < mCount; ++i)
                mUsual[i].Take(units, lanes, left, codes);
        }
    };

    bool IsMapped(unsigned int half) const
    {
        return (mTable.GetMappedHalves()[half / 16] >> (half & 14) & 3) != 0;
    }

    Half HalfOf(unsigned int half) const
    {
        std::size_t const first = std::size_t{half % 2} * CUnicodeMappingTable::kHalfSize;
        return {half / 2 * 0x01010101, mTable.GetSearchCodes(half / 2) + first};
    }

    LOAM_AVX512_INLINE __mmask64 HaveMappedPage(__m512i pages) const
    {
        // A look-up takes no more than six bits of each byte.
        __m512i const halves = _mm512_maskz_permutexvar_epi8(
            ~__mmask64{0}, _mm512_srli_epi16(pages, 2), mMappedHalves);
        return _mm512_test_epi8_mask(halves, LookUp(&kBitsOfHalves, pages));
    }

    __m512i mMappedHalves;  // a bit each
    CUnicodeMappingTable const& mTable;
    Halves mLower;
    Halves mUpper;
    unsigned int mWindows = 0;
};

// The first units of a needle, as far as a window is compared with them.
class CNeedle
{
public:
    static constexpr int kCompared = 4;

    LOAM_AVX512_INLINE CNeedle(char16_t const* units, int length)
        : mSecondCounts(length > 1 ? ~std::uint64_t{0} : 0)
        , mThirdCounts(length > 2 ? ~std::uint64_t{0} : 0)
        , mFourthCounts(length > 3 ? ~std::uint64_t{0} : 0)
    {
        auto const lanes = static_cast<__mmask32>(LowBits(std::min(length, kCompared)));
        Window const window(units, lanes);
        __m512i const codes = ComputeCodes(window);
        mFirst = Each<0>(codes);
        mSecond = Each<1>(codes);
        mThird = Each<2>(codes);
        mFourth = Each<3>(codes);
    }

    // The lanes of a window in which the needle can begin.
    //
    // The masks have a bit for each mapped unit: the lanes of deleted units are taken out, so that
    // neighbours in a mask are neighbours in the mapped text. Units behind the window are not
    // known, as those are not of which a lane gives several: what follows them may be anything.
    LOAM_AVX512_INLINE __mmask64 FindStarts(__m512i codes, __mmask64 lanes) const
    {
        __mmask64 const kept =
            lanes & _mm512_cmpneq_epi8_mask(codes, EachByte<SearchCode::kDeleted>());
        std::uint64_t const known =
            _pext_u64(_mm512_cmpneq_epi8_mask(codes, EachByte<SearchCode::kSeveral>()), kept);
        std::uint64_t const fourth = Differs(mFourth, codes, kept, known) & mFourthCounts;
        std::uint64_t const third = Differs(mThird, codes, kept, known) & mThirdCounts;
        std::uint64_t const second = Differs(mSecond, codes, kept, known) & mSecondCounts;
        std::uint64_t const first = Differs(mFirst, codes, kept, known);
        std::uint64_t const rest = third >> 2 | (known >> 2 & fourth >> 3);
        return _pdep_u64(~(first | (known & (second >> 1 | (known >> 1 & rest)))), kept);
    }

private:
    template <std::uint32_t kAt>
    static LOAM_AVX512_INLINE __m512i Each(__m512i codes)
    {
        return _mm512_maskz_permutexvar_epi8(~__mmask64{0}, EachByte<kAt>(), codes);
    }

    static LOAM_AVX512_INLINE std::uint64_t
    Differs(__m512i code, __m512i codes, __mmask64 kept, std::uint64_t known)
    {
        return _pext_u64(_mm512_cmpneq_epi8_mask(codes, code), kept) & known;
    }

    __m512i mFirst;
    __m512i mSecond;
    __m512i mThird;
    __m512i mFourth;
    // All bits, but none where the needle is too short.
    std::uint64_t mSecondCounts;
    std::uint64_t mThirdCounts;
    std::uint64_t mFourthCounts;
};

bool CanBeginWith(CUnicodeMappingTable const& table, char16_t unit, char16_t first)
{
    char16_t const* units = &unit;
    int count = 1;
    table.FindEntry(unit, units, count);
    return count > 0 && units[0] == first;
}

// The first of `lanes` whose unit gives what the needle begins with, or `kWindow`. Some languages
// are full of units that give several: to stop at each of them takes longer than all the rest.
LOAM_AVX512_INLINE int FindFirstOf(__mmask64 lanes,
                                   CUnicodeMappingTable const& table,
                                   char16_t const* text,
                                   char16_t first)
{
    while (lanes != 0 && !CanBeginWith(table, text[std::countr_zero(lanes)], first))
        lanes &= lanes - 1;
    return std::countr_zero(lanes);
}

LOAM_AVX512 int FindStart(CUnicodeMappingTable const& table,
                          char16_t const* text,
                          int textLength,
                          int at,
                          char16_t const* needle,
                          int needleLength)
{
    // Each window begins anew with the last units of the one before, of which it knows what
    // follows.
    constexpr int kStep = kWindow - CNeedle::kCompared + 1;
    constexpr __mmask64 kAll = ~__mmask64{0};
    CCoder coder(table, needle[0]);
    CNeedle const compared(needle, needleLength);
    for (; textLength - at >= kWindow; at += kStep) {
        __m512i const codes = coder.Code(text + at, Window(text + at, kAll));
        __mmask64 const starts = compared.FindStarts(codes, kAll) & LowBits(kStep);
        if (starts == 0) continue;
        int const start = FindFirstOf(starts, table, text + at, needle[0]);
        if (start < kWindow) return at + start;
    }
    __mmask64 const lanes = LowBits(textLength - at);
    __m512i const codes = coder.Code(text + at, Window(text + at, lanes));
    __mmask64 const starts = compared.FindStarts(codes, lanes);
    int const start = FindFirstOf(starts, table, text + at, needle[0]);
    return start < kWindow ? at + start : textLength;
}

}  // namespace

int FindMappedStartAVX512(CUnicodeMappingTable const& table,
                          char16_t const* text,
                          int textLength,
                          int at,
                          char16_t const* needle,
                          int needleLength)
{
    auto* const find = textLength - at < kShort ? FindMappedStartPlain : FindStart;
    return find(table, text, textLength, at, needle, needleLength);
}

#endif
