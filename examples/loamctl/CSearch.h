// `loamctl search`: finds a word in documents and shows each hit at its place in the raw text.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "loamctl/CBasicFinder.h"
#include "loamctl/CDocument.h"
#include "loamctl/Reading.h"

class COutput;

struct SearchOptions
{
    enum class Show
    {
        kHits,
        kCounts,
        kNames,
    };

    std::string mWord;  ///< UTF-8
    std::vector<std::string> mPaths;
    Show mShow = Show::kHits;
    bool mWholeWords = false;
    bool mFollowLinks = false;
    long long mMaxCount = 0;    ///< hits in one file; 0 for no limit
    long long mMaxColumns = 0;  ///< UTF-16 units of a line that are shown; 0 for no limit
};

class CSearch
{
public:
    /// Throws `CUsageError` if there is nothing in the word that could be looked for.
    CSearch(SearchOptions options, COutput& output);

    /// The program's exit code: 0 for a hit, 1 for none, 2 if something could not be read, hit or
    /// not.
    int Run();

private:
    void TellSkipped(TreeEntry const& entry, Reading const& reading);
    void SearchDocument(std::string const& path);
    long long CountHits(std::string const& path);
    long long ShowHits(std::string const& path, Span hit);
    void ShowName(std::string const& path);
    void ShowTotals();

    SearchOptions mOptions;
    COutput& mOutput;
    std::unique_ptr<CBasicFinder> mFinder;
    CDocument mDocument;
    Totals mTotals;
    long long mHits = 0;
    long long mFilesWithHits = 0;
    std::vector<Span> mLineHits;  // of the line in work
};
