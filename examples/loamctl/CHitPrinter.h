// Shows the hits in one document, line by line.
//
// On a terminal the lines of a document stand below its name; elsewhere each line begins with
// path:line:column: and so stands for itself. In JSON each hit is an object of its own.
#pragma once

#include <cstddef>
#include <string>

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

    /// Begins a line around its first hit. Lines must come in their order.
    void BeginLine(Span line, Span hit);
    /// Adds the first hit and all others in their order. A line may have any number: none is kept.
    void AddHit(Span hit);
    void EndLine();

private:
    void BeginText(Span hit);
    void AddText(Span hit);
    void EndText();
    void ShowAsJSON(Span hit);
    std::string Prefix(Place const& place) const;
    std::string TextOf(std::size_t start, std::size_t end) const;

    CDocument const& mDocument;
    std::string const& mPath;
    std::size_t mMaxColumns;
    COutput& mOutput;
    CPlaceCounter mHitPlaces;
    CPlaceCounter mContextPlaces;  // one of its own, since contexts begin before the last hit
    Span mLine;                    // the one in work
    Span mView;                    // the part of it that is shown
    std::size_t mShownTo = 0;      // how much of that has been
    long long mHidden = 0;         // hits behind it
};
