#include "loamctl/CPhraseFinder.h"

#include <algorithm>
#include <utility>

#include "loamctl/CDocument.h"
#include "loamctl/CWordWalk.h"
#include "loamctl/Lines.h"

namespace {

std::u16string const& Longest(std::vector<std::u16string> const& words)
{
    return *std::max_element(words.begin(), words.end(),
                             [](auto const& a, auto const& b) { return a.size() < b.size(); });
}

int NameOf(std::u16string_view word, std::vector<std::u16string> const& words)
{
    auto const found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? -1 : static_cast<int>(found - words.begin());
}

}  // namespace

CPhraseFinder::CPhraseFinder(std::vector<std::u16string> words)
    : mWords(std::move(words))
    , mCandidates(Longest(mWords))
{
    for (std::u16string const& word : mWords)
        mPhrase.push_back(NameOf(word, mWords));
}

void CPhraseFinder::SetText(std::u16string_view text)
{
    mText = text;
    mDocument = nullptr;
    mCandidates.SetText(text);
    Restart();
}

void CPhraseFinder::SetDocument(CDocument const& document)
{
    mDocument = &document;
    mCandidates.SetDocument(document);
    Restart();
}

void CPhraseFinder::Restart()
{
    mHits.clear();
    mNextHit = 0;
}

bool CPhraseFinder::Next(Span& hit)
{
    while (mNextHit == mHits.size()) {
        Span candidate;
        if (!mCandidates.Next(candidate)) return false;
        if (mDocument) mText = mDocument->GetText();
        mDocument = nullptr;
        Span const line = LineAround(mText, candidate.mStart);
        CollectHits(line);
        mCandidates.SkipTo(line.mEnd);
    }
    hit = mHits[mNextHit++];
    return true;
}

void CPhraseFinder::CollectHits(Span line)
{
    mHits.clear();
    mNextHit = 0;
    mSpans.clear();
    mNames.clear();
    CWordWalk words(mText.substr(line.mStart, line.mEnd - line.mStart), mBlock);
    while (words.Next()) {
        Span const span = words.GetSpan();
        mSpans.push_back({line.mStart + span.mStart, line.mStart + span.mEnd});
        mNames.push_back(NameOf(words.GetWord(), mWords));
    }

    auto at = mNames.begin();
    for (;;) {
        at = std::search(at, mNames.end(), mPhrase.begin(), mPhrase.end());
        if (at == mNames.end()) return;
        auto const first = static_cast<std::size_t>(at - mNames.begin());
        Span const hit{mSpans[first].mStart, mSpans[first + mPhrase.size() - 1].mEnd};
        // Two words of one expansion are one place.
        if (mHits.empty() || hit.mStart >= mHits.back().mEnd) mHits.push_back(hit);
        at += static_cast<std::ptrdiff_t>(mPhrase.size());
    }
}

std::vector<std::u16string> SplitIntoWords(std::u16string const& raw)
{
    std::vector<std::u16string> words;
    amortizedmemblock block;
    CWordWalk walk(raw, block);
    while (walk.Next())
        words.emplace_back(walk.GetWord());
    return words;
}
