#include "loamctl/CHitPrinter.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CDocument.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/LineView.h"

CHitPrinter::CHitPrinter(CDocument const& document,
                         std::string const& path,
                         std::size_t maxColumns,
                         COutput& output)
    : mDocument(document)
    , mPath(path)
    , mMaxColumns(maxColumns)
    , mOutput(output)
    , mHitPlaces(document)
    , mContextPlaces(document)
{
}

void CHitPrinter::BeginLine(Span line, Span hit)
{
    mLine = line;
    if (!mOutput.IsJSON()) BeginText(hit);
}

void CHitPrinter::AddHit(Span hit)
{
    mOutput.IsJSON() ? ShowAsJSON(hit) : AddText(hit);
}

void CHitPrinter::EndLine()
{
    if (!mOutput.IsJSON()) EndText();
}

void CHitPrinter::BeginText(Span hit)
{
    mView = ViewOfLine(mDocument.GetText(), mLine, hit, mMaxColumns);
    mShownTo = mView.mStart;
    mHidden = 0;
    mOutput.Add(Prefix(mHitPlaces.At(hit.mStart)));
    if (mView.mStart > mLine.mStart) mOutput.Add(mOutput.Painted(COutput::Style::kFaint, "…"));
}

void CHitPrinter::AddText(Span hit)
{
    if (hit.mStart >= mView.mEnd) {
        ++mHidden;
        return;
    }
    std::size_t const end = std::min(hit.mEnd, mView.mEnd);
    mOutput.Add(SafeText(TextOf(mShownTo, hit.mStart)));
    mOutput.Add(mOutput.Painted(COutput::Style::kHit, SafeText(TextOf(hit.mStart, end))));
    mShownTo = end;
}

void CHitPrinter::EndText()
{
    mOutput.Add(SafeText(TextOf(mShownTo, mView.mEnd)));
    if (mView.mEnd < mLine.mEnd) mOutput.Add(mOutput.Painted(COutput::Style::kFaint, "…"));
    if (mHidden > 0) {
        std::string const more = fmt::format(" (+{})", Grouped(mHidden));
        mOutput.Add(mOutput.Painted(COutput::Style::kFaint, more));
    }
    mOutput.EndLine();
}

void CHitPrinter::ShowAsJSON(Span hit)
{
    Span const view = ViewOfLine(mDocument.GetText(), mLine, hit, mMaxColumns);
    Place const context = mContextPlaces.At(view.mStart);
    Place const start = mHitPlaces.At(hit.mStart);
    long long const end = mHitPlaces.At(hit.mEnd).mOffset;
    nlohmann::ordered_json object{{"type", "hit"},
                                  {"path", mPath},
                                  {"line", start.mLine},
                                  {"column", start.mColumn},
                                  {"offset", start.mOffset},
                                  {"length", end - start.mOffset},
                                  {"text", TextOf(hit.mStart, hit.mEnd)},
                                  {"context_offset", context.mOffset},
                                  {"context", TextOf(view.mStart, view.mEnd)}};
    if (mDocument.IsConverted()) object["charset"] = mDocument.GetKindName();
    mOutput.AddJSON(object);
}

std::string CHitPrinter::Prefix(Place const& place) const
{
    using Style = COutput::Style;
    if (mOutput.IsTerminal()) {
        return mOutput.Painted(Style::kPlace,
                               fmt::format("{:>5}:{:<4} ", place.mLine, place.mColumn));
    }
    return fmt::format("{}:{}:{}: ", mOutput.Painted(Style::kPath, SafeName(mPath)),
                       mOutput.Painted(Style::kPlace, fmt::format("{}", place.mLine)),
                       mOutput.Painted(Style::kPlace, fmt::format("{}", place.mColumn)));
}

std::string CHitPrinter::TextOf(std::size_t start, std::size_t end) const
{
    return ToUTF8(mDocument.GetText().substr(start, end - start));
}
