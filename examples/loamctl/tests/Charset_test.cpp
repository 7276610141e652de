// Charsets: telling them apart, converting between them, and searching in all of them.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "loamctl/CByteTable.h"
#include "loamctl/CCharset.h"
#include "loamctl/CharsetGuess.h"
#include "loamctl/KnownCharsets.h"
#include "loamctl/LossyDecoding.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using namespace std::string_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr char16_t const* kFrench =
    u"Le gar\u00e7on a dit que la for\u00eat \u00e9tait ferm\u00e9e jusqu'\u00e0 l'\u00e9t\u00e9, "
    u"\u00e0 cause de la s\u00e9cheresse qui dure depuis des ann\u00e9es.\n";
constexpr char16_t const* kGerman =
    u"Die K\u00fcche war viel zu klein f\u00fcr so gro\u00dfe T\u00f6pfe, aber niemand h\u00e4tte "
    u"daran etwas \u00e4ndern k\u00f6nnen.\n";
constexpr char16_t const* kRussian =
    u"\u041c\u043e\u0440\u043e\u0437 \u0438 \u0441\u043e\u043b\u043d\u0446\u0435; \u0434\u0435"
    u"\u043d\u044c \u0447\u0443\u0434\u0435\u0441\u043d\u044b\u0439! \u0415\u0449\u0435 \u0442"
    u"\u044b \u0434\u0440\u0435\u043c\u043b\u0435\u0448\u044c, \u0434\u0440\u0443\u0433 \u043f"
    u"\u0440\u0435\u043b\u0435\u0441\u0442\u043d\u044b\u0439.\n";
constexpr char16_t const* kGreek =
    u"\u03a3\u03b5 \u03b3\u03bd\u03c9\u03c1\u03af\u03b6\u03c9 \u03b1\u03c0\u03cc "
    u"\u03c4\u03b7\u03bd "
    u"\u03ba\u03cc\u03c8\u03b7 \u03c4\u03bf\u03c5 \u03c3\u03c0\u03b1\u03b8\u03b9\u03bf\u03cd "
    u"\u03c4\u03b7\u03bd \u03c4\u03c1\u03bf\u03bc\u03b5\u03c1\u03ae.\n";
constexpr char16_t const* kArabic =
    u"\u064a\u0648\u0644\u062f \u062c\u0645\u064a\u0639 \u0627\u0644\u0646\u0627\u0633 \u0623"
    u"\u062d\u0631\u0627\u0631\u0627 \u0645\u062a\u0633\u0627\u0648\u064a\u0646 \u0641\u064a "
    u"\u0627\u0644\u0643\u0631\u0627\u0645\u0629 \u0648\u0627\u0644\u062d\u0642\u0648\u0642.\n";
constexpr char16_t const* kJapanese =
    u"\u543e\u8f29\u306f\u732b\u3067\u3042\u308b\u3002\u540d\u524d\u306f\u307e\u3060\u7121\u3044"
    u"\u3002\u3069\u3053\u3067\u751f\u308c\u305f\u304b\u3068\u3093\u3068\u898b\u5f53\u304c"
    u"\u3064\u304b\u306c\u3002\n";
constexpr char16_t const* kChinese =
    u"\u4eba\u4eba\u751f\u800c\u81ea\u7531\uff0c\u5728\u5c0a\u4e25\u548c\u6743\u5229\u4e0a\u4e00"
    u"\u5f8b\u5e73\u7b49\u3002\u4ed6\u4eec\u8d4b\u6709\u7406\u6027\u548c\u826f\u5fc3\u3002\n";
constexpr char16_t const* kTraditional =
    u"\u4eba\u4eba\u751f\u800c\u81ea\u7531\uff0c\u5728\u5c0a\u56b4\u548c\u6b0a\u5229\u4e0a\u4e00"
    u"\u5f8b\u5e73\u7b49\u3002\u4ed6\u5011\u8ce6\u6709\u7406\u6027\u548c\u826f\u5fc3\u3002\n";
constexpr char16_t const* kKorean =
    u"\ubaa8\ub4e0 \uc778\uac04\uc740 \ud0dc\uc5b4\ub0a0 \ub54c\ubd80\ud130 \uc790\uc720\ub85c"
    u"\uc6b0\uba70 \uadf8 \uc874\uc5c4\uacfc \uad8c\ub9ac\uc5d0 \uc788\uc5b4 \ub3d9\ub4f1\ud558"
    u"\ub2e4.\n";

std::string Encoded(std::u16string const& text, char const* name)
{
    std::string bytes;
    EXPECT_TRUE(CCharset(name).Encode(text, bytes)) << name;
    return bytes;
}

}  // namespace

TEST(CharsetGuess, TellsTheCharsetOfAText)
{
    struct Case
    {
        char const* mWritten;
        char const* mTold;
        std::u16string mText;
    };

    Case const cases[] = {
        {"ISO-8859-1", "windows-1252", kFrench},
        {"windows-1252", "windows-1252", kGerman + u"\u201eJa\u201c \u2013 nein\u2026"s},
        {"macintosh", "macintosh", kFrench},
        {"macintosh", "macintosh", kGerman},
        {"windows-1251", "windows-1251", kRussian},
        {"KOI8-R", "KOI8-R", kRussian},
        {"ISO-8859-5", "ISO-8859-5", kRussian},
        {"ISO-8859-7", "ISO-8859-7", kGreek},
        {"windows-1256", "windows-1256", kArabic},
        {"Shift_JIS", "Shift_JIS", kJapanese},
        {"EUC-JP", "EUC-JP", kJapanese},
        {"ISO-2022-JP", "ISO-2022-JP", kJapanese},
        {"GBK", "GBK", kChinese},
        {"Big5", "Big5", kTraditional},
        {"EUC-KR", "EUC-KR", kKorean},
        {"UTF-16LE", "UTF-16LE", kFrench},
        {"UTF-16BE", "UTF-16BE", kJapanese},
        {"UTF-8", "UTF-8", kJapanese},
        {"US-ASCII", "US-ASCII", u"nothing special"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWritten);
        CharsetGuess const guess = GuessCharset(Encoded(c.mText, c.mWritten));
        EXPECT_EQ(guess.mCharset, c.mTold);
        EXPECT_NE(guess.mRunnerUp, guess.mCharset);
        EXPECT_FALSE(guess.mReason.empty());
    }
}

TEST(CharsetGuess, AsksInTurn)
{
    struct Case
    {
        char const* mWhat;
        std::string mBytes;
        char const* mCharset;
        char const* mReason;
    };

    Case const cases[] = {
        {"a mark of UTF-8, whatever follows", "\xEF\xBB\xBF\xFF", "UTF-8", "its byte-order mark"},
        {"a mark of UTF-32", "\xFF\xFE\0\0a\0\0\0"s, "UTF-32LE", "its byte-order mark"},
        {"a mark of UTF-16",
         "\xFF\xFE"
         "a\0"s,
         "UTF-16LE", "its byte-order mark"},
        {"zero bytes", "\0a\0b\0a"s, "UTF-16BE", "zero bytes where UTF-16 in that order has them"},
        {"zero bytes of no text", "ab\0\0"s, "", "a null byte at offset 2"},
        {"escapes", "\x1b$B4A;z\x1b(B", "ISO-2022-JP", "its escape sequences"},
        {"escapes of a terminal", "\x1b(Bplain", "US-ASCII", "no byte of 0x80 and above"},
        {"escapes of an unknown set", "\x1b$B\x01\x01", "US-ASCII", "no byte of 0x80 and above"},
        {"UTF-8", "na\xC3\xAFve", "UTF-8", "well-formed UTF-8"},
        {"UTF-8 that is cut off", "na\xC3\xAFve\xE2\x82", "UTF-8", "well-formed UTF-8"},
        {"UTF-8 that is damaged", "\xC3\xAF\xC3\xAF\xC3\xAF\xFF", "UTF-8",
         "UTF-8, but for 1 bytes"},
        {"control bytes", "\x01\xFF", "", "control byte 0x01 at offset 0"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CharsetGuess const guess = GuessCharset(c.mBytes);
        EXPECT_EQ(guess.mCharset, c.mCharset);
        EXPECT_EQ(guess.mReason, c.mReason);
    }
}

TEST(CharsetGuess, FindsWhatIsSaidFarFromTheStart)
{
    std::string const plain(100000, ' ');
    std::string const russian = Encoded(kRussian, "KOI8-R");
    EXPECT_EQ(GuessCharset(plain + russian).mCharset, "KOI8-R");
    EXPECT_EQ(GuessCharset(plain + "\n" + russian + plain).mCharset, "KOI8-R");
    std::string many;
    for (int i = 0; i < 1000; ++i)
        many += Encoded(kJapanese, "Shift_JIS");
    EXPECT_EQ(GuessCharset(many).mCharset, "Shift_JIS");
}

TEST(CCharset, DecodesAllOrNothing)
{
    struct Case
    {
        char const* mWhat;
        char const* mCharset;
        std::string mBytes;
        std::u16string mText;
        std::size_t mBad;  // the offset of the first bad byte, or the size
        std::u16string mLossy;
    };

    Case const cases[] = {
        {"nothing", "Shift_JIS", "", u"", 0, u""},
        {"a hole of windows-1252", "windows-1252",
         "a\x80\x81"
         "b",
         u"", 2,
         u"a\u20ac\ufffd"
         u"b"},
        {"UTF-8 with a mark", "UTF-8", "\xEF\xBB\xBF\xC3\xA9", u"\u00e9", 5, u"\u00e9"},
        {"UTF-8 in other words", "utf8", "\xC3\xA9\xFF", u"", 2, u"\u00e9\ufffd"},
        {"a character of Shift_JIS that is cut", "Shift_JIS", "\x82\xA0\x82", u"", 2,
         u"\u3042\ufffd"},
        {"a bad byte between two characters", "EUC-JP", "\xA4\xA2\xFF\xA4\xA4", u"", 2,
         u"\u3042\ufffd\u3044"},
        {"half a unit of UTF-16", "UTF-16LE", "a\0b"s, u"", 2, u"a\ufffd"},
        {"a lone surrogate", "UTF-16BE", "\0a\xD8\0\0b"s, u"", 2,
         u"a\ufffd"
         u"b"},
        {"a mark tells the order", "UTF-16",
         "\xFF\xFE"
         "a\0"s,
         u"a", 4, u"a"},
        {"a mark, then a bad unit", "UTF-16",
         "\xFF\xFE"
         "\0\xDC"
         "a\0"s,
         u"", 2,
         u"\ufffd"
         u"a"},
        {"no mark", "UTF-16", "\0a"s, u"a", 2, u"a"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CCharset const charset(c.mCharset);
        ASSERT_TRUE(charset.IsKnown());
        std::u16string text = u"what was there";
        EXPECT_EQ(charset.Decode(c.mBytes, text), c.mBad == c.mBytes.size());
        EXPECT_EQ(text, c.mText);
        EXPECT_EQ(charset.FindUndecodable(c.mBytes), c.mBad);
        EXPECT_EQ(charset.DecodeLossily(c.mBytes), c.mLossy);
    }
    EXPECT_FALSE(CCharset("no-such-charset").IsKnown());
}

TEST(CCharset, DecodesLossilyPastThePieces)
{
    // Two bytes a character, so that pieces end within one.
    std::string bytes = "x";
    std::u16string expected = u"x";
    for (int i = 0; i < 20000; ++i) {
        bool const isBad = i % 1000 == 999;
        bytes += isBad ? "\xFF" : "\xA4\xA2";
        expected += isBad ? u'\ufffd' : u'\u3042';
    }
    EXPECT_EQ(CCharset("EUC-JP").DecodeLossily(bytes), expected);
}

TEST(CCharset, DecodesLossilyBehindEscapes)
{
    // After a bad byte it begins anew, in ASCII. Escapes in a row with nothing between are bad.
    CCharset const charset("ISO-2022-JP");
    std::string const word = "\x1b$B4A;z\x1b(B";
    std::string bytes;
    std::u16string expected;
    for (int i = 1; i < 100; ++i) {
        bytes += word + std::string(static_cast<std::size_t>(i), 'x') + "\x1b$B4A\xff;z";
        expected +=
            u"\u6f22\u5b57" + std::u16string(static_cast<std::size_t>(i), u'x') + u"\u6f22\ufffd;z";
    }
    EXPECT_EQ(charset.DecodeLossily(bytes), expected);
    EXPECT_EQ(charset.DecodeLossily(bytes + "\x1b$B4"), expected + u"\ufffd");
    EXPECT_EQ(charset.DecodeLossily(word), u"\u6f22\u5b57");
}

// By a charset of ASCII that counts what it is given.
TEST(LossyDecoding, LooksAtEachByteAFewTimesHoweverManyAreBad)
{
    std::size_t work = 0;
    auto const decode = [&work](std::string_view bytes, std::u16string& text) {
        work += bytes.size();
        text.assign(bytes.begin(), bytes.end());
        return std::all_of(bytes.begin(), bytes.end(),
                           [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    };
    for (std::size_t const distance : {1U, 10U, 1000U}) {
        for (std::size_t const size : {1000U, 10000U, 100000U}) {
            std::string bytes(size, 'x');
            std::u16string expected(size, u'x');
            for (std::size_t i = 0; i < size; i += distance) {
                bytes[i] = '\xff';
                expected[i] = u'\ufffd';
            }
            for (ByteMemory const memory : {ByteMemory::kCharacter, ByteMemory::kEscapes}) {
                SCOPED_TRACE(testing::Message()
                             << distance << ", " << size << ", " << static_cast<int>(memory));
                work = 0;
                EXPECT_EQ(DecodeAroundBadBytes(bytes, 1, memory, decode), expected);
                EXPECT_LT(work, size * 200);
            }
        }
    }
}

TEST(CByteTable, TellsOfEachByteWhatTheConverterDoesBesideAnyOther)
{
    std::size_t tables = 0;
    for (KnownCharset const& known : KnownCharsets()) {
        if (!known.mTable) continue;
        SCOPED_TRACE(known.mCharset.GetName());
        ++tables;
        std::string pairs;
        for (unsigned pair = 0; pair < 0x10000; ++pair) {
            char const first = static_cast<char>(pair >> 8);
            char const second = static_cast<char>(pair & 0xFF);
            bool const hasUnits = (*known.mTable)[first] != CByteTable::kNoUnit &&
                                  (*known.mTable)[second] != CByteTable::kNoUnit;
            if (hasUnits) pairs.append({first, second});
        }
        std::u16string text;
        EXPECT_TRUE(known.mCharset.Decode(pairs, text));
        std::u16string byTable(pairs.size(), u' ');
        EXPECT_TRUE(known.mTable->Decode(pairs, byTable.data()));
        EXPECT_TRUE(byTable == text);
    }
    EXPECT_EQ(tables, 31U);
}

TEST(CByteTable, RefusesBytesWithoutAUnitAndCharsetsOfOtherKinds)
{
    CByteTable const table(CCharset("windows-1252"));
    ASSERT_TRUE(table.IsWhole());
    char16_t units[3] = {};
    EXPECT_TRUE(table.Decode("a\x80z", units));
    EXPECT_EQ(std::u16string(units, 3), u"a\u20acz");
    EXPECT_FALSE(table.Decode("a\x81z", units));
    for (char const* const name : {"UTF-16", "UTF-7", "IBM037", "no-such-charset"})
        EXPECT_FALSE(CByteTable(CCharset(name)).IsWhole()) << name;
}

TEST(CCharset, EncodesAllOrNothing)
{
    struct Case
    {
        char const* mWhat;
        char const* mCharset;
        std::u16string mText;
        std::string mBytes;
        std::size_t mBad;  // the index of the first bad unit, or the length
        std::string mLossy;
    };

    Case const cases[] = {
        {"nothing", "KOI8-R", u"", "", 0, ""},
        {"a question mark of its own", "ISO-8859-1", u"?\u00e9", "?\xE9", 2, "?\xE9"},
        {"beyond Latin-1", "ISO-8859-1", u"a\u0141", "", 1, "a?"},
        {"beyond the basic plane", "KOI8-R", u"ab\U0001F600", "", 2, "ab?"},
        {"a lone surrogate", "UTF-8", u"a\xD800z", "", 1, "a\xEF\xBF\xBDz"},
        {"UTF-8", "UTF-8", u"\u20ac", "\xE2\x82\xAC", 1, "\xE2\x82\xAC"},
        {"an order without a mark", "UTF-16BE", u"a", "\0a"s, 1, "\0a"s},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CCharset const charset(c.mCharset);
        std::string bytes = "what was there";
        EXPECT_EQ(charset.Encode(c.mText, bytes), c.mBad == c.mText.size());
        EXPECT_EQ(bytes, c.mBytes);
        EXPECT_EQ(charset.FindUnencodable(c.mText), c.mBad);
        EXPECT_EQ(charset.EncodeLossily(c.mText), c.mLossy);
    }
    std::string marked;
    std::u16string again;
    EXPECT_TRUE(CCharset("UTF-16").Encode(u"ab", marked));
    EXPECT_EQ(marked.size(), 6U);
    EXPECT_TRUE(CCharset("UTF-16").Decode(marked, again));
    EXPECT_EQ(again, u"ab");
}

TEST(CCharset, FindsTheBytesOfAUnit)
{
    CCharset const charset("Shift_JIS");
    std::string const bytes = "a\x82\xA0"
                              "b\x82\xA2";
    std::size_t const expected[] = {0, 1, 3, 4};
    for (std::size_t unit = 0; unit < 4; ++unit)
        EXPECT_EQ(charset.FindOffset(bytes, unit), expected[unit]) << unit;
}

TEST(Charset, ShowsVerdictRunnerUpAndReason)
{
    StTempDir const folder;
    folder.Write("a.txt", "plain");
    folder.Write("b.txt", Encoded(kRussian, "KOI8-R"));
    folder.Write("c.bin", "a\0b\0\0"s);
    RunResult const result =
        RunLoamctlIn(folder.Path(), {"charset", "a.txt", "b.txt", "c.bin", "--json"});
    EXPECT_EQ(result.mExitCode, 1);
    EXPECT_EQ(result.mError, "");
    auto const objects = ParseLines(result.mOutput, "charset");
    ASSERT_THAT(objects, SizeIs(3));
    EXPECT_EQ(objects[0], (nlohmann::json{{"type", "charset"},
                                          {"path", "a.txt"},
                                          {"charset", "US-ASCII"},
                                          {"reason", "no byte of 0x80 and above"}}));
    EXPECT_EQ(objects[1]["charset"], "KOI8-R");
    EXPECT_FALSE(objects[1]["runner_up"].empty());
    EXPECT_THAT(objects[1]["reason"].get<std::string>(), HasSubstr("letters as in ru, "));
    EXPECT_FALSE(objects[2].contains("charset"));
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"charset", "a.txt"}).mOutput,
              "US-ASCII        -               a.txt  (no byte of 0x80 and above)\n");
}

TEST(Charset, GoesOnBehindWhatCannotBeRead)
{
    StTempDir const folder;
    folder.Write("a.txt", "plain");
    RunResult const result = RunLoamctlIn(folder.Path(), {"charset", "missing", ".", "a.txt"});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_EQ(result.mError, "loamctl: missing: isn't there\nloamctl: .: is no file\n");
    EXPECT_THAT(result.mOutput, HasSubstr("a.txt"));
}

TEST(Conv, Converts)
{
    StTempDir const folder;
    std::string const source = folder.Write("ru", Encoded(kRussian, "KOI8-R"));
    std::string const utf8 = Encoded(kRussian, "UTF-8");
    EXPECT_EQ(RunLoamctl({"conv", "-f", "KOI8-R", source}).mOutput, utf8);
    EXPECT_EQ(RunLoamctl({"conv", source}).mOutput, utf8);
    RunResult const result =
        RunLoamctl({"conv", "-t", "windows-1251", source, "-o", folder.Path("to")});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_EQ(result.mOutput, "");
    EXPECT_EQ(ReadBytes(folder.Path("to")), Encoded(kRussian, "windows-1251"));
}

TEST(Conv, TellsWhatDoesNotFitAndWritesNothing)
{
    struct Case
    {
        char const* mWhat;
        std::string mBytes;
        std::vector<std::string> mArguments;
        char const* mError;
        char const* mLossy;
    };

    Case const cases[] = {
        {"a byte",
         "a\x82\xA0\xFF",
         {"-f", "Shift_JIS"},
         "not Shift_JIS: byte 0xFF at offset 3",
         "a\xE3\x81\x82\xEF\xBF\xBD"},
        {"a character",
         "a\x82\xA0",
         {"-f", "Shift_JIS", "-t", "ISO-8859-1"},
         "not in ISO-8859-1: U+3042 at offset 1",
         "a?"},
        {"a pair",
         "ab\xF0\x9F\x98\x80",
         {"-f", "UTF-8", "-t", "KOI8-R"},
         "not in KOI8-R: U+1F600 at offset 2",
         "ab?"},
    };
    StTempDir const folder;
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        folder.Write("in", c.mBytes);
        std::vector<std::string> arguments = c.mArguments;
        arguments.insert(arguments.begin(), "conv");
        arguments.insert(arguments.end(), {"in", "-o", "out"});
        RunResult const result = RunLoamctlIn(folder.Path(), arguments);
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_EQ(result.mError, std::string("loamctl: in: ") + c.mError + "\n");
        EXPECT_EQ(RunLoamctlIn(folder.Path(), {"scan", "out"}).mExitCode, 2);
        arguments.erase(arguments.end() - 2, arguments.end());
        arguments.emplace_back("--lossy");
        EXPECT_EQ(RunLoamctlIn(folder.Path(), arguments).mOutput, c.mLossy);
    }
}

TEST(Conv, RefusesWhatItCannotDo)
{
    StTempDir const folder;
    folder.Write("text", "a");
    folder.Write("data", "a\0b\0\0"s);
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"conv", "-t", "EBCDIC-XX", "text"}).mError,
              "loamctl: unknown charset: EBCDIC-XX\n");
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"conv", "data"}).mError,
              "loamctl: data: a null byte at offset 1\n");
    EXPECT_EQ(RunLoamctlIn(folder.Path(), {"conv", "text", "-o", "data"}).mExitCode, 2);
    EXPECT_EQ(ReadBytes(folder.Path("data")), "a\0b\0\0"s);
}

TEST(Charset, FiveCharsetsGiveFiveHitsOfFive)
{
    RunResult const result = RunLoamctl({"search", "cafe", Document("charsets"), "--json"});
    EXPECT_EQ(result.mExitCode, 0);
    EXPECT_THAT(ParseLines(result.mOutput, "hit"), SizeIs(5));
    auto const summary = ParseLines(result.mOutput, "summary").at(0);
    EXPECT_EQ(summary["files_with_hits"], 5);
    EXPECT_EQ(summary["files"], 5);
    EXPECT_THAT(summary["skipped"], IsEmpty());
}

TEST(Charset, OffsetsInOtherCharsetsAreThoseOfTheTextInUTF8)
{
    StTempDir const folder;
    folder.Write("text", Encoded(kRussian + u"a cafe"s, "KOI8-R"));
    auto const hits = ParseLines(
        RunLoamctlIn(folder.Path(), {"search", "cafe", "text", "--json"}).mOutput, "hit");
    ASSERT_THAT(hits, SizeIs(1));
    std::string const utf8 = Encoded(kRussian + u"a "s, "UTF-8");
    EXPECT_EQ(hits[0]["offset"], utf8.size());
    EXPECT_EQ(hits[0]["length"], 4);
    std::string const words = RunLoamctlIn(folder.Path(), {"words", "text"}).mOutput;
    EXPECT_THAT(words, EndsWith("cafe\t" + std::to_string(utf8.size()) + "\t4\n"));
}
