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

}  // namespace

CSearch::CSearch(SearchOptions options, COutput& output)
    : mOptions(std::move(options))
    , mOutput(output)
    , mFinder(MakeFinder(mOptions))
{
}

int CSearch::Run()
{
    CTreeWalk walk(mOptions.mPaths, mOptions.mFollowLinks);
    for (TreeEntry entry; walk.Next(entry);) {
        mOutput.ShowProgress(mTotals.mFiles, mTotals.mBytes, entry.mPath);
        Reading const reading = ReadEntry(entry, mDocument);
        mTotals.Add(entry, reading);
        if (reading.mText) {
            SearchDocument(entry.mPath);
        } else if (!reading.mReason.empty()) {
            TellSkipped(entry, reading);
        }
    }
    ShowTotals();
    if (mTotals.mErrors > 0) return 2;
    return mHits > 0 ? 0 : 1;
}

// Errors are always told; what was passed over for a good reason is told on demand.
void CSearch::TellSkipped(TreeEntry const& entry, Reading const& reading)
{
    if (mOutput.IsJSON()) {
        mOutput.AddJSON({{"type", reading.mError ? "error" : "skipped"},
                         {"path", entry.mPath},
                         {"kind", reading.mKind},
                         {"reason", reading.mReason}});
    }
    std::string const name = SafeName(entry.mPath);
    if (reading.mError) {
        mOutput.Complain(fmt::format("{}: {}", name, reading.mReason));
    } else if (mOutput.IsVerbose()) {
        mOutput.Note(fmt::format("skipped {} ({}: {})", name, reading.mKind, reading.mReason));
    }
}

void CSearch::SearchDocument(std::string const& path)
{
    mFinder->SetText(mDocument.GetText());
    Span first;
    if (!mFinder->Next(first)) return;
    ++mFilesWithHits;
    switch (mOptions.mShow) {
    case SearchOptions::Show::kNames:
        ShowName(path);
        ++mHits;
        break;
    case SearchOptions::Show::kCounts:
        mHits += CountHits(path);
        break;
    case SearchOptions::Show::kHits:
        mHits += ShowHits(path, first);
        break;
    }
    if (mOutput.IsTerminal()) mOutput.Flush();
}

// Hits of one line are shown together.
long long CSearch::ShowHits(std::string const& path, Span hit)
{
    if (mOutput.IsTerminal() && !mOutput.IsJSON()) {
        if (mFilesWithHits > 1) mOutput.EndLine();
        ShowName(path);
    }
    CHitPrinter printer(mDocument, path, static_cast<std::size_t>(mOptions.mMaxColumns), mOutput);
    long long count = 0;
    for (bool more = true; more;) {
        Span const line = LineAround(mDocument.GetText(), hit.mStart);
        mLineHits.clear();
        do {
            mLineHits.push_back(hit);
            ++count;
            more = count != mOptions.mMaxCount && mFinder->Next(hit);
        } while (more && hit.mStart < line.mEnd);
        printer.ShowLine(line, mLineHits);
    }
    return count;
}

// After the first hit, which is found already.
long long CSearch::CountHits(std::string const& path)
{
    long long count = 1;
    for (Span hit; count != mOptions.mMaxCount && mFinder->Next(hit);)
        ++count;
    if (mOutput.IsJSON()) {
        mOutput.AddJSON({{"type", "count"}, {"path", path}, {"hits", count}});
    } else {
        mOutput.Add(mOutput.Painted(COutput::Style::kPath, SafeName(path)));
        mOutput.Add(fmt::format(":{}", count));
        mOutput.EndLine();
    }
    return count;
}

void CSearch::ShowName(std::string const& path)
{
    if (mOutput.IsJSON()) {
        mOutput.AddJSON({{"type", "file"}, {"path", path}});
    } else {
        mOutput.Add(mOutput.Painted(COutput::Style::kPath, SafeName(path)));
        mOutput.EndLine();
    }
}

void CSearch::ShowTotals()
{
    bool const counted = mOptions.mShow != SearchOptions::Show::kNames;
    if (mOutput.IsJSON()) {
        nlohmann::ordered_json object{{"type", "summary"}};
        if (counted) object["hits"] = mHits;
        object["files_with_hits"] = mFilesWithHits;
        object["files"] = mTotals.mFiles;
        object["bytes"] = mTotals.mBytes;
        object["skipped"] = mTotals.mSkipped;
        object["errors"] = mTotals.mErrors;
        mOutput.AddJSON(object);
        return;
    }
    if (!mOutput.WantsTotals()) return;
    std::string const files = Counted(mTotals.mFiles, "file", "files");
    std::string found = fmt::format("{} of {}", Grouped(mFilesWithHits), files);
    if (counted) found = fmt::format("{} in {}", Counted(mHits, "hit", "hits"), found);
    if (mFilesWithHits == 0) found = "no hits in " + files;
    std::string const skipped = Listed(mTotals.mSkipped);
    mOutput.Note(fmt::format("\n{}, {}{}{}", found, SizeForPeople(mTotals.mBytes),
                             skipped.empty() ? "" : "; skipped ", skipped));
}
