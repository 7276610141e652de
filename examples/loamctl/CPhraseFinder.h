// Finds whole words: one, or several in a row within a line, whatever gaps stand between them.
//
// Words are what the library's word delimiter says: "new york" is found in "New-York" but not in
// "New Yorkers". Lines that can't hold the longest word are never taken apart.
#pragma once

#include <string>
#include <vector>

#include "loamctl/CBasicFinder.h"
#include "loamctl/CFoldedFinder.h"
#include "marl/amortizedmemblock.h"

class CPhraseFinder : public CBasicFinder
{
public:
    /// `words` is what `SplitIntoWords` gave, and not empty.
    explicit CPhraseFinder(std::vector<std::u16string> words);

    void SetText(std::u16string_view text) override;
    void SetDocument(CDocument const& document) override;
    bool Next(Span& hit) override;

private:
    void Restart();
    void CollectHits(Span line);

    std::vector<std::u16string> mWords;
    CFoldedFinder mCandidates;             // of the longest word, also inside others
    CDocument const* mDocument = nullptr;  // not owned; until its text is in mText
    std::u16string_view mText;
    std::vector<Span> mHits;  // of the last line that was taken apart
    std::size_t mNextHit = 0;
    std::vector<Span> mSpans;  // of the words in that line
    std::vector<int> mNames;   // which word of mWords each of them is, the first of equals, or -1
    std::vector<int> mPhrase;  // mWords in the same names
    amortizedmemblock mBlock{1024, 2.0F, true};
};

/// The words of a text, mapped by the default table.
std::vector<std::u16string> SplitIntoWords(std::u16string const& raw);
