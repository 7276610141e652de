#include "text/CCharsetConverter.h"

#include "foundation/FailureDomains.h"
#include "testing/FailureOf.h"
#include "testing/OtherThread.h"
#include "testing/ScriptedCharsetPlatform.h"
#include "text/CCharsetConverterImp.h"
#include "text/CISO_8859_15Converter.h"
#include "text/CISO_8859_1Converter.h"
#include "text/CMacRomanConverter.h"
#include "text/CWindows1252Converter.h"
#include "text/tables/SingleByteTables.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

typedef CCharsetSelector Charsets;
typedef Charsets::CharsetEnum CharsetEnum;

Failure CharsetFailure(int category, int context)
{
    return {kCharsetDomain, category, context, 0};
}

std::u16string Decode(CCharsetConverter const& converter, std::string const& bytes)
{
    std::u16string text = u"before";
    converter.mImp->ToUnicode(bytes, &text);
    return text;
}

std::string Encode(CCharsetConverter const& converter, std::u16string const& text)
{
    std::string bytes = "before";
    converter.mImp->FromUnicode(text, &bytes);
    return bytes;
}

// By way of a buffer of `capacity` bytes; what stands in it as far as it was written.
std::u16string
DecodeToBuffer(CCharsetConverter const& converter, std::string const& bytes, unsigned long capacity)
{
    std::u16string text(capacity / 2 + 1, u'~');
    unsigned long written = 4711;
    converter.mImp->ToUnicode(bytes.size(), bytes.data(), capacity, &written, text.data());
    EXPECT_EQ(text[capacity / 2], u'~');
    EXPECT_EQ(written % 2, 0U);
    return text.substr(0, written / 2);
}

std::string EncodeToBuffer(CCharsetConverter const& converter,
                           std::u16string const& text,
                           unsigned long capacity,
                           unsigned long room)
{
    std::string bytes(room + 1, '~');
    unsigned long written = 4711;
    converter.mImp->FromUnicode(text.size() * 2, text.data(), capacity, &written, bytes.data());
    EXPECT_EQ(bytes[room], '~');
    return bytes.substr(0, written);
}

// Bytes from `first` to 0xFF.
std::string BytesFrom(unsigned int first)
{
    std::string bytes;
    for (unsigned int byte = first; byte < 0x100; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

// What a table says of a text, a byte at a time.
std::u16string LookUp(UnitsOfBytes const& units, std::string const& bytes)
{
    std::u16string text;
    for (char const byte : bytes)
        text += units[static_cast<unsigned char>(byte)];
    return text;
}

// The same the other way round, by a search: the first byte from 0x80 on that has the unit.
std::string LookBack(UnitsOfBytes const& units, std::u16string const& text)
{
    std::string bytes;
    for (char16_t const unit : text) {
        char found = unit < 0x80 ? static_cast<char>(unit) : '?';
        for (unsigned int byte = 0xFF; unit >= 0x80 && byte >= 0x80; --byte) {
            if (units[byte] == unit) found = static_cast<char>(byte);
        }
        bytes += found;
    }
    return bytes;
}

std::u16string AllUnits()
{
    std::u16string text(0x10000, 0);
    for (std::size_t unit = 0; unit < text.size(); ++unit)
        text[unit] = static_cast<char16_t>(unit);
    return text;
}

}  // namespace

// --- Names ---

TEST(CCharsetConverter, FindsTheCharsetsThatItConverts)
{
    struct
    {
        char const* mName;
        CharsetEnum mCharset;
    } const cases[] = {
        {"utf8", Charsets::kUTF_8},
        {"UTF-8", Charsets::kUTF_8},
        {"Iso-8859-1", Charsets::kISO_8859_1},
        {"latin1", Charsets::kISO_8859_1},
        {"ISO-8859-15", Charsets::kISO_8859_15},
        {"windows-1252", Charsets::kCP1252},
        {"cp1252", Charsets::kCP1252},
        {"mac", Charsets::kMac_roman},
        {"Macintosh", Charsets::kMac_roman},
        {"x-mac-roman", Charsets::kMac_roman},
        {"ascii", Charsets::kUS_ASCII},
        {"us-ascii", Charsets::kUS_ASCII},
        {"USASCII", Charsets::kUS_ASCII},
        {"UNICODE-1-1-UTF-8", Charsets::kUTF_8},
    };

    CCharsetConverter const converter;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        EXPECT_EQ(converter.GetCharsetFromInetName(c.mName, false), c.mCharset);
    }
}

TEST(CCharsetConverter, AnswersTheDefaultForOtherNames)
{
    char const* const names[] = {
        "EUC-JP",    "UTF-16",     "UTF-7",       "UNICODE-1-1", "UNICODE-1-1-UTF-7",
        "latin5",    "ISO-8859-9", "ISO-8859-99", " UTF-8",      "UTF-8 ",
        "utf-8x",    "zzz",        "1",           "x-mac-greek", "\xC3\xBC",
        "iso8859-1", "koi8-r",     "x-sjis",      "_iso-8859-1", "UNICODE-1-1-UTF",
    };
    CCharsetConverter const converter;
    for (char const* const name : names) {
        SCOPED_TRACE(name);
        // Not in the cache yet in either case: the names differ.
        std::string const other = std::string(name) + "\t";
        EXPECT_EQ(converter.GetCharsetFromInetName(name, true), Charsets::kUS_ASCII);
        EXPECT_EQ(converter.GetCharsetFromInetName(other, false), Charsets::kCharsetNone);
    }
    EXPECT_EQ(converter.GetCharsetFromInetName("Euc-Jp", false), Charsets::kCharsetNone);
    EXPECT_EQ(converter.GetCharsetFromInetName(std::string("UTF-8\0", 6), false),
              Charsets::kCharsetNone);
}

TEST(CCharsetConverter, KeepsTheFirstAnswerForAName)
{
    CCharsetConverter const converter;
    EXPECT_EQ(converter.GetCharsetFromInetName("no-such-charset", true), Charsets::kUS_ASCII);
    EXPECT_EQ(converter.GetCharsetFromInetName("no-such-charset", false), Charsets::kUS_ASCII);
    EXPECT_EQ(converter.GetCharsetFromInetName("NO-such-charset", false), Charsets::kCharsetNone);
    EXPECT_EQ(converter.GetCharsetFromInetName("NO-such-charset", true), Charsets::kCharsetNone);
    EXPECT_EQ(converter.GetCharsetFromInetName("", true), Charsets::kUS_ASCII);
    EXPECT_EQ(converter.GetCharsetFromInetName("", false), Charsets::kUS_ASCII);
}

TEST(CCharsetConverter, KeepsTheUkrainianNameUnknown)
{
    CCharsetConverter const converter;
    EXPECT_EQ(converter.GetCharsetFromInetName("x-mac-ukrainian", true), Charsets::kUS_ASCII);
    EXPECT_EQ(converter.GetCharsetFromInetName("x-MAC-UKRAINIAN", true), Charsets::kUS_ASCII);
}

TEST(CCharsetConverter, FindsNamesOnAllThreads)
{
    CCharsetConverter const converter;
    auto const findAll = [&] {
        for (int i = 0; i < 200; ++i) {
            std::string const name = "thread-" + std::to_string(i);
            EXPECT_EQ(converter.GetCharsetFromInetName(name, true), Charsets::kUS_ASCII);
            EXPECT_EQ(converter.GetCharsetFromInetName("utf-8", true), Charsets::kUTF_8);
        }
    };
    std::thread first(findAll);
    std::thread second(findAll);
    first.join();
    second.join();
}

// --- Conversion by number ---

TEST(CCharsetConverter, RefusesWithoutACharset)
{
    for (unsigned int number = 0; number < 70; ++number) {
        SCOPED_TRACE(number);
        auto const charset = static_cast<CharsetEnum>(number);
        CCharsetConverter const converter(charset);
        bool const isSupported = converter.mImp->IsCharsetSupportedForDecoding(charset);
        EXPECT_EQ(isSupported, converter.mImp->IsCharsetSupportedForEncoding(charset));
        bool const isOne = charset == Charsets::kUTF_8 || charset == Charsets::kUS_ASCII ||
                           charset == Charsets::kISO_8859_1 || charset == Charsets::kCP1252 ||
                           charset == Charsets::kMac_roman || charset == Charsets::kISO_8859_15;
        EXPECT_EQ(isSupported, isOne);

        Failure const toUnicode =
            isOne ? Failure() : CharsetFailure(kCharsetNotSupported, kCharsetToUnicode);
        Failure const fromUnicode =
            isOne ? Failure() : CharsetFailure(kCharsetNotSupported, kCharsetFromUnicode);
        EXPECT_EQ(FailureOf([&] { Decode(converter, "a"); }), toUnicode);
        EXPECT_EQ(FailureOf([&] { DecodeToBuffer(converter, "a", 2); }), toUnicode);
        EXPECT_EQ(FailureOf([&] { Encode(converter, u"a"); }), fromUnicode);
        EXPECT_EQ(FailureOf([&] { EncodeToBuffer(converter, u"a", 1, 1); }), fromUnicode);
    }
    CCharsetConverter const none;
    EXPECT_EQ(FailureOf([&] { Decode(none, ""); }),
              CharsetFailure(kCharsetNotSupported, kCharsetToUnicode));
}

TEST(CCharsetConverter, ConvertsUTF8)
{
    CCharsetConverter const converter(Charsets::kUTF_8);
    EXPECT_EQ(Decode(converter, "gr\xC3\xBC\xC3\x9F \xF0\x9F\x99\x82"),
              u"gr\u00FC\u00DF \U0001F642");
    EXPECT_EQ(Encode(converter, u"gr\u00FC\u00DF \U0001F642"),
              "gr\xC3\xBC\xC3\x9F \xF0\x9F\x99\x82");
    EXPECT_EQ(Decode(converter, ""), u"");
    EXPECT_EQ(Encode(converter, u""), "");
    EXPECT_EQ(DecodeToBuffer(converter, "", 0), u"");
    EXPECT_EQ(EncodeToBuffer(converter, u"", 0, 0), "");
    // Malformed bytes leave nothing; a lone surrogate is replaced.
    EXPECT_EQ(Decode(converter, "ab\xFF"), u"");
    EXPECT_EQ(DecodeToBuffer(converter, "ab\xFF", 6), u"");
    EXPECT_EQ(Encode(converter, std::u16string(u"a\xD800") + u"z"), "a\xEF\xBF\xBDz");
}

TEST(CCharsetConverter, KeepsCuttingUTF8ToTheBuffer)
{
    CCharsetConverter const converter(Charsets::kUTF_8);
    for (unsigned long capacity = 0; capacity <= 8; ++capacity) {
        SCOPED_TRACE(capacity);
        EXPECT_EQ(DecodeToBuffer(converter, "abc", capacity),
                  std::u16string(u"abc").substr(0, capacity / 2));
        EXPECT_EQ(EncodeToBuffer(converter, u"a\u20AC", capacity, capacity),
                  std::string("a\xE2\x82\xAC").substr(0, capacity));
    }
}

TEST(CCharsetConverter, KeepsTheSignInBuffersOfLatin1)
{
    for (CharsetEnum const charset : {Charsets::kISO_8859_1, Charsets::kUS_ASCII}) {
        SCOPED_TRACE(charset);
        CCharsetConverter const converter(charset);
        for (std::size_t length = 0; length < 40; ++length) {
            std::string bytes(length, '\xE9');
            for (std::size_t i = 0; i < length; i += 3)
                bytes[i] = 'a';
            std::u16string inString;
            std::u16string inBuffer;
            for (char const byte : bytes) {
                inString += byte == 'a' ? u'a' : u'\u00E9';
                inBuffer += byte == 'a' ? u'a' : u'\xFFE9';
            }
            EXPECT_EQ(Decode(converter, bytes), inString);
            EXPECT_EQ(DecodeToBuffer(converter, bytes, length * 2), inBuffer);
        }
        std::string const all = BytesFrom(0);
        std::u16string const text = Decode(converter, all);
        std::u16string const inBuffer = DecodeToBuffer(converter, all, 512);
        for (std::size_t byte = 0; byte < 256; ++byte) {
            ASSERT_EQ(text[byte], byte);
            ASSERT_EQ(inBuffer[byte], byte < 0x80 ? byte : 0xFF00 + byte);
        }
    }
}

TEST(CCharsetConverter, KeepsTheLowByteForLatin1)
{
    CCharsetConverter const converter(Charsets::kISO_8859_1);
    EXPECT_EQ(Encode(converter, u"\u0141\u00E9\u20AC"), "\x41\xE9\xAC");
    std::u16string const units = AllUnits();
    std::string expected;
    for (char16_t const unit : units)
        expected += static_cast<char>(unit & 0xFF);
    EXPECT_EQ(Encode(converter, units), expected);
    EXPECT_EQ(EncodeToBuffer(converter, units, units.size(), units.size()), expected);
}

TEST(CCharsetConverter, LooksUpTheOtherCharsetsInBothDirections)
{
    struct
    {
        char const* mWhat;
        CharsetEnum mCharset;
        UnitsOfBytes const& mUnits;
    } const cases[] = {
        {"ISO 8859-15", Charsets::kISO_8859_15, cISO_8859_15ToUTF16},
        {"Windows 1252", Charsets::kCP1252, cWindows1252ToUTF16},
        {"Mac OS Roman", Charsets::kMac_roman, cMacRomanToUTF16},
    };

    std::u16string const units = AllUnits();
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CCharsetConverter const converter(c.mCharset);
        EXPECT_EQ(Encode(converter, units), LookBack(c.mUnits, units));
        // Every length and offset, with ASCII in front and behind.
        std::string const bytes = std::string(20, 'x') + BytesFrom(0x70) + std::string(20, 'y');
        std::u16string const text = LookUp(c.mUnits, bytes);
        bool isSame = true;
        for (std::size_t start = 0; start < 40; ++start) {
            for (std::size_t length = 0; length < 60; ++length) {
                std::string const part = bytes.substr(start, length);
                std::u16string const partText = text.substr(start, length);
                isSame =
                    isSame && Decode(converter, part) == partText &&
                    DecodeToBuffer(converter, part, length * 2) == partText &&
                    Encode(converter, partText) == LookBack(c.mUnits, partText) &&
                    EncodeToBuffer(converter, partText, 0, length) == LookBack(c.mUnits, partText);
            }
        }
        EXPECT_TRUE(isSame);
        // Longer than what goes through in one piece.
        std::string longBytes;
        for (int i = 0; i < 50; ++i)
            longBytes += bytes;
        EXPECT_EQ(Decode(converter, longBytes), LookUp(c.mUnits, longBytes));
        EXPECT_EQ(Encode(converter, LookUp(c.mUnits, longBytes)),
                  LookBack(c.mUnits, LookUp(c.mUnits, longBytes)));
    }
}

TEST(CCharsetConverter, KeepsTheOddCharactersOfItsTables)
{
    CCharsetConverter const latin9(Charsets::kISO_8859_15);
    EXPECT_EQ(Decode(latin9, "\xA4\x80\x9F\xA6\xA8\xB4\xB8\xBC\xBD\xBE"),
              u"\u20AC  \u0160\u0161\u017D\u017E\u0152\u0153\u0178");
    EXPECT_EQ(Encode(latin9, u"\u20AC\u0080\u00A4 "), "\xA4?? ");

    CCharsetConverter const windows(Charsets::kCP1252);
    EXPECT_EQ(Decode(windows, "\x81\x8D\x8F\x90\x9D\x80"), u"     \u20AC");
    EXPECT_EQ(Encode(windows, u"\u20AC\u0141\u0081\u0080 "), "\x80??? ");

    CCharsetConverter const mac(Charsets::kMac_roman);
    EXPECT_EQ(Decode(mac, "\xDB\xF0\xBD"), u"\u00A4\uF8FF\u03A9");
    EXPECT_EQ(Encode(mac, u"\u20AC\u00A4\u0080"), "?\xDB?");
}

TEST(CCharsetConverter, ConvertsSingleUnits)
{
    CISO_8859_15Converter const latin9;
    CWindows1252Converter const windows;
    CMacRomanConverter const mac;
    std::u16string const units = AllUnits();
    std::string fromLatin9;
    std::string fromWindows;
    std::string fromMac;
    for (char16_t const unit : units) {
        fromLatin9 += latin9.UTF16ToISO_8859_15(unit);
        fromWindows += windows.UTF16ToWindows1252(unit);
        fromMac += mac.UTF16ToMacRoman(unit);
    }
    EXPECT_EQ(fromLatin9, LookBack(cISO_8859_15ToUTF16, units));
    EXPECT_EQ(fromWindows, LookBack(cWindows1252ToUTF16, units));
    EXPECT_EQ(fromMac, LookBack(cMacRomanToUTF16, units));
}

TEST(CCharsetConverter, RefusesTooSmallABufferForSingleByteText)
{
    for (CharsetEnum const charset :
         {Charsets::kUS_ASCII, Charsets::kISO_8859_1, Charsets::kISO_8859_15, Charsets::kCP1252,
          Charsets::kMac_roman}) {
        SCOPED_TRACE(charset);
        CCharsetConverter const converter(charset);
        for (unsigned long capacity = 0; capacity < 6; ++capacity) {
            EXPECT_EQ(FailureOf([&] { DecodeToBuffer(converter, "abc", capacity); }),
                      CharsetFailure(kCharsetBufferTooSmall, kCharsetToUnicode));
        }
        EXPECT_EQ(DecodeToBuffer(converter, "abc", 6), u"abc");
        EXPECT_EQ(DecodeToBuffer(converter, "", 0), u"");
        EXPECT_EQ(EncodeToBuffer(converter, u"", 0, 0), "");
    }
}

TEST(CCharsetConverter, KeepsIgnoringTheCapacityForSingleByteText)
{
    CCharsetConverter const converter(Charsets::kCP1252);
    EXPECT_EQ(EncodeToBuffer(converter, u"abc\u20AC", 1, 4), "abc\x80");
}

TEST(CCharsetConverter, IgnoresAnOddByteOfUnicode)
{
    for (CharsetEnum const charset : {Charsets::kUTF_8, Charsets::kISO_8859_1}) {
        CCharsetConverter const converter(charset);
        char16_t const text[] = u"abc";
        char bytes[] = "~~~~";
        unsigned long written = 0;
        converter.mImp->FromUnicode(5, text, 4, &written, bytes);
        EXPECT_EQ(written, 2U);
        EXPECT_STREQ(bytes, "ab~~");
    }
}

// --- What all converters do alike ---

TEST(CCharsetConverter, ConvertsToThePlatformsCharset)
{
    CCharsetConverter const converter;
    EXPECT_EQ(converter.mImp->GetPlatformCharset(), Charsets::kMac_roman);
    CBasicCharsetConverter::LangRunStruct run;
    run.start = 1;
    run.length = 2;
    run.lang = Charsets::kLangGreek;
    std::u16string const text = u"\u00C4b\u20AC";
    char bytes[] = "~~~~";
    unsigned long consumed = 0;
    unsigned long written = 4711;
    converter.mImp->UnicodeToPatform(7, text.data(), 0, &consumed, bytes, &written, &run);
    EXPECT_STREQ(bytes, "\x80"
                        "b?~");
    EXPECT_EQ(consumed, 3U);
    EXPECT_EQ(written, 4711U);
    EXPECT_EQ(run.start, 0U);
    EXPECT_EQ(run.length, 0U);
    EXPECT_EQ(run.lang, Charsets::kLangNone);
    converter.mImp->UnicodeToPatform(2, u"x", 0, &consumed, bytes, &written, nullptr);
    EXPECT_STREQ(bytes, "xb?~");

    std::string string = "before";
    converter.mImp->UnicodeToPatform(text, &string);
    EXPECT_EQ(string, "\x80"
                      "b?");
}

TEST(CCharsetConverter, TellsLatinFromASCII)
{
    CCharsetConverter const converter;

    struct
    {
        std::u16string mText;
        unsigned long mSize;
        Charsets::LangEnum mLang;
    } const cases[] = {
        {u"abc", 6, Charsets::kLangNone},         {u"\u00E9", 1, Charsets::kLangNone},
        {u"\u00E9", 2, Charsets::kLangWestern},   {u"\u00E9", 0, Charsets::kLangNone},
        {u"ab\u0080", 6, Charsets::kLangWestern}, {u"ab\u0080", 5, Charsets::kLangNone},
        {u"\u007F", 2, Charsets::kLangNone},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mSize);
        EXPECT_EQ(converter.mImp->GetLangFromUnicode(c.mSize, c.mText.data(), Charsets::kLangGreek),
                  c.mLang);
    }
    EXPECT_EQ(converter.mImp->GetLangFromUnicode(u"\u00E9", Charsets::kLangNone),
              Charsets::kLangWestern);
    EXPECT_EQ(converter.mImp->GetLangFromUnicode(u"abc", Charsets::kLangGreek),
              Charsets::kLangNone);
}

TEST(CCharsetConverter, KeepsDoingNothingInItsPlaceholders)
{
    CCharsetConverter const converter;
    unsigned long result = 0;
    converter.mImp->TruncateUnicodeText(4, u"\U0001F642", 3, &result);
    EXPECT_EQ(result, 3U);
    converter.mImp->TruncateUnicodeText(u"a", 1000, &result);
    EXPECT_EQ(result, 1000U);

    char target[] = "~~";
    unsigned long written = 4711;
    converter.mImp->ToCharset(1, "a", 2, &written, target, Charsets::kUTF_8);
    EXPECT_EQ(written, 0U);
    EXPECT_STREQ(target, "~~");

    CCharsetConverterImp(Charsets::kUTF_8).SetPreferedLang(Charsets::kLangGreek);
}

// --- Conversion by name ---

TEST(CCharsetConverter, LeavesAnUnknownNameToTheNumber)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter(Charsets::kCP1252);
    EXPECT_TRUE(converter.SetCharset("no-such-name"));
    EXPECT_EQ(Decode(converter, "\x80"), u"\u20AC");
    EXPECT_EQ(DecodeToBuffer(converter, "\x80", 2), u"\u20AC");
    EXPECT_EQ(Encode(converter, u"\u20AC"), "\x80");
    EXPECT_EQ(EncodeToBuffer(converter, u"\u20AC", 1, 1), "\x80");
    // From a known name back to an unknown one.
    EXPECT_TRUE(converter.SetCharset("known"));
    EXPECT_EQ(Decode(converter, "\x80"), u"\u0080");
    EXPECT_TRUE(converter.SetCharset(""));
    EXPECT_EQ(Decode(converter, "\x80"), u"\u20AC");
    EXPECT_EQ(platform.mNames, (std::vector<std::string>{"no-such-name", "known", ""}));
}

TEST(CCharsetConverter, ForgetsTheNameWithTheNumber)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter;
    converter.SetCharset("known");
    EXPECT_EQ(Decode(converter, "a"), u"a");
    converter.CreateConverter();
    EXPECT_EQ(FailureOf([&] { Decode(converter, "a"); }),
              CharsetFailure(kCharsetNotSupported, kCharsetToUnicode));
    converter.SetCharset("known");
    converter.SetCharset(Charsets::kCP1252);
    EXPECT_EQ(Decode(converter, "\x80"), u"\u20AC");
    converter.CreateConverter();
    EXPECT_EQ(Decode(converter, "\x80"), u"\u20AC");
}

TEST(CCharsetConverter, TestsTheBytesOfABufferByTheEncoding)
{
    struct
    {
        unsigned int mEncoding;
        char const* mAllowed;
        char const* mRefused;  // null where nothing is
    } const cases[] = {
        {512, "\x85", nullptr},  {513, "\xA0", "\x85"},   {514, "\xC3", "\x85"},
        {515, "\xA5", "\xC3"},   {516, "\xC3", "\x85"},   {517, "\xC3", "\x85"},
        {518, "\xC1", "\xC0"},   {519, "\xA0", "\xAE"},   {520, "\xE0", "\xBF"},
        {521, "\xC3", "\x85"},   {522, "\xC3", "\x85"},   {523, "\xA1", "\xDB"},
        {524, "\x85", nullptr},  {525, "\xC3", "\x85"},   {526, "\xC3", "\x85"},
        {527, "\xC3", "\x85"},   {528, "\xC3", "\x85"},   {529, "\x85", nullptr},
        {1279, "\x81", nullptr}, {1280, "\x80", "\x9D"},  {1281, "\x8D", "\x98"},
        {1282, "\x81", "\x98"},  {1283, "\x80", "\xAA"},  {1284, "\x8C", "\x9E"},
        {1285, "\x98", "\xD9"},  {1286, "\x81", nullptr}, {1287, "\x80", "\xA1"},
        {1288, "\x8C", "\x9D"},  {1289, "\x81", nullptr}, {1295, "\x81", nullptr},
        {1296, "\x81", nullptr}, {1297, "\x81", nullptr}, {0, "\x81", nullptr},
    };

    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mEncoding);
        platform.mEncoding = c.mEncoding;
        CCharsetConverter converter;
        converter.SetCharset("known");
        EXPECT_EQ(DecodeToBuffer(converter, c.mAllowed, 2).size(), 1U);
        if (!c.mRefused) continue;
        platform.mDecodings.clear();
        EXPECT_EQ(FailureOf([&] { DecodeToBuffer(converter, c.mRefused, 2); }),
                  CharsetFailure(kCharsetNotSupported, kCharsetToUnicode));
        EXPECT_TRUE(platform.mDecodings.empty());
        EXPECT_EQ(Decode(converter, c.mRefused).size(), 1U);
        EXPECT_EQ(platform.mDecodings, std::vector<unsigned int>{c.mEncoding});
    }
}

TEST(CCharsetConverter, ReportsWhatThePlatformRefuses)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter;
    converter.SetCharset("known");
    Failure const toUnicode = CharsetFailure(kCharsetNotSupported, kCharsetToUnicode);
    EXPECT_EQ(FailureOf([&] { Decode(converter, "a!"); }), toUnicode);
    EXPECT_EQ(FailureOf([&] { DecodeToBuffer(converter, "a!", 2); }), toUnicode);
    std::u16string text = u"before";
    EXPECT_THROW(converter.mImp->ToUnicode("a!", &text), HierarchicalException);
    EXPECT_EQ(text, u"");

    std::u16string const refused(1, ScriptedCharsetPlatform::kRefusedUnit);
    Failure const fromUnicode = CharsetFailure(kCharsetNotSupported, kCharsetFromUnicode);
    EXPECT_EQ(FailureOf([&] { Encode(converter, refused); }), fromUnicode);
    EXPECT_EQ(FailureOf([&] { EncodeToBuffer(converter, refused, 8, 8); }), fromUnicode);
}

TEST(CCharsetConverter, MakesRoomForMoreUnitsThanBytes)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter;
    converter.SetCharset("known");
    EXPECT_EQ(Decode(converter, "a"), u"a");
    EXPECT_EQ(Decode(converter, "332a"), u"33333322a");
    EXPECT_EQ(Decode(converter, ""), u"");
    EXPECT_EQ(DecodeToBuffer(converter, "33", 12), u"333333");
    EXPECT_EQ(FailureOf([&] { DecodeToBuffer(converter, "33", 11); }),
              CharsetFailure(kCharsetBufferTooSmall, kCharsetToUnicode));
}

TEST(CCharsetConverter, EncodesInRoundsOfGrowingRoom)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter;
    converter.SetCharset("known");
    typedef std::vector<std::size_t> Rooms;

    struct
    {
        char const* mWhat;
        std::u16string mText;
        std::string mBytes;
        Rooms mRooms;
    } const cases[] = {
        {"nothing", u"", "", {}},
        {"one round", u"abc", "abc", {3}},
        {"several rounds",
         std::u16string(u"\x4444") + u"bcd" + u"\x4444",
         "DDDDbcdDDDD",
         {5, 5, 5}},
        {"one long unit", u"\x4444", "DDDD", {1, 2, 4}},
        {"long ones only", u"\x4444\x4444", "DDDDDDDD", {2, 4, 2, 4}},
        {"stuck at the head", u"\xD800", "", {1, 2, 4, 8, 16, 32, 64}},
        {"stuck behind text", std::u16string(u"ab\xD800") + u"z", "ab", {4, 4, 8, 16, 32, 64}},
        {"stuck in front of more",
         std::u16string(u"\xD800") + u" and more",
         "",
         {10, 20, 40, 80, 64}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        platform.mRooms.clear();
        EXPECT_EQ(Encode(converter, c.mText), c.mBytes);
        EXPECT_EQ(platform.mRooms, c.mRooms);
    }
}

TEST(CCharsetConverter, MakesRoomForATextThatIsEncodedWholeOnly)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter;
    converter.SetCharset("known");
    std::u16string const text(30, u'x');
    platform.mLeastRoom = 7;
    EXPECT_EQ(Encode(converter, text), std::string(30, 'x'));
    // Behind 64 bytes it is asked whether the first character can be encoded.
    EXPECT_EQ(platform.mRooms, (std::vector<std::size_t>{30, 60, 120, 64, 240}));
    // One that needs more than any does.
    platform.mLeastRoom = 1000;
    EXPECT_EQ(Encode(converter, text), "");
}

TEST(CCharsetConverter, WritesWhatFitsBeforeItFails)
{
    ScriptedCharsetPlatform platform;
    StCharsetPlatform const guard(platform);
    CCharsetConverter converter;
    converter.SetCharset("known");
    std::u16string const text = u"ab\x4444";
    EXPECT_EQ(EncodeToBuffer(converter, text, 6, 6), "abDDDD");
    std::string bytes(6, '~');
    unsigned long written = 0;
    EXPECT_EQ(FailureOf([&] {
                  converter.mImp->FromUnicode(text.size() * 2, text.data(), 5, &written,
                                              bytes.data());
              }),
              CharsetFailure(kCharsetBufferTooSmall, kCharsetFromUnicode));
    EXPECT_EQ(written, 2U);
    EXPECT_EQ(bytes, "ab~~~~");
}
