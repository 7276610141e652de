#include "loamctl/CSearch.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CFoldedFinder.h"
#include "loamctl/CHitPrinter.h"
#include "loamctl/COutput.h"
#include "loamctl/CPhraseFinder.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/Lines.h"
#include "text/CUTFConverter.h"

namespace {

std::unique_ptr<CBasicFinder> MakeFinder(SearchOptions const& options)
{
    std::u16string raw;
    if (!CUTFConverter::ConvertUTF8toUTF16(options.mWord, raw, CUTFConverter::kLenientMode)) {
        throw CUsageError("the word is not UTF-8");
    }
    if (std::any_of(raw.begin(), raw.end(), IsLineEnd)) {
        throw CUsageError("the word holds a line end, and a hit never spans lines");
    }
    if (options.mWholeWords) {
        std::vector<std::u16string> words = SplitIntoWords(raw);
        if (words.empty()) throw CUsageError("there is no word in what to look for");
        return std::make_unique<CPhraseFinder>(std::move(words));
    }
    std::u16string folded = FoldNeedle(raw);
    if (folded.empty()) throw CUsageError("there is nothing to look for");
    return std::make_unique<CFoldedFinder>(std::move(folded));
}

void ShowName(std::string const& path, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "file"}, {"path", path}});
    } else {
        output.Add(output.Painted(COutput::Style::kPath, SafeName(path)));
        output.EndLine();
    }
}

}  // namespace

CSearch::CSearch(SearchOptions const& options)
    : mOptions(options)
    , mFinder(MakeFinder(mOptions))
{
}

Outcome CSearch::Work(TreeEntry const& entry, COutput& output)
{
    Outcome outcome{ReadEntry(entry, mDocument)};
    if (outcome.mReading.mText) {
        outcome.mFound = Search(entry.mPath, output);
    } else {
        TellSkipped(entry, outcome.mReading, output);
    }
    return outcome;
}

long long CSearch::Search(std::string const& path, COutput& output)
{
    mFinder->SetDocument(mDocument);
    Span first;
    if (!mFinder->Next(first)) return 0;
    switch (mOptions.mShow) {
    case SearchOptions::Show::kNames:
        ShowName(path, output);
        return 1;
    case SearchOptions::Show::kCounts:
        return CountHits(path, output);
    case SearchOptions::Show::kHits:
        break;
    }
    return ShowHits(path, first, output);
}

// Hits of one line are shown together.
long long CSearch::ShowHits(std::string const& path, Span hit, COutput& output)
{
    if (output.IsTerminal() && !output.IsJSON()) {
        output.BeginGroup();
        ShowName(path, output);
    }
    CHitPrinter printer(mDocument, path, static_cast<std::size_t>(mOptions.mMaxColumns), output);
    long long count = 0;
    for (bool more = true; more;) {
        Span const line = LineAround(mDocument.GetText(), hit.mStart);
        printer.BeginLine(line, hit);
        do {
            ThrowIfInterrupted();
            printer.AddHit(hit);
            ++count;
            more = count != mOptions.mMaxCount && mFinder->Next(hit);
        } while (more && hit.mStart < line.mEnd);
        printer.EndLine();
    }
    return count;
}

// After the first hit, which is found already.
long long CSearch::CountHits(std::string const& path, COutput& output)
{
    long long count = 1;
    for (Span hit; count != mOptions.mMaxCount && mFinder->Next(hit); ++count)
        ThrowIfInterrupted();
    if (output.IsJSON()) {
        output.AddJSON({{"type", "count"}, {"path", path}, {"hits", count}});
    } else {
        output.Add(output.Painted(COutput::Style::kPath, SafeName(path)));
        output.Add(fmt::format(":{}", count));
        output.EndLine();
    }
    return count;
}
