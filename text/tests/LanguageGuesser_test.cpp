#include "text/LanguageGuesser.h"

#include "testing/NaiveGrams.h"
#include "testing/StTempDir.h"
#include "text/TextProfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

// The handle's first record, as C code sees it.
UDM_LANGMAPLIST& ListOf(void* handle)
{
    return *static_cast<UDM_LANGMAPLIST*>(handle);
}

UDM_LANGMAP& TextProfileOf(void* handle)
{
    return *reinterpret_cast<UDM_LANGMAP*>(static_cast<UDM_LANGMAPLIST*>(handle) + 1);
}

// A guesser for a scope.
class StGuesser
{
public:
    StGuesser()
        : mHandle(mguesserAlloc())
    {
    }

    StGuesser(StGuesser const&) = delete;
    StGuesser& operator=(StGuesser const&) = delete;

    ~StGuesser() { mguesserRelease(mHandle); }

    UDM_LANGMAPLIST& List() { return ListOf(mHandle); }

    int Load(std::string const& path) { return UdmLoadLangMapFile(&List(), path.c_str()); }

    std::string Guess(std::string const& text, float* confidence = nullptr)
    {
        char const* language = nullptr;
        mguesserParseDataLen(mHandle, text.data(), static_cast<long>(text.size()), &language,
                             confidence);
        return language ? language : "(none)";
    }

    void* mHandle;
};

using Counts = std::vector<int>;

Counts CountsOf(UDM_LANGMAP const& map)
{
    Counts counts;
    for (UDM_LANGITEM const& item : map.memb)
        counts.push_back(item.count);
    return counts;
}

size_t BucketOf(std::string const& gram)
{
    return UdmCRC32(gram.data(), gram.size()) & UDM_LM_HASHMASK;
}

std::unique_ptr<UDM_LANGMAP> Built(std::string const& text)
{
    auto map = std::make_unique<UDM_LANGMAP>();
    UdmBuildLangMap(map.get(), text.data(), static_cast<long>(text.size()));
    return map;
}

std::unique_ptr<UDM_LANGMAP> Prepared(std::string const& text)
{
    auto map = Built(text);
    UdmPrepareLangMap(map.get());
    return map;
}

Counts NaiveCounts(std::string const& text)
{
    Counts counts(UDM_LM_BUCKETS);
    for (auto const& [gram, count] : NaiveGrams(text))
        counts[BucketOf(gram)] += count;
    return counts;
}

// Whether `map`, which had no counts before, has got those of `text` and the last n-gram of each
// bucket.
bool IsProfileOf(UDM_LANGMAP const& map, std::string const& text)
{
    std::vector<UDM_LANGITEM> expected(UDM_LM_BUCKETS);
    VisitNaiveGrams(text, [&](std::string const& gram) {
        UDM_LANGITEM& item = expected[BucketOf(gram)];
        item = {item.count + 1, {}};
        gram.copy(item.str, UDM_LM_MAXGRAM);
    });
    return std::memcmp(map.memb, expected.data(), sizeof map.memb) == 0;
}

// Bytes that are n-grams' own and bytes that are passed over, in runs.
std::string RandomText(std::mt19937& random, size_t size)
{
    static constexpr char kBytes[] = "    \t\n\0\x1F"
                                     "ab\xC3\xA9_#\x7F";
    std::string text;
    while (text.size() < size)
        text += kBytes[random() % (sizeof kBytes - 1)];
    return text;
}

// Any bytes that are n-grams' own.
std::string RandomBytes(std::mt19937& random, size_t size)
{
    std::string text;
    while (text.size() < size)
        text += static_cast<char>(0x21 + random() % (0x100 - 0x21));
    return text;
}

std::string Profile(std::string const& name, std::string const& sample)
{
    std::string lines = "Language: " + name + "\nCharset: utf-8\n";
    for (auto const& [gram, count] : NaiveGrams(sample)) {
        if (gram.find('_') != gram.npos || gram[0] == '#') continue;
        std::string spelled = gram;
        std::replace(spelled.begin(), spelled.end(), ' ', '_');
        lines += spelled + '\t' + std::to_string(count) + '\n';
    }
    return lines;
}

constexpr char kGerman[] = "Alle Menschen sind frei und gleich an Wuerde und Rechten geboren.";
constexpr char kEnglish[] = "All human beings are born free and equal in dignity and rights.";
constexpr char kFrench[] = "Tous les etres humains naissent libres et egaux en dignite et droits.";

// The rows of a profile, with what a line of it leads to.
std::unique_ptr<UDM_LANGMAP> Loaded(std::string const& lines)
{
    StTempDir const folder;
    StGuesser guesser;
    guesser.Load(folder.Write("a.lm", "Language: x\nCharset: y\n" + lines));
    return std::make_unique<UDM_LANGMAP>(guesser.List().Map[0]);
}

}  // namespace

TEST(LanguageGuesser, LaysItsRecordsOutForC)
{
    EXPECT_EQ(sizeof(UDM_LANGITEM), 16U);
    EXPECT_EQ(offsetof(UDM_LANGITEM, str), 4U);
    EXPECT_EQ(offsetof(UDM_LANGMAP, std), 4U);
    EXPECT_EQ(offsetof(UDM_LANGMAP, memb), 8 + 2 * sizeof(char*));
    EXPECT_EQ(offsetof(UDM_LANGMAP, maxngrams) + 8, sizeof(UDM_LANGMAP));
    EXPECT_EQ(offsetof(UDM_LANGMAPLIST, Map), sizeof(size_t));
    EXPECT_EQ(sizeof(UDM_LANGMAPLIST::errstr), 1028U);

    StGuesser const guesser;
    EXPECT_EQ(ListOf(guesser.mHandle).nmaps, 0U);
    EXPECT_EQ(ListOf(guesser.mHandle).Map, nullptr);
    EXPECT_EQ(ListOf(guesser.mHandle).errcode, 0);
    EXPECT_STREQ(ListOf(guesser.mHandle).errstr, "");
    EXPECT_EQ(TextProfileOf(guesser.mHandle).maxngrams, 200U);
    EXPECT_EQ(CountsOf(TextProfileOf(guesser.mHandle)), Counts(UDM_LM_BUCKETS));
}

TEST(LanguageGuesser, ComputesCRC32)
{
    EXPECT_EQ(UdmCRC32("", 0), 0U);
    EXPECT_EQ(UdmCRC32("123456789", 9), 0xCBF43926U);
    EXPECT_EQ(UdmCRC32("\xFF\xFF\xFF\xFF", 4), 0xFFFFFFFFU);
}

TEST(LanguageGuesser, CutsTokens)
{
    char text[] = "  one \ttwo\n";
    char* last = nullptr;
    EXPECT_STREQ(udm_strtok_r(text, " \t\n", &last), "one");
    EXPECT_STREQ(udm_strtok_r(nullptr, " \t\n", &last), "two");
    EXPECT_EQ(udm_strtok_r(nullptr, " \t\n", &last), nullptr);
    EXPECT_EQ(last, nullptr);
    EXPECT_EQ(udm_strtok_r(nullptr, " \t\n", &last), nullptr);

    char end[] = "one";
    EXPECT_STREQ(udm_strtok_r(end, " ", &last), "one");
    EXPECT_EQ(last, nullptr);
    char none[] = " ";
    EXPECT_EQ(udm_strtok_r(none, " ", &last), nullptr);
    EXPECT_EQ(last, nullptr);
}

TEST(LanguageGuesser, SortsByFallingScore)
{
    UDM_MAPSTAT const low{nullptr, -0.5f};
    UDM_MAPSTAT const high{nullptr, 0.25f};
    EXPECT_LT(statcmp(&high, &low), 0);
    EXPECT_GT(statcmp(&low, &high), 0);
    EXPECT_EQ(statcmp(&low, &low), 0);
}

TEST(LanguageGuesser, CountsNGrams)
{
    struct
    {
        char const* mWhat;
        std::string mText;
        std::map<std::string, int> mGrams;
    } const cases[] = {
        {"nothing", "", {}},
        {"a run of blanks",
         "a  b",
         {{"a", 1}, {"a ", 1}, {"a b", 1}, {" ", 1}, {" b", 1}, {"b", 1}}},
        {"blanks at the start", "  a", {{"a", 1}}},
        {"blanks at the end", "a  ", {{"a", 1}, {"a ", 1}, {" ", 1}}},
        {"control bytes alone", std::string("\0\t\n\x1F", 4), {}},
        {"a control byte between", "a\nb", {{"a", 1}, {"ab", 1}, {"b", 1}}},
        {"blanks round a control byte",
         "a \t b",
         {{"a", 1}, {"a ", 1}, {"a b", 1}, {" ", 1}, {" b", 1}, {"b", 1}}},
        {"a NUL inside", std::string("a\0a", 3), {{"a", 2}, {"aa", 1}}},
        {"six bytes and no more",
         "abcdefg",
         {{"a", 1},  {"ab", 1},  {"abc", 1},  {"abcd", 1}, {"abcde", 1}, {"abcdef", 1},
          {"b", 1},  {"bc", 1},  {"bcd", 1},  {"bcde", 1}, {"bcdef", 1}, {"bcdefg", 1},
          {"c", 1},  {"cd", 1},  {"cde", 1},  {"cdef", 1}, {"cdefg", 1}, {"d", 1},
          {"de", 1}, {"def", 1}, {"defg", 1}, {"e", 1},    {"ef", 1},    {"efg", 1},
          {"f", 1},  {"fg", 1},  {"g", 1}}},
        {"bytes above ASCII", "\xFF\x80", {{"\xFF", 1}, {"\xFF\x80", 1}, {"\x80", 1}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Counts expected(UDM_LM_BUCKETS);
        for (auto const& [gram, count] : c.mGrams)
            expected[BucketOf(gram)] += count;
        EXPECT_EQ(NaiveGrams(c.mText), c.mGrams);
        EXPECT_EQ(CountsOf(*Built(c.mText)), expected);
    }
}

TEST(LanguageGuesser, CountsNGramsOfAnyLength)
{
    std::mt19937 random(38);
    std::vector<size_t> sizes(301);
    std::iota(sizes.begin(), sizes.end(), 0);
    // What is counted at a time, twice that, and thereabouts.
    for (size_t size = 10915; size < 10930; ++size)
        sizes.push_back(size);
    sizes.insert(sizes.end(), {12000, 21838, 21839, 21840});
    std::vector<size_t> differing;
    for (size_t const size : sizes) {
        std::string const text = RandomText(random, size);
        std::string const dense(size, 'x');
        std::string const bytes = RandomBytes(random, size);
        if (!IsProfileOf(*Built(text), text) || !IsProfileOf(*Built(dense), dense) ||
            !IsProfileOf(*Built(bytes), bytes)) {
            differing.push_back(size);
        }
    }
    EXPECT_EQ(differing, std::vector<size_t>());
}

TEST(LanguageGuesser, MakesProfilesAsBuildingAndPreparingDo)
{
    std::mt19937 random(380);

    struct
    {
        char const* mWhat;
        std::string mText;
    } const cases[] = {
        {"nothing", ""},
        {"a byte", "a"},
        {"words", kGerman},
        {"many bytes", RandomBytes(random, 8000)},
        {"one stretch", RandomBytes(random, 10922)},
        // Two of its n-grams share a bucket: the larger text's squares don't sum up exactly.
        {"one byte again and again", std::string(8000, '\xFF')},
        {"one byte as often as fits in one stretch", std::string(10921, '\xFF')},
        {"a stretch and some more", RandomBytes(random, 12000)},
        {"three of them", RandomBytes(random, 30000)},
        {"words, again and again", RandomText(random, 300) + std::string(7000, 'e')},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        auto const expected = Prepared(c.mText);
        auto const map = std::make_unique<UDM_LANGMAP>();
        TextCounts counts;
        MakeTextProfile(*map, c.mText.data(), static_cast<long>(c.mText.size()), counts);
        EXPECT_EQ(std::memcmp(map->memb, expected->memb, sizeof map->memb), 0);
        EXPECT_EQ(map->mean, expected->mean);
        EXPECT_EQ(map->std, expected->std);
        Counts listed(UDM_LM_BUCKETS);
        for (size_t i = 0; i < counts.mFilled; ++i)
            listed[counts.mBuckets[i]] = static_cast<int>(counts.mCounts[i]);
        EXPECT_EQ(listed, CountsOf(*map));
        EXPECT_TRUE(std::is_sorted(counts.mBuckets, counts.mBuckets + counts.mFilled));
    }
}

TEST(LanguageGuesser, AddsUpOverCallsAndNotesTheLastNGram)
{
    auto const map = std::make_unique<UDM_LANGMAP>();
    UdmBuildLangMap(map.get(), "abcdef", 6);
    UdmBuildLangMap(map.get(), "abcdef", 6);
    EXPECT_EQ(map->memb[BucketOf("abcdef")].count, 2);
    EXPECT_STREQ(map->memb[BucketOf("abcdef")].str, "abcdef");
    EXPECT_STREQ(map->memb[BucketOf("b")].str, "b");
}

TEST(LanguageGuesser, ReadsNothingBehindTheText)
{
    // On the heap, for the address sanitizer to see.
    std::unique_ptr<char[]> const text(new char[2]{'a', 'b'});
    auto const map = std::make_unique<UDM_LANGMAP>();
    UdmBuildLangMap(map.get(), text.get(), 2);
    EXPECT_EQ(CountsOf(*map), NaiveCounts("ab"));
    UdmBuildLangMap(map.get(), nullptr, 0);
    UdmBuildLangMap(map.get(), text.get(), -7);
    EXPECT_EQ(CountsOf(*map), NaiveCounts("ab"));
}

TEST(LanguageGuesser, ComputesMeanAndDeviation)
{
    auto const map = std::make_unique<UDM_LANGMAP>();
    UdmPrepareLangMap(map.get());
    EXPECT_EQ(map->mean, 0);
    EXPECT_EQ(map->std, 0);

    map->memb[0].count = 4096;
    UdmPrepareLangMap(map.get());
    EXPECT_FLOAT_EQ(map->mean, 1);
    EXPECT_FLOAT_EQ(map->std, std::sqrt(4095.0f));

    for (UDM_LANGITEM& item : map->memb)
        item.count = -7;
    UdmPrepareLangMap(map.get());
    EXPECT_EQ(map->mean, -7);
    EXPECT_EQ(map->std, 0);
}

TEST(LanguageGuesser, CorrelatesProfiles)
{
    auto const german = Prepared(kGerman);
    auto const english = Prepared(kEnglish);
    auto const twice = Prepared(kGerman);
    for (UDM_LANGITEM& item : twice->memb)
        item.count = 3 - 2 * item.count;
    UdmPrepareLangMap(twice.get());
    EXPECT_FLOAT_EQ(UdmCheckLangMap(german.get(), german.get()), 1);
    EXPECT_FLOAT_EQ(UdmCheckLangMap(german.get(), twice.get()), -1);
    float const score = UdmCheckLangMap(german.get(), english.get());
    EXPECT_EQ(score, UdmCheckLangMap(english.get(), german.get()));
    EXPECT_GT(score, 0);
    EXPECT_LT(score, 1);

    auto const flat = Prepared("");
    EXPECT_EQ(UdmCheckLangMap(flat.get(), german.get()), 0);
    EXPECT_EQ(UdmCheckLangMap(german.get(), flat.get()), 0);
    german->std = 9e-6f;
    EXPECT_EQ(UdmCheckLangMap(german.get(), english.get()), 0);
}

TEST(LanguageGuesser, ReadsProfiles)
{
    std::string const longest(995, 'x');

    struct
    {
        char const* mWhat;
        std::string mLines;
        std::map<std::string, int> mGrams;
    } const cases[] = {
        {"nothing", "", {}},
        {"an n-gram", "the\t345\n", {{"the", 345}}},
        {"no end of line", "the\t345", {{"the", 345}}},
        {"a blank inside", "th_e\t5\n", {{"th e", 5}}},
        {"blanks alone", "_\t9\n", {{" ", 9}}},
        {"six bytes", "abcdef\t1\n", {{"abcdef", 1}}},
        {"seven bytes", "abcdefg\t5\n", {}},
        {"no byte", "\t5\n", {}},
        {"no tab", "the 5\nthe\n\n", {}},
        {"a count of 0", "the\t0\n", {}},
        {"no number", "the\tmany\n", {}},
        {"no count", "the\t\n", {}},
        {"a negative count", "the\t-12\n", {{"the", -12}}},
        {"something behind the count", "the\t 12x\t7\n", {{"the", 12}}},
        {"CR LF", "the\t12\r\n", {{"the", 12}}},
        {"too large a count", "the\t99999999999999999999\n", {{"the", INT_MAX}}},
        {"a count of more than 32 bits", "the\t4294967297\n", {{"the", INT_MAX}}},
        {"too low a count", "the\t-99999999999999999999\n", {{"the", INT_MIN}}},
        {"a second line of it", "the\t5\nthe\t3\n", {{"the", 3}}},
        {"comments", "#a\t1\n\ta\t1\n a\t1\n", {}},
        {"names alone", "Language:\t5\nCharset:\t7\n", {}},
        {"nearly a name", "lang\t5\n", {{"lang", 5}}},
        {"a line of 999 bytes", longest + "\n" + "ab\t1\n", {{"ab", 1}}},
        {"a line that goes on", longest + "xxxxab\t1\n", {{"ab", 1}}},
        {"a NUL", std::string("a\0b\t5\nab\t6\n", 11), {{"ab", 6}}},
        {"bytes above ASCII", "\xC3\xA9\t5\n\xFF\t6\n", {{"\xC3\xA9", 5}, {"\xFF", 6}}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        Counts expected(UDM_LM_BUCKETS);
        for (auto const& [gram, count] : c.mGrams)
            expected[BucketOf(gram)] = count;
        auto const map = Loaded(c.mLines);
        EXPECT_EQ(CountsOf(*map), expected);
        auto const prepared = std::make_unique<UDM_LANGMAP>(*map);
        UdmPrepareLangMap(prepared.get());
        EXPECT_EQ(map->mean, prepared->mean);
        EXPECT_EQ(map->std, prepared->std);
    }
}

TEST(LanguageGuesser, LetsTheLaterOfTwoNGramsInABucketWin)
{
    // Two n-grams of one bucket, whichever they are.
    std::map<size_t, std::string> seen;
    std::string first;
    std::string second;
    for (int i = 0; second.empty(); ++i) {
        std::string const gram = std::to_string(i);
        auto const [place, isNew] = seen.emplace(BucketOf(gram), gram);
        if (isNew) continue;
        first = place->second;
        second = gram;
    }
    EXPECT_EQ(Loaded(first + "\t5\n" + second + "\t3\n")->memb[BucketOf(first)].count, 3);
    EXPECT_EQ(Loaded(second + "\t3\n" + first + "\t5\n")->memb[BucketOf(first)].count, 5);
}

TEST(LanguageGuesser, TakesTheLastName)
{
    StTempDir const folder;
    StGuesser guesser;
    EXPECT_EQ(guesser.Load(folder.Write("a.lm", "Language: en\nLanguage: de austria\nLanguage:\n"
                                                "Charset:\tutf-8\r\na\t1\n")),
              0);
    EXPECT_STREQ(guesser.List().Map[0].lang, "de");
    EXPECT_STREQ(guesser.List().Map[0].charset, "utf-8");
    EXPECT_EQ(guesser.List().errcode, 0);
}

TEST(LanguageGuesser, TellsWhatItCannotLoad)
{
    StTempDir const folder;
    std::string const missing = folder.Path() + "/missing.lm";
    std::string const nameless = folder.Write("nameless.lm", "Charset: utf-8\na\t1\n");
    std::string const bare = folder.Write("bare.lm", "Language: en\na\t1\n");
    std::string const pipe = folder.Path() + "/pipe.lm";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);

    struct
    {
        char const* mWhat;
        std::string mPath;
        std::string mMessage;
        size_t mAdded;
    } const cases[] = {
        {"no file", missing, "Can't open LangMapFile '" + missing + "'\n", 0},
        {"no language", nameless, "No language definition in LangMapFile '" + nameless + "'\n", 1},
        {"no charset", bare, "No charset definition in LangMapFile '" + bare + "'\n", 1},
        {"a folder", folder.Path(),
         "No language definition in LangMapFile '" + folder.Path() + "'\n", 1},
        {"a pipe that nobody writes to", pipe, "Can't open LangMapFile '" + pipe + "'\n", 0},
        {"a device without an end", "/dev/zero", "Can't open LangMapFile '/dev/zero'\n", 0},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StGuesser guesser;
        EXPECT_EQ(guesser.Load(c.mPath), -1);
        EXPECT_EQ(guesser.List().errcode, 1);
        EXPECT_EQ(guesser.List().errstr, c.mMessage);
        EXPECT_EQ(guesser.List().nmaps, c.mAdded);
    }
}

TEST(LanguageGuesser, BoundsMessagesByTheirBuffer)
{
    StGuesser guesser;
    std::string const path = "/" + std::string(3000, 'x');
    EXPECT_EQ(guesser.Load(path), -1);
    EXPECT_EQ(guesser.List().errstr, ("Can't open LangMapFile '" + path).substr(0, 1027));
}

TEST(LanguageGuesser, KeepsARecordOfAFailedLoadThatScores0)
{
    StTempDir const folder;
    folder.Write("a.lm", "a\t5\nb\t1\n");
    folder.Write("b.lm", Profile("de", kGerman));
    StGuesser guesser;
    EXPECT_TRUE(mguesserLoadDefinitions(guesser.mHandle, folder.Path().c_str(), nullptr));
    ASSERT_EQ(guesser.List().nmaps, 2U);
    EXPECT_EQ(guesser.List().errcode, 1);
    float confidence = 0;
    EXPECT_EQ(guesser.Guess(kGerman, &confidence), "de");
    EXPECT_EQ(confidence, 1);
}

TEST(LanguageGuesser, LoadsTheProfilesOfAFolder)
{
    StTempDir const folder;
    for (char const* const name : {"german.lm", "english.utf8.lm", "french.lm"})
        folder.Write(name, Profile(name, kGerman));
    folder.Write("german.lm.txt", Profile("other", kGerman));

    struct
    {
        char const* mWhat;
        char const* mLanguages;
        std::vector<std::string> mLoaded;
    } const cases[] = {
        {"all", nullptr, {"german.lm", "english.utf8.lm", "french.lm"}},
        {"by their names up to the first dot", "german english", {"german.lm", "english.utf8.lm"}},
        {"no such name", "man", {}},
        {"no name", "", {}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StGuesser guesser;
        EXPECT_EQ(mguesserLoadDefinitions(guesser.mHandle, folder.Path().c_str(), c.mLanguages),
                  !c.mLoaded.empty());
        std::vector<std::string> loaded;
        for (size_t i = 0; i < guesser.List().nmaps; ++i)
            loaded.emplace_back(guesser.List().Map[i].lang);
        EXPECT_THAT(loaded, testing::UnorderedElementsAreArray(c.mLoaded));
    }
}

TEST(LanguageGuesser, KeepsFindingANameInsideAnother)
{
    StTempDir const folder;
    folder.Write("man.lm", Profile("man", kGerman));
    folder.Write(".lm", Profile("nameless", kGerman));
    StGuesser guesser;
    EXPECT_TRUE(mguesserLoadDefinitions(guesser.mHandle, folder.Path().c_str(), "german"));
    EXPECT_EQ(guesser.List().nmaps, 2U);
}

TEST(LanguageGuesser, LoadsNothingWhereThereIsNothing)
{
    StTempDir const folder;
    StGuesser guesser;
    EXPECT_FALSE(mguesserLoadDefinitions(nullptr, folder.Path().c_str(), nullptr));
    EXPECT_FALSE(mguesserLoadDefinitions(guesser.mHandle, folder.Path().c_str(), nullptr));
    EXPECT_FALSE(mguesserLoadDefinitions(guesser.mHandle, "/no/such/folder", nullptr));
    std::string deep = folder.Path();
    while (deep.size() < 5000)
        deep += "/.";
    EXPECT_FALSE(mguesserLoadDefinitions(guesser.mHandle, deep.c_str(), nullptr));
    EXPECT_EQ(guesser.List().nmaps, 0U);
    mguesserUnloadDefinitions(guesser.mHandle);
    mguesserUnloadDefinitions(nullptr);
    mguesserRelease(nullptr);
    UdmFreeLangMapList(nullptr);
}

TEST(LanguageGuesser, OpensNoPathThatIsCut)
{
    StTempDir const folder;
    folder.Write(std::string(100, 'x') + ".lm", Profile("de", kGerman));
    std::string deep = folder.Path();
    while (deep.size() < PATH_MAX - 50)
        deep += "/.";
    StGuesser guesser;
    EXPECT_FALSE(mguesserLoadDefinitions(guesser.mHandle, deep.c_str(), nullptr));
    EXPECT_EQ(guesser.List().nmaps, 0U);
    EXPECT_EQ(guesser.List().errcode, 1);
    EXPECT_THAT(guesser.List().errstr, testing::StartsWith("Can't open LangMapFile '/"));
}

TEST(LanguageGuesser, KeepsAFreedListNamingWhatIsGone)
{
    StTempDir const folder;
    UDM_LANGMAPLIST list{};
    ASSERT_EQ(UdmLoadLangMapFile(&list, folder.Write("a.lm", Profile("a", kGerman)).c_str()), 0);
    UDM_LANGMAP const* const maps = list.Map;
    UdmFreeLangMapList(&list);
    EXPECT_EQ(list.nmaps, 1U);
    EXPECT_EQ(list.Map, maps);
}

TEST(LanguageGuesser, NamesTheBestProfile)
{
    StTempDir const folder;
    StGuesser guesser;
    float confidence = 7;
    EXPECT_EQ(guesser.Guess(kGerman, &confidence), "(none)");
    EXPECT_EQ(confidence, 0);

    guesser.Load(folder.Write("de.lm", Profile("de", kGerman)));
    EXPECT_EQ(guesser.Guess(kFrench, &confidence), "de");
    EXPECT_EQ(confidence, 1);
    EXPECT_EQ(guesser.Guess("", &confidence), "de");
    EXPECT_EQ(confidence, 1);

    // More profiles than stand side by side in one pass, the last ones alike.
    guesser.Load(folder.Write("en.lm", Profile("en", kEnglish)));
    for (int i = 0; i < 30; ++i)
        guesser.Load(folder.Write("fr.lm", Profile("fr" + std::to_string(i), kFrench)));
    EXPECT_EQ(guesser.Guess("Alle sind frei und gleich", &confidence), "de");
    auto const text = Prepared("Alle sind frei und gleich");
    UDM_LANGMAP const* const maps = guesser.List().Map;
    float const first = UdmCheckLangMap(&maps[0], text.get());
    float const second =
        std::max(UdmCheckLangMap(&maps[1], text.get()), UdmCheckLangMap(&maps[2], text.get()));
    EXPECT_NEAR(confidence, 1 - second / first, 1e-4);
    EXPECT_EQ(guesser.Guess("and equal in dignity and rights"), "en");
    EXPECT_EQ(guesser.Guess("en dignite et droits", &confidence).substr(0, 2), "fr");
    EXPECT_NEAR(confidence, 0, 1e-5);
}

TEST(LanguageGuesser, TakesANegativeSecondScoreFor0)
{
    StTempDir const folder;
    StGuesser guesser;
    guesser.Load(folder.Write("a.lm", "Language: a\nCharset: x\na\t9\n"));
    guesser.Load(folder.Write("b.lm", "Language: b\nCharset: x\na\t-9\n"));
    float confidence = 0;
    EXPECT_EQ(guesser.Guess("a", &confidence), "a");
    EXPECT_EQ(confidence, 1);
}

TEST(LanguageGuesser, KeepsDividingByAScoreOf0)
{
    StTempDir const folder;
    StGuesser guesser;
    guesser.Load(folder.Write("a.lm", Profile("a", kGerman)));
    guesser.Load(folder.Write("b.lm", Profile("b", kEnglish)));
    float confidence = 0;
    EXPECT_THAT(guesser.Guess("", &confidence), testing::AnyOf("a", "b"));
    EXPECT_TRUE(std::isnan(confidence));

    // All scores below 0.
    StGuesser contrary;
    contrary.Load(folder.Write("c.lm", "Language: c\nCharset: x\na\t-9\n"));
    contrary.Load(folder.Write("d.lm", "Language: d\nCharset: x\na\t-9\nz\t1\n"));
    contrary.Guess("a", &confidence);
    EXPECT_TRUE(std::isnan(confidence));
}

TEST(LanguageGuesser, TakesTheLengthFromTheText)
{
    StTempDir const folder;
    StGuesser guesser;
    guesser.Load(folder.Write("a.lm", Profile("a", kGerman)));
    mguesserParseDataLen(guesser.mHandle, "ab", -1, nullptr, nullptr);
    EXPECT_EQ(CountsOf(TextProfileOf(guesser.mHandle)), NaiveCounts("ab"));
    EXPECT_EQ(TextProfileOf(guesser.mHandle).maxngrams, 200U);
    mguesserParseDataLen(guesser.mHandle, "c\0d", 3, nullptr, nullptr);
    EXPECT_EQ(CountsOf(TextProfileOf(guesser.mHandle)), NaiveCounts("cd"));

    char const* language = "former";
    float confidence = 7;
    mguesserParseDataLen(nullptr, "ab", -1, &language, &confidence);
    EXPECT_EQ(language, nullptr);
    EXPECT_EQ(confidence, 0);
}

TEST(LanguageGuesser, ReadsHostileProfiles)
{
    std::string const head = "Language: x\nCharset: y\n";
    std::string const rows[] = {
        "",
        "Language:\n",
        "Language: " + std::string(5000, 'x') + "\nCharset: " + std::string(3000, '\xFF') + "\n",
        head + std::string(100000, '\0'),
        head + std::string(100000, '\t'),
        head + std::string(100000, '_'),
        head + "a\t2147483647\nb\t-2147483648\nc\t2147483647\n",
        head + "a\t" + std::string(2000, '9') + "\n",
        head + "\xEF\xBB\xBF\xC0\x80\t\x80\n",
        "#" + std::string(998, 'x') + "Language: x\nCharset: y\na\t1",
    };
    StTempDir const folder;
    StGuesser guesser;
    for (std::string const& bytes : rows)
        guesser.Load(folder.Write("a.lm", bytes));
    EXPECT_EQ(guesser.List().nmaps, std::size(rows));
    bool isFinite = true;
    for (size_t i = 0; i < guesser.List().nmaps; ++i) {
        UDM_LANGMAP const& map = guesser.List().Map[i];
        isFinite = isFinite && std::isfinite(map.mean) && std::isfinite(map.std);
        isFinite = isFinite && std::isfinite(UdmCheckLangMap(&map, Prepared(kGerman).get()));
    }
    EXPECT_TRUE(isFinite);
    float confidence = 0;
    guesser.Guess("a", &confidence);
    EXPECT_GE(confidence, 0);
    EXPECT_LE(confidence, 1);
}
