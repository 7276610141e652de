#include "loamctl/CPhraseFinder.h"

#include <algorithm>
#include <utility>

#include "loamctl/CDocument.h"
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
    mWalk.reset();
}

void CPhraseFinder::SetDocument(CDocument const& document)
{
    mDocument = &document;
    mCandidates.SetDocument(document);
    mWalk.reset();
}

bool CPhraseFinder::Next(Span& hit)
{
    for (;;) {
        if (mWalk) {
            if (NextInLine(hit)) return true;
            mWalk.reset();
            mCandidates.SkipTo(mLine.mEnd);
        }
        Span candidate;
        if (!mCandidates.Next(candidate)) return false;
        if (mDocument) mText = mDocument->GetText();
        mDocument = nullptr;
        mLine = LineAround(mText, candidate.mStart);
        mWalk.emplace(mText.substr(mLine.mStart, mLine.mEnd - mLine.mStart), mBlock);
        mRecent.clear();
        mLastEnd = mLine.mStart;
    }
}

bool CPhraseFinder::NextInLine(Span& hit)
{
    auto const isWanted = [](Word const& word, int name) { return word.mName == name; };
    while (mWalk->Next()) {
        if (mRecent.size() == mPhrase.size()) mRecent.erase(mRecent.begin());
        Span const span = mWalk->GetSpan();
        mRecent.push_back({NameOf(mWalk->GetWord(), mWords),
                           {mLine.mStart + span.mStart, mLine.mStart + span.mEnd}});
        if (!std::equal(mRecent.begin(), mRecent.end(), mPhrase.begin(), mPhrase.end(), isWanted))
            continue;
        hit = {mRecent.front().mSpan.mStart, mRecent.back().mSpan.mEnd};
        mRecent.clear();
        // Two words of one expansion are one place.
        if (hit.mStart < mLastEnd) continue;
        mLastEnd = hit.mEnd;
        return true;
    }
    return false;
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
