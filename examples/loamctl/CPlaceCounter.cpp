#include "loamctl/CPlaceCounter.h"

#include <cstdint>

#include "loamctl/CDocument.h"

namespace {

// So many units are counted together, which compilers make vectors of.
constexpr std::size_t kBlock = 64;

bool IsLowSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// CR LF ends a line once, at its LF.
bool IsLineEnd(char16_t unit, char16_t next)
{
    return (unit == u'\n') | ((unit == u'\r') & (next != u'\n'));
}

// Bytes that a unit stands for in UTF-8; each half of a surrogate pair stands for two.
int UTF8Size(char16_t unit)
{
    return 1 + (unit >= 0x80) + ((unit >= 0x800) & ((unit & 0xF800) != 0xD800));
}

// In 16 bits, as many as a unit has: more than a block can count.
struct Tally
{
    std::uint16_t mBytes = 0;
    std::uint16_t mLowSurrogates = 0;
    std::uint16_t mLineEnds = 0;
};

// Looks at one unit more.
Tally Count(char16_t const* block)
{
    Tally tally;
    for (std::size_t i = 0; i < kBlock; ++i) {
        char16_t const unit = block[i];
        tally.mBytes = static_cast<std::uint16_t>(tally.mBytes + UTF8Size(unit));
        tally.mLowSurrogates =
            static_cast<std::uint16_t>(tally.mLowSurrogates + IsLowSurrogate(unit));
        tally.mLineEnds =
            static_cast<std::uint16_t>(tally.mLineEnds + IsLineEnd(unit, block[i + 1]));
    }
    return tally;
}

// Of ASCII, whose units are bytes.
Tally Count(char const* block)
{
    std::uint8_t lineEnds = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        bool const isEnd = (block[i] == '\n') | ((block[i] == '\r') & (block[i + 1] != '\n'));
        lineEnds = static_cast<std::uint8_t>(lineEnds + isEnd);
    }
    return {kBlock, 0, lineEnds};
}

}  // namespace

CPlaceCounter::CPlaceCounter(CDocument const& document)
    : mDocument(document)
    , mPlace{document.GetMarkSize(), 1, 1}
{
}

Place const& CPlaceCounter::At(std::size_t unit)
{
    std::u16string_view const text = mDocument.GetText();
    bool const wide = mDocument.IsUTF16();
    bool const isASCII = mDocument.IsASCII();
    while (unit > mUnit) {
        // The unit behind a block is looked at too.
        if (unit - mUnit >= kBlock && text.size() - mUnit > kBlock) {
            if (isASCII) {
                SkipBlock(mDocument.GetBytes().data() + mUnit);
            } else {
                SkipBlock(text.data() + mUnit);
            }
            mUnit += kBlock;
            continue;
        }
        char16_t const c = text[mUnit];
        ++mUnit;
        mPlace.mOffset += wide ? 2 : UTF8Size(c);
        if (IsLineEnd(c, mUnit < text.size() ? text[mUnit] : u'\0')) {
            ++mPlace.mLine;
            mPlace.mColumn = 1;
        } else if (!IsLowSurrogate(c)) {
            ++mPlace.mColumn;
        }
    }
    return mPlace;
}

template <class Unit>
void CPlaceCounter::SkipBlock(Unit const* block)
{
    Tally const tally = Count(block);
    mPlace.mOffset += mDocument.IsUTF16() ? static_cast<int>(2 * kBlock) : tally.mBytes;
    mPlace.mLine += tally.mLineEnds;
    if (tally.mLineEnds == 0) {
        mPlace.mColumn += static_cast<int>(kBlock) - tally.mLowSurrogates;
        return;
    }
    mPlace.mColumn = 1;
    auto const unitAt = [block](std::size_t i) { return static_cast<char16_t>(block[i]); };
    for (std::size_t i = kBlock; !IsLineEnd(unitAt(i - 1), unitAt(i)); --i)
        mPlace.mColumn += !IsLowSurrogate(unitAt(i - 1));
}
