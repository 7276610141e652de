// Every unit of every generated table, against a second statement of the rule that made it.
#include <algorithm>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "testing/CUnicodeDatabase.h"
#include "testing/TableBlobs.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/tables/CategoryTableData.h"
#include "text/tables/MappingTableData.h"

namespace {

using Table = CUnicodeCategoriesTable;

constexpr unsigned int kUnits = 0x10000;

std::string Name(unsigned int unit)
{
    char text[8];
    std::snprintf(text, sizeof text, "U+%04X", unit);
    return text;
}

unsigned int CategoryOf(unsigned int unit)
{
    return Table::sTable[unit] & Table::kCategoryBits;
}

bool IsMark(char32_t code)
{
    return code < kUnits && CategoryOf(code) == Table::kMn;
}

// --- The classification ---

struct UnitRange
{
    unsigned int mFirst;
    unsigned int mLast;
};

constexpr UnitRange kIdeographic[] = {
    {0x2E80, 0x333F}, {0x3400, 0x4DBE}, {0x4E00, 0x9FFB}, {0xF900, 0xFA6C}, {0xFA70, 0xFAD8},
    {0xD81C, 0xD823}, {0xD82C, 0xD82C}, {0xD840, 0xD87A}, {0xD87E, 0xD87E}, {0xD880, 0xD884},
};
constexpr UnitRange kSymbolPlane[] = {{0xD834, 0xD834}, {0xD836, 0xD836}, {0xD83C, 0xD83E}};

template <std::size_t kCount>
bool IsIn(UnitRange const (&ranges)[kCount], unsigned int unit)
{
    return std::any_of(std::begin(ranges), std::end(ranges), [unit](UnitRange const& range) {
        return range.mFirst <= unit && unit <= range.mLast;
    });
}

unsigned int ExpectedEntry(CUnicodeDatabase const& database, char16_t unit)
{
    static std::map<std::string, unsigned int> const sNumbers = {
        {"Lu", 0},  {"Ll", 1},  {"Lt", 2},  {"Lm", 3},  {"Lo", 4},  {"Mn", 5},
        {"Mc", 6},  {"Me", 7},  {"Nd", 8},  {"Nl", 9},  {"No", 10}, {"Pc", 11},
        {"Pd", 12}, {"Ps", 13}, {"Pe", 14}, {"Pi", 15}, {"Pf", 16}, {"Po", 17},
        {"Sm", 18}, {"Sc", 19}, {"Sk", 20}, {"So", 21}, {"Zs", 22}, {"Zl", 23},
        {"Zp", 24}, {"Cc", 25}, {"Cf", 26}, {"Cs", 27}, {"Co", 29}, {"Cn", 30},
    };
    unsigned int entry = sNumbers.at(database.At(unit).mCategory);
    if (unit >= 0xDC00 && unit <= 0xDFFF) entry = 28;
    if (std::u16string_view(u"#%&@§¶").find(unit) != std::u16string_view::npos) entry = 21;
    if (std::u16string_view(u"+<=>|~").find(unit) != std::u16string_view::npos) entry = 17;
    if (IsIn(kIdeographic, unit)) entry |= 0x80;
    if (IsIn(kSymbolPlane, unit)) entry |= 0x40;
    return entry;
}

TEST(UnicodeTables, ClassifiesEveryUnitByTheRule)
{
    CUnicodeDatabase const* const database = CUnicodeDatabase::Get();
    if (!database) GTEST_SKIP() << CUnicodeDatabase::kMissing;
    for (unsigned int unit = 0; unit < kUnits; ++unit) {
        ASSERT_EQ(ExpectedEntry(*database, static_cast<char16_t>(unit)), Table::sTable[unit])
            << Name(unit);
    }
}

TEST(UnicodeTables, NeverSetsTheFifthBit)
{
    EXPECT_TRUE(std::none_of(std::begin(Table::sTable), std::end(Table::sTable), [](auto entry) {
        return (entry & 0x20) != 0 || (entry & Table::kCategoryBits) > Table::kCn;
    }));
}

// --- The sets ---

struct SetCase
{
    char const* mWhat;
    signed char const* mData;
    int mLength;
    int mExpectedLength;
    int mRecords;
    Table::CategoriesMask mMask;
};

SetCase const kSets[] = {
    {"letters and numbers", sLetterNumberCategoryTableData, sLetterNumberCategoryTableDataLen, 7293,
     221, 0x1800071F},
    {"letters, numbers and marks", sLetterNumberNSMCategoryTableData,
     sLetterNumberNSMCategoryTableDataLen, 7293, 221, 0x1800073F},
    {"marks and symbols", sMarkSymbolCategoryTableData, sMarkSymbolCategoryTableDataLen, 1782, 54,
     0x003C00C0},
    {"punctuation", sPunctuationCategoryTableData, sPunctuationCategoryTableDataLen, 1287, 39,
     0x0003F800},
    {"separators and controls", sSeparatorControlCategoryTableData,
     sSeparatorControlCategoryTableDataLen, 132, 4, 0x03C00000},
    {"nonspacing marks", sNSMCategoryTableData, sNSMCategoryTableDataLen, 1089, 33, 0x00000020},
};

TEST(UnicodeTables, SetBlobsHoldTheirCategoriesInRisingPages)
{
    for (SetCase const& c : kSets) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mExpectedLength, c.mLength);
        std::string const stream = StreamOf(c.mData, c.mLength);
        ASSERT_EQ(static_cast<std::size_t>(c.mRecords) * 33, stream.size());

        std::set<unsigned int> members;
        int formerPage = -1;
        for (std::size_t at = 0; at < stream.size(); at += 33) {
            int const page = static_cast<unsigned char>(stream[at]);
            EXPECT_GT(page, formerPage);
            formerPage = page;
            for (unsigned int low = 0; low < 256; ++low) {
                auto const bits = static_cast<unsigned char>(stream[at + 1 + low / 8]);
                if (bits >> low % 8 & 1) members.insert(static_cast<unsigned int>(page) << 8 | low);
            }
        }
        for (unsigned int unit = 0; unit < kUnits; ++unit) {
            ASSERT_EQ(c.mMask >> CategoryOf(unit) & 1, members.count(unit)) << Name(unit);
        }
    }
}

// --- The mappings ---

std::u32string BetweenBlanks(std::string const& tag, std::u32string const& units)
{
    static std::set<std::string> const sTags = {"font", "fraction", "circle", "square", "small"};
    return sTags.count(tag) != 0 ? U" " + units + U" " : units;
}

// Puts the decomposition in the place of each code point that `mayDecompose`, again and again until
// nothing is left to do.
template <class Predicate>
std::u32string
DecomposeUntilFixed(CUnicodeDatabase const& database, char32_t code, Predicate mayDecompose)
{
    std::u32string text(1, code);
    for (;;) {
        std::u32string next;
        for (char32_t const each : text) {
            UnicodeCharacter const& character = database.At(each);
            next += character.mDecomposition.empty() || !mayDecompose(each)
                        ? std::u32string(1, each)
                        : BetweenBlanks(character.mTag, character.mDecomposition);
        }
        if (next == text) return text;
        text = next;
    }
}

// A text within the BMP as it maps there, or the unit itself where it leaves the BMP.
std::u16string Narrow(char16_t unit, std::u32string const& text)
{
    bool const isInside =
        std::all_of(text.begin(), text.end(), [](char32_t code) { return code < kUnits; });
    return isInside ? std::u16string(text.begin(), text.end()) : std::u16string(1, unit);
}

std::u16string ExpectedDecomposition(CUnicodeDatabase const& database, char16_t unit)
{
    static std::map<char16_t, std::u16string> const sAdditions = {
        {u'Æ', u"AE"}, {u'æ', u"ae"}, {u'Œ', u"OE"}, {u'œ', u"oe"}, {u'ı', u"i"}};
    auto const added = sAdditions.find(unit);
    if (added != sAdditions.end()) return added->second;
    return Narrow(unit, DecomposeUntilFixed(database, unit, [](char32_t) { return true; }));
}

bool LeadsToMark(CUnicodeDatabase const& database, char32_t code)
{
    std::u32string const& parts = database.At(code).mDecomposition;
    return std::any_of(parts.begin(), parts.end(),
                       [&](char32_t part) { return IsMark(part) || LeadsToMark(database, part); });
}

std::u16string ExpectedDiacritics(CUnicodeDatabase const& database, char16_t unit)
{
    if (unit == u'ı') return u"i";
    return Narrow(unit, DecomposeUntilFixed(database, unit, [&database](char32_t code) {
                      return LeadsToMark(database, code);
                  }));
}

std::u16string ExpectedFolding(CUnicodeDatabase const& database, char16_t unit)
{
    return Narrow(unit, database.Fold(unit));
}

std::u16string ExpectedStripped(CUnicodeDatabase const&, char16_t unit)
{
    return IsMark(unit) ? std::u16string() : std::u16string(1, unit);
}

std::u16string ExpectedDefault(CUnicodeDatabase const& database, char16_t unit)
{
    if (unit == 0x0345) return u"\u03B9";
    std::u16string const decomposed = ExpectedDecomposition(database, unit);
    if (IsMark(decomposed[0])) return {};
    std::u16string folded;
    for (char16_t const each : decomposed) {
        if (!IsMark(each)) folded += ExpectedFolding(database, each);
    }
    return folded;
}

struct MappingCase
{
    char const* mWhat;
    signed char const* mData;
    int mLength;
    CUnicodeMappingTable* (*mGet)();
    std::u16string (*mExpected)(CUnicodeDatabase const&, char16_t);
    int mExpectedLength;
    std::size_t mRecords;
    std::size_t mMapped;
    std::size_t mToNothing;
    std::size_t mLongest;
};

MappingCase const kMappings[] = {
    {"default", sDefaultMappingTableData, sDefaultMappingTableDataLen,
     CUnicodeMappingTable::GetDefaultTable, ExpectedDefault, 48556, 54, 5613, 1042, 18},
    {"decompose all", sDecomposeAllMappingTableData, sDecomposeAllMappingTableDataLen,
     CUnicodeMappingTable::GetDecomposeAllTable, ExpectedDecomposition, 38389, 43, 3883, 0, 18},
    {"decompose diacritics", sDecomposeDiacriticsMappingTableData,
     sDecomposeDiacriticsMappingTableDataLen, CUnicodeMappingTable::GetDecomposeDiacriticsTable,
     ExpectedDiacritics, 15656, 28, 1166, 0, 8},
    {"case folding", sCaseFoldingMappingTableData, sCaseFoldingMappingTableDataLen,
     CUnicodeMappingTable::GetCaseFoldingTable, ExpectedFolding, 10361, 19, 1265, 0, 3},
    {"strip nonspacing marks", sStripNSMMappingTableData, sStripNSMMappingTableDataLen,
     CUnicodeMappingTable::GetStripNSTable, ExpectedStripped, 11553, 33, 1031, 1031, 0},
};

TEST(UnicodeTables, MappingBlobsHaveTheirPublishedCounts)
{
    for (MappingCase const& c : kMappings) {
        SCOPED_TRACE(c.mWhat);
        std::vector<MappingRecord> const records = MappingRecordsOf(StreamOf(c.mData, c.mLength));
        UnitMapping const mapping = MappingOf(records);
        std::size_t toNothing = 0;
        std::size_t longest = 0;
        for (auto const& [unit, to] : mapping) {
            EXPECT_NE(std::u16string(1, unit), to) << Name(unit);
            toNothing += to.empty();
            longest = std::max(longest, to.size());
        }
        EXPECT_EQ(c.mExpectedLength, c.mLength);
        EXPECT_EQ(c.mRecords, records.size());
        EXPECT_EQ(c.mMapped, mapping.size());
        EXPECT_EQ(c.mToNothing, toNothing);
        EXPECT_EQ(c.mLongest, longest);
    }
}

TEST(UnicodeTables, MappingBlobsKeepPagesAndEntriesInRisingOrderAndShareNone)
{
    for (MappingCase const& c : kMappings) {
        SCOPED_TRACE(c.mWhat);
        std::string const stream = StreamOf(c.mData, c.mLength);
        EXPECT_EQ(stream, StreamOf(MappingOf(MappingRecordsOf(stream))));
    }
}

TEST(UnicodeTables, MapsEveryUnitByTheRule)
{
    CUnicodeDatabase const* const database = CUnicodeDatabase::Get();
    if (!database) GTEST_SKIP() << CUnicodeDatabase::kMissing;
    for (MappingCase const& c : kMappings) {
        SCOPED_TRACE(c.mWhat);
        CUnicodeMappingTable const& table = *c.mGet();
        for (unsigned int code = 0; code < kUnits; ++code) {
            auto const unit = static_cast<char16_t>(code);
            std::u16string mapped;
            table.MapText(std::u16string(1, unit), mapped);
            std::u16string const expected = c.mExpected(*database, unit);
            ASSERT_EQ(expected, mapped) << Name(code);
            ASSERT_EQ(expected != std::u16string(1, unit), table.HasMappableText(&unit, 1))
                << Name(code);
        }
    }
}

TEST(UnicodeTables, LeavesHangulAndWhatLeavesTheBMPAlone)
{
    for (MappingCase const& c : kMappings) {
        SCOPED_TRACE(c.mWhat);
        for (unsigned int code = 0xAC00; code <= 0xD7A3; ++code) {
            auto const unit = static_cast<char16_t>(code);
            ASSERT_FALSE(c.mGet()->HasMappableText(&unit, 1)) << Name(code);
        }
        EXPECT_FALSE(c.mGet()->HasMappableText(u"\uFA6C\uFACF\uFAD0\uFAD1\uFAD5\uFAD6\uFAD7"));
    }
}

}  // namespace
