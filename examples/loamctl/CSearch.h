// Finds a word in documents and shows each hit at its place in the raw text.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "loamctl/CBasicFinder.h"
#include "loamctl/CCrew.h"
#include "loamctl/CDocument.h"

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
    std::string mStore;  ///< searched in the place of files; empty for files
    Show mShow = Show::kHits;
    bool mWholeWords = false;
    bool mFollowLinks = false;
    int mJobs = 1;              ///< documents at a time
    long long mMaxCount = 0;    ///< hits in one file; 0 for no limit
    long long mMaxColumns = 0;  ///< UTF-16 units of a line that are shown; 0 for no limit
};

/// What one thread does with one document after another.
class CSearch final : public CBasicFileWorker
{
public:
    /// `options` lives as long. Throws `CUsageError` if there is nothing in the word that could be
    /// looked for.
    explicit CSearch(SearchOptions const& options);

    Outcome Work(TreeEntry const& entry, COutput& output) override;

    /// The document in work, to be filled from elsewhere.
    CDocument& GetDocument() { return mDocument; }

    /// Shows the hits in the document in work. Answers their number, as far as anybody wants to
    /// know it.
    long long Search(std::string const& path, COutput& output);

private:
    long long CountHits(std::string const& path, COutput& output);
    long long ShowHits(std::string const& path, Span hit, COutput& output);

    SearchOptions const& mOptions;
    std::unique_ptr<CBasicFinder> mFinder;
    CDocument mDocument;
};
