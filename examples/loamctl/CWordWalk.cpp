#include "loamctl/CWordWalk.h"

#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiter.h"

CWordWalk::CWordWalk(std::u16string_view text, amortizedmemblock& block)
    : mText(text)
    , mBlock(block)
{
    mBlock.resize(0);
}

bool CWordWalk::Next()
{
    return CUnicodeWordDelimiter::GetDefaultDelimiter()->GetNextMappedWordInRawText(
        mText.data(), static_cast<unsigned int>(mText.size()),
        *CUnicodeMappingTable::GetDefaultTable(), mStart, mRawLength, mBlock, mMappedLength);
}

std::u16string_view CWordWalk::GetWord() const
{
    return {reinterpret_cast<char16_t const*>(mBlock.data()), mMappedLength};
}

Span CWordWalk::GetSpan() const
{
    if (mRawLength > 0) return {mStart, mStart + mRawLength};
    return {mStart - 1, mStart};
}
