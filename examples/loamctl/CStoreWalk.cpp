#include "loamctl/CStoreWalk.h"

#include "loamctl/CStore.h"

namespace {

// Nobody should wait long for a batch that costs next to nothing.
constexpr std::size_t kMostEntries = 4096;

}  // namespace

CStoreWalk::CStoreWalk(CStore const& store, std::vector<bool> const& isWanted)
    : mEntries(store.GetEntries())
    , mIsWanted(isWanted)
{
}

bool CStoreWalk::NextBatch(std::vector<TreeEntry>& entries)
{
    entries.clear();
    StoredText const* group = nullptr;
    for (; mNext < mEntries.size() && entries.size() < kMostEntries; ++mNext) {
        StoredEntry const& stored = mEntries[mNext];
        if (mIsWanted[mNext]) {
            if (group && *group != stored.mBytes) break;
            group = &stored.mBytes;
        }
        TreeEntry& entry = entries.emplace_back();
        entry.mIndex = mNext;
        entry.mPath = stored.mPath;
        entry.mKind = stored.mKind;
        entry.mNamed = stored.mNamed;
    }
    return !entries.empty();
}

double CStoreWalk::GetShare() const
{
    if (mEntries.empty()) return 1;
    return static_cast<double>(mNext) / static_cast<double>(mEntries.size());
}
