#include "text/CMappedWordFeed.h"

using namespace WordUnits;

CMappedWordFeed::CMappedWordFeed(char16_t const* text,
                                 std::size_t length,
                                 CUnicodeMappingTable const& table,
                                 std::size_t start,
                                 amortizedmemblock& block,
                                 unsigned int mappedLength)
    : mText(text)
    , mLength(length)
    , mTable(table)
    , mBlock(block)
    , mStart(start)
    , mCount(block.size() / sizeof(char16_t))
{
    if (mCount <= mappedLength) {
        mCount = 0;
    } else {
        SetRoom(mCount + kRoom);
        RemoveFront(mappedLength);
    }
}

bool CMappedWordFeed::TakeASCII(ASCIIWord const& word)
{
    if (word.mStart != mStart) mRawLength = 1;
    mStart = word.mStart;
    if (word.mCount == 0) return false;
    SetRoom(kRoom);
    CASCIIWindow(mText + mStart).Write(mUnits, CaseBitOf(mTable));
    mMapped = mCount = mRawLength = word.mCount;
    return true;
}

bool CMappedWordFeed::TakeFirst()
{
    if (!SkipGapInBlock() && !SkipGapInText()) return false;
    mMapped = 1;
    return true;
}

// Drops the gap at the block's front; false if the block held nothing else.
bool CMappedWordFeed::SkipGapInBlock()
{
    std::size_t gap = 0;
    while (gap < mCount && !IsWordUnit(EntryOf(mUnits[gap])))
        ++gap;
    RemoveFront(gap);
    return mCount != 0;
}

// The same in the raw text, with an empty block.
bool CMappedWordFeed::SkipGapInText()
{
    if (mStart >= mLength) return false;
    if (mRoom == 0) SetRoom(kRoom);
    for (; mStart < mLength; ++mStart) {
        char16_t const unit = mTable.MapToSingleUnit(mText[mStart]);
        if (unit != CUnicodeMappingTable::kNoSingleUnit) {
            // Once set, this stays, whether a word is found or not.
            mRawLength = 1;
            if (!IsWordUnit(EntryOf(unit))) continue;
            mUnits[0] = unit;
            mCount = 1;
            return true;
        }
        Expansion const expansion = Expand(mText[mStart]);
        if (expansion.mCount == 0) continue;
        mRawLength = 1;
        Append(expansion);
        if (SkipGapInBlock()) return true;
    }
    return false;
}

bool CMappedWordFeed::Peek()
{
    mIsFresh = false;
    if (HasNext()) return true;
    for (; mStart + mRawLength < mLength; ++mRawLength) {
        Expansion const expansion = Expand(mText[mStart + mRawLength]);
        if (expansion.mCount == 0) continue;
        Append(expansion);
        mIsFresh = true;
        return true;
    }
    return false;
}

void CMappedWordFeed::Take()
{
    // What was in the block already has its raw unit in the span, or before it.
    if (mIsFresh) ++mRawLength;
    ++mMapped;
}

void CMappedWordFeed::Drop()
{
    if (mIsFresh) mCount = mMapped;
}
