#include "loamctl/CStoreSearch.h"

#include "loamctl/CFoldedFinder.h"
#include "loamctl/COutput.h"
#include "loamctl/CPhraseFinder.h"
#include "loamctl/CProgress.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "text/CUTFConverter.h"

CStoreSearch::CStoreSearch(SearchOptions const& options, Session& session)
    : mOptions(options)
    , mSession(session)
    , mSearch(options)
    , mStore(options.mStore)
{
    std::u16string raw;
    CUTFConverter::ConvertUTF8toUTF16(options.mWord, raw, CUTFConverter::kLenientMode);
    if (!options.mWholeWords) {
        mNeedle = ToUTF8(FoldNeedle(raw));
        return;
    }
    std::vector<std::string> words;
    for (std::u16string const& word : SplitIntoWords(raw))
        words.push_back(ToUTF8(word));
    mHasWords = mStore.FindWords(words);
}

void CStoreSearch::Run(Finish const& finish)
{
    std::vector<StoredEntry> const& entries = mStore.GetEntries();
    COutput& output = mSession.mOutput;
    long long files = 0;
    long long bytes = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        ThrowIfInterrupted();
        StoredEntry const& stored = entries[i];
        TreeEntry entry;
        entry.mPath = stored.mPath;
        entry.mKind = stored.mKind;
        entry.mNamed = stored.mNamed;
        Outcome outcome{stored.mReading};
        if (stored.mReading.mText) {
            outcome.mFound = Search(i);
        } else {
            TellSkipped(entry, stored.mReading, output);
        }
        if (outcome.mFound > 0 && output.IsTerminal()) output.Flush();
        finish(entry, outcome);
        if (stored.mKind == TreeEntry::Kind::kFile) ++files;
        bytes += stored.mReading.mSize > 0 ? stored.mReading.mSize : 0;
        mSession.mProgress.Show(files, bytes,
                                static_cast<double>(i + 1) / static_cast<double>(entries.size()));
    }
}

// Folding is unit by unit, so a hit in the raw text is one in the folded text.
bool CStoreSearch::CanHaveHits(std::size_t index)
{
    if (mOptions.mWholeWords) return mHasWords[index];
    return mStore.CanHave(mStore.GetEntries()[index], mNeedle);
}

long long CStoreSearch::Search(std::size_t index)
{
    if (!CanHaveHits(index)) return 0;
    StoredEntry const& stored = mStore.GetEntries()[index];
    CDocument& document = mSearch.GetDocument();
    document.Read(mStore.GetBytes(stored));
    if (!document.IsText()) {
        throw CBadStore(SafeName(mOptions.mStore) +
                        ": is no store, or damaged: " + SafeName(stored.mPath) + " is no text");
    }
    return mSearch.Search(stored.mPath, mSession.mOutput);
}
