// Listings that no real folder gives.
#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <dirent.h>

namespace {

// What readdir gives while one is in place: the names in their order, then null as often as it is
// called.
class StListing
{
public:
    explicit StListing(std::vector<std::string> names)
        : mNames(std::move(names))
    {
        sCurrent = this;
    }

    StListing(StListing const&) = delete;
    StListing& operator=(StListing const&) = delete;

    ~StListing() { sCurrent = nullptr; }

    dirent* Next()
    {
        ++mCalls;
        if (mNext == mNames.size()) return nullptr;
        std::strcpy(mEntry.d_name, mNames[mNext++].c_str());
        return &mEntry;
    }

    int mCalls = 0;

    static StListing* sCurrent;

private:
    std::vector<std::string> mNames;
    std::size_t mNext = 0;
    dirent mEntry = {};
};

StListing* StListing::sCurrent = nullptr;

}  // namespace

extern "C" {
dirent* __real_readdir(DIR* folder);
dirent* __wrap_readdir(DIR* folder);

dirent* __wrap_readdir(DIR* folder)
{
    EXPECT_NE(folder, nullptr);
    return StListing::sCurrent ? StListing::sCurrent->Next() : __real_readdir(folder);
}
}

namespace {

using Names = std::vector<std::string>;

TEST(CFileSpecListing, KeepsEndingAtASecondDot)
{
    struct
    {
        char const* mWhat;
        Names mListing;
        Names mGiven;
    } const cases[] = {
        {"dots first", {".", "..", "a", "b"}, {"a", "b"}},
        {"dots anywhere", {"a", "..", "b", ".", "c"}, {"a", "b", "c"}},
        {"no dots", {"a", "b"}, {"a", "b"}},
        {"two dots", {".", "a", ".", "b"}, {"a"}},
        {"two dots at once", {".", ".", "a"}, {}},
        {"two of the other kind", {"..", "a", "..", "b"}, {"a", "b"}},
        {"names with dots", {"...", ".a", "a.", ". "}, {"...", ".a", "a.", ". "}},
        {"the same name twice", {"a", "a"}, {"a", "a"}},
        {"an empty name", {"a", "", "b"}, {"a", "b"}},
        {"only names that are passed over", {"\xFF", "", "\xED\xA0\x80"}, {}},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StListing const listing(c.mListing);
        EXPECT_EQ(NamesIn(Spec(folder.Path())), c.mGiven);
    }
}

TEST(CFileSpecListing, ReadsOnAfterTheEnd)
{
    StTempDir const folder;
    StListing listing({".", "a", ".", "b"});
    CFileSpecIterator iterator(Spec(folder.Path()));
    CFileSpec entry;
    EXPECT_TRUE(iterator.Next(&entry));
    EXPECT_FALSE(iterator.Next(&entry));
    EXPECT_TRUE(iterator.Next(&entry)) << "what stands behind the second dot";
    EXPECT_EQ(NameOf(entry), "b");
    int const calls = listing.mCalls;
    EXPECT_FALSE(iterator.Next(&entry));
    EXPECT_FALSE(iterator.Next(&entry));
    EXPECT_EQ(listing.mCalls, calls + 2) << "each call asks the system again";
}

}  // namespace
