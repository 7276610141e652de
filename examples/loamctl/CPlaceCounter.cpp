#include "loamctl/CPlaceCounter.h"

#include "loamctl/CDocument.h"

namespace {

bool IsLowSurrogate(char16_t unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Bytes that a unit stands for in UTF-8; each half of a surrogate pair stands for two.
int UTF8Size(char16_t unit)
{
    if (unit < 0x80) return 1;
    return unit < 0x800 || (unit & 0xF800) == 0xD800 ? 2 : 3;
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
    for (; mUnit < unit; ++mUnit) {
        char16_t const c = text[mUnit];
        mPlace.mOffset += wide ? 2 : UTF8Size(c);
        bool const beforeLF = mUnit + 1 < text.size() && text[mUnit + 1] == u'\n';
        if (c == u'\n' || (c == u'\r' && !beforeLF)) {
            ++mPlace.mLine;
            mPlace.mColumn = 1;
        } else if (!IsLowSurrogate(c)) {
            ++mPlace.mColumn;
        }
    }
    return mPlace;
}
