// Walks files and folders with all that is in them, one entry at a time, in the order of names.
//
// CFileSpecIterator lists one folder; here a stack of listings makes a tree of it, so that depth
// costs no call stack and no open descriptors. An entry that can't be looked at comes with the
// reason, and the walk goes on.
#pragma once

#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "loamctl/CBasicWalk.h"

class CTreeWalk final : public CBasicWalk
{
public:
    /// `paths` are UTF-8, relative or absolute; without any, the walk starts in the working folder.
    /// Links among them are followed, those in folders with `followLinks` only; each folder is then
    /// entered once, however many links lead to it.
    CTreeWalk(std::vector<std::string> const& paths, bool followLinks);

    /// Points `entry` at the next file, folder (before what it holds) or other thing. False at the
    /// end. Nothing is thrown but for lack of memory and `CInterrupted`.
    bool Next(TreeEntry& entry);

    /// The same, each entry by itself.
    bool NextBatch(std::vector<TreeEntry>& entries) override;

    /// How much of the walk has been done when the last entry is done, from 0 to 1. An estimate:
    /// each entry of a folder counts for as much as its neighbours, whatever it holds.
    double GetShare() const override;

private:
    // What is left of a folder.
    struct Listing
    {
        std::vector<std::u16string> mPaths;
        std::size_t mNext = 0;
    };

    void Examine(TreeEntry& entry) const;
    void EnterFolder(TreeEntry& entry);
    bool IsFirstVisit(std::string const& path);

    std::vector<Listing> mListings;              // innermost last
    std::set<std::pair<dev_t, ino_t>> mVisited;  // folders entered, if links are followed
    bool mFollowLinks;
    std::size_t mPrefix = 0;  // how much of each path is left out: the "./" nobody named
};
