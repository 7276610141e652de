// Sets of UTF-16 units, as the fast searches want them: by pages, which are the 256 units of one
// high byte. Inner to text/.
//
// Most pages are wholly in a set or wholly outside, and a text touches few of the others: those are
// asked for when they are met. A set belongs to one search, or is only read.
#pragma once

#include <cstdint>
#include <cstring>

/// A bit for each value of a byte: that of value v is bit (v & 7) of byte (v >> 3).
struct ByteBits
{
    alignas(32) unsigned char mBytes[32];

    constexpr bool Has(unsigned int value) const
    {
        return (mBytes[value >> 3] >> (value & 7) & 1) != 0;
    }

    constexpr void Add(unsigned int value)
    {
        mBytes[value >> 3] = static_cast<unsigned char>(mBytes[value >> 3] | 1U << (value & 7));
    }

    constexpr void Remove(unsigned int value)
    {
        mBytes[value >> 3] = static_cast<unsigned char>(mBytes[value >> 3] & ~(1U << (value & 7)));
    }

    bool IsEmpty() const { return AllOfWords(0); }

    bool IsFull() const { return AllOfWords(~std::uint64_t{0}); }

private:
    bool AllOfWords(std::uint64_t word) const
    {
        std::uint64_t words[4];
        std::memcpy(words, mBytes, sizeof words);
        return ((words[0] ^ word) | (words[1] ^ word) | (words[2] ^ word) | (words[3] ^ word)) == 0;
    }
};

class CUnitSet
{
public:
    CUnitSet(CUnitSet const&) = delete;
    CUnitSet& operator=(CUnitSet const&) = delete;

    /// Pages that are known to be in the set as a whole, and those that have to be looked at. All
    /// others hold nothing of it.
    ByteBits const& GetWhole() const { return mWhole; }

    ByteBits const& GetMixed() const { return mMixed; }

    /// The units of a page that is to be looked at. One that turns out not to be mixed is among
    /// the others from then on.
    ByteBits const& GetPage(unsigned int page)
    {
        if (mUnknown.Has(page)) Learn(page);
        return mPages[page];
    }

    bool Has(char16_t unit)
    {
        unsigned int const page = unit >> 8;
        return mMixed.Has(page) ? GetPage(page).Has(unit & 0xFF) : mWhole.Has(page);
    }

protected:
    /// `mixed` are the pages to be looked at, `whole` others that are in the set.
    CUnitSet(ByteBits const& whole, ByteBits const& mixed)
        : mWhole(whole)
        , mMixed(mixed)
        , mUnknown(mixed)
    {
    }

    ~CUnitSet() = default;

    virtual void FillPage(unsigned int page, ByteBits& bits) const = 0;

private:
    [[gnu::noinline]] void Learn(unsigned int page)
    {
        ByteBits& bits = mPages[page];
        FillPage(page, bits);
        mUnknown.Remove(page);
        if (bits.IsFull()) mWhole.Add(page);
        if (bits.IsFull() || bits.IsEmpty()) mMixed.Remove(page);
    }

    ByteBits mWhole;
    ByteBits mMixed;
    ByteBits mUnknown;       // of the mixed ones
    ByteBits mPages[0x100];  // filled where it is mixed and known
};
