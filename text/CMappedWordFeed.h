// Feeds a word with mapped units from raw text. Inner to the word delimiters.
//
// One object serves one call. It works on the storage of the caller's block as plain memory, with
// the state of the walk in its own fields, and `Close` hands all of it back: the block then holds
// the word and, behind it, what is left of an expansion.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "marl/amortizedmemblock.h"
#include "text/ASCIIWindow.h"
#include "text/CUnicodeMappingTable.h"
#include "text/WordUnits.h"

// Whether ASCII can be mapped a window at a time.
inline bool HasPlainASCII(CUnicodeMappingTable const& table)
{
    return table.GetASCIIMapping() != CUnicodeMappingTable::ASCIIMapping::kOther;
}

// What makes a capital of ASCII what such a table maps it to, as `CASCIIWindow::Write` takes it.
inline std::uint16_t CaseBitOf(CUnicodeMappingTable const& table)
{
    return table.GetASCIIMapping() == CUnicodeMappingTable::ASCIIMapping::kLowercased ? 0x20 : 0;
}

class CMappedWordFeed
{
public:
    // Passes the word of the call before: its units leave the block. `start` is behind its span.
    CMappedWordFeed(char16_t const* text,
                    std::size_t length,
                    CUnicodeMappingTable const& table,
                    std::size_t start,
                    amortizedmemblock& block,
                    unsigned int mappedLength);

    CMappedWordFeed(CMappedWordFeed const&) = delete;
    CMappedWordFeed& operator=(CMappedWordFeed const&) = delete;

    // Takes what the quick way has found from where the feed stands: the gap before it, and its
    // units as the table maps them. False if it has none.
    bool TakeASCII(ASCIIWord const& word);
    // Finds the first unit of a word and takes it; false if the text has none.
    bool TakeFirst();

    // Takes units as long as `Rule::IsTaken` agrees to their category entries, and deleted units
    // with them. At a stop the unit that wasn't taken is in the block only if it is a further unit
    // of an expansion of which the word has the first.
    template <class Rule>
    void TakeRun();

    // Brings the next unit into the block; false at the end of the text. Deleted units before it go
    // into the span either way.
    bool Peek();
    // After a `Peek`.
    void Take();
    // Forgets what the last `Peek` mapped, so that the next call maps it again. What was in the
    // block before it stays.
    void Drop();

    // Hands the state back to the caller. With no word found, `rawLength` is 1 if anything was
    // mapped on the way.
    void Close(unsigned int& start, unsigned int& rawLength, unsigned int& mappedLength)
    {
        mBlock.resize(mCount * sizeof(char16_t));
        start = static_cast<unsigned int>(mStart);
        rawLength = static_cast<unsigned int>(mRawLength);
        mappedLength = static_cast<unsigned int>(mMapped);
    }

    // Whether the block holds more than the word.
    bool HasNext() const { return mMapped < mCount; }

    char16_t& Next() { return mUnits[mMapped]; }

    // The last unit of the word.
    char16_t& Last() { return mUnits[mMapped - 1]; }

    // The last unit in the block.
    char16_t Farthest() const { return mUnits[mCount - 1]; }

    std::size_t RawLength() const { return mRawLength; }

private:
    // What one raw unit can give; a longer mapping, which no built-in table has, acts as a
    // deletion.
    static constexpr std::size_t kRoom = 128;

    struct Expansion
    {
        char16_t const* mUnits;
        std::size_t mCount;
    };

    Expansion Expand(char16_t const& unit) const
    {
        char16_t const* units = &unit;
        int count = 1;
        mTable.FindEntry(unit, units, count);
        auto const size = static_cast<std::size_t>(count);
        return {units, size > kRoom ? 0 : size};
    }

    void Append(Expansion const& expansion)
    {
        if (mRoom - mCount < expansion.mCount) Grow();
        // Mostly one unit or a few: a loop beats a call.
        for (std::size_t i = 0; i < expansion.mCount; ++i)
            mUnits[mCount + i] = expansion.mUnits[i];
        mCount += expansion.mCount;
    }

    void SetRoom(std::size_t room)
    {
        mBlock.resize(room * sizeof(char16_t));
        mUnits = reinterpret_cast<char16_t*>(mBlock.data());
        mRoom = room;
    }

    // Twice the storage, so that a long word costs few moves whatever the block's own growth is.
    void Grow() { SetRoom(mRoom * 2 + kRoom); }

    void RemoveFront(std::size_t count)
    {
        mCount -= count;
        if (mCount != 0) std::memmove(mUnits, mUnits + count, mCount * sizeof(char16_t));
    }

    bool SkipGapInBlock();
    bool SkipGapInText();

    char16_t const* mText;  // not owned
    std::size_t mLength;
    CUnicodeMappingTable const& mTable;
    amortizedmemblock& mBlock;

    std::size_t mStart;
    std::size_t mRawLength = 0;
    std::size_t mMapped = 0;     // units of the word
    std::size_t mCount;          // units in the block, the word's first
    char16_t* mUnits = nullptr;  // not owned; the block's storage, once room was asked for
    std::size_t mRoom = 0;       // units of storage
    bool mIsFresh = false;       // the next unit was mapped by the last Peek
};

template <class Rule>
void CMappedWordFeed::TakeRun()
{
    for (;;) {
        for (; mMapped < mCount; ++mMapped) {
            if (!Rule::IsTaken(WordUnits::EntryOf(mUnits[mMapped]))) return;
        }

        // The block is used up. Nearly all units give one unit each. `kNoSingleUnit` is no part of
        // a word, so it needs no test of its own.
        std::size_t const at = mStart + mRawLength;
        if (at >= mLength) return;
        if (mCount == mRoom) Grow();
        char16_t const* source = mText + at;
        char16_t const* const end = source + std::min(mLength - at, mRoom - mCount);
        char16_t* target = mUnits + mCount;
        char16_t unit = 0;
        while (source != end) {
            unit = mTable.MapToSingleUnit(*source);
            if (!Rule::IsTaken(WordUnits::EntryOf(unit))) break;
            // One unit of ASCII is seldom the last.
            std::ptrdiff_t count = 1;
            if (*source <= 0x7F && HasPlainASCII(mTable) &&
                end - source >= static_cast<std::ptrdiff_t>(CASCIIWindow::kSize)) {
                CASCIIWindow const window(source);
                count = std::countr_one(window.Judge<Rule::kTakesSymbols>().mTaken);
                window.Write(target, CaseBitOf(mTable));
            } else {
                *target = unit;
            }
            source += count;
            target += count;
        }
        mMapped = mCount = static_cast<std::size_t>(target - mUnits);
        mRawLength = static_cast<std::size_t>(source - mText) - mStart;
        if (source == end) continue;
        if (unit != CUnicodeMappingTable::kNoSingleUnit) return;

        Expansion const expansion = Expand(*source);
        if (expansion.mCount != 0) {
            if (!Rule::IsTaken(WordUnits::EntryOf(*expansion.mUnits))) return;
            Append(expansion);
        }
        ++mRawLength;
    }
}
