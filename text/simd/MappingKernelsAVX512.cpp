// Mapping for AVX-512 with VBMI2: 32 units at a time, looked up in halves of pages.
//
// A script's letters lie within one half of a page or few, so a window of text is looked up in its
// halves one after another, and most halves map nothing at all.
#include "text/simd/MappingKernels.h"

#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <algorithm>
#include <bit>

#include "text/CUnicodeMappingTable.h"

namespace {

constexpr int kWindow = 32;
constexpr __mmask32 kAll = ~__mmask32{0};

// What a table says of all windows.
class CMapper
{
public:
    LOAM_AVX512_INLINE explicit CMapper(CUnicodeMappingTable const& table)
        : mTable(table)
        , mHalves(_mm512_loadu_si512(table.GetMappedHalves()))
        , mFirstOther(_mm512_setzero_si512())
        , mCapitals(_mm512_setzero_si512())
    {
        using Mapping = CUnicodeMappingTable::ASCIIMapping;
        Mapping const mapping = table.GetASCIIMapping();
        if (mapping == Mapping::kOther) return;
        // ASCII needs no look-up.
        mHalves = _mm512_mask_and_epi32(mHalves, 1, mHalves, EachLane<0xFFFFFFFE>());
        mFirstOther = EachUnit<0x80>();
        if (mapping == Mapping::kLowercased) mCapitals = EachUnit<26>();
    }

    // What the units of a window give; in `lanes` alone.
    struct Mapped
    {
        __m512i mUnits;      // where a unit gives one
        __mmask32 mDeleted;  // where it gives none
        __mmask32 mSeveral;  // where it gives several, or one that `MapToSingleUnit` doesn't tell
    };

    LOAM_AVX512_INLINE Mapped Map(char16_t const* text, __mmask32 lanes) const
    {
        __m512i const units = _mm512_maskz_loadu_epi16(lanes, text);
        __mmask32 const isCapital =
            _mm512_cmplt_epu16_mask(_mm512_sub_epi16(units, EachUnit<'A'>()), mCapitals);
        Mapped mapped{_mm512_mask_add_epi16(units, isCapital, units, EachUnit<0x20>()), 0, 0};
        if (_mm512_mask_cmpge_epu16_mask(lanes, units, mFirstOther) != 0)
            MapOthers(text, lanes, units, mapped);
        return mapped;
    }

private:
    LOAM_AVX512_INLINE void
    MapOthers(char16_t const* text, __mmask32 lanes, __m512i units, Mapped& mapped) const
    {
        __m512i const halves = _mm512_srli_epi16(units, 7);
        __m512i const bits =
            _mm512_maskz_permutexvar_epi16(kAll, _mm512_srli_epi16(units, 11), mHalves);
        __m512i const bit = _mm512_srlv_epi16(bits, _mm512_and_si512(halves, EachUnit<15>()));
        __mmask32 left = _mm512_mask_test_epi16_mask(lanes, bit, EachUnit<1>());
        while (left != 0) {
            unsigned int const half =
                text[std::countr_zero(left)] / CUnicodeMappingTable::kHalfSize;
            __mmask32 const isHere = _mm512_mask_cmpeq_epi16_mask(
                left, halves, _mm512_set1_epi16(static_cast<short>(half)));
            __m512i const steps = LookUp(mTable.GetSteps(half), units);
            mapped.mUnits = _mm512_mask_add_epi16(mapped.mUnits, isHere, units, steps);
            __mmask32 const isNone =
                _mm512_mask_cmpeq_epi16_mask(isHere, mapped.mUnits, EachUnit<0xFFFF>());
            if (isNone != 0) mapped.mDeleted |= AreIn(mTable.GetDeleted(half), units, isNone);
            left &= ~isHere;
        }
        __mmask32 const isNone =
            _mm512_mask_cmpeq_epi16_mask(lanes, mapped.mUnits, EachUnit<0xFFFF>());
        mapped.mSeveral = isNone & ~mapped.mDeleted;
    }

    // The low seven bits of each unit in a table of as many words.
    static LOAM_AVX512_INLINE __m512i LookUp(std::uint16_t const* words, __m512i units)
    {
        __m512i const lower = _mm512_permutex2var_epi16(_mm512_loadu_si512(words), units,
                                                        _mm512_loadu_si512(words + 32));
        __m512i const upper = _mm512_permutex2var_epi16(_mm512_loadu_si512(words + 64), units,
                                                        _mm512_loadu_si512(words + 96));
        return _mm512_mask_mov_epi16(lower, _mm512_test_epi16_mask(units, EachUnit<0x40>()), upper);
    }

    // Which of `lanes` have the bit of their units' low seven bits set.
    static LOAM_AVX512_INLINE __mmask32 AreIn(std::uint16_t const* bits,
                                              __m512i units,
                                              __mmask32 lanes)
    {
        __m512i const words = _mm512_maskz_broadcast_i32x4(
            0xFFFF, _mm_loadu_si128(reinterpret_cast<__m128i const*>(bits)));
        __m512i const index = _mm512_and_si512(_mm512_srli_epi16(units, 4), EachUnit<7>());
        __m512i const bit = _mm512_srlv_epi16(_mm512_maskz_permutexvar_epi16(kAll, index, words),
                                              _mm512_and_si512(units, EachUnit<15>()));
        return _mm512_mask_test_epi16_mask(lanes, bit, EachUnit<1>());
    }

    CUnicodeMappingTable const& mTable;
    __m512i mHalves;      // that have mappings, but for a plain half of ASCII
    __m512i mFirstOther;  // the first unit that is not ASCII, or 0 where that is not plain
    __m512i mCapitals;    // how many of A to Z become a to z: all or none
};

// The units or offsets of `lanes`, side by side; others in memory stay as they are.

LOAM_AVX512_INLINE void PutUnits(char16_t* target, __m512i units, __mmask32 lanes, __mmask32 room)
{
    if (lanes != room) units = _mm512_maskz_compress_epi16(lanes, units);
    _mm512_mask_storeu_epi16(target, room, units);
}

LOAM_AVX512_INLINE void PutOffsets(int* target, int from, __mmask32 lanes)
{
    __m512i const places = _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    for (int half = 0; half < 2; ++half) {
        auto const here = static_cast<__mmask16>(lanes >> 16 * half);
        __m512i const values = _mm512_add_epi32(places, _mm512_set1_epi32(from + 16 * half));
        int const count = std::popcount(here);
        _mm512_mask_storeu_epi32(target, static_cast<__mmask16>(LowBits(count)),
                                 _mm512_maskz_compress_epi32(here, values));
        target += count;
    }
}

template <bool kWithOffsets>
LOAM_AVX512 bool MapAll(CUnicodeMappingTable const& table,
                        char16_t const* source,
                        int sourceLength,
                        int& sourcePos,
                        char16_t* target,
                        int targetCapacity,
                        int& targetPos,
                        int* offsets)
{
    CMapper const mapper(table);
    int from = sourcePos;
    int to = targetPos;
    while (from < sourceLength && to < targetCapacity) {
        int count = std::min({kWindow, sourceLength - from, targetCapacity - to});
        auto const lanes = static_cast<__mmask32>(LowBits(count));
        CMapper::Mapped const mapped = mapper.Map(source + from, lanes);
        if (mapped.mSeveral != 0) count = std::countr_zero(mapped.mSeveral);
        __mmask32 const kept = static_cast<__mmask32>(LowBits(count)) & ~mapped.mDeleted;
        int const written = std::popcount(kept);
        PutUnits(target + to, mapped.mUnits, kept, static_cast<__mmask32>(LowBits(written)));
        if constexpr (kWithOffsets) PutOffsets(offsets + to, from, kept);
        from += count;
        to += written;
        if (mapped.mSeveral == 0) continue;

        char16_t const* units = &source[from];
        int several = 1;
        table.FindEntry(source[from], units, several);
        if (several > targetCapacity - to) break;
        for (int k = 0; k < several; ++k, ++to) {
            target[to] = units[k];
            if constexpr (kWithOffsets) offsets[to] = from;
        }
        ++from;
    }
    sourcePos = from;
    targetPos = to;
    // What is deleted where there is no room left, and the answer.
    return MapUnitsPlain(table, source, sourceLength, sourcePos, target, targetCapacity, targetPos,
                         offsets);
}

}  // namespace

bool MapUnitsAVX512(CUnicodeMappingTable const& table,
                    char16_t const* source,
                    int sourceLength,
                    int& sourcePos,
                    char16_t* target,
                    int targetCapacity,
                    int& targetPos,
                    int* offsets)
{
    auto* const map = offsets ? MapAll<true> : MapAll<false>;
    return map(table, source, sourceLength, sourcePos, target, targetCapacity, targetPos, offsets);
}

// A window at a time is compared with the first four units of the needle, a mask of lanes for each.
// The lanes of deleted units are taken out of the masks, so that neighbours in the masks are
// neighbours in the mapped text. Where nothing is known, in lanes of several units and behind the
// window, everything agrees.
LOAM_AVX512 int FindMappedStartAVX512(CUnicodeMappingTable const& table,
                                      char16_t const* text,
                                      int textLength,
                                      int at,
                                      char16_t const* needle,
                                      int needleLength)
{
    constexpr int kCompared = 4;
    CMapper const mapper(table);
    __m512i units[kCompared];
    std::uint64_t open[kCompared];  // all bits where the needle has no such unit
    for (int k = 0; k < kCompared; ++k) {
        char16_t const unit = needle[std::min(k, needleLength - 1)];
        units[k] = _mm512_set1_epi16(static_cast<short>(unit));
        open[k] = k < needleLength ? 0 : ~std::uint64_t{0};
    }

    while (at < textLength) {
        int const count = std::min(kWindow, textLength - at);
        auto const lanes = static_cast<__mmask32>(LowBits(count));
        CMapper::Mapped const mapped = mapper.Map(text + at, lanes);
        std::uint64_t same[kCompared];
        for (int k = 0; k < kCompared; ++k)
            same[k] = _mm512_mask_cmpeq_epi16_mask(lanes, mapped.mUnits, units[k]);
        std::uint64_t several = mapped.mSeveral;
        std::uint64_t const kept = lanes & ~mapped.mDeleted;
        if (mapped.mDeleted != 0) {
            for (std::uint64_t& mask : same)
                mask = _pext_u64(mask, kept);
            several = _pext_u64(several, kept);
        }
        std::uint64_t const unknown = several | ~LowBits(std::popcount(kept));
        std::uint64_t starts = ~std::uint64_t{0};
        for (int k = kCompared - 1; k > 0; --k)
            starts = (unknown | open[k] | (same[k] & starts)) >> 1;
        starts = several | (same[0] & starts);
        starts = _pdep_u64(starts, kept);
        if (starts == 0) {
            at += count;
            continue;
        }
        int const start = std::countr_zero(starts);
        at += start;
        // Too near to the end of the window to tell, unless it is that of the text.
        if (start <= kWindow - kCompared || count < kWindow) return at;
    }
    return at;
}

#endif
