#include "loamctl/CStoreSearch.h"

#include <cstring>

#include "loamctl/CFoldedFinder.h"
#include "loamctl/CPhraseFinder.h"
#include "loamctl/CStore.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "loamctl/TextFilter.h"
#include "text/CUTFConverter.h"

// Folding is unit by unit, so a hit in the raw text is one in the folded text.
StoreQuery MakeStoreQuery(SearchOptions const& options, CStore& store)
{
    CSearch const refusesWhatCannotBeLookedFor(options);
    std::u16string raw;
    CUTFConverter::ConvertUTF8toUTF16(options.mWord, raw, CUTFConverter::kLenientMode);
    StoreQuery query;
    if (options.mWholeWords) {
        std::vector<std::string> words;
        for (std::u16string const& word : SplitIntoWords(raw))
            words.push_back(ToUTF8(word));
        query.mCanHaveHits = store.FindWords(words);
    } else {
        query.mPart = ToUTF8(FoldNeedle(raw));
        query.mCanHaveHits = store.FindPart(query.mPart);
    }
    return query;
}

CStoreSearch::CStoreSearch(SearchOptions const& options, CStore& store, StoreQuery const& query)
    : mOptions(options)
    , mStore(store)
    , mQuery(query)
    , mReader(store)
    , mSearch(options)
{
}

Outcome CStoreSearch::Work(TreeEntry const& entry, COutput& output)
{
    ThrowIfInterrupted();
    Outcome outcome{mStore.GetEntries()[entry.mIndex].mReading};
    if (outcome.mReading.mText) {
        outcome.mFound = Search(entry.mIndex, output);
    } else {
        TellSkipped(entry, outcome.mReading, output);
    }
    return outcome;
}

bool CStoreSearch::CanHaveHits(std::size_t index)
{
    if (!mQuery.mCanHaveHits[index]) return false;
    StoredEntry const& stored = mStore.GetEntries()[index];
    if (mQuery.mPart.empty() || stored.mFolded.mFullSize <= kLongestFilteredText) return true;
    std::string_view const text = mReader.GetFolded(stored);
    return memmem(text.data(), text.size(), mQuery.mPart.data(), mQuery.mPart.size()) != nullptr;
}

long long CStoreSearch::Search(std::size_t index, COutput& output)
{
    if (!CanHaveHits(index)) return 0;
    StoredEntry const& stored = mStore.GetEntries()[index];
    CDocument& document = mSearch.GetDocument();
    document.Read(mReader.GetBytes(stored));
    if (!document.IsText()) {
        throw CBadStore(SafeName(mOptions.mStore) +
                        ": is no store, or damaged: " + SafeName(stored.mPath) + " is no text");
    }
    return mSearch.Search(stored.mPath, output);
}
