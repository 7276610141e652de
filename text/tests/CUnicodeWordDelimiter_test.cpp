#include "text/CUnicodeWordDelimiter.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiterStub.h"
#include "text/CUnicodeWordDelimiterStubLegacy.h"
#include "text/tests/WordWalks.h"

using namespace std::string_literals;

namespace {

TEST(CUnicodeWordDelimiter, SharesOneDelimiterAndOneTable)
{
    CUnicodeWordDelimiter* const shared = CUnicodeWordDelimiter::GetDefaultDelimiter();
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(shared, CUnicodeWordDelimiter::GetDefaultDelimiter());
    EXPECT_NE(dynamic_cast<CUnicodeWordDelimiterStub*>(shared), nullptr);
    EXPECT_EQ(CUnicodeWordDelimiter::GetWordDelimiterCategoryTable(),
              CUnicodeWordDelimiter::GetWordDelimiterCategoryTable());
}

TEST(CUnicodeWordDelimiter, HandsOutADelimiterThatTheCallerOwns)
{
    std::unique_ptr<CUnicodeWordDelimiter> const one(CUnicodeWordDelimiter::CreateDelimiter());
    std::unique_ptr<CUnicodeWordDelimiter> const two(CUnicodeWordDelimiter::CreateDelimiter());
    EXPECT_NE(one, two);
    EXPECT_NE(dynamic_cast<CUnicodeWordDelimiterStub*>(one.get()), nullptr);
}

TEST(CUnicodeWordDelimiter, HasAllLettersDigitsMarksSymbolsAndSurrogatesInItsTable)
{
    CUnicodeCategoryTable* const table = CUnicodeWordDelimiter::GetWordDelimiterCategoryTable();
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        unsigned const category = CUnicodeCategoriesTable::sTable[unit] % 32;
        bool const isMember = (category <= 10 && category != 6 && category != 7) ||
                              category == 18 || category == 19 || category == 21 ||
                              category == 27 || category == 28;
        ASSERT_EQ(table->Contains(static_cast<char16_t>(unit)), isMember) << unit;
    }
}

TEST(CUnicodeWordDelimiter, MeetsInItsFirstUseFromManyThreads)
{
    std::vector<CUnicodeWordDelimiter*> delimiters(8);
    std::vector<std::thread> threads;
    for (auto& delimiter : delimiters) {
        threads.emplace_back([&delimiter] {
            delimiter = CUnicodeWordDelimiter::GetDefaultDelimiter();
            CUnicodeWordDelimiter::GetWordDelimiterCategoryTable();
            MappedWords(*delimiter, u"Caf\u00E9 \u4E00", *CUnicodeMappingTable::GetDefaultTable());
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(std::count(delimiters.begin(), delimiters.end(), delimiters[0]), 8);
}

// The public form reaches whatever a subclass puts behind it.
TEST(CUnicodeWordDelimiter, ForwardsTheMappedFormToItsInnerOperation)
{
    class InnerTest : public CUnicodeWordDelimiterStub
    {
    protected:
        bool GetNextMappedWordInRawText_(char16_t const*,
                                         unsigned int,
                                         CUnicodeMappingTable&,
                                         unsigned int& start,
                                         unsigned int&,
                                         amortizedmemblock&,
                                         unsigned int&) override
        {
            start = 77;
            return false;
        }
    } delimiter;

    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    amortizedmemblock block;
    CUnicodeMappingTable table;
    EXPECT_FALSE(delimiter.GetNextMappedWordInRawText(u"a", 1, table, start, rawLength, block,
                                                      mappedLength));
    EXPECT_EQ(start, 77U);
}

// Both classes against the naive rule, with each kind of table.
class WordRulesTest : public testing::Test
{
protected:
    struct Table
    {
        char const* mWhat;
        CUnicodeMappingTable* mTable;
        NaiveWords::CMap mMap;
    };

    static std::vector<Table> const& Tables()
    {
        static std::vector<Table> const* const tables = [] {
            static CUnicodeMappingTable empty;
            static CUnicodeMappingTable dynamic;
            dynamic.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
                {CUnicodeMappingTable::GetDecomposeAllTable(),
                 CUnicodeMappingTable::GetCaseFoldingTable()},
                {CUnicodeCategoryTable::GetPunctuationTable()});
            auto* const made = new std::vector<Table>;
            struct
            {
                char const* mWhat;
                CUnicodeMappingTable* mTable;
            } const all[] = {{"default", CUnicodeMappingTable::GetDefaultTable()},
                             {"case folding", CUnicodeMappingTable::GetCaseFoldingTable()},
                             {"decompose all", CUnicodeMappingTable::GetDecomposeAllTable()},
                             {"diacritics", CUnicodeMappingTable::GetDecomposeDiacriticsTable()},
                             {"no marks", CUnicodeMappingTable::GetStripNSTable()},
                             {"empty", &empty},
                             {"dynamic", &dynamic}};
            for (auto const& one : all)
                made->push_back({one.mWhat, one.mTable, NaiveWords::CMap(*one.mTable)});
            return made;
        }();
        return *tables;
    }

    // False at the first difference, so that one mistake doesn't fill the screen.
    bool AllHold(std::u16string_view text)
    {
        for (auto& [delimiter, rule] : mDelimiters) {
            if (!WalksAsNaiveRaw(*delimiter, rule, text)) return false;
            for (Table const& table : Tables()) {
                SCOPED_TRACE(table.mWhat);
                if (!WalksAsNaive(*delimiter, rule, text, *table.mTable, table.mMap)) return false;
            }
        }
        return true;
    }

    // Only with the default table, which most words go through.
    bool HoldsByDefault(std::u16string_view text)
    {
        Table const& table = Tables().front();
        return std::all_of(mDelimiters.begin(), mDelimiters.end(), [&](auto const& each) {
            return WalksAsNaive(*each.first, each.second, text, *table.mTable, table.mMap);
        });
    }

    CUnicodeWordDelimiterStub mStub;
    CUnicodeWordDelimiterStubLegacy mLegacy;
    std::vector<std::pair<CUnicodeWordDelimiter*, NaiveWords::Rule>> mDelimiters = {
        {&mStub, NaiveWords::Rule::kStub},
        {&mLegacy, NaiveWords::Rule::kLegacy},
    };
};

// Two units of each category and flag that there is, and what is treated in a way of its own.
std::u16string Representatives()
{
    std::u16string units;
    std::vector<int> seen(256);
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        if (seen[CUnicodeCategoriesTable::sTable[unit]]++ < 2) units += static_cast<char16_t>(unit);
    }
    // Apostrophes and what may follow them, deleted marks, expansions to one unit and to many,
    // ideographs that expand, units that no table maps and the marks for lone surrogates.
    return units + u"'tea\uFF07\u02BC\u0301\u0345\u3099\uFF9E\u00C4\u00DF\u00BC\u2460\uFB01\uFDFA"
                   u"\u309F\u3300\u32C0\u3220\u2F00\uF900\uFA6C\u3007\u00A8\u1E9B\u0E33#\u2590"
                   u"\u258C\xFFFF\xFFFE\xFEFF";
}

std::u16string ASCII()
{
    std::u16string units;
    for (char16_t unit = 0; unit < 0x80; ++unit)
        units += unit;
    return units;
}

TEST_F(WordRulesTest, HoldForEveryUnit)
{
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        auto const c = static_cast<char16_t>(unit);
        ASSERT_TRUE(AllHold(std::u16string(1, c))) << unit;
        ASSERT_TRUE(AllHold(std::u16string{u'a', c, u'b'})) << unit;
    }
}

// With room behind it for the ways that take many units at once.
TEST_F(WordRulesTest, HoldForEveryUnitFarFromTheEnd)
{
    std::u16string const gap(40, u' ');
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        auto const c = static_cast<char16_t>(unit);
        ASSERT_TRUE(HoldsByDefault(u' ' + std::u16string(1, c) + gap)) << unit;
        ASSERT_TRUE(HoldsByDefault(u"Az" + std::u16string(1, c) + u"9#" + gap)) << unit;
    }
}

TEST_F(WordRulesTest, HoldForASCIIAtEveryOffset)
{
    // What stops a run, what goes on with it, what stands alone and what vanishes.
    std::u16string const units =
        u" a#'\u0301\u00C9\u00DF\u4E00\u3007\u2019\xD83D\xDE00\xD800\xDC00\uFDFA";
    for (size_t before = 0; before < 36; ++before) {
        for (size_t length = 0; length < 36; ++length) {
            std::u16string const head = std::u16string(before, u'.') + std::u16string(length, u'Q');
            for (char16_t const unit : units) {
                std::u16string const text = head + unit;
                ASSERT_TRUE(HoldsByDefault(text));
                ASSERT_TRUE(HoldsByDefault(text + u"bC" + std::u16string(33, u'-')));
            }
        }
    }
}

TEST_F(WordRulesTest, HoldForEveryPairOfRepresentatives)
{
    std::u16string const units = Representatives();
    for (char16_t const first : units) {
        for (char16_t const second : units) {
            ASSERT_TRUE(AllHold(std::u16string{first, second}));
            ASSERT_TRUE(AllHold(std::u16string{u'a', first, second, u'b'}));
            ASSERT_TRUE(AllHold(std::u16string{u' ', first, second, first}));
        }
    }
}

// Mappings of units that the quick ways know well: to nothing, to units of any kind, to several.
TEST_F(WordRulesTest, HoldForTablesThatMapWhatTheQuickWaysKnow)
{
    std::u16string const units =
        u"aZ #-\u00DF\u00E9\u00FF\u03B1\u0430\u0FFF\u1000\uAC00\uD7A3\uD7A4"
        u"\u4E00\u3007\u2019\u0301\uFFFF\xD800\xD83D\xDE00";
    std::mt19937 random(4);
    auto const any = [&](size_t most) {
        std::u16string text(random() % (most + 1), u' ');
        for (char16_t& unit : text)
            unit = units[random() % units.size()];
        return text;
    };
    for (int round = 0; round < 100; ++round) {
        UnitMapping mapping;
        for (char16_t const unit : units) {
            if (random() % 4 == 0) mapping[unit] = any(random() % 3 == 0 ? 3 : 1);
        }
        CUnicodeMappingTable table;
        MapByHand(table, mapping);
        NaiveWords::CMap const map(table);
        for (int i = 0; i < 30; ++i) {
            std::u16string text;
            for (size_t left = 1 + random() % 12; left > 0; --left)
                text += std::u16string(1 + random() % 9, units[random() % units.size()]) + any(4);
            for (auto& [delimiter, rule] : mDelimiters)
                ASSERT_TRUE(WalksAsNaive(*delimiter, rule, text, table, map)) << "round " << round;
        }
    }
}

// What stands for the units behind the text, where vectors are longer, must not count as its own.
TEST_F(WordRulesTest, HoldNearTheEndForTablesThatMapNUL)
{
    std::u16string const units = u"ab \u00E9\u03B1\u03B2\u0430\u0301\uAC00\u4E00\u0001";
    CUnicodeMappingTable tables[3];
    tables[0].CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        {CUnicodeMappingTable::GetDefaultTable()},
        {CUnicodeCategoryTable::GetSeparatorControlTable()});
    MapByHand(tables[1], {{'\0', u"a"}});
    MapByHand(tables[2], {{'\0', u""}});
    std::mt19937 random(3);
    for (CUnicodeMappingTable& table : tables) {
        NaiveWords::CMap const map(table);
        for (int round = 0; round < 1000; ++round) {
            std::u16string text(random() % 24, u' ');
            for (char16_t& unit : text)
                unit = units[random() % units.size()];
            for (auto& [delimiter, rule] : mDelimiters)
                ASSERT_TRUE(WalksAsNaive(*delimiter, rule, text, table, map)) << "round " << round;
        }
    }
}

TEST_F(WordRulesTest, HoldForHostileText)
{
    // Small alphabets, so that everything meets everything; each text seeded by its number.
    std::u16string const alphabets[] = {
        u"ab \u0301\u0302#\u4E00\xD83D\xDE00\xD800\xDC00",
        u"\xD83D\xD800\xDC00\xDE00\xD835\xDBFF\xDFFF",
        u"a\u0301\xD83D\xD800\xDC00\uFDFA\u309F",
        u"a'tze\uFF07\u02BC \u4E00",
        u"\uFDFA\u00BC\u2460\u00DF\uFB01\u0301\u4E00\u3007\u309Fa 1",
        Representatives(),
        ASCII() + u"\u00C9\u0301\u00DF\u2019\u00A0\u4E00\xD83D\xDE00",
        u"abcdefghijklmnopqrstuvwxyzABCDEFG0123456789  \u00C9\u0301",
    };
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        std::u16string const& alphabet = alphabets[random() % std::size(alphabets)];
        std::u16string text(random() % (round % 4 == 0 ? 90 : 24), u' ');
        for (char16_t& unit : text)
            unit = alphabet[random() % alphabet.size()];
        ASSERT_TRUE(AllHold(text)) << "round " << round;
    }
}

// Words as texts have them, so that they run through all ways, over windows and to the end: in each
// script, in mixtures, and with what breaks words off.
TEST_F(WordRulesTest, HoldForMixturesOfScriptsAtEveryOffsetAndCut)
{
    std::u16string const pieces[] = {u"the",
                                     u"Internationalization",
                                     u"\u00C9t\u00E9",
                                     u"Stra\u00DFe",
                                     u"na\u00EFvet\u00E9s",
                                     u"\u00B5m",
                                     u"\u00FF\u00FE",
                                     u"\u041F\u0440\u0438\u0432\u0435\u0442",
                                     u"\u0439\u0451",
                                     u"\u0391\u03B8\u03AE\u03BD\u03B1",
                                     u"\u0645\u064E\u0631\u062D",
                                     u"\u0915\u093F\u0924\u093E\u092C",
                                     u"\uD55C\uAD6D\uC5B4",
                                     u"\uD7A3\uD7A4\uABFF",
                                     u"\u6F22\u5B57",
                                     u"\u304B\u306A\u304C",
                                     u"\u30AB\u30FC",
                                     u"\xD83D\xDE00",
                                     u"\xD83D",
                                     u"\xDC00",
                                     u"\xD800\xDC00",
                                     u"e\u0301\u0302",
                                     u"\u1F00\u1FFC",
                                     u"\u0FFF\u1000",
                                     u"C#",
                                     u"a@b",
                                     u"42\u20AC",
                                     u"\uFF21\uFF22",
                                     u"\uFDFA",
                                     u"\u00BC"};
    std::u16string const gaps[] = {u" ",       u" ",         u" ",      u"",       u"",
                                   u", ",      u"'",         u"\u2019", u"\u3001", u"\u00A0",
                                   u"\u060C ", u"\0\u0001"s, u"\u0301", u"  ---  "};
    std::mt19937 random(3);
    for (unsigned int round = 0; round < 160; ++round) {
        // One script mostly, or any.
        size_t const least = random() % std::size(pieces);
        size_t const count = round % 2 == 0 ? std::size(pieces) - least : 2;
        std::u16string text(round % 64, u'.');
        while (text.size() < 64 + round % 40) {
            text += pieces[(least + random() % count) % std::size(pieces)];
            text += gaps[random() % std::size(gaps)];
        }
        // Each cut near the end, as the ways change there.
        for (size_t cut = 0; cut < 24; ++cut)
            ASSERT_TRUE(HoldsByDefault(std::u16string_view(text).substr(0, text.size() - cut)));
        ASSERT_TRUE(AllHold(text)) << "round " << round;
    }
}

// What one call makes ready for the next must not be believed: another walk may come between, and
// the text may be another one by then.
TEST_F(WordRulesTest, HoldForWalksByTurnsOverTextsThatChange)
{
    struct Walk
    {
        std::u16string mText;
        unsigned int mStart = 0;
        unsigned int mRawLength = 0;
        unsigned int mMappedLength = 0;
        amortizedmemblock mBlock;
        NaiveWords::MappedWalk mNaive;
    };

    std::u16string const units = u"abcdeXYZ09   .\u00E9\u0301\u0430\uAC00\u4E00\u3001#";
    Table const& table = Tables().front();
    std::mt19937 random(5);
    auto const change = [&](std::u16string& text, size_t from, unsigned int often) {
        for (size_t at = from; at < text.size(); ++at) {
            // Latin and blanks mostly.
            if (random() % often == 0) text[at] = units[random() % (units.size() - random() % 10)];
        }
    };
    auto const goesAsNaive = [&](CUnicodeWordDelimiter& delimiter, NaiveWords::Rule rule,
                                 Walk& walk) {
        bool const isFound = delimiter.GetNextMappedWordInRawText(
            walk.mText.data(), static_cast<unsigned int>(walk.mText.size()), *table.mTable,
            walk.mStart, walk.mRawLength, walk.mBlock, walk.mMappedLength);
        NaiveWords::MappedWalk& naive = walk.mNaive;
        bool const isNaive = NaiveWords::NextMappedWord(rule, walk.mText, table.mMap, naive);
        bool const isSame = isFound == isNaive && walk.mStart == naive.mStart &&
                            walk.mRawLength == naive.mRawLength &&
                            walk.mMappedLength == naive.mMappedLength &&
                            UnitsIn(walk.mBlock) == naive.mBlock;
        if (!isFound) {
            walk.mStart = walk.mRawLength = walk.mMappedLength = 0;
            walk.mBlock.reset();
            naive = NaiveWords::MappedWalk();
        }
        return isSame;
    };
    for (TextKernels const* const level : WordLevels()) {
        SCOPED_TRACE(level->mName);
        StTextKernels const guard(*level);
        for (auto& [delimiter, rule] : mDelimiters) {
            Walk walks[3];
            for (Walk& walk : walks) {
                walk.mText.resize(300 + random() % 100);
                change(walk.mText, 0, 1);
            }
            for (int call = 0; call < 6000; ++call) {
                Walk& walk = walks[call % 50 < 40 ? 0 : random() % 3];
                ASSERT_TRUE(goesAsNaive(*delimiter, rule, walk)) << "call " << call;
                if (random() % 4 == 0) change(walk.mText, walk.mStart + walk.mRawLength, 8);
            }
        }
    }
}

// The quick ways write whole windows, so they must know how much room there is.
TEST_F(WordRulesTest, HoldForBlocksOfAnyRoom)
{
    class OtherBlockTest : public amortizedmemblock
    {
    };

    std::u16string const text = u"a Caf\u00E9 \u0430\u0439\u0301 \u6F22\u5B57 \uD55C\uAD6D, "
                                u"\xD83D\xDE00 C# Internationalization" +
                                std::u16string(40, u'.') + u"the end";
    Table const& table = Tables().front();
    for (TextKernels const* const level : WordLevels()) {
        SCOPED_TRACE(level->mName);
        StTextKernels const guard(*level);
        for (auto& [delimiter, rule] : mDelimiters) {
            for (unsigned long const room :
                 {0UL, 1UL, 2UL, 31UL, 32UL, 62UL, 63UL, 64UL, 65UL, 65536UL, 65537UL, 70000UL}) {
                SCOPED_TRACE(room);
                for (bool const isKept : {false, true}) {
                    unsigned int start = 0;
                    unsigned int rawLength = 0;
                    unsigned int mappedLength = 0;
                    NaiveWords::MappedWalk naive;
                    for (bool isFound = true; isFound;) {
                        // Anew for each word, as the feed would give it more room.
                        amortizedmemblock exact(1, 1, isKept);
                        OtherBlockTest other;
                        amortizedmemblock& block = start % 2 == 0 ? exact : other;
                        block.resize(room);
                        block.resize(0);
                        block.append(reinterpret_cast<char const*>(naive.mBlock.data()),
                                     naive.mBlock.size() * sizeof(char16_t));
                        isFound = delimiter->GetNextMappedWordInRawText(
                            text.data(), static_cast<unsigned int>(text.size()), *table.mTable,
                            start, rawLength, block, mappedLength);
                        ASSERT_EQ(isFound,
                                  NaiveWords::NextMappedWord(rule, text, table.mMap, naive));
                        ASSERT_EQ(start, naive.mStart);
                        ASSERT_EQ(rawLength, naive.mRawLength);
                        ASSERT_EQ(mappedLength, naive.mMappedLength);
                        ASSERT_EQ(UnitsIn(block), naive.mBlock);
                    }
                }
            }
        }
    }
}

TEST_F(WordRulesTest, HoldForEveryUnitInEveryTableAsAWordAndBehindOne)
{
    for (unsigned int unit = 0; unit < 0x10000; unit += 7) {
        auto const c = static_cast<char16_t>(unit);
        std::u16string const text =
            u" " + std::u16string{c, u' ', u'x', c, u' ', c, c, u'-'} + std::u16string(20, u'.');
        ASSERT_TRUE(AllHold(text)) << unit;
    }
}

TEST_F(WordRulesTest, HoldForTablesThatMapToAnything)
{
    std::u16string const units = u"ab #\u4E00\u3007\xD83D\xDE00\xD800\xDC00\u0301";
    std::mt19937 random(2);
    auto const any = [&random](size_t most, std::u16string const& alphabet) {
        std::u16string text(random() % (most + 1), u' ');
        for (char16_t& unit : text)
            unit = alphabet[random() % alphabet.size()];
        return text;
    };
    for (int round = 0; round < 60; ++round) {
        CUnicodeMappingTable table;
        MapByHand(table, {{'w', any(1, units)},
                          {'x', any(4, units)},
                          {'y', any(4, units)},
                          {'z', any(4, units)}});
        NaiveWords::CMap const map(table);
        for (int i = 0; i < 60; ++i) {
            std::u16string const text = any(12, u"wxyz" + units);
            std::u16string const padded = text + std::u16string(20, u' ');
            for (auto& [delimiter, rule] : mDelimiters) {
                ASSERT_TRUE(WalksAsNaive(*delimiter, rule, text, table, map)) << "round " << round;
                ASSERT_TRUE(WalksAsNaive(*delimiter, rule, padded, table, map))
                    << "round " << round;
            }
        }
    }
}

}  // namespace
