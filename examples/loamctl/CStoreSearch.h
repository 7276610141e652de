// `loamctl search --in STORE`: the same search, with a store in the place of the files.
//
// What a hit needs is looked for in the filters and folded texts, or in the list of words, and only
// documents that can have it are decoded and searched as if they had just been read.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "loamctl/CSearch.h"
#include "loamctl/CStore.h"

class CStoreSearch
{
public:
    /// Called for each entry of the store, when what it had to tell has been added to the output.
    using Finish = std::function<void(TreeEntry const&, Outcome const&)>;

    /// `options` lives as long. Throws what `CSearch` and `CStore` throw.
    CStoreSearch(SearchOptions const& options, Session& session);

    void Run(Finish const& finish);

private:
    bool CanHaveHits(std::size_t index);
    long long Search(std::size_t index);

    SearchOptions const& mOptions;
    Session& mSession;
    CSearch mSearch;
    CStore mStore;
    std::string mNeedle;          // folded, UTF-8; for parts of words
    std::vector<bool> mHasWords;  // for whole words
};
