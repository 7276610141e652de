#include "text/CMappedWordFeed.h"

using namespace WordUnits;

bool CMappedWordFeed::TakeFirst()
{
    if (!SkipGapInBlock() && !SkipGapInText()) return false;
    mMapped = 1;
    return true;
}

bool CMappedWordFeed::SkipGapInText()
{
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
