#include "text/CUnicodeMappingTable.h"

#include <initializer_list>
#include <latch>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/TableBlobs.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/tables/MappingTableData.h"

namespace {

constexpr unsigned int kUnits = 0x10000;
constexpr int kUntouched = 4711;
constexpr char16_t kGuard = 0xA5A5;

using Hit = std::optional<std::pair<int, int>>;

struct SharedCase
{
    char const* mWhat;
    CUnicodeMappingTable* (*mGet)();
    signed char const* mData;
    int mLength;
};

SharedCase const kShared[] = {
    {"default", CUnicodeMappingTable::GetDefaultTable, sDefaultMappingTableData,
     sDefaultMappingTableDataLen},
    {"decompose all", CUnicodeMappingTable::GetDecomposeAllTable, sDecomposeAllMappingTableData,
     sDecomposeAllMappingTableDataLen},
    {"decompose diacritics", CUnicodeMappingTable::GetDecomposeDiacriticsTable,
     sDecomposeDiacriticsMappingTableData, sDecomposeDiacriticsMappingTableDataLen},
    {"case folding", CUnicodeMappingTable::GetCaseFoldingTable, sCaseFoldingMappingTableData,
     sCaseFoldingMappingTableDataLen},
    {"strip nonspacing marks", CUnicodeMappingTable::GetStripNSTable, sStripNSMMappingTableData,
     sStripNSMMappingTableDataLen},
};

UnitMapping const& DefaultMapping()
{
    static UnitMapping const sMapping = MappingOf(
        MappingRecordsOf(StreamOf(sDefaultMappingTableData, sDefaultMappingTableDataLen)));
    return sMapping;
}

void Load(CUnicodeMappingTable& table, std::string const& stream, int length = -1)
{
    TableBlob blob = StoreBlob(stream, length);
    table.LoadMappingTable(blob.Data(), blob.mLength);
}

std::u16string Map(CUnicodeMappingTable const& table, std::u16string const& source)
{
    std::u16string target = u"former content";
    table.MapText(source, target);
    return target;
}

NaivelyMapped MapWithOffsets(CUnicodeMappingTable const& table, std::u16string const& source)
{
    NaivelyMapped mapped{u"former content", {1, 2, 3}};
    table.MapText(source.data(), static_cast<int>(source.size()), mapped.mText, mapped.mOffsets);
    return mapped;
}

// What the table gives for each unit, where it has a mapping.
UnitMapping MappingOf(CUnicodeMappingTable const& table)
{
    UnitMapping mapping;
    for (unsigned int code = 0; code < kUnits; ++code) {
        auto const unit = static_cast<char16_t>(code);
        if (table.HasMappableText(&unit, 1)) mapping[unit] = Map(table, std::u16string(1, unit));
    }
    return mapping;
}

Hit Find(CUnicodeMappingTable const& table,
         std::u16string const& text,
         std::u16string const& needle,
         int start = 0)
{
    int pos = kUntouched;
    int length = kUntouched;
    bool const found =
        table.FindMappedText(text.data(), static_cast<int>(text.size()), start, pos, length,
                             needle.c_str(), static_cast<int>(needle.size()));
    if (found) return std::pair(pos, length);
    EXPECT_EQ(kUntouched, pos);
    EXPECT_EQ(kUntouched, length);
    return {};
}

std::u16string RandomText(std::mt19937& random, std::u16string const& alphabet, std::size_t longest)
{
    std::u16string text(random() % (longest + 1), u' ');
    for (char16_t& unit : text)
        unit = alphabet[random() % alphabet.size()];
    return text;
}

// A mapping with deletions, single units, expansions, an identity, and pages of their own.
UnitMapping const kSmall = {{u'A', u"a"},          {u'I', u"i"},
                            {u'ß', u"ss"},         {u'D', u"D"},
                            {u'\u0301', u""},      {u'\u0302', u""},
                            {u'\uFB03', u"ffi"},   {u'\uFDFA', u"s abasbab sabsab ss"},
                            {u'\u2460', u" a "},   {u'\uFFFF', u"a"},
                            {u'\uFFFE', u"\uFFFF"}};
std::u16string const kSmallAlphabet = u"abfisAIßD\u0301\u0302\uFB03\uFDFA\u2460\uFFFF\uFFFE\u4E00";

// --- The shared tables ---

TEST(CUnicodeMappingTable, DefaultTableMapsForSearch)
{
    struct
    {
        char const* mWhat;
        std::u16string mSource;
        std::u16string mExpected;
    } const cases[] = {
        {"case", u"Abc XYZ", u"abc xyz"},
        {"accent", u"Ä", u"a"},
        {"decomposed accent", u"A\u0308", u"a"},
        {"sharp s", u"ß", u"ss"},
        {"ligature letter", u"Æ", u"ae"},
        {"full-width form", u"\uFF21", u"a"},
        {"blanks", u"\u3000\u00A0", u"  "},
        {"presentation ligature", u"\uFB01", u"fi"},
        {"circled digit", u"\u2460", u" 1 "},
        {"decomposition that begins with a mark", u"\u0CC0\u0E33\uFF9E", u""},
        {"hangul", u"\uAC00", u"\uAC00"},
        {"outside the BMP", u"\U0001D400\U00020000", u"\U0001D400\U00020000"},
        {"dotless i", u"ı", u"i"},
        {"one quarter", u"¼", u" 1\u20444 "},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mExpected, Map(*CUnicodeMappingTable::GetDefaultTable(), c.mSource));
    }
}

TEST(CUnicodeMappingTable, KeepsYpogegrammeniAsALetter)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    EXPECT_EQ(Map(table, u"\u0345"), u"\u03B9");
    EXPECT_EQ(Map(table, u"\u03B1\u0345"), u"\u03B1\u03B9");
    // One that comes out of a decomposition is dropped like any mark.
    EXPECT_EQ(Map(table, u"\u1FB3"), u"\u03B1");
}

TEST(CUnicodeMappingTable, OtherTablesMapByTheirRules)
{
    struct
    {
        char const* mWhat;
        CUnicodeMappingTable* (*mGet)();
        std::u16string mSource;
        std::u16string mExpected;
    } const cases[] = {
        {"decomposed fraction", CUnicodeMappingTable::GetDecomposeAllTable, u"¼", u" 1\u20444 "},
        {"additions don't reach into others", CUnicodeMappingTable::GetDecomposeAllTable,
         u"\u01E2\u1D2D", u"\u00C6\u0304\u00C6"},
        {"grave", CUnicodeMappingTable::GetDecomposeDiacriticsTable, u"À", u"A\u0300"},
        {"diaeresis", CUnicodeMappingTable::GetDecomposeDiacriticsTable, u"\u00A8", u" \u0308"},
        {"only as far as a mark", CUnicodeMappingTable::GetDecomposeDiacriticsTable, u"\u0DDD",
         u"\u0DDC\u0DCA"},
        {"no mark", CUnicodeMappingTable::GetDecomposeDiacriticsTable, u"\uFB01¼", u"\uFB01¼"},
        {"dotless i", CUnicodeMappingTable::GetDecomposeDiacriticsTable, u"ı", u"i"},
        {"full folding", CUnicodeMappingTable::GetCaseFoldingTable, u"ß\uFB03Ä", u"ssffiä"},
        {"stripped", CUnicodeMappingTable::GetStripNSTable, u"A\u0308ß\u0345", u"Aß"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mExpected, Map(*c.mGet(), c.mSource));
    }
}

TEST(CUnicodeMappingTable, ThreadsThatMeetInTheFirstUseGetTheSameWholeTable)
{
    constexpr std::size_t kThreads = 8;
    for (SharedCase const& c : kShared) {
        SCOPED_TRACE(c.mWhat);
        std::vector<CUnicodeMappingTable*> seen(kThreads);
        std::vector<std::u16string> mapped(kThreads);
        std::latch start(kThreads);
        std::vector<std::thread> threads;
        for (std::size_t each = 0; each < kThreads; ++each) {
            threads.emplace_back([&, each] {
                start.arrive_and_wait();
                seen[each] = c.mGet();
                mapped[each] = Map(*seen[each], u"Ä\u0301\uFDFA\uFF21");
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        ASSERT_NE(nullptr, c.mGet());
        EXPECT_EQ(std::vector<CUnicodeMappingTable*>(kThreads, c.mGet()), seen);
        EXPECT_EQ(std::vector<std::u16string>(kThreads, Map(*c.mGet(), u"Ä\u0301\uFDFA\uFF21")),
                  mapped);
    }
}

// --- Loading ---

TEST(CUnicodeMappingTable, LoadsWhatABlobTells)
{
    CUnicodeMappingTable table;
    Load(table, StreamOf(kSmall));
    EXPECT_EQ(kSmall, MappingOf(table));
}

TEST(CUnicodeMappingTable, LoadReplacesWhatWasThere)
{
    CUnicodeMappingTable table;
    table.LoadMappingTable(sDefaultMappingTableData, sDefaultMappingTableDataLen);
    Load(table, StreamOf(UnitMapping{{u'x', u"y"}}));
    EXPECT_EQ((UnitMapping{{u'x', u"y"}}), MappingOf(table));
    for (int const length : {0, -1}) {
        Load(table, StreamOf(kSmall));
        table.LoadMappingTable(sDefaultMappingTableData, length);
        EXPECT_EQ(UnitMapping(), MappingOf(table));
    }
    Load(table, StreamOf(kSmall));
    table.UnloadMappingTable();
    EXPECT_EQ(UnitMapping(), MappingOf(table));
}

TEST(CUnicodeMappingTable, TakesTheLastOfTwoRecordsOfAPage)
{
    CUnicodeMappingTable table;
    Load(table, StreamOf(UnitMapping{{u'a', u"1"}, {u'b', u"2"}, {u'\u0301', u""}}) +
                    StreamOf(UnitMapping{{u'b', u"34"}}));
    EXPECT_EQ((UnitMapping{{u'b', u"34"}, {u'\u0301', u""}}), MappingOf(table));
}

TEST(CUnicodeMappingTable, StopsAtARecordThatLeadsOutOfItself)
{
    UnitMapping const before = {{u'a', u"b"}};

    struct
    {
        char const* mWhat;
        MappingRecord mRecord;
        UnitMapping mLoaded;
    } const cases[] = {
        {"good", {0x20, {1, u'x', 0}, 0x10, {0, 2}}, {{u'\u2010', u"x"}, {u'\u2011', u""}}},
        {"no data, no index but one of none", {0x20, {}, 0x10, {0xFFFF}}, {}},
        {"offset at the end of the data", {0x20, {1, u'x'}, 0x10, {2}}, {}},
        {"offset behind the data", {0x20, {1, u'x'}, 0x10, {0xFFFE}}, {}},
        {"offset into no data", {0x20, {}, 0x10, {0}}, {}},
        {"entry longer than the data", {0x20, {2, u'x'}, 0x10, {0}}, {}},
        {"offset of a unit that isn't a length", {0x20, {1, u'x'}, 0x10, {1}}, {}},
        {"good entry before a bad one", {0x20, {1, u'x'}, 0x10, {0, 9}}, {}},
        {"last below first", {0x20, {1, u'x'}, 0x10, {}}, {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        bool const isGood = c.mWhat == std::string("good") || c.mRecord.mIndex == u"\xFFFF";
        UnitMapping const after = {{u'\u3000', u" "}};
        CUnicodeMappingTable table;
        Load(table, StreamOf(before) + StreamOf(c.mRecord) + StreamOf(after));
        UnitMapping expected = before;
        expected.insert(c.mLoaded.begin(), c.mLoaded.end());
        if (isGood) expected.insert(after.begin(), after.end());
        EXPECT_EQ(expected, MappingOf(table));
    }
}

TEST(CUnicodeMappingTable, LoadsTheWholeRecordsOfABlobCutAnywhere)
{
    std::string const stream = StreamOf(kSmall);
    for (int length = 0; length <= static_cast<int>(stream.size()); ++length) {
        CUnicodeMappingTable table;
        Load(table, stream, length);
        std::string const cut = stream.substr(0, static_cast<std::size_t>(length));
        ASSERT_EQ(MappingOf(MappingRecordsOf(cut)), MappingOf(table)) << length;
    }
}

TEST(CUnicodeMappingTable, LoadsTheWholeRecordsOfBuiltInBlobsCutInManyPlaces)
{
    std::u16string every;
    for (unsigned int unit = 0; unit < kUnits; ++unit)
        every += static_cast<char16_t>(unit);
    for (SharedCase const& c : kShared) {
        SCOPED_TRACE(c.mWhat);
        std::string const stream = StreamOf(c.mData, c.mLength);
        for (int length = 0; length <= c.mLength; length += 2999) {
            CUnicodeMappingTable table;
            Load(table, stream, length);
            std::string const cut = stream.substr(0, static_cast<std::size_t>(length));
            UnitMapping const expected = MappingOf(MappingRecordsOf(cut));
            ASSERT_EQ(MapNaively(expected, every).mText, Map(table, every)) << length;
        }
    }
}

// Whatever a damaged blob holds, a table loaded from it stays within its own memory.
TEST(CUnicodeMappingTable, NeverLeavesItsMemoryAfterADamagedBlob)
{
    std::mt19937 random(3);
    std::u16string every;
    for (unsigned int unit = 0; unit < kUnits; ++unit)
        every += static_cast<char16_t>(unit);
    std::string const small = StreamOf(kSmall);
    auto const tryDamaged = [&every](std::string const& stream) {
        CUnicodeMappingTable table;
        Load(table, stream);
        NaivelyMapped const mapped = MapWithOffsets(table, every);
        ASSERT_EQ(mapped.mText.size() + 1, mapped.mOffsets.size());
        Find(table, every, u"ssx");
    };
    for (std::size_t at = 0; at < small.size(); ++at) {
        for (int const flip : {0x01, 0x80, 0xFF}) {
            std::string damaged = small;
            damaged[at] = static_cast<char>(damaged[at] ^ flip);
            tryDamaged(damaged);
        }
    }
    for (SharedCase const& c : kShared) {
        SCOPED_TRACE(c.mWhat);
        std::string const stream = StreamOf(c.mData, c.mLength);
        for (int round = 0; round < 150; ++round) {
            std::string damaged = stream;
            char& byte = damaged[random() % damaged.size()];
            byte = static_cast<char>(byte ^ static_cast<char>(1 + random() % 255));
            tryDamaged(damaged);
        }
    }
}

// --- The core ---

// Runs the core in steps of rising capacity over the whole of `source` and looks at each stop.
NaivelyMapped MapInSteps(CUnicodeMappingTable const& table,
                         UnitMapping const& mapping,
                         std::u16string const& source,
                         int firstCapacity,
                         int step)
{
    int const length = static_cast<int>(source.size());
    int sourcePos = 0;
    int targetPos = 0;
    NaivelyMapped result;
    for (int capacity = firstCapacity;; capacity += step) {
        result.mText.resize(static_cast<std::size_t>(capacity) + 1, kGuard);
        result.mText.back() = kGuard;
        result.mOffsets.resize(static_cast<std::size_t>(capacity) + 2, kUntouched);
        int const formerPos = sourcePos;
        bool const isDone = table.MapText(source.data(), length, sourcePos, result.mText.data(),
                                          capacity, targetPos, result.mOffsets.data());
        EXPECT_EQ(kGuard, result.mText.back()) << "wrote past the capacity";
        EXPECT_GE(sourcePos, formerPos);
        NaivelyMapped const soFar =
            MapNaively(mapping, source.substr(0, static_cast<std::size_t>(sourcePos)));
        EXPECT_EQ(soFar.mText.size(), static_cast<std::size_t>(targetPos));
        if (isDone) break;
        // It stopped only because the next unit really has no room.
        EXPECT_LT(sourcePos, length);
        NaivelyMapped const next =
            MapNaively(mapping, source.substr(static_cast<std::size_t>(sourcePos), 1));
        EXPECT_GT(targetPos + static_cast<int>(next.mText.size()), capacity);
    }
    result.mText.resize(static_cast<std::size_t>(targetPos));
    result.mOffsets.resize(static_cast<std::size_t>(targetPos) + 1);
    return result;
}

TEST(CUnicodeMappingTable, CoreGoesOnFromAnyCapacityAsANaiveMappingDoes)
{
    std::mt19937 random(4);
    CUnicodeMappingTable table;
    Load(table, StreamOf(kSmall));
    for (int round = 0; round < 200; ++round) {
        std::u16string const source = RandomText(random, kSmallAlphabet, 12);
        NaivelyMapped const expected = MapNaively(kSmall, source);
        for (int capacity = 0; capacity <= static_cast<int>(expected.mText.size()) + 1;
             ++capacity) {
            NaivelyMapped const mapped =
                MapInSteps(table, kSmall, source, capacity, 1 + static_cast<int>(random() % 3));
            ASSERT_EQ(expected.mText, mapped.mText);
            ASSERT_EQ(expected.mOffsets, mapped.mOffsets);
        }
    }
}

TEST(CUnicodeMappingTable, CoreWritesAUnitWhollyOrNotAtAll)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    std::u16string const source = u"\uFDFA!";
    std::u16string target(40, kGuard);
    std::vector<int> offsets(41, kUntouched);
    int sourcePos = 0;
    int targetPos = 0;
    EXPECT_FALSE(
        table.MapText(source.data(), 2, sourcePos, target.data(), 17, targetPos, offsets.data()));
    EXPECT_EQ(0, sourcePos);
    EXPECT_EQ(0, targetPos);
    EXPECT_EQ(std::u16string(40, kGuard), target);

    EXPECT_FALSE(
        table.MapText(source.data(), 2, sourcePos, target.data(), 18, targetPos, offsets.data()));
    EXPECT_EQ(1, sourcePos);
    EXPECT_EQ(18, targetPos);

    EXPECT_TRUE(
        table.MapText(source.data(), 2, sourcePos, target.data(), 19, targetPos, offsets.data()));
    EXPECT_EQ(2, sourcePos);
    EXPECT_EQ(19, targetPos);
    EXPECT_EQ(Map(table, source), target.substr(0, 19));
    EXPECT_EQ(0, offsets[17]);
    EXPECT_EQ(1, offsets[18]);
    EXPECT_EQ(2, offsets[19]);
    EXPECT_EQ(kUntouched, offsets[20]);
}

TEST(CUnicodeMappingTable, CoreTakesDeletedUnitsWhereThereIsNoRoom)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    std::u16string const source = u"\u0301\u0301a";
    int sourcePos = 0;
    int targetPos = 0;
    EXPECT_FALSE(table.MapText(source.data(), 3, sourcePos, nullptr, 0, targetPos, nullptr));
    EXPECT_EQ(2, sourcePos);
    EXPECT_EQ(0, targetPos);
    EXPECT_TRUE(table.MapText(source.data(), 2, sourcePos, nullptr, 0, targetPos, nullptr));
}

TEST(CUnicodeMappingTable, CoreIsDoneWhereItStartsAtTheEndOrBehindIt)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    for (int const start : {3, 4, 100}) {
        int sourcePos = start;
        int targetPos = 1;
        int offsets[3] = {kUntouched, kUntouched, kUntouched};
        char16_t target[2] = {kGuard, kGuard};
        EXPECT_TRUE(table.MapText(u"abc", 3, sourcePos, target, 1, targetPos, offsets));
        EXPECT_EQ(start, sourcePos);
        EXPECT_EQ(1, targetPos);
        EXPECT_EQ(start, offsets[1]);
        EXPECT_EQ(kUntouched, offsets[0]);
        EXPECT_EQ(kGuard, target[1]);
    }
}

TEST(CUnicodeMappingTable, CoreMapsTheSameWithoutOffsets)
{
    std::mt19937 random(5);
    CUnicodeMappingTable table;
    Load(table, StreamOf(kSmall));
    for (int round = 0; round < 500; ++round) {
        std::u16string const source = RandomText(random, kSmallAlphabet, 40);
        std::u16string target(40 * 19, kGuard);
        int sourcePos = 0;
        int targetPos = 0;
        ASSERT_TRUE(table.MapText(source.data(), static_cast<int>(source.size()), sourcePos,
                                  target.data(), static_cast<int>(target.size()), targetPos,
                                  nullptr));
        target.resize(static_cast<std::size_t>(targetPos));
        ASSERT_EQ(MapNaively(kSmall, source).mText, target);
    }
}

// --- Whole texts ---

TEST(CUnicodeMappingTable, MapsWholeTextsOfAnyLengthAsANaiveMappingDoes)
{
    std::mt19937 random(6);
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    std::u16string const alphabets[] = {u"the quick brown fox", u"Ää\u0301ßéE \u3042\u4E00",
                                        u"\uFDFA", u"\u0301", kSmallAlphabet};
    for (std::u16string const& alphabet : alphabets) {
        for (std::size_t const length : std::initializer_list<std::size_t>{
                 0, 1, 2, 9, 10, 11, 100, 1023, 1024, 1025, 100000}) {
            std::u16string source(length, u' ');
            for (char16_t& unit : source)
                unit = alphabet[random() % alphabet.size()];
            NaivelyMapped const expected = MapNaively(DefaultMapping(), source);
            NaivelyMapped const mapped = MapWithOffsets(table, source);
            ASSERT_TRUE(expected.mText == mapped.mText) << length;
            ASSERT_TRUE(expected.mOffsets == mapped.mOffsets) << length;
            ASSERT_TRUE(expected.mText == Map(table, source)) << length;
        }
    }
}

TEST(CUnicodeMappingTable, OffsetsLeadBackToRawText)
{
    struct
    {
        char const* mWhat;
        std::u16string mSource;
        std::u16string mMapped;
        std::vector<int> mOffsets;
    } const cases[] = {
        {"empty", u"", u"", {0}},
        {"marks alone", u"\u0301\u0302\u0303", u"", {3}},
        {"mark belongs to the letter before it", u"e\u0301x", u"ex", {0, 2, 3}},
        {"ligature", u"\uFB01", u"fi", {0, 0, 1}},
        {"supplementary character", u"\U0001F600a", u"\U0001F600a", {0, 1, 2, 3}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        NaivelyMapped const mapped =
            MapWithOffsets(*CUnicodeMappingTable::GetDefaultTable(), c.mSource);
        EXPECT_EQ(c.mMapped, mapped.mText);
        EXPECT_EQ(c.mOffsets, mapped.mOffsets);
    }
}

TEST(CUnicodeMappingTable, TakesNegativeLengthsAsEmpty)
{
    std::u16string target = u"x";
    std::vector<int> offsets = {7};
    CUnicodeMappingTable::GetDefaultTable()->MapText(nullptr, -5, target, offsets);
    EXPECT_EQ(u"", target);
    EXPECT_EQ(std::vector<int>{0}, offsets);
}

TEST(CUnicodeMappingTable, MapsAStringIntoItself)
{
    std::u16string text = u"Straße " + std::u16string(5000, u'\uFB01');
    std::u16string const expected = Map(*CUnicodeMappingTable::GetDefaultTable(), text);
    CUnicodeMappingTable::GetDefaultTable()->MapText(text, text);
    EXPECT_EQ(expected, text);
}

TEST(CUnicodeMappingTable, MapsEntriesOfAnyLength)
{
    std::u16string const longEntry(30000, u'x');
    UnitMapping const mapping = {{u'a', longEntry}, {u'b', u"c"}};
    CUnicodeMappingTable table;
    Load(table, StreamOf(mapping));
    for (std::u16string const source : {u"a", u"bab", u"aab a"}) {
        NaivelyMapped const expected = MapNaively(mapping, source);
        NaivelyMapped const mapped = MapWithOffsets(table, source);
        EXPECT_TRUE(expected.mText == mapped.mText);
        EXPECT_TRUE(expected.mOffsets == mapped.mOffsets);
    }
}

TEST(CUnicodeMappingTable, KnowsWhetherThereIsAnythingToMap)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    EXPECT_FALSE(table.HasMappableText(u""));
    EXPECT_FALSE(table.HasMappableText(u"plain \u4E00\uAC00"));
    EXPECT_TRUE(table.HasMappableText(u"plain A"));
    EXPECT_TRUE(table.HasMappableText(u"\u0301")) << "to nothing is a mapping";
    EXPECT_TRUE(table.HasMappableText(u"xA", 2));
    EXPECT_FALSE(table.HasMappableText(u"xA", 1));
    EXPECT_FALSE(table.HasMappableText(nullptr, 0));
    EXPECT_FALSE(table.HasMappableText(nullptr, -1));
    EXPECT_FALSE(CUnicodeMappingTable().HasMappableText(u"A\u0301"));
}

TEST(CUnicodeMappingTable, AnswersSingleUnits)
{
    CUnicodeMappingTable table;
    Load(table, StreamOf(kSmall));
    for (unsigned int code = 0; code < kUnits; ++code) {
        auto const unit = static_cast<char16_t>(code);
        std::u16string const expected = MapNaively(kSmall, std::u16string(1, unit)).mText;
        char16_t const* units = nullptr;
        int count = kUntouched;
        ASSERT_EQ(kSmall.count(unit) != 0, table.FindEntry(unit, units, count));
        if (units) {
            ASSERT_EQ(expected, std::u16string(units, static_cast<std::size_t>(count)));
        }
        ASSERT_EQ(expected.size() == 1 ? expected[0] : CUnicodeMappingTable::kNoSingleUnit,
                  table.MapToSingleUnit(unit));
    }
}

// --- Finding ---

TEST(CUnicodeMappingTable, FindsMappedTextInRawText)
{
    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::u16string mNeedle;
        int mStart;
        Hit mExpected;
    } const cases[] = {
        {"expansion inside", u"Straße", u"strasse", 0, std::pair(0, 6)},
        {"expansion at the end", u"das Maß", u"mass", 0, std::pair(4, 3)},
        {"mark inside", u"a\u0301b", u"ab", 0, std::pair(0, 3)},
        {"mark behind isn't in the length", u"a\u0301b", u"a", 0, std::pair(0, 1)},
        {"mark before isn't either", u"\u0301\u0301ab", u"ab", 0, std::pair(2, 2)},
        {"from a later start", u"ab ab", u"ab", 1, std::pair(3, 2)},
        {"overlapping candidates", u"aab", u"ab", 0, std::pair(1, 2)},
        {"after a long candidate", u"ababac", u"abac", 0, std::pair(2, 4)},
        {"mark in a failed candidate", u"a\u0301aB", u"ab", 0, std::pair(2, 2)},
        {"unmapped script", u"\u4E00\u4E01\u4E02", u"\u4E01\u4E02", 0, std::pair(1, 2)},
        {"not there", u"abc", u"abd", 0, {}},
        {"text too short", u"ab", u"abc", 0, {}},
        {"start at the end", u"ab", u"b", 2, {}},
        {"start behind the end", u"ab", u"b", 9, {}},
        {"empty text", u"", u"a", 0, {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
        EXPECT_EQ(c.mExpected, Find(table, c.mText, c.mNeedle, c.mStart));
    }
}

TEST(CUnicodeMappingTable, KeepsComparingBehindTheNeedle)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    EXPECT_EQ(Hit(), Find(table, u"ß", u"s"));
    EXPECT_EQ(Hit(std::pair(1, 1)), Find(table, u"ßs", u"s"));

    // The memory behind the needle agrees, so the candidate is taken and then has passed its end.
    int pos = kUntouched;
    int length = kUntouched;
    EXPECT_FALSE(table.FindMappedText(u"ßs", 2, 0, pos, length, u"sssss", 1));
    EXPECT_EQ(kUntouched, pos);
}

TEST(CUnicodeMappingTable, KeepsFindingNothingWhereSomethingIsMapped)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    EXPECT_EQ(Hit(), Find(table, u"abc", u""));
    EXPECT_EQ(Hit(std::pair(2, 1)), Find(table, u"abCD", u""));
    EXPECT_EQ(Hit(std::pair(1, 1)), Find(table, u"a\u0301", u""));
    EXPECT_EQ(Hit(std::pair(3, 1)), Find(table, u"abCD", u"", 3));
    int pos = kUntouched;
    int length = kUntouched;
    EXPECT_TRUE(table.FindMappedText(u"A", 1, 0, pos, length, nullptr, 0));
    EXPECT_EQ(0, pos);
    EXPECT_EQ(1, length);
    EXPECT_FALSE(table.FindMappedText(u"A", 1, 0, pos, length, nullptr, -1));
}

TEST(CUnicodeMappingTable, FindsWhatANaiveSearchFinds)
{
    std::mt19937 random(7);
    CUnicodeMappingTable table;
    Load(table, StreamOf(kSmall));
    int hits = 0;
    for (int round = 0; round < 60000; ++round) {
        // One half with every kind of unit, the other dense with near misses.
        std::u16string const text = RandomText(
            random, round % 2 == 0 ? kSmallAlphabet : u"asAß\u0301\uFDFA", 1 + random() % 30);
        std::u16string const needle = RandomText(random, u"abfis", 4);
        // What stands behind the needle may agree with an entry for a while, and ends in NULs.
        std::u16string const behind = needle.empty() ? needle : RandomText(random, u"abs", 3);
        std::u16string const memory = needle + behind + std::u16string(32, u'\0');
        int const start = static_cast<int>(random() % (text.size() + 2));
        int const needleLength = static_cast<int>(needle.size());

        int pos = kUntouched;
        int length = kUntouched;
        bool const found = table.FindMappedText(text.data(), static_cast<int>(text.size()), start,
                                                pos, length, memory.data(), needleLength);
        Hit const hit = found ? Hit(std::pair(pos, length)) : Hit();
        ASSERT_EQ(FindNaively(kSmall, text, start, memory, needleLength), hit) << round;
        hits += found;
    }
    EXPECT_GT(hits, 1000);
}

TEST(CUnicodeMappingTable, ReadsBehindTheNeedleOnlyUpToTheFirstDifference)
{
    // The needle's memory ends with its terminator.
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    std::vector<char16_t> const needle = {u's', u'\0'};
    int pos = 0;
    int length = 0;
    EXPECT_FALSE(table.FindMappedText(u"ß\uFDFAß", 3, 0, pos, length, needle.data(), 1));
}

// --- Computed tables ---

TEST(CUnicodeMappingTable, ComputedTableFoldsCaseAndKeepsAccents)
{
    CUnicodeMappingTable table;
    table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        {CUnicodeMappingTable::GetCaseFoldingTable()}, {});
    EXPECT_EQ(u"a\u00E4ss", Map(table, u"A\u00C4ß"));
    EXPECT_EQ(MappingOf(*CUnicodeMappingTable::GetCaseFoldingTable()), MappingOf(table));
}

TEST(CUnicodeMappingTable, ComputedTableDeletesWhatIsInASet)
{
    CUnicodeMappingTable table;
    table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        {}, {CUnicodeCategoryTable::GetNSMTable()});
    EXPECT_EQ(MappingOf(*CUnicodeMappingTable::GetStripNSTable()), MappingOf(table));
    EXPECT_EQ(1031U, MappingOf(table).size());
}

TEST(CUnicodeMappingTable, ComputedTableComposesInOrder)
{
    CUnicodeMappingTable decomposeAndFold;
    decomposeAndFold.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        {CUnicodeMappingTable::GetDecomposeAllTable(), CUnicodeMappingTable::GetCaseFoldingTable()},
        {CUnicodeCategoryTable::GetNSMTable()});
    std::u16string expected;
    for (unsigned int code = 0; code < kUnits; ++code) {
        std::u16string const unit(1, static_cast<char16_t>(code));
        expected = Map(*CUnicodeMappingTable::GetStripNSTable(),
                       Map(*CUnicodeMappingTable::GetCaseFoldingTable(),
                           Map(*CUnicodeMappingTable::GetDecomposeAllTable(), unit)));
        ASSERT_EQ(expected.substr(0, 18), Map(decomposeAndFold, unit)) << code;
    }

    CUnicodeMappingTable foldAndDecompose;
    foldAndDecompose.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        {CUnicodeMappingTable::GetCaseFoldingTable(), CUnicodeMappingTable::GetDecomposeAllTable()},
        {CUnicodeCategoryTable::GetNSMTable()});
    EXPECT_EQ(u"a", Map(decomposeAndFold, u"\uFF21"));
    EXPECT_EQ(u"a", Map(foldAndDecompose, u"\uFF21"));
    EXPECT_EQ(u"k", Map(decomposeAndFold, u"\u212A"));
    EXPECT_EQ(u" a ", Map(decomposeAndFold, u"\u24B6"));
    EXPECT_EQ(u"\u1D2D", Map(*CUnicodeMappingTable::GetCaseFoldingTable(), u"\u1D2D"));
    EXPECT_EQ(u"æ", Map(decomposeAndFold, u"\u1D2D"));
    EXPECT_EQ(u"Æ", Map(foldAndDecompose, u"\u1D2D"));
}

TEST(CUnicodeMappingTable, ComputedTableCutsAtEighteenUnits)
{
    CUnicodeMappingTable twice;
    Load(twice,
         StreamOf(UnitMapping{{u'a', u"bbbb"}, {u'b', u"cdefg"}, {u'x', u"aaaaaaaa\u0301"}}));
    CUnicodeMappingTable table;
    table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables({&twice, &twice}, {});
    EXPECT_EQ(u"cdefgcdefgcdefgcde", Map(table, u"a"));
    EXPECT_EQ(u"cdefg", Map(table, u"b"));
    EXPECT_EQ(u"bbbbbbbbbbbbbbbbbb", Map(table, u"x"));

    // The cut comes after the deletions.
    CUnicodeCategoryTable digits;
    digits.SetCategriesMask(CUnicodeCategoriesTable::MaskOf(CUnicodeCategoriesTable::kNd));
    CUnicodeMappingTable withDigits;
    Load(withDigits, StreamOf(UnitMapping{{u'a', u"1234567890abcdefghijklmnopqrs"}}));
    table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables({&withDigits}, {&digits});
    EXPECT_EQ(u"abcdefghijklmnopqr", Map(table, u"a"));
    EXPECT_EQ(u"", Map(table, u"7"));
}

TEST(CUnicodeMappingTable, ComputedTableTakesSetsOfBothModes)
{
    CUnicodeCategoryTable letters;
    TableBlob blob = StoreBlob(std::string(1, '\0') + std::string(12, '\0') +
                               std::string("\x06", 1) + std::string(19, '\0'));
    letters.LoadCategoryTable(blob.Data(), blob.mLength);
    ASSERT_TRUE(letters.Contains(u'a') && letters.Contains(u'b') && !letters.Contains(u'c'));
    CUnicodeMappingTable table;
    table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        {CUnicodeMappingTable::GetDefaultTable(), nullptr},
        {&letters, nullptr, CUnicodeCategoryTable::GetPunctuationTable()});
    EXPECT_EQ(u"cxs", Map(table, u"aABÄ.+cX,s"));
}

TEST(CUnicodeMappingTable, ComputedTableOfNothingMapsNothing)
{
    CUnicodeMappingTable table;
    Load(table, StreamOf(kSmall));
    table.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables({}, {});
    EXPECT_EQ(UnitMapping(), MappingOf(table));
}

}  // namespace
