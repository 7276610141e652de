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

void CHitPrinter::ShowLine(Span line, std::vector<Span> const& hits)
{
    if (mOutput.IsJSON()) {
        for (Span const& hit : hits)
            ShowAsJSON(line, hit);
    } else {
        ShowAsText(line, hits);
    }
}

void CHitPrinter::ShowAsText(Span line, std::vector<Span> const& hits)
{
    Span const view = ViewOfLine(mDocument.GetText(), line, hits[0], mMaxColumns);
    mOutput.Add(Prefix(mHitPlaces.At(hits[0].mStart)));
    if (view.mStart > line.mStart) mOutput.Add(mOutput.Painted(COutput::Style::kFaint, "…"));

    std::size_t at = view.mStart;
    std::size_t shown = 0;
    for (Span const& hit : hits) {
        if (hit.mStart >= view.mEnd) break;
        std::size_t const end = std::min(hit.mEnd, view.mEnd);
        mOutput.Add(SafeText(TextOf(at, hit.mStart)));
        mOutput.Add(mOutput.Painted(COutput::Style::kHit, SafeText(TextOf(hit.mStart, end))));
        at = end;
        ++shown;
    }
    mOutput.Add(SafeText(TextOf(at, view.mEnd)));
    if (view.mEnd < line.mEnd) mOutput.Add(mOutput.Painted(COutput::Style::kFaint, "…"));
    if (shown < hits.size()) {
        std::string const more =
            fmt::format(" (+{})", Grouped(static_cast<long long>(hits.size() - shown)));
        mOutput.Add(mOutput.Painted(COutput::Style::kFaint, more));
    }
    mOutput.EndLine();
}

void CHitPrinter::ShowAsJSON(Span line, Span hit)
{
    Span const view = ViewOfLine(mDocument.GetText(), line, hit, mMaxColumns);
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
