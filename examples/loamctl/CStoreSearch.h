// `loamctl search --in STORE`: the same search, with a store in the place of the files.
//
// What a hit needs is looked for in the filters and folded texts, or in the list of words, and only
// documents that can have it are decoded and searched as if they had just been read.
#pragma once

#include <string>
#include <vector>

#include "loamctl/CCrew.h"
#include "loamctl/CSearch.h"
#include "loamctl/CStoreReader.h"

class CStore;

/// What can be told about a search from the lists of a store, before any text is unpacked.
struct StoreQuery
{
    std::string mPart;               ///< what every hit has, folded, in UTF-8; empty for words
    std::vector<bool> mCanHaveHits;  ///< for each entry
};

/// Throws what `CSearch` and `CStore` throw.
StoreQuery MakeStoreQuery(SearchOptions const& options, CStore& store);

/// What one thread does with one entry after another.
class CStoreSearch final : public CBasicFileWorker
{
public:
    /// All of them live as long.
    CStoreSearch(SearchOptions const& options, CStore& store, StoreQuery const& query);

    Outcome Work(TreeEntry const& entry, COutput& output) override;

private:
    bool CanHaveHits(std::size_t index);
    long long Search(std::size_t index, COutput& output);

    SearchOptions const& mOptions;
    CStore const& mStore;
    StoreQuery const& mQuery;
    CStoreReader mReader;
    CSearch mSearch;
};
