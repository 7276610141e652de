// Finds whole words: one, or several in a row within a line, whatever gaps stand between them.
//
// Words are what the library's word delimiter says: "new york" is found in "New-York" but not in
// "New Yorkers". Lines that can't hold the longest word are never taken apart, and of
// the others a few words are kept at a time.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "loamctl/CBasicFinder.h"
#include "loamctl/CFoldedFinder.h"
#include "loamctl/CWordWalk.h"
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
    struct Word
    {
        int mName;  // which of mWords it is, the first of equals, or -1
        Span mSpan;
    };

    bool NextInLine(Span& hit);

    std::vector<std::u16string> mWords;
    std::vector<int> mPhrase;              // mWords by their names
    CFoldedFinder mCandidates;             // of the longest word, also inside others
    CDocument const* mDocument = nullptr;  // not owned; until its text is in mText
    std::u16string_view mText;
    Span mLine;                      // the one that is taken apart
    std::optional<CWordWalk> mWalk;  // over that line, if there is one
    std::vector<Word> mRecent;       // the last words in it, as many as a phrase has at most
    std::size_t mLastEnd = 0;        // of the last hit in it
    amortizedmemblock mBlock{1024, 2.0F, true};
};

/// The words of a text, mapped by the default table.
std::vector<std::u16string> SplitIntoWords(std::u16string const& raw);
