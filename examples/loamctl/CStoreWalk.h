// The entries of a store, in its order, so that a crew can work on them.
//
// Files that were packed together are handed out together: each group is unpacked by one thread,
// and once. What needs no unpacking goes along with them.
#pragma once

#include <cstddef>
#include <vector>

#include "loamctl/CBasicWalk.h"
#include "loamctl/StoreFormat.h"

class CStore;

class CStoreWalk final : public CBasicWalk
{
public:
    /// `isWanted` tells for each entry whether its text will be asked for. Both live as long.
    CStoreWalk(CStore const& store, std::vector<bool> const& isWanted);

    bool NextBatch(std::vector<TreeEntry>& entries) override;
    double GetShare() const override;

private:
    std::vector<StoredEntry> const& mEntries;
    std::vector<bool> const& mIsWanted;
    std::size_t mNext = 0;
};
