#include "text/CUnicodeCategoryTable.h"

#include <latch>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "testing/TableBlobs.h"
#include "text/tables/CategoryTableData.h"

namespace {

using Table = CUnicodeCategoriesTable;

constexpr unsigned int kUnits = 0x10000;
constexpr unsigned int kUntouched = 4711;
constexpr std::size_t kRecordSize = 33;

// One record: a page and the low bytes of its members.
std::string Record(unsigned char page, std::vector<unsigned char> const& lows)
{
    std::string record(kRecordSize, '\0');
    record[0] = static_cast<char>(page);
    for (unsigned char const low : lows) {
        char& bits = record[1U + low / 8U];
        bits = static_cast<char>(static_cast<unsigned char>(bits) | 1U << low % 8);
    }
    return record;
}

int CountMembers(CUnicodeCategoryTable const& table)
{
    int members = 0;
    for (unsigned int unit = 0; unit < kUnits; ++unit) {
        members += table.Contains(static_cast<char16_t>(unit));
    }
    return members;
}

using Search = bool (CUnicodeCategoryTable::*)(char16_t const*, int, unsigned int&) const;

// The index that a search stores, or -1 where it finds nothing and leaves the index alone.
int IndexOf(CUnicodeCategoryTable const& table, Search search, std::u16string const& text)
{
    unsigned int index = kUntouched;
    bool const found = (table.*search)(text.data(), static_cast<int>(text.size()), index);
    if (found) return static_cast<int>(index);
    EXPECT_EQ(kUntouched, index);
    return -1;
}

struct SharedCase
{
    char const* mWhat;
    CUnicodeCategoryTable* (*mGet)();
    Table::CategoriesMask mMask;
    signed char const* mData;
    int mLength;
    int mMoreThanBlob;
};

SharedCase const kShared[] = {
    {"letters and numbers", CUnicodeCategoryTable::GetLetterNumberTable, 0x183C071F,
     sLetterNumberCategoryTableData, sLetterNumberCategoryTableDataLen, 3822},
    {"letters, numbers and marks", CUnicodeCategoryTable::GetLetterNumberNSMTable, 0x0000073F,
     sLetterNumberNSMCategoryTableData, sLetterNumberNSMCategoryTableDataLen, -2048},
    {"marks and symbols", CUnicodeCategoryTable::GetMarkSymbolTable, 0x003C00C0,
     sMarkSymbolCategoryTableData, sMarkSymbolCategoryTableDataLen, 0},
    {"punctuation", CUnicodeCategoryTable::GetPunctuationTable, 0x0003F800,
     sPunctuationCategoryTableData, sPunctuationCategoryTableDataLen, 0},
    {"separators and controls", CUnicodeCategoryTable::GetSeparatorControlTable, 0x03C00000,
     sSeparatorControlCategoryTableData, sSeparatorControlCategoryTableDataLen, 0},
    {"nonspacing marks", CUnicodeCategoryTable::GetNSMTable, 0x00000020, sNSMCategoryTableData,
     sNSMCategoryTableDataLen, 0},
};

TEST(CUnicodeCategoryTable, SharedTablesHoldTheirCategoriesAndStayTheSame)
{
    for (SharedCase const& c : kShared) {
        SCOPED_TRACE(c.mWhat);
        CUnicodeCategoryTable const* const table = c.mGet();
        ASSERT_NE(nullptr, table);
        EXPECT_EQ(table, c.mGet());
        for (unsigned int unit = 0; unit < kUnits; ++unit) {
            unsigned int const category = Table::sTable[unit] & Table::kCategoryBits;
            ASSERT_EQ((c.mMask >> category & 1) != 0, table->Contains(static_cast<char16_t>(unit)));
        }
    }
}

TEST(CUnicodeCategoryTable, KeepsTwoSharedTablesUnlikeTheirBlobs)
{
    for (SharedCase const& c : kShared) {
        SCOPED_TRACE(c.mWhat);
        CUnicodeCategoryTable loaded;
        loaded.LoadCategoryTable(c.mData, c.mLength);
        EXPECT_EQ(c.mMoreThanBlob, CountMembers(*c.mGet()) - CountMembers(loaded));
    }
}

TEST(CUnicodeCategoryTable, LoadedBlobsSearchAsTheirCategoriesDo)
{
    CUnicodeCategoryTable punctuation;
    punctuation.LoadCategoryTable(sPunctuationCategoryTableData, sPunctuationCategoryTableDataLen);
    std::mt19937 random(2);
    std::u16string const alphabet = u"a .#+\u2014\u4E00\u3001\uFFFF";
    for (int round = 0; round < 500; ++round) {
        std::u16string text(random() % 8, u' ');
        for (char16_t& unit : text)
            unit = alphabet[random() % alphabet.size()];
        for (Search const search : {&CUnicodeCategoryTable::FindFirstOfCategory,
                                    &CUnicodeCategoryTable::FindFirstNotOfCategory,
                                    &CUnicodeCategoryTable::FindLastOfCategory,
                                    &CUnicodeCategoryTable::FindLastNotOfCategory}) {
            ASSERT_EQ(IndexOf(*CUnicodeCategoryTable::GetPunctuationTable(), search, text),
                      IndexOf(punctuation, search, text));
        }
    }
}

TEST(CUnicodeCategoryTable, IsEmptyAtFirst)
{
    CUnicodeCategoryTable const table;
    EXPECT_EQ(0, CountMembers(table));
    EXPECT_EQ(-1, IndexOf(table, &CUnicodeCategoryTable::FindFirstOfCategory, u"ab"));
    EXPECT_EQ(0, IndexOf(table, &CUnicodeCategoryTable::FindFirstNotOfCategory, u"ab"));
    EXPECT_EQ(-1, IndexOf(table, &CUnicodeCategoryTable::FindLastOfCategory, u"ab"));
    EXPECT_EQ(1, IndexOf(table, &CUnicodeCategoryTable::FindLastNotOfCategory, u"ab"));
}

TEST(CUnicodeCategoryTable, StopsAtUnitsOfEmptyPages)
{
    CUnicodeCategoryTable table;
    TableBlob blob = StoreBlob(Record(0, {'a', 'b'}));
    table.LoadCategoryTable(blob.Data(), blob.mLength);
    EXPECT_EQ(1, IndexOf(table, &CUnicodeCategoryTable::FindFirstNotOfCategory, u"a\u4E00b"));
    EXPECT_EQ(1, IndexOf(table, &CUnicodeCategoryTable::FindLastNotOfCategory, u"a\u4E00b"));
    EXPECT_EQ(2, IndexOf(table, &CUnicodeCategoryTable::FindLastOfCategory, u"a\u4E00b"));
}

TEST(CUnicodeCategoryTable, FindsNothingInLengthsOfZeroAndBelow)
{
    CUnicodeCategoryTable paged;
    for (CUnicodeCategoryTable* const table : {&paged, CUnicodeCategoryTable::GetNSMTable()}) {
        for (int const length : {0, -1}) {
            unsigned int index = kUntouched;
            EXPECT_FALSE(table->FindFirstOfCategory(nullptr, length, index));
            EXPECT_FALSE(table->FindFirstNotOfCategory(nullptr, length, index));
            EXPECT_FALSE(table->FindLastOfCategory(nullptr, length, index));
            EXPECT_FALSE(table->FindLastNotOfCategory(nullptr, length, index));
            EXPECT_EQ(kUntouched, index);
        }
    }
}

TEST(CUnicodeCategoryTable, HasEveryBitWhereTheBlobTellsIt)
{
    for (unsigned int low = 0; low < 256; ++low) {
        CUnicodeCategoryTable table;
        TableBlob blob = StoreBlob(Record(0xD8, {static_cast<unsigned char>(low)}));
        table.LoadCategoryTable(blob.Data(), blob.mLength);
        EXPECT_TRUE(table.Contains(static_cast<char16_t>(0xD800 | low)));
        EXPECT_EQ(1, CountMembers(table));
    }
}

TEST(CUnicodeCategoryTable, LoadReplacesWhatWasThere)
{
    CUnicodeCategoryTable table;
    table.LoadCategoryTable(sNSMCategoryTableData, sNSMCategoryTableDataLen);
    ASSERT_EQ(1031, CountMembers(table));
    table.LoadCategoryTable(sSeparatorControlCategoryTableData,
                            sSeparatorControlCategoryTableDataLen);
    EXPECT_EQ(84, CountMembers(table));
    for (int const length : {0, -1}) {
        table.LoadCategoryTable(sNSMCategoryTableData, sNSMCategoryTableDataLen);
        table.LoadCategoryTable(sNSMCategoryTableData, length);
        EXPECT_EQ(0, CountMembers(table));
    }
    table.LoadCategoryTable(sNSMCategoryTableData, sNSMCategoryTableDataLen);
    table.UnloadCategoryTable();
    EXPECT_EQ(0, CountMembers(table));
}

TEST(CUnicodeCategoryTable, TakesTheLastOfTwoRecordsOfAPage)
{
    CUnicodeCategoryTable table;
    TableBlob blob = StoreBlob(Record(1, {5}) + Record(0, {'x'}) + Record(1, {7}));
    table.LoadCategoryTable(blob.Data(), blob.mLength);
    EXPECT_FALSE(table.Contains(0x0105));
    EXPECT_TRUE(table.Contains(0x0107));
    EXPECT_EQ(2, CountMembers(table));
}

TEST(CUnicodeCategoryTable, LoadsTheWholeRecordsOfACutBlob)
{
    std::string const stream =
        StreamOf(sSeparatorControlCategoryTableData, sSeparatorControlCategoryTableDataLen);
    for (int length = 0; length <= static_cast<int>(stream.size()); ++length) {
        TableBlob cut = StoreBlob(stream, length);
        TableBlob whole = StoreBlob(stream, length / 33 * 33);
        CUnicodeCategoryTable table;
        CUnicodeCategoryTable expected;
        table.LoadCategoryTable(cut.Data(), cut.mLength);
        expected.LoadCategoryTable(whole.Data(), whole.mLength);
        for (unsigned int unit = 0; unit < kUnits; unit += 1) {
            auto const each = static_cast<char16_t>(unit);
            ASSERT_EQ(expected.Contains(each), table.Contains(each)) << length;
        }
    }
}

TEST(CUnicodeCategoryTable, MaskModeLeavesThePagesAlone)
{
    CUnicodeCategoryTable table;
    table.LoadCategoryTable(sNSMCategoryTableData, sNSMCategoryTableDataLen);
    table.SetCategriesMask(Table::MaskOf(Table::kNd));
    EXPECT_EQ(0, IndexOf(table, &CUnicodeCategoryTable::FindFirstOfCategory, u"1\u0301"));
    EXPECT_EQ(0, IndexOf(table, &CUnicodeCategoryTable::FindLastOfCategory, u"1\u0301"));
    EXPECT_EQ(1, IndexOf(table, &CUnicodeCategoryTable::FindFirstNotOfCategory, u"1\u0301"));
    EXPECT_EQ(1, IndexOf(table, &CUnicodeCategoryTable::FindLastNotOfCategory, u"1\u0301"));
    table.UnloadCategoryTable();
    EXPECT_TRUE(table.Contains(u'7'));
    table.SetCategriesMask(0);
    EXPECT_EQ(static_cast<int>(kUnits), CountMembers(table)) << "no category means all of them";
}

TEST(CUnicodeCategoryTable, ThreadsThatMeetInTheFirstUseGetTheSameTable)
{
    constexpr int kThreads = 8;
    for (SharedCase const& c : kShared) {
        SCOPED_TRACE(c.mWhat);
        std::vector<CUnicodeCategoryTable*> seen(kThreads);
        std::vector<int> members(kThreads);
        std::latch start(kThreads);
        std::vector<std::thread> threads;
        for (std::size_t each = 0; each < kThreads; ++each) {
            threads.emplace_back([&, each] {
                start.arrive_and_wait();
                seen[each] = c.mGet();
                members[each] = CountMembers(*seen[each]);
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(std::vector<CUnicodeCategoryTable*>(kThreads, c.mGet()), seen);
        EXPECT_EQ(std::vector<int>(kThreads, CountMembers(*c.mGet())), members);
    }
}

}  // namespace
