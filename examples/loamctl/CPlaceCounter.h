// Turns positions in a document's text into places in its file.
#pragma once

#include <cstddef>

class CDocument;

struct Place
{
    /// Bytes from the start of the file, byte-order mark included; of a document that
    /// `IsConverted`, from the start of its text in UTF-8.
    long long mOffset;
    long long mLine;    ///< from 1
    long long mColumn;  ///< code points from the start of the line, from 1
};

/// Counts on from the last place, so that all places of a document cost one pass over it.
class CPlaceCounter
{
public:
    explicit CPlaceCounter(CDocument const& document);

    /// The place of a UTF-16 unit, or of the end of the text. Units must not fall from one call to
    /// the next.
    Place const& At(std::size_t unit);

private:
    template <class Unit>
    void SkipBlock(Unit const* block);

    CDocument const& mDocument;
    std::size_t mUnit = 0;
    Place mPlace;
};
