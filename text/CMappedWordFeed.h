// Feeds a word with mapped units from raw text. Inner to the word delimiters.
//
// One object serves one call. It works on the storage of the caller's block as plain memory, with
// the state of the walk in its own fields, and `Close` hands all of it back: the block then holds
// the word and, behind it, what is left of an expansion.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "marl/amortizedmemblock.h"
#include "text/CUnicodeMappingTable.h"
#include "text/WordUnits.h"

class CMappedWordFeed
{
public:
    // Passes the word of the call before: `start` moves behind its span and its units leave the
    // block.
    CMappedWordFeed(char16_t const* text,
                    unsigned int length,
                    CUnicodeMappingTable const& table,
                    unsigned int start,
                    amortizedmemblock& block,
                    unsigned int mappedLength)
        : mText(text)
        , mLength(length)
        , mTable(table)
        , mBlock(block)
        , mStart(start)
        , mCount(block.size() / sizeof(char16_t))
    {
        Open();
        RemoveFront(std::min<std::size_t>(mappedLength, mCount));
    }

    CMappedWordFeed(CMappedWordFeed const&) = delete;
    CMappedWordFeed& operator=(CMappedWordFeed const&) = delete;

    // Finds the first unit of a word and takes it; false if the text has none.
    bool TakeFirst();

    // Takes units as long as the predicate `isTaken` agrees to their category entries, and deleted
    // units with them. At a stop the unit that wasn't taken is in the block only if it is a further
    // unit of an expansion of which the word has the first.
    template <class Predicate>
    void TakeRun(Predicate isTaken);

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

    // Makes all the storage that the block has accessible, and at least `kRoom` units.
    void Open()
    {
        mRoom = std::max(mBlock.allocatedSize() / sizeof(char16_t), mCount + kRoom);
        mBlock.resize(mRoom * sizeof(char16_t));
        mUnits = reinterpret_cast<char16_t*>(mBlock.data());
    }

    // Twice the storage, so that a long word costs few moves whatever the block's own growth is.
    void Grow()
    {
        mBlock.resize((mRoom * 2 + kRoom) * sizeof(char16_t));
        Open();
    }

    void RemoveFront(std::size_t count)
    {
        mCount -= count;
        if (mCount != 0) std::memmove(mUnits, mUnits + count, mCount * sizeof(char16_t));
    }

    // Drops the gap at the block's front; false if the block held nothing else.
    bool SkipGapInBlock()
    {
        std::size_t gap = 0;
        while (gap < mCount && !WordUnits::IsWordUnit(WordUnits::EntryOf(mUnits[gap])))
            ++gap;
        RemoveFront(gap);
        return mCount != 0;
    }

    bool SkipGapInText();

    char16_t const* mText;  // not owned
    std::size_t mLength;
    CUnicodeMappingTable const& mTable;
    amortizedmemblock& mBlock;

    std::size_t mStart;
    std::size_t mRawLength = 0;
    std::size_t mMapped = 0;     // units of the word
    std::size_t mCount;          // units in the block, the word's first
    char16_t* mUnits = nullptr;  // not owned; the block's storage
    std::size_t mRoom = 0;       // units of storage
    bool mIsFresh = false;       // the next unit was mapped by the last Peek
};

template <class Predicate>
void CMappedWordFeed::TakeRun(Predicate isTaken)
{
    for (;;) {
        for (; mMapped < mCount; ++mMapped) {
            if (!isTaken(WordUnits::EntryOf(mUnits[mMapped]))) return;
        }

        // The block is used up. Here nearly all the time goes: units that give one unit each.
        std::size_t const at = mStart + mRawLength;
        if (at >= mLength) return;
        if (mCount == mRoom) Grow();
        char16_t const* source = mText + at;
        char16_t const* const end = source + std::min(mLength - at, mRoom - mCount);
        char16_t* target = mUnits + mCount;
        char16_t unit = 0;
        for (; source != end; ++source) {
            unit = mTable.MapToSingleUnit(*source);
            if (unit == CUnicodeMappingTable::kNoSingleUnit) break;
            if (!isTaken(WordUnits::EntryOf(unit))) break;
            *target++ = unit;
        }
        mMapped = mCount = static_cast<std::size_t>(target - mUnits);
        mRawLength = static_cast<std::size_t>(source - mText) - mStart;
        if (source == end) continue;
        if (unit != CUnicodeMappingTable::kNoSingleUnit) return;

        Expansion const expansion = Expand(*source);
        if (expansion.mCount != 0) {
            if (!isTaken(WordUnits::EntryOf(*expansion.mUnits))) return;
            Append(expansion);
        }
        ++mRawLength;
    }
}
