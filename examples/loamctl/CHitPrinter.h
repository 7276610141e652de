// Shows the hits in one document, line by line.
//
// On a terminal the lines of a document stand below its name; elsewhere each line begins with
// path:line:column: and so stands for itself. In JSON each hit is an object of its own.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "loamctl/CBasicFinder.h"
#include "loamctl/CPlaceCounter.h"

class CDocument;
class COutput;

class CHitPrinter
{
public:
    /// `maxColumns`: how much of a line is shown, in UTF-16 units; 0 for all. What is given here
    /// must live as long as the printer.
    CHitPrinter(CDocument const& document,
                std::string const& path,
                std::size_t maxColumns,
                COutput& output);

    /// `hits` are those in `line`, at least one. Lines must come in their order.
    void ShowLine(Span line, std::vector<Span> const& hits);

private:
    void ShowAsText(Span line, std::vector<Span> const& hits);
    void ShowAsJSON(Span line, Span hit);
    std::string Prefix(Place const& place) const;
    std::string TextOf(std::size_t start, std::size_t end) const;

    CDocument const& mDocument;
    std::string const& mPath;
    std::size_t mMaxColumns;
    COutput& mOutput;
    CPlaceCounter mHitPlaces;
    CPlaceCounter mContextPlaces;  // one of its own, since contexts begin before the last hit
};
