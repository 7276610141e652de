#if defined(__x86_64__)

#include "text/simd/AVX512Bytes.h"

#include "text/simd/ScanVectors.h"

namespace {

// Looks for members of a set, or for all others, 64 units at a time, on all pages at once.
//
// Each page has a slot, which is a set of 256 bytes: one look-up by a unit's high byte tells the
// slot, one by the slot and the upper bits of the low byte a byte of that set. Pages that are
// wholly in or out share two slots. What hasn't been looked at yet passes for a hit, so that
// nothing has to ask about it as long as there is none.
class CPages
{
public:
    LOAM_VECTOR_INLINE CPages(CUnitSet& set, bool isMember)
        : mSet(set)
        , mIsMember(isMember)
    {
        std::memset(mHits[kAll].mBytes, 0xFF, sizeof mHits[kAll].mBytes);
        Forget();
    }

    LOAM_VECTOR_INLINE Places FindHits(char16_t const* text)
    {
        if (mCount > kFew && ++mBlocks % kBlocks == 0) Forget();
        HalvedUnits const units = LoadUnits(text);
        __m512i const slots = LookUpIn256(mSlots, In(units.mHigh));
        if (mCount == kWhole) {
            Places const hits = _mm512_test_epi8_mask(slots, slots);
            if (hits == 0) return 0;
            return Look(text, units, hits);
        }
        BitsInSet const bits = BitsOfAny(units.mLow);
        __m512i const places = AndOr(slots, ::EachByte<kPlaceBits>(), In(bits.mByte));
        __m512i found = LookUpIn128(mHits, places);
        if (mCount > kFew) {
            Places const isOdd = _mm512_test_epi8_mask(slots, ::EachByte<kOddBit>());
            found = _mm512_mask_mov_epi8(found, isOdd, LookUpIn128(mHits + 4, places));
            if (mCount > kSeveral) {
                __m512i const upper = _mm512_mask_mov_epi8(LookUpIn128(mHits + 8, places), isOdd,
                                                           LookUpIn128(mHits + 12, places));
                found = _mm512_mask_mov_epi8(found, _mm512_movepi8_mask(slots), upper);
            }
        }
        Places const hits = WhereSet(Out(found), bits.mBit);
        if (hits == 0) return 0;
        return Look(text, units, hits);
    }

private:
    static constexpr unsigned int kNone = 0;
    static constexpr unsigned int kAll = 1;
    // How many slots are for whole pages, how many one look-up or two serve, and how many there
    // are.
    static constexpr unsigned int kWhole = 2;
    static constexpr unsigned int kFew = 4;
    static constexpr unsigned int kSeveral = 8;
    static constexpr unsigned int kMost = 16;

    // Slots are stored as a look-up wants them: the lower two bits where they stand in a place of
    // it, and one bit each that chooses between two look-ups.
    static constexpr std::uint32_t kPlaceBits = 0x60;
    static constexpr std::uint32_t kOddBit = 0x01;
    static constexpr std::uint32_t kUpperBit = 0x80;

    static constexpr unsigned char Stored(unsigned int slot)
    {
        return static_cast<unsigned char>((slot & 3) << 5 | (slot >> 2 & 1) * kOddBit |
                                          (slot >> 3) * kUpperBit);
    }

    // Takes what isn't one out of `hits`, and learns of the pages in which it was.
    LOAM_VECTOR_INLINE Places Look(char16_t const* text, HalvedUnits const& units, Places hits)
    {
        BitsInSet const bits = BitsOfAny(units.mLow);
        Places left = WhereIn(mUnseen, BitsOfAny(units.mHigh));
        while (left != 0) {
            unsigned int const page = text[std::countr_zero(left)] >> 8;
            ByteBits const& members = mSet.GetPage(page);
            Places const here = WhereEqual(units.mHigh, EachByte(static_cast<unsigned char>(page)));
            Places const found = WhereIn(members, bits) ^ (mIsMember ? 0 : kAllPlaces);
            hits &= ~here | found;
            left &= ~here;
            Keep(page, members);
        }
        return hits;
    }

    void Keep(unsigned int page, ByteBits const& members)
    {
        unsigned int slot = mSet.GetWhole().Has(page) == mIsMember ? kAll : kNone;
        if (mSet.GetMixed().Has(page)) {
            if (mCount == kMost) return;
            slot = mCount++;
            for (std::size_t i = 0; i < sizeof members.mBytes; ++i)
                mHits[slot].mBytes[i] =
                    static_cast<unsigned char>(members.mBytes[i] ^ (mIsMember ? 0 : 0xFF));
        }
        mSlots[page] = Stored(slot);
        mUnseen.Remove(page);
    }

    LOAM_VECTOR_INLINE void Forget()
    {
        mCount = kWhole;
        mUnseen = mSet.GetMixed();
        for (std::size_t at = 0; at < sizeof mSlots; at += 64) {
            Places whole;
            Places mixed;
            std::memcpy(&whole, mSet.GetWhole().mBytes + at / 8, sizeof whole);
            std::memcpy(&mixed, mUnseen.mBytes + at / 8, sizeof mixed);
            Places const hits = (mIsMember ? whole : ~whole) | mixed;
            _mm512_storeu_si512(mSlots + at,
                                _mm512_maskz_mov_epi8(hits, ::EachByte<Stored(kAll)>()));
        }
    }

    // After so many blocks, what was met is forgotten.
    static constexpr unsigned int kBlocks = 256;

    alignas(64) unsigned char mSlots[0x100];  // of each page
    alignas(64) ByteBits mHits[kMost] = {};   // of each slot
    ByteBits mUnseen;                         // pages
    CUnitSet& mSet;
    unsigned int mCount;  // of slots in use
    unsigned int mBlocks = 0;
    bool mIsMember;
};

}  // namespace

LOAM_VECTOR char16_t const*
FindFirstUnitAVX512(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    return FindFirst(CPages(set, isMember), begin, end);
}

LOAM_VECTOR char16_t const*
FindLastUnitAVX512(CUnitSet& set, char16_t const* begin, char16_t const* end, bool isMember)
{
    return FindLast(CPages(set, isMember), begin, end);
}

LOAM_VECTOR void ClassifyAVX512(ByteBits const& set, unsigned char const* bytes, ByteBits& bits)
{
    ClassifyBlocks(set, bytes, bits);
}

LOAM_VECTOR void
WeighPairsAVX512(unsigned char const* pairs, unsigned char const* end, UTF16Evidence& evidence)
{
    WeighBlocks(pairs, end, evidence);
}

#endif
