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

// Half of a page in registers.
struct Half
{
    __m512i mNumber;    // in each lane; none has that of all bits
    __m512i mSteps[4];  // as `CUnicodeMappingTable::GetSteps` tells, 32 in each

    // None.
    LOAM_AVX512_INLINE Half()
        : mNumber(EachUnit<0xFFFF>())
        , mSteps{}
    {
    }

    LOAM_AVX512_INLINE Half(CUnicodeMappingTable const& table, unsigned int number)
        : mNumber(_mm512_set1_epi16(static_cast<short>(number)))
    {
        std::uint16_t const* const steps = table.GetSteps(number);
        mSteps[0] = _mm512_loadu_si512(steps);
        mSteps[1] = _mm512_loadu_si512(steps + 32);
        mSteps[2] = _mm512_loadu_si512(steps + 64);
        mSteps[3] = _mm512_loadu_si512(steps + 96);
    }

    // Maps those of `units` that lie in this half and takes their lanes out of `left`.
    LOAM_AVX512_INLINE void
    Map(__m512i units, __m512i numbers, __mmask32& left, __m512i& mapped) const
    {
        __mmask32 const isHere = _mm512_mask_cmpeq_epi16_mask(left, numbers, mNumber);
        __m512i const lower = _mm512_permutex2var_epi16(mSteps[0], units, mSteps[1]);
        __m512i const upper = _mm512_permutex2var_epi16(mSteps[2], units, mSteps[3]);
        __m512i const steps =
            _mm512_mask_mov_epi16(lower, _mm512_test_epi16_mask(units, EachUnit<0x40>()), upper);
        mapped = _mm512_mask_add_epi16(mapped, isHere, units, steps);
        left &= ~isHere;
    }
};

// What the units of a window give; in its lanes alone.
struct Mapped
{
    __m512i mUnits;      // where a unit gives one
    __mmask32 mDeleted;  // where it gives none
    __mmask32 mSeveral;  // where it gives several, or one that `MapToSingleUnit` doesn't tell
};

// Maps one window after another. The two halves that it needed last are at hand, and each window is
// looked up in both: a branch on what a window holds can't be foreseen, and costs more. Only after
// a run of windows of ASCII these are taken to go on.
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

    LOAM_AVX512_INLINE Mapped Map(char16_t const* text, __mmask32 lanes)
    {
        __m512i const units = _mm512_maskz_loadu_epi16(lanes, text);
        __mmask32 const isCapital =
            _mm512_cmplt_epu16_mask(_mm512_sub_epi16(units, EachUnit<'A'>()), mCapitals);
        Mapped mapped{_mm512_mask_add_epi16(units, isCapital, units, EachUnit<0x20>()), 0, 0};
        mRecent = mRecent << 2 | _mm512_mask_cmpge_epu16_mask(lanes, units, mFirstOther);
        if (mRecent == 0) return mapped;

        __m512i const numbers = _mm512_srli_epi16(units, 7);
        __mmask32 left = lanes & HaveMappedHalf(units, numbers);
        mNewer.Map(units, numbers, left, mapped.mUnits);
        mOlder.Map(units, numbers, left, mapped.mUnits);
        while (left != 0) {
            mOlder = mNewer;
            mNewer = Half(mTable, HalfOf(text, left));
            mNewer.Map(units, numbers, left, mapped.mUnits);
        }
        mapped.mSeveral = _mm512_mask_cmpeq_epi16_mask(lanes, mapped.mUnits, EachUnit<0xFFFF>());
        if (mapped.mSeveral != 0) FindDeleted(text, units, numbers, mapped);
        return mapped;
    }

private:
    // That of the first of `lanes`.
    static LOAM_AVX512_INLINE unsigned int HalfOf(char16_t const* text, __mmask32 lanes)
    {
        return text[std::countr_zero(lanes)] / CUnicodeMappingTable::kHalfSize;
    }

    LOAM_AVX512_INLINE __mmask32 HaveMappedHalf(__m512i units, __m512i numbers) const
    {
        __m512i const words =
            _mm512_maskz_permutexvar_epi16(kAll, _mm512_srli_epi16(units, 11), mHalves);
        return TestBits(words, numbers);
    }

    // Whether the bit of each word is set that the low four bits of `places` tell.
    static LOAM_AVX512_INLINE __mmask32 TestBits(__m512i words, __m512i places)
    {
        __m512i const place = _mm512_and_si512(places, EachUnit<15>());
        return _mm512_test_epi16_mask(_mm512_srlv_epi16(words, place), EachUnit<1>());
    }

    // Tells those that are deleted from several.
    LOAM_AVX512_INLINE void
    FindDeleted(char16_t const* text, __m512i units, __m512i numbers, Mapped& mapped) const
    {
        __m512i const places = _mm512_and_si512(_mm512_srli_epi16(units, 4), EachUnit<7>());
        for (__mmask32 left = mapped.mSeveral; left != 0;) {
            unsigned int const half = HalfOf(text, left);
            __mmask32 const isHere = _mm512_mask_cmpeq_epi16_mask(
                left, numbers, _mm512_set1_epi16(static_cast<short>(half)));
            __m512i const bits = _mm512_maskz_broadcast_i32x4(
                0xFFFF, _mm_loadu_si128(reinterpret_cast<__m128i const*>(mTable.GetDeleted(half))));
            __m512i const words = _mm512_maskz_permutexvar_epi16(kAll, places, bits);
            mapped.mDeleted |= isHere & TestBits(words, units);
            left &= ~isHere;
        }
        mapped.mSeveral &= ~mapped.mDeleted;
    }

    CUnicodeMappingTable const& mTable;
    __m512i mHalves;      // that have mappings, but for a plain half of ASCII
    __m512i mFirstOther;  // the first unit that is not ASCII, or 0 where that is not plain
    __m512i mCapitals;    // how many of A to Z become a to z: all or none
    Half mNewer;
    Half mOlder;
    // The lanes that were not ASCII, moved by two bits for each window since: zero where there was
    // nothing else for 16 to 32 windows. No branch may ask about a single window.
    std::uint64_t mRecent = 0;
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
    CMapper mapper(table);
    int from = sourcePos;
    int to = targetPos;
    while (from < sourceLength && to < targetCapacity) {
        int count = std::min({kWindow, sourceLength - from, targetCapacity - to});
        auto const lanes = static_cast<__mmask32>(LowBits(count));
        Mapped const mapped = mapper.Map(source + from, lanes);
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

// One of the first units of a needle.
struct NeedleUnit
{
    __m512i mUnits;       // in each lane
    std::uint64_t mOpen;  // all bits where the needle is too short to have it

    LOAM_AVX512_INLINE NeedleUnit(char16_t const* needle, int needleLength, int at)
        : mUnits(_mm512_set1_epi16(static_cast<short>(needle[std::min(at, needleLength - 1)])))
        , mOpen(at < needleLength ? 0 : ~std::uint64_t{0})
    {
    }
};

// Where in a window the first units of a needle can be, a bit for each mapped unit: the lanes of
// deleted units are taken out, so that neighbours in a mask are neighbours in the mapped text.
// Where nothing is known, in lanes of several units and behind the window, everything agrees.
class CCandidates
{
public:
    LOAM_AVX512_INLINE CCandidates(Mapped const& mapped, __mmask32 lanes)
        : mMapped(mapped)
        , mLanes(lanes)
        , mKept(lanes & ~mapped.mDeleted)
        , mSeveral(Close(mapped.mSeveral))
        , mUnknown(mSeveral | ~LowBits(std::popcount(mKept)))
    {
    }

    // The places in front of those with `unit` that are in `next`.
    LOAM_AVX512_INLINE std::uint64_t Before(NeedleUnit const& unit, std::uint64_t next) const
    {
        return (mUnknown | unit.mOpen | (Find(unit) & next)) >> 1;
    }

    // The lanes with `unit` that are in `next`.
    LOAM_AVX512_INLINE std::uint64_t Begin(NeedleUnit const& unit, std::uint64_t next) const
    {
        return _pdep_u64(mSeveral | (Find(unit) & next), mKept);
    }

private:
    LOAM_AVX512_INLINE std::uint64_t Close(std::uint64_t lanes) const
    {
        return mMapped.mDeleted == 0 ? lanes : _pext_u64(lanes, mKept);
    }

    LOAM_AVX512_INLINE std::uint64_t Find(NeedleUnit const& unit) const
    {
        return Close(_mm512_mask_cmpeq_epi16_mask(mLanes, mMapped.mUnits, unit.mUnits));
    }

    Mapped const& mMapped;
    __mmask32 mLanes;
    __mmask32 mKept;
    std::uint64_t mSeveral;
    std::uint64_t mUnknown;
};

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

// A window at a time is compared with the first four units of the needle.
LOAM_AVX512 int FindMappedStartAVX512(CUnicodeMappingTable const& table,
                                      char16_t const* text,
                                      int textLength,
                                      int at,
                                      char16_t const* needle,
                                      int needleLength)
{
    CMapper mapper(table);
    NeedleUnit const first(needle, needleLength, 0);
    NeedleUnit const second(needle, needleLength, 1);
    NeedleUnit const third(needle, needleLength, 2);
    NeedleUnit const fourth(needle, needleLength, 3);
    while (at < textLength) {
        int const count = std::min(kWindow, textLength - at);
        auto const lanes = static_cast<__mmask32>(LowBits(count));
        Mapped const mapped = mapper.Map(text + at, lanes);
        CCandidates const candidates(mapped, lanes);
        std::uint64_t starts = candidates.Before(fourth, ~std::uint64_t{0});
        starts = candidates.Before(third, starts);
        starts = candidates.Before(second, starts);
        starts = candidates.Begin(first, starts);
        if (starts == 0) {
            at += count;
            continue;
        }
        int const start = std::countr_zero(starts);
        at += start;
        // Too near to the end of the window to tell, unless it is that of the text.
        if (start <= kWindow - 4 || count < kWindow) return at;
    }
    return at;
}

#endif
