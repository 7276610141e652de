#include "text/simd/MappingKernels.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "testing/StFencedMemory.h"
#include "testing/TableBlobs.h"
#include "text/CUnicodeMappingTable.h"
#include "text/simd/TextKernels.h"
#include "text/tables/MappingTableData.h"

namespace {

using namespace std::string_literals;

constexpr char16_t kGuard = 0xA5A5;
constexpr int kOffsetGuard = -4711;

// A table and what it must map.
struct Tested
{
    std::string mWhat;
    UnitMapping mMapping;
    std::unique_ptr<CUnicodeMappingTable> mTable;
};

Tested MakeTested(std::string what, UnitMapping mapping)
{
    Tested tested{std::move(what), std::move(mapping), std::make_unique<CUnicodeMappingTable>()};
    TableBlob blob = StoreBlob(StreamOf(tested.mMapping));
    tested.mTable->LoadMappingTable(blob.Data(), blob.mLength);
    return tested;
}

// Everything that loops over many units could take for granted, and no built-in table does.
UnitMapping HostileMapping()
{
    UnitMapping mapping = {{u'a', u"\uFFFF"},
                           {u'b', u"bb"},
                           {u'c', u""},
                           {u'd', u"d"},
                           {u'A', u"b"},
                           {0x0000, u"a"},
                           {0x007F, u"\x80"},
                           {0x00FF, u"\u0100"},
                           {0xFFFF, u"c"},
                           {0xFFFE, u""},
                           {0xD800, u"x"},
                           {0xDC00, u""},
                           {0x0301, u""},
                           {0x3000, u"\uFFFF\uFFFF"},
                           {0x4E00, std::u16string(70, u'z')}};
    std::mt19937 random(34);
    for (unsigned int const page : {0x02U, 0x03U, 0x30U, 0xD8U, 0xFFU}) {
        for (std::size_t low = 0; low < 0x100; low += 1 + random() % 3) {
            std::u16string to;
            for (std::size_t left = random() % 3; left > 0; --left)
                to += static_cast<char16_t>(random());
            mapping[static_cast<char16_t>(page << 8 | low)] = to;
        }
    }
    return mapping;
}

std::vector<Tested> const& AllTested()
{
    static std::vector<Tested> const sAll = [] {
        struct Case
        {
            char const* mWhat;
            signed char const* mData;
            int mLength;
        };
        Case const cases[] = {
            {"default", sDefaultMappingTableData, sDefaultMappingTableDataLen},
            {"decompose all", sDecomposeAllMappingTableData, sDecomposeAllMappingTableDataLen},
            {"decompose diacritics", sDecomposeDiacriticsMappingTableData,
             sDecomposeDiacriticsMappingTableDataLen},
            {"case folding", sCaseFoldingMappingTableData, sCaseFoldingMappingTableDataLen},
            {"strip nonspacing marks", sStripNSMMappingTableData, sStripNSMMappingTableDataLen},
        };
        std::vector<Tested> all;
        for (Case const& c : cases)
            all.push_back(
                MakeTested(c.mWhat, MappingOf(MappingRecordsOf(StreamOf(c.mData, c.mLength)))));
        all.push_back(MakeTested("hostile", HostileMapping()));
        all.push_back(MakeTested("nothing", {}));
        return all;
    }();
    return sAll;
}

std::string Hex(std::u16string const& text)
{
    std::string hex;
    for (char16_t const unit : text) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X ", unsigned{unit});
        hex += digits;
    }
    return hex;
}

// What a call answers, the positions that it leaves, and all of its memory behind it.
struct Outcome
{
    bool mIsDone;
    int mSourcePos;
    int mTargetPos;
    std::u16string mTarget;
    std::vector<int> mOffsets;

    bool operator==(Outcome const&) const = default;
};

// The plain statement.
Outcome MapNaively(UnitMapping const& mapping,
                   std::u16string const& source,
                   std::size_t from,
                   std::size_t capacity)
{
    Outcome outcome{false, 0, 0, {}, {}};
    bool isFull = false;
    std::size_t at = from;
    for (; at < source.size(); ++at) {
        auto const found = mapping.find(source[at]);
        std::u16string const to =
            found == mapping.end() ? std::u16string(1, source[at]) : found->second;
        isFull = outcome.mTarget.size() + to.size() > capacity;
        if (isFull) break;
        outcome.mTarget += to;
        outcome.mOffsets.resize(outcome.mTarget.size(), static_cast<int>(at));
    }
    outcome.mIsDone = !isFull;
    outcome.mSourcePos = static_cast<int>(at);
    outcome.mTargetPos = static_cast<int>(outcome.mTarget.size());
    if (outcome.mIsDone) outcome.mOffsets.push_back(outcome.mSourcePos);
    outcome.mTarget.resize(capacity, kGuard);
    outcome.mOffsets.resize(capacity + 1, kOffsetGuard);
    return outcome;
}

// Holds one level's kernels against the plain statement, in memory that ends where the text does.
class CComparison
{
public:
    explicit CComparison(TextKernels const& kernels)
        : mKernels(kernels)
    {
    }

    static constexpr std::size_t kAtEnd = ~std::size_t{0};

    // Maps from unit `from` on. The offsets are in units from the start of a page.
    bool Maps(Tested const& tested,
              std::u16string const& source,
              std::size_t capacity,
              std::size_t from = 0,
              std::size_t sourceOffset = kAtEnd,
              std::size_t targetOffset = kAtEnd)
    {
        Outcome const expected = MapNaively(tested.mMapping, source, from, capacity);
        Outcome done = Map(tested, source, capacity, from, sourceOffset, targetOffset, true);
        bool const isSame = done == expected;
        Outcome const without =
            Map(tested, source, capacity, from, sourceOffset, targetOffset, false);
        done.mOffsets = without.mOffsets;
        if (isSame && done == without) return true;
        ADD_FAILURE() << mKernels.mName << ", " << tested.mWhat << ", from " << from << " into "
                      << capacity << " units, of " << Hex(source) << "\n is done " << done.mIsDone
                      << ", consumed " << done.mSourcePos << ", wrote " << Hex(done.mTarget)
                      << "\n must " << expected.mIsDone << ", consumed " << expected.mSourcePos
                      << ", wrote " << Hex(expected.mTarget);
        return false;
    }

    // From a position in the target that is behind its end already.
    bool TakesNothingBehindTheEnd(Tested const& tested, std::u16string const& source)
    {
        constexpr int kCapacity = 3;
        char16_t* const target = mTarget.AtEnd<char16_t>(kCapacity);
        int* const offsets = mOffsets.AtEnd<int>(kCapacity + 1);
        bool holds = true;
        for (int const targetPos : {kCapacity + 1, kCapacity + 40}) {
            for (int* const to : {static_cast<int*>(nullptr), offsets}) {
                int at = 0;
                int mapped = targetPos;
                bool const isDone = mKernels.mMapText(*tested.mTable, source.data(),
                                                      static_cast<int>(source.size()), at, target,
                                                      kCapacity, mapped, to);
                holds = holds && !isDone && at == 0 && mapped == targetPos;
            }
        }
        return holds;
    }

    // Into as much room as there must be, and none more.
    bool MapsAll(Tested const& tested, std::u16string const& source)
    {
        Outcome const expected = MapNaively(tested.mMapping, source, 0, kLongest);
        return Maps(tested, source, static_cast<std::size_t>(expected.mTargetPos));
    }

    // Where a needle could begin first.
    std::size_t
    FindsStart(Tested const& tested, std::u16string const& text, std::u16string const& needle)
    {
        char16_t* const raw = mSource.AtEnd<char16_t>(text.size());
        std::copy(text.begin(), text.end(), raw);
        int const start =
            mKernels.mFindMappedStart(*tested.mTable, raw, static_cast<int>(text.size()), 0,
                                      needle.c_str(), static_cast<int>(needle.size()));
        return static_cast<std::size_t>(start);
    }

    bool Finds(Tested const& tested,
               std::u16string const& text,
               std::u16string const& needle,
               int needleLength,
               int start = 0)
    {
        char16_t* const raw = mSource.AtEnd<char16_t>(text.size());
        std::copy(text.begin(), text.end(), raw);
        std::pair<int, int> hit{-1, -1};
        StTextKernels const held(mKernels);
        bool const isFound =
            tested.mTable->FindMappedText(raw, static_cast<int>(text.size()), start, hit.first,
                                          hit.second, needle.c_str(), needleLength);
        auto const expected = FindNaively(tested.mMapping, text, start,
                                          needle + std::u16string(1, u'\0'), needleLength);
        if (isFound == expected.has_value() && hit == expected.value_or(std::pair(-1, -1)))
            return true;
        ADD_FAILURE() << mKernels.mName << ", " << tested.mWhat << ", finds " << isFound << " at "
                      << hit.first << " with " << hit.second << ", must "
                      << expected.value_or(std::pair(-1, -1)).first << ", the first "
                      << needleLength << " of " << Hex(needle) << "\n from " << start << " in "
                      << Hex(text);
        return false;
    }

private:
    static constexpr std::size_t kLongest = 1000;

    Outcome Map(Tested const& tested,
                std::u16string const& source,
                std::size_t capacity,
                std::size_t from,
                std::size_t sourceOffset,
                std::size_t targetOffset,
                bool hasOffsets)
    {
        char16_t* const raw = Place(mSource, source.size(), sourceOffset);
        std::copy(source.begin(), source.end(), raw);
        char16_t* const target = Place(mTarget, capacity, targetOffset);
        std::fill_n(target, capacity, kGuard);
        int* const offsets = mOffsets.AtEnd<int>(capacity + 1);
        std::fill_n(offsets, capacity + 1, kOffsetGuard);
        Outcome done{false, static_cast<int>(from), 0, {}, {}};
        done.mIsDone = mKernels.mMapText(*tested.mTable, raw, static_cast<int>(source.size()),
                                         done.mSourcePos, target, static_cast<int>(capacity),
                                         done.mTargetPos, hasOffsets ? offsets : nullptr);
        done.mTarget.assign(target, capacity);
        done.mOffsets.assign(offsets, offsets + capacity + 1);
        return done;
    }

    static char16_t* Place(StFencedMemory& memory, std::size_t size, std::size_t offset)
    {
        return offset == kAtEnd ? memory.AtEnd<char16_t>(size) : memory.AtStart<char16_t>(offset);
    }

    TextKernels const& mKernels;
    StFencedMemory mSource;
    StFencedMemory mTarget;
    StFencedMemory mOffsets;
};

// Texts of one kind, and of several.
std::u16string const kFillers[] = {u"Some Text, ",
                                   u"Größe und Maß — ",
                                   u"été «où» ½ ﬁn ",
                                   u"Привет, Мир ",
                                   u"Καλημέρα ά ",
                                   u"हिन्दी में पाठ ",
                                   u"مَرحبًا ",
                                   u"日本語のテキスト、ガギ Ａ",
                                   u"한국어 글 ",
                                   u"a😀𝒳①",
                                   u"e\u0301\u0302 \u0345\uFFFF\uFFFE",
                                   std::u16string(u"abcd\0A\u3000\u7FFF\u4E00\xD800", 10)};

std::u16string Repeated(std::u16string const& piece, std::size_t length)
{
    std::u16string text;
    while (text.size() < length)
        text += piece;
    text.resize(length);
    return text;
}

class CPicker
{
public:
    std::size_t Below(std::size_t end) { return mRandom() % end; }

    char16_t Of(std::u16string const& units) { return units[Below(units.size())]; }

    // Runs of one kind and single units of any.
    std::u16string Mixture(std::size_t length)
    {
        std::u16string text;
        while (text.size() < length) {
            std::size_t const kind = Below(std::size(kFillers) + 2);
            if (kind < std::size(kFillers)) {
                std::u16string const run = Repeated(kFillers[kind], 100);
                text += run.substr(Below(20), Below(60));
            } else {
                text += static_cast<char16_t>(mRandom());
            }
        }
        text.resize(length);
        return text;
    }

private:
    std::mt19937 mRandom{20201121};
};

class MappingKernelsTest : public testing::TestWithParam<char const*>
{
protected:
    void SetUp() override
    {
        for (TextKernels const* const kernels : GetAllTextKernels()) {
            if (std::strcmp(kernels->mName, GetParam()) == 0) mHeld.emplace(*kernels);
        }
        if (!mHeld) GTEST_SKIP() << "this processor has no " << GetParam();
    }

    std::optional<CComparison> mHeld;
};

INSTANTIATE_TEST_SUITE_P(Levels, MappingKernelsTest, testing::Values("plain", "AVX-512 VBMI2"));

bool MapsEveryUnit(CComparison& held, Tested const& tested)
{
    for (unsigned int first = 0; first < 0x10000; first += 0x40) {
        std::u16string side;
        std::u16string apart;
        for (unsigned int code = first; code < first + 0x40; ++code) {
            side += static_cast<char16_t>(code);
            // Among ASCII, and among units of other pages.
            apart += static_cast<char16_t>(code);
            apart += static_cast<char16_t>(code % 3 == 0 ? code * 997 : 'A' + code % 32);
        }
        if (!held.MapsAll(tested, side) || !held.MapsAll(tested, apart)) return false;
    }
    return true;
}

bool MapsEveryLength(CComparison& held, Tested const& tested, std::size_t step)
{
    for (std::u16string const& filler : kFillers) {
        for (std::size_t length = 0; length <= 200; length += step) {
            std::u16string const text = Repeated(filler, length);
            if (!held.MapsAll(tested, text)) return false;
            if (!held.Maps(tested, text, 2 * length + 80, length / 3)) return false;
        }
    }
    return true;
}

bool MapsFromEveryOffset(CComparison& held, Tested const& tested)
{
    for (std::u16string const& filler : kFillers) {
        std::u16string const text = Repeated(filler, 100);
        for (std::size_t from = 0; from < 64; ++from) {
            for (std::size_t to = from % 16; to < 64; to += 16) {
                if (!held.Maps(tested, text, 150, 0, from, to)) return false;
            }
        }
    }
    return true;
}

bool MapsIntoEveryCapacity(CComparison& held, Tested const& tested)
{
    for (std::u16string const& filler : kFillers) {
        for (std::size_t const length : {20U, 99U}) {
            std::u16string const text = Repeated(filler, length);
            for (std::size_t capacity = 0; capacity <= length + 20; ++capacity) {
                if (!held.Maps(tested, text, capacity, capacity % 5)) return false;
            }
        }
    }
    return true;
}

// With its neighbours, behind others of its page.
bool FindsEveryUnit(CComparison& held, Tested const& tested)
{
    for (unsigned int code = 0; code < 0x10000; ++code) {
        auto const unit = static_cast<char16_t>(code);
        std::u16string text(10, u'-');
        for (unsigned int const step : {61U, 122U})
            text += static_cast<char16_t>(code ^ step);
        text += u'.';
        text += unit;
        text += u'b';
        auto const found = tested.mMapping.find(unit);
        std::u16string needle = u".";
        needle += found == tested.mMapping.end() ? std::u16string(1, unit) : found->second;
        needle += u'b';
        if (!held.Finds(tested, text, needle, static_cast<int>(needle.size()))) return false;
    }
    return true;
}

// What a search compares, by the table and by the rule.
std::string UnitsOfWrongCode(Tested const& tested)
{
    std::string wrong;
    for (unsigned int code = 0; code < 0x10000; ++code) {
        auto const unit = static_cast<char16_t>(code);
        std::uint16_t const halves = tested.mTable->GetMappedHalves()[code >> 11];
        if ((halves >> (code >> 8 & 7) * 2 & 3) == 0) continue;
        auto const found = tested.mMapping.find(unit);
        std::u16string const to =
            found == tested.mMapping.end() ? std::u16string(1, unit) : found->second;
        std::uint8_t expected = SearchCode::kSeveral;
        if (to.empty()) expected = SearchCode::kDeleted;
        if (to.size() == 1) expected = SearchCode::Of(to[0]);
        if (tested.mTable->GetSearchCodes(code >> 8)[code & 0xFF] != expected)
            wrong += Hex(std::u16string(1, unit));
    }
    return wrong;
}

// Texts of few units, so that nearly everything is a start of the needle.
bool FindsInFewUnits(CComparison& held,
                     Tested const& tested,
                     std::u16string const& units,
                     std::u16string const& needleUnits)
{
    CPicker picker;
    for (int round = 0; round < 1500; ++round) {
        std::u16string text(picker.Below(70), u'x');
        for (std::size_t left = picker.Below(70); left > 0; --left)
            text += picker.Of(units);
        std::u16string needle;
        for (std::size_t left = 1 + picker.Below(7); left > 0; --left)
            needle += picker.Of(needleUnits);
        std::size_t const shorter = picker.Below(8) == 0 ? picker.Below(needle.size()) : 0;
        int const start = picker.Below(4) == 0 ? static_cast<int>(picker.Below(80)) : 0;
        if (!held.Finds(tested, text, needle, static_cast<int>(needle.size() - shorter), start))
            return false;
    }
    return true;
}

}  // namespace

TEST_P(MappingKernelsTest, MapEveryUnit)
{
    for (Tested const& tested : AllTested())
        EXPECT_TRUE(MapsEveryUnit(*mHeld, tested));
}

TEST_P(MappingKernelsTest, MapTextsOfEveryLength)
{
    for (Tested const& tested : AllTested())
        EXPECT_TRUE(MapsEveryLength(*mHeld, tested, &tested == &AllTested().front() ? 1 : 7));
}

TEST_P(MappingKernelsTest, MapFromEveryOffset)
{
    EXPECT_TRUE(MapsFromEveryOffset(*mHeld, AllTested().front()));
    EXPECT_TRUE(MapsFromEveryOffset(*mHeld, AllTested()[5]));
}

TEST_P(MappingKernelsTest, StopAtEveryCapacityAndTouchNothingElse)
{
    for (Tested const& tested : AllTested())
        EXPECT_TRUE(MapsIntoEveryCapacity(*mHeld, tested));
}

TEST_P(MappingKernelsTest, TakeNothingWhereTheTargetBeginsBehindItsEnd)
{
    for (Tested const& tested : AllTested()) {
        for (std::u16string const& filler : kFillers) {
            for (std::size_t const length : {5U, 20U, 99U})
                EXPECT_TRUE(mHeld->TakesNothingBehindTheEnd(tested, Repeated(filler, length)));
        }
    }
}

TEST_P(MappingKernelsTest, MapMixtures)
{
    CPicker picker;
    for (int round = 0; round < 2000; ++round) {
        Tested const& tested = AllTested()[picker.Below(AllTested().size())];
        std::u16string const text = picker.Mixture(picker.Below(450));
        std::size_t const capacity = picker.Below(2 * text.size() + 1);
        ASSERT_TRUE(mHeld->Maps(tested, text, capacity, picker.Below(text.size() + 1)));
    }
}

TEST_P(MappingKernelsTest, FindAmongStartsThatLeadNowhere)
{
    // Deleted units, expansions that agree, that run past the needle's end and that don't agree.
    std::u16string const units = u"abAB\u0301\u0301ßéàs \u4E00日ﬁ\uFF21\uFFFF";
    std::u16string const withNUL(u"a\0", 2);
    for (Tested const& tested : AllTested()) {
        EXPECT_TRUE(FindsInFewUnits(*mHeld, tested, u"aab\u0301", u"aab"));
        EXPECT_TRUE(FindsInFewUnits(*mHeld, tested, u"aab", withNUL));
        EXPECT_TRUE(FindsInFewUnits(*mHeld, tested, units, u"abs"));
        EXPECT_TRUE(FindsInFewUnits(*mHeld, tested, units, u"abes\uFFFF\u0300\u0301日f"));
    }
}

TEST_P(MappingKernelsTest, FindNoStartInExpansionsThatBeginOtherwise)
{
    if (GetParam() == "plain"s) GTEST_SKIP() << "stops at each of them";
    constexpr std::size_t kNotShort = 12;
    Tested const& tested = AllTested().front();
    for (std::u16string const& needle : {u"q"s, u"qs"s, u"fss"s, u"qssss"s}) {
        for (std::size_t length = kNotShort; length <= 200; ++length) {
            EXPECT_EQ(mHeld->FindsStart(tested, Repeated(u"ßß\u0301①", length), needle), length);
            std::u16string const text = Repeated(u"ß", length - 1) + u"ﬀ";
            std::size_t const start = needle[0] == u'f' ? length - 1 : length;
            EXPECT_EQ(mHeld->FindsStart(tested, text, needle), start);
        }
    }
}

TEST_P(MappingKernelsTest, FindWhatIsThereAtEveryPlace)
{
    Tested const& tested = AllTested().front();
    std::u16string const needles[] = {u"q", u"qz", u"qzx", u"qzxq", u"qzxqy", u"ssqz", u"日q"};
    for (std::u16string const& filler : kFillers) {
        for (std::u16string const& needle : needles) {
            for (std::size_t place = 0; place <= 140; ++place) {
                std::u16string text = Repeated(filler, 140);
                // With a mark inside, one in front, and one behind.
                std::u16string raw = u"\u0301" + needle + u"\u0301";
                raw.insert(1 + place % needle.size(), u"\u0308");
                text.insert(place, raw);
                ASSERT_TRUE(mHeld->Finds(tested, text, needle, static_cast<int>(needle.size())));
                text.resize(place + raw.size());
                ASSERT_TRUE(mHeld->Finds(tested, text, needle, static_cast<int>(needle.size())));
            }
        }
    }
}

TEST_P(MappingKernelsTest, FindEveryUnit)
{
    EXPECT_TRUE(FindsEveryUnit(*mHeld, AllTested().front()));
    EXPECT_TRUE(FindsEveryUnit(*mHeld, AllTested()[5]));
}

// More pages than are kept at hand, in texts that outlast all that is kept.
TEST_P(MappingKernelsTest, FindBehindManyPages)
{
    CPicker picker;
    for (int round = 0; round < 40; ++round) {
        Tested const& tested = AllTested()[picker.Below(AllTested().size())];
        std::u16string text;
        while (text.size() < 2000) {
            std::size_t const page = picker.Below(0x100);
            for (std::size_t run = 1 + picker.Below(20); run > 0; --run)
                text += static_cast<char16_t>(page << 8 | picker.Below(0x100));
        }
        std::u16string needle;
        tested.mTable->MapText(text.substr(text.size() - 10 - picker.Below(80), 5), needle);
        if (needle.empty()) continue;
        ASSERT_TRUE(mHeld->Finds(tested, text, needle, static_cast<int>(needle.size())));
    }
}

TEST_P(MappingKernelsTest, FindInMixtures)
{
    CPicker picker;
    for (int round = 0; round < 2000; ++round) {
        Tested const& tested = AllTested()[picker.Below(AllTested().size())];
        std::u16string const text = picker.Mixture(1 + picker.Below(450));
        std::size_t const start = picker.Below(text.size());
        std::u16string needle;
        tested.mTable->MapText(text.substr(start, 1 + picker.Below(6)), needle);
        if (needle.empty()) continue;
        ASSERT_TRUE(mHeld->Finds(tested, text, needle, static_cast<int>(needle.size()),
                                 static_cast<int>(picker.Below(start + 1))));
    }
}

TEST(SearchCodesTest, TellWhatEachUnitGives)
{
    for (Tested const& tested : AllTested()) {
        SCOPED_TRACE(tested.mWhat);
        EXPECT_EQ(UnitsOfWrongCode(tested), "");
    }
}

TEST(SearchCodesTest, DifferWithinAPage)
{
    for (unsigned int page = 0; page < 0x100; ++page) {
        std::set<std::uint8_t> codes;
        for (unsigned int low = 0; low < 0x100; ++low)
            codes.insert(SearchCode::Of(static_cast<char16_t>(page << 8 | low)));
        EXPECT_EQ(codes.size(), 0x100U - 2);
        EXPECT_EQ(*codes.rbegin(), SearchCode::kHighest);
    }
}
