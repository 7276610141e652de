// Mapping for AVX-512 with VBMI2: 32 units at a time, looked up in halves of pages.
//
// A script's letters lie within one half of a page or few, so a window of text is looked up in its
// halves one after another, and most halves map nothing at all.
#include "text/simd/MappingKernels.h"

#if defined(__x86_64__)

#include "text/simd/AVX512.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "text/CUnicodeMappingTable.h"

namespace {

constexpr int kWindow = 32;

// What is shorter is done unit by unit before a window is set up.
constexpr int kShort = 12;

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
// looked up in both: a branch on what a window holds can't be foreseen, and costs more. What is
// asked is whether some of the last windows had something, which seldom changes.
class CMapper
{
public:
    LOAM_AVX512_INLINE explicit CMapper(CUnicodeMappingTable const& table)
        : mHalves(_mm512_loadu_si512(table.GetMappedHalves()))
        , mFirstOther(_mm512_setzero_si512())
        , mCapitals(_mm512_setzero_si512())
        , mTable(table)
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
        __mmask32 left = _mm512_mask_cmpge_epu16_mask(lanes, units, mFirstOther);
        mRecent = mRecent << 2 | left;
        if (mRecent == 0) return mapped;

        __m512i const numbers = _mm512_srli_epi16(units, 7);
        mNewer.Map(units, numbers, left, mapped.mUnits);
        mOlder.Map(units, numbers, left, mapped.mUnits);
        mRecentLeft = mRecentLeft << 2 | left;
        if (mRecentLeft != 0) left &= HaveMappedHalf(units, numbers);
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

    // Tells deleted units from those that give several, by the half that was asked last.
    LOAM_AVX512_INLINE void
    FindDeleted(char16_t const* text, __m512i units, __m512i numbers, Mapped& mapped)
    {
        __m512i const places = _mm512_and_si512(_mm512_srli_epi16(units, 4), EachUnit<7>());
        __mmask32 left = mapped.mSeveral;
        for (;;) {
            __mmask32 const isHere = _mm512_mask_cmpeq_epi16_mask(left, numbers, mDeletedNumber);
            __m512i const words = _mm512_maskz_permutexvar_epi16(kAll, places, mDeletedBits);
            mapped.mDeleted |= isHere & TestBits(words, units);
            left &= ~isHere;
            if (left == 0) break;
            unsigned int const half = HalfOf(text, left);
            mDeletedNumber = _mm512_set1_epi16(static_cast<short>(half));
            mDeletedBits = _mm512_maskz_broadcast_i32x4(
                0xFFFF, _mm_loadu_si128(reinterpret_cast<__m128i const*>(mTable.GetDeleted(half))));
        }
        mapped.mSeveral &= ~mapped.mDeleted;
    }

    __m512i mHalves;      // that have mappings, but for a plain half of ASCII
    __m512i mFirstOther;  // the first unit that is not ASCII, or 0 where that is not plain
    __m512i mCapitals;    // how many of A to Z become a to z: all or none
    Half mNewer;
    Half mOlder;
    __m512i mDeletedNumber = EachUnit<0xFFFF>();  // of the half whose `mDeletedBits` are at hand
    __m512i mDeletedBits = _mm512_setzero_si512();
    CUnicodeMappingTable const& mTable;
    // The lanes that were not ASCII, moved by two bits for each window since: zero where there was
    // nothing else for 16 to 32 windows. No branch may ask about a single window.
    std::uint64_t mRecent = 0;
    // The same for lanes of neither ASCII nor the two halves.
    std::uint64_t mRecentLeft = 0;
};

// Where mapped units go, and their offsets if they are wanted. Nothing else is written to.
template <bool kWithOffsets>
class CTarget
{
public:
    CTarget(char16_t* units, int capacity, int at, int* offsets)
        : mUnits(units)
        , mOffsets(offsets)
        , mCapacity(capacity)
        , mAt(at)
    {
    }

    int At() const { return mAt; }

    int Room() const { return mCapacity - mAt; }

    // The units of `lanes`, for which there is room. The window begins at `from`.
    LOAM_AVX512_INLINE void Put(__m512i units, __mmask32 lanes, int from)
    {
        int const count = std::popcount(lanes);
        auto const room = static_cast<__mmask32>(LowBits(count));
        if (lanes != room) units = _mm512_maskz_compress_epi16(lanes, units);
        _mm512_mask_storeu_epi16(mUnits + mAt, room, units);
        if constexpr (kWithOffsets) {
            int const half = std::popcount(lanes & 0xFFFF);
            PutOffsets(mOffsets + mAt, from, static_cast<__mmask16>(lanes));
            PutOffsets(mOffsets + mAt + half, from + 16, static_cast<__mmask16>(lanes >> 16));
        }
        mAt += count;
    }

    // What a single unit gives; false if there is no room for it.
    LOAM_AVX512_INLINE bool PutEntry(CUnicodeMappingTable const& table, char16_t unit, int from)
    {
        char16_t const* units = &unit;
        int count = 1;
        table.FindEntry(unit, units, count);
        if (count > Room()) return false;
        for (int k = 0; k < count; ++k, ++mAt) {
            mUnits[mAt] = units[k];
            if constexpr (kWithOffsets) mOffsets[mAt] = from;
        }
        return true;
    }

private:
    static LOAM_AVX512_INLINE void PutOffsets(int* target, int from, __mmask16 lanes)
    {
        __m512i const values = _mm512_add_epi32(
            _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
            _mm512_set1_epi32(from));
        auto const room = static_cast<__mmask16>(LowBits(std::popcount(lanes)));
        _mm512_mask_storeu_epi32(target, room, _mm512_maskz_compress_epi32(lanes, values));
    }

    char16_t* mUnits;
    int* mOffsets;
    int mCapacity;
    int mAt;
};

// Maps the first `count` units of a window at `from`, for which there is room if they give one unit
// each, and answers how many have been done.
template <bool kWithOffsets>
LOAM_AVX512_INLINE int MapWindow(CMapper& mapper,
                                 CUnicodeMappingTable const& table,
                                 char16_t const* source,
                                 int from,
                                 int count,
                                 __mmask32 lanes,
                                 CTarget<kWithOffsets>& target)
{
    Mapped const mapped = mapper.Map(source + from, lanes);
    __mmask32 kept = lanes & ~mapped.mDeleted;
    for (__mmask32 left = mapped.mSeveral; left != 0; left &= left - 1) {
        int const at = std::countr_zero(left);
        auto const before = static_cast<__mmask32>(LowBits(at));
        target.Put(mapped.mUnits, kept & before, from);
        if (!target.PutEntry(table, source[from + at], from + at)) return at;
        if (target.Room() < count - at) return at + 1;
        kept &= ~before & ~(__mmask32{1} << at);
    }
    target.Put(mapped.mUnits, kept, from);
    return count;
}

template <bool kWithOffsets>
LOAM_AVX512 bool MapAll(CUnicodeMappingTable const& table,
                        char16_t const* source,
                        int sourceLength,
                        int& sourcePos,
                        char16_t* targetUnits,
                        int targetCapacity,
                        int& targetPos,
                        int* offsets)
{
    CMapper mapper(table);
    CTarget<kWithOffsets> target(targetUnits, targetCapacity, targetPos, offsets);
    int from = sourcePos;
    // Whole windows by themselves: nothing in them waits for how much the one before came to.
    while (sourceLength - from >= kWindow && target.Room() >= kWindow) {
        int const done = MapWindow(mapper, table, source, from, kWindow, kAll, target);
        from += done;
        if (done == 0) break;
    }
    while (from < sourceLength && target.Room() > 0) {
        int const count = std::min({kWindow, sourceLength - from, target.Room()});
        auto const lanes = static_cast<__mmask32>(LowBits(count));
        int const done = MapWindow(mapper, table, source, from, count, lanes, target);
        from += done;
        if (done == 0) break;
    }
    sourcePos = from;
    targetPos = target.At();
    if (from < sourceLength) {
        // What is deleted where there is no room left, and the answer.
        return MapUnitsPlain(table, source, sourceLength, sourcePos, targetUnits, targetCapacity,
                             targetPos, offsets);
    }
    if constexpr (kWithOffsets) offsets[targetPos] = from;
    return true;
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
    auto* map = offsets ? MapAll<true> : MapAll<false>;
    if (sourceLength - sourcePos < kShort) map = MapUnitsPlain;
    return map(table, source, sourceLength, sourcePos, target, targetCapacity, targetPos, offsets);
}

#endif
