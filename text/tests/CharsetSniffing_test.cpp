#include "marl/memblock.h"
#include "text/ByteTests.h"
#include "text/CCharsetConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using Question = bool (*)(char const*, long long);

// A byte that only a vector of bytes looks at, and one that follows the last vector.
constexpr std::size_t kPlaces[] = {0, 70, 129};
constexpr std::size_t kTextSize = 130;

// From ranges as in "80-9F C3".
std::vector<bool> ParseBytes(char const* ranges)
{
    std::vector<bool> result(256, false);
    std::istringstream words(ranges);
    for (std::string word; words >> word;) {
        unsigned long const first = std::stoul(word.substr(0, 2), nullptr, 16);
        unsigned long const last =
            word.size() == 2 ? first : std::stoul(word.substr(3), nullptr, 16);
        for (unsigned long byte = first; byte <= last; ++byte)
            result[byte] = true;
    }
    return result;
}

std::string TextWith(unsigned int byte, std::size_t place)
{
    std::string text(kTextSize, 'a');
    text[place] = static_cast<char>(byte);
    return text;
}

// The bytes that are refused alone, or in a longer text, which had better be the same.
std::string Refused(Question question)
{
    std::string result;
    for (unsigned int byte = 0; byte < 256; ++byte) {
        char const alone = static_cast<char>(byte);
        bool const isRefused = !question(&alone, 1);
        for (std::size_t const place : kPlaces) {
            bool const isRefusedThere =
                !question(TextWith(byte, place).data(), static_cast<long long>(kTextSize));
            if (isRefusedThere != isRefused) result += "(differs in a text) ";
        }
        if (isRefused) result += std::to_string(byte) + " ";
    }
    return result;
}

std::string Listed(std::vector<bool> const& bytes)
{
    std::string result;
    for (std::size_t byte = 0; byte < 256; ++byte) {
        if (bytes[byte]) result += std::to_string(byte) + " ";
    }
    return result;
}

struct UTF16Verdict
{
    bool mBigEndian = true;
    bool mLittleEndian = true;
    bool mNotUTF16 = true;

    explicit UTF16Verdict(std::string const& data)
        : UTF16Verdict(data.data(), static_cast<long long>(data.size()))
    {
    }

    UTF16Verdict(char const* data, long long size)
    {
        CCharsetConverter::SniffUTF16(data, size, &mBigEndian, &mLittleEndian, &mNotUTF16);
    }

    std::string Told() const
    {
        return std::string(mBigEndian ? "big " : "") + (mLittleEndian ? "little " : "") +
               (mNotUTF16 ? "not" : "");
    }
};

std::string BigEndian(std::u16string const& text)
{
    std::string bytes;
    for (char16_t const unit : text) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

std::string Swapped(std::string bytes)
{
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

// The rule as it is told, a step at a time and without a short cut.
class CNaiveUTF16
{
public:
    static std::string Told(std::string const& data)
    {
        CNaiveUTF16 sniffer;
        return sniffer.Judge(data);
    }

private:
    struct Reading
    {
        bool mBad = false;
        int mCommon = 0;
        bool mConclusive = false;
        int mZeros = 0;
        int mVarying = 0;
        bool mInRun = false;
        int mPrevious = 0;
        bool mHigh = false;
    };

    static int Weight(int byte)
    {
        static std::vector<bool> const none = ParseBytes("00-08 0B 0C 0E-1F");
        static std::vector<bool> const one = ParseBytes("0A 31 AB E0-F8 FF");
        static std::vector<bool> const two = ParseBytes("09 0D 20-2F 32 A0-A6 A8-AA");
        static std::vector<bool> const three = ParseBytes("30 33-9F A7 AC-DF F9-FE");
        auto const at = static_cast<std::size_t>(byte);
        EXPECT_EQ(none[at] + one[at] + two[at] + three[at], 1);
        return one[at] ? 1 : two[at] ? 2 : three[at] ? 3 : 0;
    }

    static void Take(Reading& reading, int high, int low)
    {
        if (high != 0) {
            if (high >= 0xE0 && high <= 0xF8) {
                reading.mBad = true;
            } else if (reading.mHigh && (high < 0xDC || high > 0xDF)) {
                reading.mBad = true;
            } else if (!reading.mHigh && high >= 0xDC && high <= 0xDF) {
                reading.mBad = true;
            }
            reading.mInRun = false;
        } else {
            int const weight = Weight(low);
            if (weight == 2) ++reading.mCommon;
            if (weight == 1) reading.mConclusive = true;
            ++reading.mZeros;
            if (reading.mInRun && reading.mPrevious != low) ++reading.mVarying;
            if (reading.mHigh) reading.mBad = true;
            reading.mInRun = true;
            reading.mPrevious = low;
        }
        reading.mHigh = high >= 0xD8 && high <= 0xDB;
    }

    void Vote()
    {
        Reading const& big = mBig;
        Reading const& little = mLittle;
        bool const zeros = big.mZeros + little.mZeros > 0;
        if (big.mCommon >= 4 && little.mCommon == 0 && !big.mBad) {
            mIsBig = true;
        } else if (little.mCommon >= 4 && big.mCommon == 0 && !little.mBad) {
            mIsLittle = true;
        } else if (big.mVarying >= 2 && little.mVarying == 0 && !big.mBad) {
            mIsBig = true;
        } else if (little.mVarying >= 2 && big.mVarying == 0 && !little.mBad) {
            mIsLittle = true;
        } else if (zeros && little.mBad && !big.mBad) {
            mIsBig = true;
        } else if (zeros && big.mBad && !little.mBad) {
            mIsLittle = true;
        }
    }

    std::string Judge(std::string const& data)
    {
        bool nul = false;
        for (std::size_t i = 0; i + 1 < data.size(); i += 2) {
            int const a = static_cast<unsigned char>(data[i]);
            int const b = static_cast<unsigned char>(data[i + 1]);
            Take(mBig, a, b);
            Take(mLittle, b, a);
            if (mBig.mConclusive && !mLittle.mConclusive) mIsBig = true;
            if (mLittle.mConclusive && !mBig.mConclusive) mIsLittle = true;
            nul = nul || (a == 0 && b == 0);
        }
        if (!mIsBig && !mIsLittle) Vote();
        bool const refuted = nul || (mBig.mConclusive && mLittle.mConclusive) ||
                             (!mIsBig && !mIsLittle && mBig.mZeros + mLittle.mZeros > 0) ||
                             (mIsBig && mBig.mBad) || (mIsLittle && mLittle.mBad);
        if (refuted) return "not";
        return std::string(mIsBig ? "big " : "") + (mIsLittle ? "little " : "");
    }

    Reading mBig;
    Reading mLittle;
    bool mIsBig = false;
    bool mIsLittle = false;
};

memblock BlockOf(std::string const& bytes)
{
    memblock block;
    block.append(bytes.data(), bytes.size());
    return block;
}

std::string BytesOf(std::u16string const& text)
{
    return {reinterpret_cast<char const*>(text.data()), text.size() * sizeof(char16_t)};
}

}  // namespace

TEST(CharsetSniffing, RefusesTheBytesOfEachColumn)
{
    struct Case
    {
        char const* mWhat;
        Question mQuestion;
        char const* mRefused;
    };

    using C = CCharsetConverter;
    Case const cases[] = {
        {"ISO-8859-1", C::CanConvertFromISO_8859_1, "80-9F"},
        {"ISO-8859-2", C::CanConvertFromISO_8859_2, "80-9F"},
        {"ISO-8859-3", C::CanConvertFromISO_8859_3, "80-9F C3 D0 E3 F0"},
        {"ISO-8859-4", C::CanConvertFromISO_8859_4, "80-9F"},
        {"ISO-8859-5", C::CanConvertFromISO_8859_5, "80-9F"},
        {"ISO-8859-6", C::CanConvertFromISO_8859_6, "80-9F A1-A3 A5-AB AE-BA BC-BE C0 DB-DF F3-FF"},
        {"ISO-8859-7", C::CanConvertFromISO_8859_7, "80-9F AE D2 FF"},
        {"ISO-8859-8", C::CanConvertFromISO_8859_8, "80-9F BF-DE FB FC FF"},
        {"ISO-8859-9", C::CanConvertFromISO_8859_9, "80-9F"},
        {"ISO-8859-10", C::CanConvertFromISO_8859_10, "80-9F"},
        {"ISO-8859-11", C::CanConvertFromISO_8859_11, "80-9F DB-DE FC-FF"},
        {"ISO-8859-13", C::CanConvertFromISO_8859_13, "80-9F"},
        {"ISO-8859-14", C::CanConvertFromISO_8859_14, "80-9F"},
        {"ISO-8859-15", C::CanConvertFromISO_8859_15, "80-9F"},
        {"ISO-8859-16", C::CanConvertFromISO_8859_16, "80-9F"},
        {"CP 1250", C::CanConvertFromCP_1250, "81 83 88 90 98"},
        {"CP 1251", C::CanConvertFromCP_1251, "98"},
        {"CP 1252", C::CanConvertFromCP_1252, "81 8D 8F 90 9D"},
        {"CP 1253", C::CanConvertFromCP_1253, "81 88 8A 8C-90 98 9A 9C-9F AA D2 FF"},
        {"CP 1254", C::CanConvertFromCP_1254, "81 8D-90 9D 9E"},
        {"CP 1255", C::CanConvertFromCP_1255, "81 8A 8C-90 9A 9C-9F D9-DF FB FC FF"},
        {"CP 1256", C::CanConvertFromCP_1256, ""},
        {"CP 1257", C::CanConvertFromCP_1257, "81 83 88 8A 8C 90 98 9A 9C 9F A1 A5"},
        {"CP 1258", C::CanConvertFromCP_1258, "81 8A 8D-90 9A 9D 9E"},
        {"CP 1361", C::CanConvertFromCP_1361, ""},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Refused(c.mQuestion), Listed(ParseBytes(c.mRefused)));
        EXPECT_TRUE(c.mQuestion(nullptr, 0));
        EXPECT_TRUE(c.mQuestion("\x81\x98\xFF", 0));
        EXPECT_TRUE(c.mQuestion("\x81\x98\xFF", -1));
    }
}

// Hosts know these sets, so they stay, though the charsets have no character there.
TEST(CharsetSniffing, KeepsBytesWithoutACharacterAllowed)
{
    EXPECT_TRUE(CCharsetConverter::CanConvertFromISO_8859_3("\xA5\xAE\xBE", 3));
    EXPECT_TRUE(CCharsetConverter::CanConvertFromISO_8859_8("\xA1", 1));
    EXPECT_TRUE(CCharsetConverter::CanConvertFromCP_1255("\xCA", 1));
}

TEST(CharsetSniffing, LooksUpBytesInTheCallersTable)
{
    bool allowed[256] = {};
    EXPECT_TRUE(CCharsetConverter::CanConvertFromCharsetTable("a", 0, allowed));
    EXPECT_TRUE(CCharsetConverter::CanConvertFromCharsetTable(nullptr, -5, allowed));
    EXPECT_FALSE(CCharsetConverter::CanConvertFromCharsetTable("a", 1, allowed));
    allowed[static_cast<std::size_t>('a')] = true;
    EXPECT_TRUE(CCharsetConverter::CanConvertFromCharsetTable("a", 1, allowed));
    std::string text(1000, 'a');
    EXPECT_TRUE(CCharsetConverter::CanConvertFromCharsetTable(text.data(), 1000, allowed));
    text[999] = 'b';
    EXPECT_FALSE(CCharsetConverter::CanConvertFromCharsetTable(text.data(), 1000, allowed));
    EXPECT_TRUE(CCharsetConverter::CanConvertFromCharsetTable(text.data(), 999, allowed));
}

TEST(ByteTests, FindABadByteAtEveryPlaceOfEverySize)
{
    bool allowed[256];
    for (std::size_t byte = 0; byte < 256; ++byte)
        allowed[byte] = byte != 0x98;
    // The text is padded by bad bytes, which nobody may look at.
    int failures = 0;
    for (std::size_t offset = 0; offset < 17; ++offset) {
        for (std::size_t size = 0; size < 132; ++size) {
            std::string bytes(offset, '\x98');
            bytes += std::string(size, '\xE9') + std::string(70, '\x98');
            char* const text = bytes.data() + offset;
            failures += !HoldsNoC1(text, size) + !HoldsOnly(text, size, allowed) +
                        !HoldsOnlyByByte(text, size, allowed) +
                        !HoldsOnlyByHalves(text, size, allowed);
            for (std::size_t place = 0; place < size; ++place) {
                text[place] = '\x98';
                failures += HoldsNoC1(text, size) + HoldsOnly(text, size, allowed) +
                            HoldsOnlyByByte(text, size, allowed) +
                            HoldsOnlyByHalves(text, size, allowed);
                text[place] = '\xE9';
            }
        }
    }
    EXPECT_EQ(failures, 0);
}

TEST(ByteTests, AgreeOnAnySetOfBytes)
{
    if (!CanClassify()) GTEST_SKIP() << "this processor looks at one byte at a time";
    std::srand(20260);
    int differences = 0;
    for (int round = 0; round < 200; ++round) {
        bool allowed[256];
        for (bool& is : allowed)
            is = std::rand() % 16 != 0;
        for (unsigned int byte = 0; byte < 256; ++byte) {
            std::string const text(64, static_cast<char>(byte));
            differences += HoldsOnlyByHalves(text.data(), 64, allowed) !=
                           HoldsOnlyByByte(text.data(), 64, allowed);
        }
    }
    EXPECT_EQ(differences, 0);
}

TEST(CharsetSniffing, HasNoSequenceOfItsOwn)
{
    std::string const data = "\x1B$B";
    for (auto const lang : {CCharsetSelector::kLangNone, CCharsetSelector::kLangJapanese}) {
        EXPECT_EQ(CCharsetConverter::SniffCharset(lang, data), CCharsetSelector::kCharsetNone);
        EXPECT_EQ(CCharsetConverter::SniffCharset(lang, data.size(), data.data()),
                  CCharsetSelector::kCharsetNone);
        EXPECT_EQ(CCharsetConverter::SniffCharset(lang, 1000, nullptr),
                  CCharsetSelector::kCharsetNone);
    }
}

TEST(CharsetSniffing, FindsTheFirstEscapeOfISO2022)
{
    struct Case
    {
        char const* mWhat;
        std::string mData;
        CCharsetSelector::CharsetEnum mExpected;  // none for false
    };

    constexpr auto kNone = CCharsetSelector::kCharsetNone;
    constexpr auto kCN = CCharsetSelector::kISO_2022_CN;
    constexpr auto kJP = CCharsetSelector::kISO_2022_JP;
    constexpr auto kKR = CCharsetSelector::kISO_2022_KR;
    Case const cases[] = {
        {"nothing", "", kNone},
        {"no escape", "$B(B$)C", kNone},
        {"JIS of 1978", "\x1B$@", kJP},
        {"JIS of 1983", "\x1B$B", kJP},
        {"GB 2312", "\x1B$)A", kCN},
        {"CNS 11643, plane 1", "\x1B$)G", kCN},
        {"CNS 11643, plane 2", "\x1B$*H", kCN},
        {"KS C 5601", "\x1B$)C", kKR},
        {"ASCII", "\x1B(B", kJP},
        {"JIS Roman", "\x1B(J", kJP},
        {"JIS katakana", "\x1B(I", kNone},
        {"bit 8 alone", "\x1B(H", kNone},
        {"a lone escape at the end", "text\x1B", kNone},
        {"cut behind the dollar", "\x1B$", kNone},
        {"cut behind the bracket", "\x1B(", kNone},
        {"cut behind the second", "\x1B$)", kNone},
        {"cut behind the star", "\x1B$*", kNone},
        {"a star with another set", "\x1B$*C", kNone},
        {"a bracket with another set", "\x1B$)H", kNone},
        {"below the range", "\x1B$(C", kNone},
        {"above the range", "\x1B$C", kNone},
        {"an unknown one ahead", "\x1B$Z text \x1B(J", kJP},
        {"two escapes in a row", "\x1B\x1B$)C", kKR},
        {"an escape within another", "\x1B$\x1B$B", kJP},
        {"the first one wins", "\x1B(B \x1B$)C", kJP},
        {"the first one wins, Korean", "\x1B$)C \x1B(B", kKR},
        {"behind null bytes", std::string("\0\0\x1B(B", 5), kJP},
        {"in the middle of a long text", std::string(1000, 'x') + "\x1B$B" + std::string(9, 'y'),
         kJP},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        // What stands there must stay where nothing is found.
        auto charset = CCharsetSelector::kKOI8_R;
        EXPECT_EQ(CCharsetConverter::SniffISO2022(c.mData, charset), c.mExpected != kNone);
        EXPECT_EQ(charset, c.mExpected == kNone ? CCharsetSelector::kKOI8_R : c.mExpected);
    }
}

TEST(CharsetSniffing, TellsTheByteOrderOfUTF16)
{
    struct Case
    {
        char const* mWhat;
        std::string mData;
        char const* mExpected;
        char const* mExpectedSwapped;
    };

    using namespace std::string_literals;
    Case const cases[] = {
        {"nothing", "", "", ""},
        {"ASCII without a zero", "Hello, world", "", ""},
        {"no zeros, a surrogate without a partner", "\xD8\x41\x41\x41", "", ""},
        {"letters that differ", BigEndian(u"hello"), "big ", "little "},
        {"letters that differ once", BigEndian(u"ab"), "not", "not"},
        {"letters that differ twice", BigEndian(u"aba"), "big ", "little "},
        {"letters that are the same", BigEndian(u"aaaaaaaa"), "not", "not"},
        {"a run that ends", BigEndian(u"a\u4E00b\u4E00c"), "not", "not"},
        {"four line feeds", BigEndian(u"\n\n\n\n"), "big ", "little "},
        {"one line feed", BigEndian(u"\n"), "big ", "little "},
        {"the last unit is conclusive", BigEndian(u"\u3042\u3044\u3046\n"), "big ", "little "},
        {"four blanks", BigEndian(u"    "), "big ", "little "},
        {"three blanks", BigEndian(u"   "), "not", "not"},
        {"blanks between ideographs", BigEndian(u" \u4E00 \u4E00 \u4E00 "), "big ", "little "},
        {"four blanks, one swapped", BigEndian(u"    ") + Swapped(BigEndian(u" ")), "not", "not"},
        {"letters, two swapped that differ", BigEndian(u"aba") + Swapped(BigEndian(u"ab")), "not",
         "not"},
        {"conclusive both ways", BigEndian(u"\n") + Swapped(BigEndian(u"\n")), "not", "not"},
        {"conclusive, then a bad sign", BigEndian(u"\n\uE041"), "not", "not"},
        {"a bad sign, then conclusive", BigEndian(u"\uE041\n"), "not", "not"},
        {"the last of what is private", BigEndian(u"\n\uF841"), "not", "not"},
        {"just below the surrogates", BigEndian(u"\n\uD741"), "big ", "little "},
        {"conclusive outweighs what is common", BigEndian(u"1") + Swapped(BigEndian(u"      ")),
         "big ", "little "},
        {"common outweighs what varies", BigEndian(u"    ") + Swapped(BigEndian(u"abc")), "big ",
         "little "},
        {"common, but bad", BigEndian(u"    \uE041"), "little ", "big "},
        {"common, but both are bad", BigEndian(u"    \uE0E0"), "not", "not"},
        {"varying, but bad", BigEndian(u"abc\uF841"), "little ", "big "},
        {"varying, but both are bad", BigEndian(u"abc\uF8F8"), "not", "not"},
        {"the other order is bad", BigEndian(u"a\u41E0"), "big ", "little "},
        {"both orders are bad", BigEndian(u"a\uE0E0"), "not", "not"},
        {"neither is bad", BigEndian(u"a\u4141"), "not", "not"},
        {"a pair of surrogates", BigEndian(u"\n\U0001F600"), "big ", "little "},
        {"a high surrogate at the end", BigEndian(u"\n") + "\xD8\x3D", "big ", "little "},
        {"a high surrogate, then a letter", BigEndian(u"\n") + "\xD8\x3D" + BigEndian(u"a"), "not",
         "not"},
        {"two high surrogates", BigEndian(u"\n") + "\xD8\x3D\xD8\x3D", "not", "not"},
        {"a low surrogate alone", BigEndian(u"\n") + "\xDE\x01", "not", "not"},
        {"a low surrogate after a letter", BigEndian(u"\na") + "\xDC\x01", "not", "not"},
        {"just above what is private", BigEndian(u"\n\uF900"), "big ", "little "},
        {"a null character at the start", "\0\0"s + BigEndian(u"\n\n\n"), "not", "not"},
        {"a null character at the end", BigEndian(u"hello\n") + "\0\0"s, "not", "not"},
        {"zeros that straddle two units", "\x4E\0\0\x4E"s, "not", "not"},
        {"one zero in plain text", "some text\0 and more "s, "not", "not"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(UTF16Verdict(c.mData).Told(), c.mExpected);
        EXPECT_EQ(UTF16Verdict(Swapped(c.mData)).Told(), c.mExpectedSwapped);
        EXPECT_EQ(CNaiveUTF16::Told(c.mData), c.mExpected);
        // An odd byte at the end says nothing, not even a zero.
        EXPECT_EQ(UTF16Verdict(c.mData + "\0"s).Told(), c.mExpected);
        EXPECT_EQ(UTF16Verdict(c.mData + "\xFF"s).Told(), c.mExpected);
    }
}

TEST(CharsetSniffing, HasNoOpinionOnUTF16OfNoUnit)
{
    EXPECT_EQ(UTF16Verdict(nullptr, 0).Told(), "");
    EXPECT_EQ(UTF16Verdict("", 1).Told(), "");
    EXPECT_EQ(UTF16Verdict("\n", -2).Told(), "");
}

TEST(CharsetSniffing, WeighsEveryByteOfUTF16)
{
    std::string differences;
    for (unsigned int byte = 1; byte < 256; ++byte) {
        std::string const unit{'\0', static_cast<char>(byte)};
        for (int const count : {1, 3, 4}) {
            std::string data;
            for (int i = 0; i < count; ++i)
                data += unit;
            if (UTF16Verdict(data).Told() != CNaiveUTF16::Told(data) ||
                UTF16Verdict(Swapped(data)).Told() != CNaiveUTF16::Told(Swapped(data))) {
                differences += std::to_string(byte) + " ";
            }
        }
    }
    EXPECT_EQ(differences, "");
}

TEST(CharsetSniffing, TellsTheByteOrderOfAnyBytesAsTheRuleDoes)
{
    // Bytes on both sides of every edge.
    constexpr unsigned char kBytes[] = {0x00, 0x00, 0x00, 0x09, 0x0A, 0x20, 0x30,
                                        0x31, 0x41, 0x42, 0xAB, 0xAC, 0xD7, 0xD8,
                                        0xDB, 0xDC, 0xDF, 0xE0, 0xF8, 0xF9, 0xFF};
    std::srand(3070);
    int differences = 0;
    for (int round = 0; round < 30000; ++round) {
        std::string data;
        for (int count = std::rand() % 14; count > 0; --count)
            data += static_cast<char>(kBytes[static_cast<std::size_t>(std::rand()) % 21]);
        differences += UTF16Verdict(data).Told() != CNaiveUTF16::Told(data);
    }
    EXPECT_EQ(differences, 0);
}

TEST(CharsetSniffing, TellsWhatFitsInOneByte)
{
    struct Case
    {
        char const* mWhat;
        std::u16string mText;
        bool mIsASCII;
        bool mIsLatin1;
    };

    std::u16string const longText(100, u'x');
    Case const cases[] = {
        {"nothing", u"", true, true},
        {"a null", std::u16string(1, u'\0'), true, true},
        {"the last of ASCII", u"\x7F", true, true},
        {"the first beyond ASCII", u"\x80", false, true},
        {"the last of Latin-1", u"\xFF", false, true},
        {"the first beyond Latin-1", u"\x100", false, false},
        {"a low byte of ASCII", u"\u4141", false, false},
        {"the highest unit", u"\xFFFF", false, false},
        {"a surrogate pair", u"\U0001F600", false, false},
        {"long", longText, true, true},
        {"long, beyond ASCII at the start", u"é" + longText, false, true},
        {"long, beyond ASCII at the end", longText + u"é", false, true},
        {"long, beyond Latin-1 in the middle", longText + u"Ł" + longText, false, false},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::string const bytes = BytesOf(c.mText);
        EXPECT_EQ(CCharsetConverter::CanConvertLosslesslyToUSASCII(c.mText), c.mIsASCII);
        EXPECT_EQ(CCharsetConverter::CanConvertLosslesslyToUSASCII(BlockOf(bytes)), c.mIsASCII);
        EXPECT_EQ(CCharsetConverter::CanConvertLosslesslyToISO_8859_1(c.mText), c.mIsLatin1);
        EXPECT_EQ(CCharsetConverter::CanConvertLosslesslyToISO_8859_1(BlockOf(bytes)), c.mIsLatin1);
        // An odd last byte is no unit.
        EXPECT_EQ(CCharsetConverter::CanConvertLosslesslyToUSASCII(BlockOf(bytes + "\xFF")),
                  c.mIsASCII);
        EXPECT_EQ(CCharsetConverter::CanConvertLosslesslyToISO_8859_1(BlockOf(bytes + "\xFF")),
                  c.mIsLatin1);
    }
}

TEST(ByteTests, FindABitAtEveryPlaceOfEveryCount)
{
    int failures = 0;
    for (std::size_t offset = 0; offset < 5; ++offset) {
        for (std::size_t count = 0; count < 100; ++count) {
            std::string bytes(offset + 2 * count + 70, '\xFF');
            char* const text = bytes.data() + offset;
            std::fill(text, text + 2 * count, '\0');
            failures += !HoldsNoBits(text, count, 0xFF80);
            for (std::size_t place = 0; place < count; ++place) {
                char16_t unit = 0x0100;
                std::memcpy(text + 2 * place, &unit, sizeof unit);
                failures += HoldsNoBits(text, count, 0xFF80);
                unit = 0x007F;
                std::memcpy(text + 2 * place, &unit, sizeof unit);
                failures += !HoldsNoBits(text, count, 0xFF80);
            }
        }
    }
    EXPECT_EQ(failures, 0);
}
