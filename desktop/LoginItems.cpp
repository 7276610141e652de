#include "desktop/LoginItems.h"

#include "desktop/platform/CBasicLoginItemsPlatform.h"

namespace {

constexpr long kNoItem = -1;

struct Match
{
    long mIndex = kNoItem;
    bool mIsSameLocation = false;
};

// Kept on purpose: of several items the last one counts, and one whose path can't be told is taken
// to be where the match before it is.
Match FindItem(std::vector<LoginItem> const& items,
               std::u16string const& name,
               std::u16string const& path)
{
    Match match;
    long index = 0;
    for (LoginItem const& item : items) {
        if (item.mName == name) {
            match.mIndex = index;
            if (item.mPath) match.mIsSameLocation = *item.mPath == path;
        }
        ++index;
    }
    return match;
}

}  // namespace

LoginItemResult
SetLoginItem(CBasicLoginItemsPlatform& list, std::u16string const& path, bool add, int& status)
{
    std::vector<LoginItem> items;
    status = list.CopyItems(items);
    if (status != 0) return kLoginItemError;

    std::u16string name;
    Match match;
    if (list.GetFileName(path, name)) match = FindItem(items, name, path);
    bool const isListed = match.mIndex != kNoItem;
    if (isListed && match.mIsSameLocation && add) return kLoginItemUnchanged;

    LoginItemResult result = kLoginItemUnchanged;
    if (isListed) {
        status = list.RemoveItem(match.mIndex);
        result = kLoginItemRemoved;
    }
    // Kept on purpose: a remove that failed doesn't stop the add, whose status then hides it.
    if (add && list.AddHiddenItem(path, status))
        result = isListed ? kLoginItemReplaced : kLoginItemAdded;
    return status == 0 ? result : kLoginItemError;
}
