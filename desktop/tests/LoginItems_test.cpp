#include "desktop/LoginItems.h"

#include "desktop/platform/CBasicLoginItemsPlatform.h"
#include "text/CUTFConverter.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

constexpr int kFailure = -1712;

std::string ToUTF8(std::u16string const& text)
{
    std::string result;
    CUTFConverter::ConvertUTF16toUTF8(text, result, CUTFConverter::kLenientMode);
    return result;
}

// A list that keeps what it is given and notes what changes it.
class ScriptedLoginItems final : public CBasicLoginItemsPlatform
{
public:
    int CopyItems(std::vector<LoginItem>& items) override
    {
        if (mCopyStatus == 0) items = mItems;
        return mCopyStatus;
    }

    bool GetFileName(std::u16string const& path, std::u16string& name) override
    {
        if (mHasNoNames) return false;
        name = path.substr(path.rfind(u'/') + 1);
        return true;
    }

    int RemoveItem(long index) override
    {
        mChanges.push_back("remove " + std::to_string(index));
        return mRemoveStatus;
    }

    bool AddHiddenItem(std::u16string const& path, int& status) override
    {
        if (mHasNoURLs) return false;
        mChanges.push_back("add " + ToUTF8(path));
        status = mAddStatus;
        return true;
    }

    std::vector<LoginItem> mItems;
    int mCopyStatus = 0;
    int mRemoveStatus = 0;
    int mAddStatus = 0;
    bool mHasNoNames = false;
    bool mHasNoURLs = false;
    std::vector<std::string> mChanges;
};

LoginItem ItemAt(std::u16string const& path)
{
    return {path.substr(path.rfind(u'/') + 1), path};
}

using Changes = std::vector<std::string>;

// What becomes of a list that is asked to hold /Applications/Host.app, or not to.
struct Case
{
    char const* mWhat;
    std::vector<LoginItem> mItems;
    bool mAdd;
    LoginItemResult mResult;
    Changes mChanges;
};

void ExpectChanges(std::vector<Case> const& cases)
{
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedLoginItems list;
        list.mItems = c.mItems;
        int status = kFailure;
        EXPECT_EQ(SetLoginItem(list, u"/Applications/Host.app", c.mAdd, status), c.mResult);
        EXPECT_EQ(list.mChanges, c.mChanges);
        EXPECT_EQ(status, 0);
    }
}

}  // namespace

TEST(LoginItems, AreBroughtToTheWantedState)
{
    LoginItem const here = ItemAt(u"/Applications/Host.app");
    LoginItem const elsewhere = ItemAt(u"/Users/a/Host.app");
    LoginItem const other = ItemAt(u"/Applications/Other.app");
    LoginItem const nameless = {std::nullopt, u"/Applications/Host.app"};
    LoginItem const placeless = {u"Host.app", std::nullopt};
    std::string const add = "add /Applications/Host.app";

    ExpectChanges({
        {"an empty list", {}, true, kLoginItemAdded, {add}},
        {"nothing to take out of an empty list", {}, false, kLoginItemUnchanged, {}},
        {"another program", {other}, true, kLoginItemAdded, {add}},
        {"another program stays", {other}, false, kLoginItemUnchanged, {}},
        {"listed as wanted", {other, here}, true, kLoginItemUnchanged, {}},
        {"taken out", {other, here}, false, kLoginItemRemoved, {"remove 1"}},
        {"moved", {elsewhere, other}, true, kLoginItemReplaced, {"remove 0", add}},
        {"taken out elsewhere too", {elsewhere}, false, kLoginItemRemoved, {"remove 0"}},
        {"an item without a name", {nameless}, true, kLoginItemAdded, {add}},
        {"an item without a place", {placeless}, true, kLoginItemReplaced, {"remove 0", add}},
        {"another case of the name", {ItemAt(u"/host.app")}, true, kLoginItemAdded, {add}},
        {"a longer name", {ItemAt(u"/Host.app2")}, true, kLoginItemAdded, {add}},
    });
}

TEST(LoginItems, KeepsToTheLastOfSeveralItemsWhichMayBorrowThePlaceOfTheOneBefore)
{
    LoginItem const here = ItemAt(u"/Applications/Host.app");
    LoginItem const elsewhere = ItemAt(u"/Users/a/Host.app");
    LoginItem const other = ItemAt(u"/Applications/Other.app");
    LoginItem const placeless = {u"Host.app", std::nullopt};
    std::string const add = "add /Applications/Host.app";

    ExpectChanges({
        {"the last of two is as wanted", {elsewhere, here}, true, kLoginItemUnchanged, {}},
        {"the last of two is elsewhere",
         {here, elsewhere, other},
         true,
         kLoginItemReplaced,
         {"remove 1", add}},
        {"the last of two is taken out", {here, here}, false, kLoginItemRemoved, {"remove 1"}},
        {"without a place behind one here", {here, placeless}, true, kLoginItemUnchanged, {}},
        {"without a place behind one elsewhere",
         {elsewhere, placeless},
         true,
         kLoginItemReplaced,
         {"remove 1", add}},
        {"without a place behind one here, taken out",
         {here, placeless},
         false,
         kLoginItemRemoved,
         {"remove 1"}},
    });
}

TEST(LoginItems, TellWhatFailed)
{
    struct
    {
        char const* mWhat;
        bool mAdd;
        int mCopyStatus;
        int mRemoveStatus;
        int mAddStatus;
        std::size_t mChanges;
    } const cases[] = {
        {"the list can't be read", true, kFailure, 0, 0, 0},
        {"the item can't be taken out", false, 0, kFailure, 0, 1},
        {"the new item can't be added", true, 0, 0, kFailure, 2},
        {"the add's own failure is told", true, 0, kFailure + 1, kFailure, 2},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        ScriptedLoginItems list;
        list.mItems = {ItemAt(u"/elsewhere/Host")};
        list.mCopyStatus = c.mCopyStatus;
        list.mRemoveStatus = c.mRemoveStatus;
        list.mAddStatus = c.mAddStatus;
        int status = 0;
        EXPECT_EQ(SetLoginItem(list, u"/here/Host", c.mAdd, status), kLoginItemError);
        EXPECT_EQ(status, kFailure);
        EXPECT_EQ(list.mChanges.size(), c.mChanges);
    }
}

TEST(LoginItems, KeepsAnAddThatWentWellInFrontOfARemoveThatFailed)
{
    ScriptedLoginItems list;
    list.mItems = {ItemAt(u"/elsewhere/Host")};
    list.mRemoveStatus = kFailure;
    int status = kFailure;
    EXPECT_EQ(SetLoginItem(list, u"/here/Host", true, status), kLoginItemReplaced);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(list.mChanges, (Changes{"remove 0", "add /here/Host"}));
}

TEST(LoginItems, WithoutANameOfItsOwnAProgramIsNoItem)
{
    ScriptedLoginItems list;
    list.mItems = {ItemAt(u"/here/Host")};
    list.mHasNoNames = true;
    int status = kFailure;
    EXPECT_EQ(SetLoginItem(list, u"/here/Host", false, status), kLoginItemUnchanged);
    EXPECT_EQ(SetLoginItem(list, u"/here/Host", true, status), kLoginItemAdded);
    EXPECT_EQ(list.mChanges, Changes{"add /here/Host"});
    EXPECT_EQ(status, 0);
}

TEST(LoginItems, WithoutAURLNothingIsAdded)
{
    ScriptedLoginItems list;
    list.mHasNoURLs = true;
    int status = kFailure;
    EXPECT_EQ(SetLoginItem(list, u"/here/Host", true, status), kLoginItemUnchanged);
    EXPECT_EQ(status, 0);

    list.mItems = {ItemAt(u"/elsewhere/Host")};
    EXPECT_EQ(SetLoginItem(list, u"/here/Host", true, status), kLoginItemRemoved);
    EXPECT_EQ(status, 0);

    list.mRemoveStatus = kFailure;
    EXPECT_EQ(SetLoginItem(list, u"/here/Host", true, status), kLoginItemError);
    EXPECT_EQ(status, kFailure);
    EXPECT_EQ(list.mChanges, (Changes{"remove 0", "remove 0"}));
}
