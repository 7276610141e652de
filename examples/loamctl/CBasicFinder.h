// What finds words in a text, hit by hit.
#pragma once

#include <cstddef>
#include <string_view>

class CDocument;

/// Part of a text, in UTF-16 units.
struct Span
{
    std::size_t mStart = 0;
    std::size_t mEnd = 0;
};

class CBasicFinder
{
public:
    virtual ~CBasicFinder() = default;

    /// Begins anew at the start of `text`, which must stay while hits are asked for. Well-formed
    /// UTF-16 of less than 2^31 units.
    virtual void SetText(std::u16string_view text) = 0;

    /// The same in a document's text, which is asked for no sooner than it is needed: in ASCII,
    /// most of the work is done on the bytes.
    virtual void SetDocument(CDocument const& document) = 0;

    /// The next hit, as the raw units that it covers. Hits rise and don't overlap. False after the
    /// last one.
    virtual bool Next(Span& hit) = 0;

protected:
    CBasicFinder() = default;
    CBasicFinder(CBasicFinder const&) = default;
    CBasicFinder& operator=(CBasicFinder const&) = default;
};
