// What stands behind names on Linux: ICU's converters, our own tables and our own code.
#include "testing/FailureOf.h"
#include "text/CCharsetConverter.h"
#include "text/CharsetNames.h"
#include "text/platform/CBasicCharsetPlatform.h"
#include "text/platform/linux/EncodingNames.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <iconv.h>
#include <unicode/ucnv.h>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

constexpr unsigned int kInvalid = CBasicCharsetPlatform::kInvalidEncoding;
constexpr unsigned int kUTF16 = 0x100;
constexpr unsigned int kUTF32 = 0xC000100;

Failure Refused()
{
    return {kCharsetDomain, kCharsetNotSupported, kCharsetToUnicode, 0};
}

// A text and its bytes, as Python's codecs or iconv have them where they know the charset. The
// forms of Unicode without a byte order are written in that of this processor.
struct Sample
{
    char const* mName;
    std::u16string mText;
    std::string mBytes;
};

Sample const kSamples[] = {
    {"UTF-16", u"a\u00E9\u4E00\U0001F642",
     "a\x00\xE9\x00\x00N=\xD8"
     "B\xDE"s},
    {"UTF-8", u"a\u00E9\u4E00\U0001F642", "a\xC3\xA9\xE4\xB8\x80\xF0\x9F\x99\x82"s},
    {"UTF-7", u"a\u00E9\u4E00\U0001F642", "a+AOlOANg93kI-"s},
    {"UNICODE-1-1", u"a\u00E9\u4E00\U0001F642",
     "a\x00\xE9\x00\x00N=\xD8"
     "B\xDE"s},
    {"UNICODE-1-1-UTF-8", u"a\u00E9\u4E00\U0001F642", "a\xC3\xA9\xE4\xB8\x80\xF0\x9F\x99\x82"s},
    {"UNICODE-1-1-UTF-7", u"a\u00E9\u4E00\U0001F642", "a+AOlOANg93kI-"s},
    {"US-ASCII", u"Hello, ~!", "Hello, ~!"s},
    {"ISO-8859-1", u"Gr\u00F6\u00DFe \u00BD",
     "Gr\xF6\xDF"
     "e \xBD"s},
    {"cp1252", u"Gr\u00F6\u00DFe \u20AC",
     "Gr\xF6\xDF"
     "e \x80"s},
    {"cp437", u"Gr\u00F6\u00DFe \u03B1\u2502",
     "Gr\x94\xE1"
     "e \xE0\xB3"s},
    {"x-mac-roman", u"Gr\u00F6\u00DFe \u20AC\u03C0",
     "Gr\x9A\xA7"
     "e \xDB\xB9"s},
    {"x-mac-icelandic", u"\u00DEa\u00F0 \u00FD\u20AC",
     "\xDE"
     "a\xDD \xE0\xDB"s},
    {"x-mac-latin1", u"Gr\u00F6\u00DFe \u00F1",
     "Gr\xF6\xDF"
     "e \xF1"s},
    {"cp037", u"Gr\u00F6\u00DFe \u00BD", "\xC7\x99\xCCY\x85@\xB8"s},
    {"ISO-8859-6", u"\u0633\u0644\u0627\u0645\u061F", "\xD3\xE4\xC7\xE5\xBF"s},
    {"cp1256", u"\u0633\u0644\u0627\u0645 \u06AF\u067E\u20AC", "\xD3\xE1\xC7\xE3 \x90\x81\x80"s},
    {"cp864", u"\uFEF3\uFE8E a", "\xEA\xA8 a"s},
    {"x-mac-arabic", u"\u0633\u0644\u0627\u0645 \u0663", "\xD3\xE4\xC7\xE5 \xB3"s},
    {"x-mac-farsi", u"\u0633\u0644\u0627\u0645 \u06F3 \u067E\u0686",
     "\xD3\xE4\xC7\xE5 \xB3 \xF3\xF5"s},
    {"ISO-8859-2", u"\u017Dlu\u0165ou\u010Dk\u00FD", "\xAElu\xBBou\xE8k\xFD"s},
    {"cp1250", u"\u017Dlu\u0165ou\u010Dk\u00FD \u20AC", "\x8Elu\x9Dou\xE8k\xFD \x80"s},
    {"x-mac-centraleurroman", u"\u017Dlu\u0165ou\u010Dk\u00FD", "\xEBlu\xE9ou\x8Bk\xF9"s},
    {"x-mac-croatian", u"\u0110ak \u017E\u0161\u0107\u010D \u20AC",
     "\xD0"
     "ak \xBE\xB9\xE6\xE8 \xDB"s},
    {"x-mac-romanian", u"\u021Aar\u0103 \u0219",
     "\xDE"
     "ar\xBE \xBF"s},
    {"GB2312", u"\u4E2D\u6587\u7F16\u7801", "\xD6\xD0\xCE\xC4\xB1\xE0\xC2\xEB"s},
    {"ISO-2022-CN", u"\u4E2D\u6587\u7F16\u7801", "\x1B$)A\x0EVPND1`Bk\x0F"s},
    {"HZ-GB-2312", u"\u4E2D\u6587\u7F16\u7801", "~{VPND1`Bk~}"s},
    {"X-EUC-TW", u"\u4E2D\u6587\u7DE8\u78BC", "\xC4\xE3\xC5\xC6\xEE\xBE\xEE\xA3"s},
    {"Big5", u"\u4E2D\u6587\u7DE8\u78BC", "\xA4\xA4\xA4\xE5\xBDs\xBDX"s},
    {"x-mac-chinesetrad", u"\u4E2D\u6587\u7DE8\u78BC\u00A9\u2122",
     "\xA4\xA4\xA4\xE5\xBDs\xBDX\xFD\xFE"s},
    {"x-mac-chinesesimp", u"\u4E2D\u6587\u7F16\u7801\u00A9\u2122",
     "\xD6\xD0\xCE\xC4\xB1\xE0\xC2\xEB\xFD\xFE"s},
    {"ISO-8859-5", u"\u041F\u0440\u0438\u0432\u0435\u0442 \u2116",
     "\xBF\xE0\xD8\xD2\xD5\xE2 \xF0"s},
    {"KOI8-R", u"\u041F\u0440\u0438\u0432\u0435\u0442 \u2502", "\xF0\xD2\xC9\xD7\xC5\xD4 \x81"s},
    {"cp1251", u"\u041F\u0440\u0438\u0432\u0435\u0442 \u0490\u20AC",
     "\xCF\xF0\xE8\xE2\xE5\xF2 \xA5\x88"s},
    {"x-mac-cyrillic", u"\u041F\u0440\u0438\u0432\u0435\u0442 \u20AC",
     "\x8F\xF0\xE8\xE2\xE5\xF2 \xFF"s},
    {"x-mac-ukrainian", u"\u041F\u0440\u0438\u0432\u0456\u0442 \u0490\u0491\u20AC",
     "\x8F\xF0\xE8\xE2\xB4\xF2 \xA2\xB6\xFF"s},
    {"ISO-8859-7", u"\u0393\u03B5\u03B9\u03AC \u20AC", "\xC3\xE5\xE9\xDC \xA4"s},
    {"cp1253", u"\u0393\u03B5\u03B9\u03AC \u20AC", "\xC3\xE5\xE9\xDC \x80"s},
    {"x-mac-greek", u"\u0393\u03B5\u03B9\u03AC \u20AC", "\xA1\xE5\xE9\xC0 \x9C"s},
    {"ISO-8859-8", u"\u05E9\u05DC\u05D5\u05DD", "\xF9\xEC\xE5\xED"s},
    {"cp1255", u"\u05E9\u05DC\u05D5\u05DD \u20AA", "\xF9\xEC\xE5\xED \xA4"s},
    {"x-mac-hebrew", u"\u05E9\u05DC\u05D5\u05DD \u20AA", "\xF9\xEC\xE5\xED \xA6"s},
    {"EUC-JP", u"\u65E5\u672C\u8A9E\u30C6\u30B9\u30C8",
     "\xC6\xFC\xCB\xDC\xB8\xEC\xA5\xC6\xA5\xB9\xA5\xC8"s},
    {"ISO-2022-JP", u"\u65E5\u672C\u8A9E\u30C6\u30B9\u30C8", "\x1B$BF|K\\8l%F%9%H\x1B(B"s},
    {"Shift_JIS", u"\u65E5\u672C\u8A9E\u30C6\u30B9\u30C8 \uFF71\uFF72",
     "\x93\xFA\x96{\x8C\xEA\x83"
     "e\x83X\x83g \xB1\xB2"s},
    {"x-mac-japanese", u"\u65E5\u672C\u8A9E\u30C6\u30B9\u30C8 \uFF71\uFF72 \u00A5",
     "\x93\xFA\x96{\x8C\xEA\x83"
     "e\x83X\x83g \xB1\xB2 \\"s},
    {"EUC-KR", u"\uD55C\uAD6D\uC5B4 \uD14C\uC2A4\uD2B8",
     "\xC7\xD1\xB1\xB9\xBE\xEE \xC5\xD7\xBD\xBA\xC6\xAE"s},
    {"ISO-2022-KR", u"\uD55C\uAD6D\uC5B4", "\x1B$)C\x0EGQ19>n\x0F"s},
    {"x-mac-korean", u"\uD55C\uAD6D\uC5B4 \uD14C\uC2A4\uD2B8 \u00A9",
     "\xC7\xD1\xB1\xB9\xBE\xEE \xC5\xD7\xBD\xBA\xC6\xAE \x83"s},
    {"cp1254", u"I\u015F\u0131k \u011F \u20AC", "I\xFE\xFDk \xF0 \x80"s},
    {"x-mac-turkish", u"I\u015F\u0131k \u011F", "I\xDF\xDDk \xDB"s},
    {"cp1257", u"\u0104\u017Euolas \u20AC", "\xC0\xFEuolas \x80"s},
    {"ISO-8859-3", u"\u0108u \u015Di \u0127", "\xC6u \xFEi \xB1"s},
    {"ISO-8859-4", u"\u0104\u017Euolas", "\xA1\xBEuolas"s},
    {"ISO-8859-10", u"\u00DEa\u00F0 \u0104\u017E",
     "\xDE"
     "a\xF0 \xA1\xBC"s},
    {"ISO-8859-13", u"\u0104\u017Euolas", "\xC0\xFEuolas"s},
    {"ISO-8859-14", u"\u0174\u0177 \u1E03", "\xD0\xFE \xA2"s},
    {"ISO-8859-15", u"Gr\u00F6\u00DFe \u20AC\u0153",
     "Gr\xF6\xDF"
     "e \xA4\xBD"s},
    {"ISO-8859-9", u"I\u015F\u0131k \u011F", "I\xFE\xFDk \xF0"s},
    {"ISO-8859-11", u"\u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22", "\xC0\xD2\xC9\xD2\xE4\xB7\xC2"s},
    {"ISO-8859-16", u"\u021Aar\u0103 \u0219 \u20AC",
     "\xDE"
     "ar\xE3 \xBA \xA4"s},
    {"windows-1258", u"Ti\u00EA\u0301ng \u20AB", "Ti\xEA\xECng \xFE"s},
    {"KOI8-U", u"\u041F\u0440\u0438\u0432\u0456\u0442 \u0490", "\xF0\xD2\xC9\xD7\xA6\xD4 \xBD"s},
    {"gb18030", u"\u4E2D\u6587 \u00E9\U0001F642",
     "\xD6\xD0\xCE\xC4 \xA8\xA6\x95"
     "0\x85"
     "2"s},
    {"UTF-16BE", u"a\u00E9\u4E00\U0001F642",
     "\x00"
     "a\x00\xE9N\x00\xD8=\xDE"
     "B"s},
    {"UTF-16LE", u"a\u00E9\u4E00\U0001F642",
     "a\x00\xE9\x00\x00N=\xD8"
     "B\xDE"s},
    {"UTF-32", u"a\u00E9\u4E00\U0001F642",
     "a\x00\x00\x00\xE9\x00\x00\x00\x00N\x00\x00"
     "B\xF6\x01\x00"s},
    {"UTF-32BE", u"a\u00E9\u4E00\U0001F642",
     "\x00\x00\x00"
     "a\x00\x00\x00\xE9\x00\x00N\x00\x00\x01\xF6"
     "B"s},
    {"UTF-32LE", u"a\u00E9\u4E00\U0001F642",
     "a\x00\x00\x00\xE9\x00\x00\x00\x00N\x00\x00"
     "B\xF6\x01\x00"s},
    {"Big5-HKSCS", u"\u7CB5\u8A9E",
     "\xB8"
     "f\xBBy"s},
    {"cp949", u"\uD55C\uAD6D\uC5B4 \uB620",
     "\xC7\xD1\xB1\xB9\xBE\xEE \x8C"
     "c"s},
    {"cp850", u"Gr\u00F6\u00DFe \u00BD",
     "Gr\x94\xE1"
     "e \xAB"s},
    {"cp866", u"\u041F\u0440\u0438\u0432\u0435\u0442 \u2502", "\x8F\xE0\xA8\xA2\xA5\xE2 \xB3"s},
};

struct NamedNumber
{
    char const* mName;
    unsigned int mEncoding;
};

// As the desktop's own source answers them.
constexpr NamedNumber kNamedNumbers[] = {
    {"ISO-8859-1", 513},
    {"iso8859-1", 513},
    {"ISO_8859-1", 513},
    {"latin1", 513},
    {"LATIN1", 513},
    {"l1", 513},
    {"8859_1", 513},
    {"ISO-8859-2", 514},
    {"latin2", 514},
    {"ISO-8859-5", 517},
    {"latin5", 521},
    {"cyrillic", 7},
    {"ISO-8859-9", 521},
    {"ISO-8859-11", 523},
    {"ISO-8859-12", 524},
    {"ISO-8859-15", 527},
    {"latin-9", 527},
    {"ISO-8859-16", 528},
    {"ISO-8859-8-I", 520},
    {"ISO-8859-8-E", 520},
    {"ISO-8859-17", kInvalid},
    {"ISO-8859-", kInvalid},
    {"US-ASCII", 1536},
    {"ascii", 1536},
    {"ANSI_X3.4-1968", 1536},
    {"WINDOWS-1252", 1280},
    {"CP1252", 1280},
    {"cp-1252", 1280},
    {"windows-1258", 1288},
    {"windows-874", 1053},
    {"TIS-620", 1053},
    {"KOI8-R", 2562},
    {"koi8r", 2562},
    {"KOI8-U", 2568},
    {"UTF-8", 134217984},
    {"utf8", 134217984},
    {"UTF_8", 134217984},
    {"unicode-1-1-utf-8", 134217984},
    {"UTF-7", 67109120},
    {"UTF-16", 256},
    {"UTF-16LE", 335544576},
    {"UTF-32", 201326848},
    {"UCS-2", 256},
    {"ISO-10646-UCS-2", 256},
    {"SHIFT_JIS", 2561},
    {"sjis", 1056},
    {"x-sjis", 1056},
    {"SHIFT-JIS", 1056},
    {"windows-31j", 1056},
    {"MS932", 1056},
    {"CP932", 1056},
    {"EUC-JP", 2336},
    {"x-euc-jp", 2336},
    {"eucjp", 2336},
    {"ISO-2022-JP", 2080},
    {"csISO2022JP", 2080},
    {"ISO-2022-KR", 2112},
    {"ISO-2022-CN", 2096},
    {"EUC-KR", 2368},
    {"KS_C_5601-1987", 1058},
    {"ks_c_5601-1989", 1058},
    {"CP949", 1058},
    {"GB2312", 2352},
    {"gb_2312-80", kInvalid},
    {"GBK", 1057},
    {"CP936", 1057},
    {"GB18030", 1586},
    {"HZ-GB-2312", 2565},
    {"HZ", kInvalid},
    {"BIG5", 2563},
    {"big5-hkscs", 2566},
    {"EUC-TW", 2353},
    {"CP950", 1059},
    {"MS950", 1059},
    {"VISCII", 2567},
    {"MACINTOSH", 0},
    {"mac", 0},
    {"x-mac-roman", 0},
    {"x-mac-cyrillic", 7},
    {"x-mac-ukrainian", 152},
    {"x-mac-ce", 29},
    {"x-mac-centraleurroman", 29},
    {"x-mac-greek", 6},
    {"x-mac-turkish", 35},
    {"x-mac-japanese", 1},
    {"IBM437", 1024},
    {"IBM850", 1040},
    {"CP437", 1024},
    {"437", 1024},
    {"IBM866", 1051},
    {"csISOLatin1", 513},
    {"arabic", 4},
    {"greek", 6},
    {"hebrew", 5},
    {"ASMO-708", 518},
    {"ECMA-114", 518},
    {"ELOT_928", 519},
    {"*no-such-name*", kInvalid},
    {"", kInvalid},
    {"x-user-defined", kInvalid},
    {"WINDOWS-1361", 1296},
    {"johab", kInvalid},
    {"cp1361", 1296},
    {"utf-16be", 268435712},
    {"windows-1251x", 1282},
    {"iso-8859-2foo", 514},
    // Those that are ours.
    {"x-mac-chinesetrad", 2},
    {"x-mac-chinesesimp", 25},
    {"x-mac-latin1", 2564},
    {"X-EUC-TW", 2353},
    {"UNICODE-1-1", 256},
    {"UNICODE-1-1-UTF-7", 67109120},
    {"UTF-8\xC3", kInvalid},
    // ICU overlooks blanks and hyphens in aliases.
    {" UTF-8", 134217984},
    {"iso-8859--1", 513},
    {"iso-8859-0", kInvalid},
    {"iso-8859-99999999999999999999", kInvalid},
    {"windows-0", kInvalid},
    {"cp-1", kInvalid},
};

std::u16string Decode(CCharsetConverter const& converter, std::string const& bytes)
{
    std::u16string text;
    converter.mImp->ToUnicode(bytes, &text);
    return text;
}

std::string Encode(CCharsetConverter const& converter, std::u16string const& text)
{
    std::string bytes;
    converter.mImp->FromUnicode(text, &bytes);
    return bytes;
}

// Empty for what is refused.
std::u16string DecodeOrNothing(CCharsetConverter const& converter, std::string const& bytes)
{
    try {
        return Decode(converter, bytes);
    } catch (HierarchicalException const&) {
        return {};
    }
}

// The same without an exception on the way.
std::u16string DecodeByNumber(unsigned int encoding, std::string const& bytes)
{
    std::array<char16_t, 16> text{};
    std::size_t length = 0;
    DecodeOutcome const outcome = CharsetPlatform().Decode(encoding, bytes.data(), bytes.size(),
                                                           text.data(), text.size(), &length);
    return outcome == kDecoded ? std::u16string(text.data(), length) : std::u16string();
}

std::u16string DecodeByIconv(char const* charset, std::string bytes)
{
    iconv_t const conversion = iconv_open("UTF-16LE", charset);
    if (reinterpret_cast<std::intptr_t>(conversion) == -1) return u"no such charset";
    std::array<char16_t, 16> text{};
    char* source = bytes.data();
    std::size_t sourceLeft = bytes.size();
    char* target = reinterpret_cast<char*>(text.data());
    std::size_t targetLeft = sizeof text;
    bool const isGood = iconv(conversion, &source, &sourceLeft, &target, &targetLeft) == 0 &&
                        iconv(conversion, nullptr, nullptr, &target, &targetLeft) == 0;
    iconv_close(conversion);
    if (!isGood) return {};
    return {text.data(), (sizeof text - targetLeft) / sizeof(char16_t)};
}

std::u16string DecodeByICU(char const* charset, std::string const& bytes)
{
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(charset, &error);
    if (U_FAILURE(error)) return u"no such charset";
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    std::array<char16_t, 16> text{};
    int const length = ucnv_toUChars(converter, text.data(), static_cast<int>(text.size()),
                                     bytes.data(), static_cast<int>(bytes.size()), &error);
    ucnv_close(converter);
    if (U_FAILURE(error)) return {};
    return {text.data(), static_cast<std::size_t>(length)};
}

// "80-82 85" for the bytes that `isOne` says yes to.
template <class Test>
std::string BytesThat(Test const& isOne)
{
    std::string list;
    for (int byte = 0; byte < 0x100; ++byte) {
        if (!isOne(std::string(1, static_cast<char>(byte)))) continue;
        int last = byte;
        while (last < 0xFF && isOne(std::string(1, static_cast<char>(last + 1))))
            ++last;
        char range[16];
        std::snprintf(range, sizeof range, last == byte ? " %02X" : " %02X-%02X", byte, last);
        list += range;
        byte = last;
    }
    return list.substr(list.empty() ? 0 : 1);
}

unsigned int EncodingOf(char const* name)
{
    return CharsetPlatform().GetEncoding(name);
}

}  // namespace

TEST(CCharsetPlatformLinux, KnowsTheDesktopsNumbersByName)
{
    for (NamedNumber const& c : kNamedNumbers) {
        SCOPED_TRACE(c.mName);
        EXPECT_EQ(EncodingOfName(c.mName), c.mEncoding);
    }
    EXPECT_EQ(EncodingOfName("utf-8\0"s), kInvalid);
    EXPECT_EQ(EncodingOfName(std::string(100000, 'x')), kInvalid);
}

TEST(CCharsetPlatformLinux, ConvertsEveryCharsetByName)
{
    for (unsigned int number = 1; number < 60; ++number) {
        auto const charset = static_cast<CCharsetSelector::CharsetEnum>(number);
        std::string const name = CCharsetConverter::GetCharsetName(charset);
        bool const isThere = std::any_of(std::begin(kSamples), std::end(kSamples),
                                         [&](Sample const& c) { return c.mName == name; });
        EXPECT_TRUE(isThere) << name;
    }
    for (Sample const& c : kSamples) {
        SCOPED_TRACE(c.mName);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        EXPECT_EQ(Encode(converter, c.mText), c.mBytes);
        // Without a mark what was written in this processor's order is read in the other one.
        unsigned int const encoding = EncodingOf(c.mName);
        bool const isReadAsWritten = encoding != kUTF16 && encoding != kUTF32;
        if (isReadAsWritten) {
            EXPECT_EQ(Decode(converter, c.mBytes), c.mText);
        }
        EXPECT_EQ(Encode(converter, u""), "");
        EXPECT_EQ(Decode(converter, ""), u"");
        // Also behind much of it, which takes other ways through buffers and rounds.
        std::u16string text;
        for (int i = 0; i < 700; ++i)
            text += c.mText + u"\n";
        std::string const bytes = Encode(converter, text);
        if (isReadAsWritten) {
            EXPECT_EQ(Decode(converter, bytes), text);
        }
    }
}

TEST(CCharsetPlatformLinux, RefusesWhatHasANumberAndNoConverter)
{
    for (char const* const name : {"ISO-8859-12", "x-mac-thai", "viscii", "windows-1361"}) {
        SCOPED_TRACE(name);
        CCharsetConverter converter(CCharsetSelector::kUTF_8);
        converter.SetCharset(std::string(name));
        EXPECT_EQ(FailureOf([&] { Decode(converter, "\xE0"); }), Refused());
        EXPECT_EQ(FailureOf([&] { Encode(converter, u"\u0E01"); }),
                  (Failure{kCharsetDomain, kCharsetNotSupported, kCharsetFromUnicode, 0}));
    }
}

TEST(CCharsetPlatformLinux, DecodesEachByteAsOthersDo)
{
    struct
    {
        char const* mName;
        char const* mIconvName;  // null where iconv doesn't know it; so for ICU
        char const* mOtherThanIconv;
        char const* mICUName;
        char const* mOtherThanICU;
        char const* mRefused;
        char const* mNotTheWayBack;  // not refused, and not the byte that the character becomes
    } const cases[] = {
        // Bytes from 0x80 on are kept, and don't go back.
        {"US-ASCII", "ASCII", "80-FF", "US-ASCII", "80-FF", "", "80-FF"},
        {"ISO-8859-1", "ISO-8859-1", "", "ISO-8859-1", "", "", ""},
        {"cp1252", "CP1252", "", "windows-1252", "81 8D 8F-90 9D", "81 8D 8F-90 9D", ""},
        // ASCII alone never reaches the converter, in which three control characters trade places.
        {"cp437", "CP437", "E6", "ibm-437", "1A 1C 7F", "", ""},
        {"x-mac-roman", "MACINTOSH", "C6 F0", "macintosh", "", "", ""},
        // iconv has an older edition.
        {"x-mac-icelandic", "MAC-IS", "A0 C6 D0-D1 D7 DB-DD E0 F0 F6-F7", nullptr, "", "", ""},
        {"x-mac-latin1", "ISO-8859-1", "80-9F A6 AD B2-B3 B9 BC-BE D0 D7 DD-DE F0 FD-FE",
         "ISO-8859-1", "80-9F A6 AD B2-B3 B9 BC-BE D0 D7 DD-DE F0 FD-FE",
         "80-9F A6 AD B2-B3 B9 BC-BE D0 D7 DD-DE F0 FD-FE", ""},
        {"cp037", "CP037", "", "ibm-37", "", "", ""},
        {"ISO-8859-6", "ISO-8859-6", "", "ISO-8859-6", "", "A1-A3 A5-AB AE-BA BC-BE C0 DB-DF F3-FF",
         ""},
        {"cp1256", "CP1256", "", "windows-1256", "", "", ""},
        {"cp864", "CP864", "25 9F D7-D8 F1", "ibm-864", "1A 1C 7F", "9B-9C A6-A7 FF", ""},
        // The punctuation of ASCII once more, for text from right to left.
        {"x-mac-arabic", nullptr, "", nullptr, "", "", "A0-A4 A6-AB AD-AF BA BC-BE DB-DF FB-FD"},
        {"x-mac-farsi", nullptr, "", nullptr, "", "", "A0-A4 A6-AB AD-AF BA BC-BE DB-DF FB-FD"},
        {"x-mac-hebrew", nullptr, "", nullptr, "", "", "A0-A5 A7-BF FB-FF"},
        {"ISO-8859-2", "ISO-8859-2", "", "ISO-8859-2", "", "", ""},
        // ICU keeps the bytes without a character of the Windows code pages as control characters.
        {"cp1250", "CP1250", "81 83 88 90 98", "windows-1250", "", "", ""},
        {"x-mac-centraleurroman", "MAC-CENTRALEUROPE", "", "x-mac-ce", "", "", ""},
        {"x-mac-croatian", nullptr, "", nullptr, "", "", ""},
        {"x-mac-romanian", nullptr, "", nullptr, "", "", ""},
        {"ISO-8859-5", "ISO-8859-5", "", "ISO-8859-5", "", "", ""},
        {"KOI8-R", "KOI8-R", "", "KOI8-R", "", "", ""},
        {"cp1251", "CP1251", "98", "windows-1251", "", "", ""},
        // The euro sign, which iconv doesn't have yet.
        {"x-mac-cyrillic", "MAC-CYRILLIC", "FF", "x-mac-cyrillic", "", "", ""},
        {"x-mac-ukrainian", "MAC-UK", "FF", "x-mac-cyrillic", "", "", ""},
        {"ISO-8859-7", "ISO-8859-7", "", "ISO-8859-7", "", "AE D2 FF", ""},
        {"cp1253", "CP1253", "81 88 8A 8C-90 98 9A 9C-9F AA", "windows-1253", "", "D2 FF", ""},
        {"x-mac-greek", nullptr, "", "x-mac-greek", "", "", ""},
        {"ISO-8859-8", "ISO-8859-8", "", "ISO-8859-8", "", "A1 BF-DE FB-FC FF", ""},
        {"cp1255", "CP1255", "81 8A 8C-90 9A 9C-9F", "windows-1255", "", "CA D9-DF FB-FC FF", ""},
        {"ISO-8859-9", "ISO-8859-9", "", "ISO-8859-9", "", "", ""},
        {"cp1254", "CP1254", "81 8D-90 9D-9E", "windows-1254", "", "", ""},
        {"x-mac-turkish", nullptr, "", "x-mac-turkish", "", "", ""},
        {"cp1257", "CP1257", "81 83 88 8A 8C 90 98 9A 9C 9F", "windows-1257", "", "A1 A5", ""},
        {"windows-1258", "CP1258", "81 8A 8D-90 9A 9D-9E", "windows-1258", "", "", ""},
        {"ISO-8859-3", "ISO-8859-3", "", "ISO-8859-3", "", "A5 AE BE C3 D0 E3 F0", ""},
        {"ISO-8859-4", "ISO-8859-4", "", "ISO-8859-4", "", "", ""},
        {"ISO-8859-10", "ISO-8859-10", "", "ISO-8859-10", "", "", ""},
        {"ISO-8859-11", "ISO-8859-11", "", "ISO-8859-11", "", "DB-DE FC-FF", ""},
        {"ISO-8859-13", "ISO-8859-13", "", "ISO-8859-13", "", "", ""},
        {"ISO-8859-14", "ISO-8859-14", "", "ISO-8859-14", "", "", ""},
        {"ISO-8859-15", "ISO-8859-15", "", "ISO-8859-15", "", "", ""},
        {"ISO-8859-16", "ISO-8859-16", "", nullptr, "", "", ""},
        {"cp737", "CP737", "", "ibm-737", "1A 1C 7F", "", ""},
        {"cp775", "CP775", "", "ibm-775", "1A 1C 7F", "", ""},
        {"cp850", "CP850", "", "ibm-850", "1A 1C 7F", "", ""},
        {"cp851", "IBM851", "B7-B8 F7", "ibm-851", "1A 1C 7F", "91", ""},
        {"cp852", "CP852", "AA", "ibm-852", "1A 1C 7F", "AA", ""},
        {"cp855", "CP855", "", "ibm-855", "1A 1C 7F", "", ""},
        {"cp857", "CP857", "", "ibm-857", "1A 1C 7F", "D5 E7 F2", ""},
        {"cp860", "CP860", "E6", "ibm-860", "1A 1C 7F", "", ""},
        {"cp861", "CP861", "E6", "ibm-861", "1A 1C 7F", "", ""},
        {"cp862", "CP862", "E6", "ibm-862", "1A 1C 7F", "", ""},
        {"cp863", "CP863", "E6", "ibm-863", "1A 1C 7F", "", ""},
        {"cp865", "CP865", "E6", "ibm-865", "1A 1C 7F", "", ""},
        {"cp866", "CP866", "", "ibm-866", "1A 1C 7F", "", ""},
        {"cp869", "CP869", "88 EF", "ibm-869", "1A 1C 7F", "80-85 87 93-94", ""},
        {"windows-874", "CP874", "81-84 86-90 98-9F DB-DE FC-FF", "windows-874", "", "", ""},
        {"KOI8-U", "KOI8-U", "", "KOI8-U", "", "", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        auto const decode = [&](std::string const& byte) {
            return DecodeOrNothing(converter, byte);
        };
        EXPECT_EQ(BytesThat([&](std::string const& byte) { return decode(byte).empty(); }),
                  c.mRefused);
        EXPECT_EQ(BytesThat([&](std::string const& byte) {
                      std::u16string const text = decode(byte);
                      return !text.empty() && Encode(converter, text) != byte;
                  }),
                  c.mNotTheWayBack);
        if (c.mIconvName) {
            EXPECT_EQ(BytesThat([&](std::string const& byte) {
                          return decode(byte) != DecodeByIconv(c.mIconvName, byte);
                      }),
                      c.mOtherThanIconv);
        }
        if (c.mICUName) {
            EXPECT_EQ(BytesThat([&](std::string const& byte) {
                          return decode(byte) != DecodeByICU(c.mICUName, byte);
                      }),
                      c.mOtherThanICU);
        }
    }
}

TEST(CCharsetPlatformLinux, HasTablesByNumberAsOthersDo)
{
    struct
    {
        CCharsetSelector::CharsetEnum mCharset;
        char const* mIconvName;
        char const* mOtherThanIconv;
        char const* mICUName;
        char const* mOtherThanICU;
        char const* mNotTheWayBack;
    } const cases[] = {
        {CCharsetSelector::kUS_ASCII, "ASCII", "80-FF", "US-ASCII", "80-FF", ""},
        {CCharsetSelector::kISO_8859_1, "ISO-8859-1", "", "ISO-8859-1", "", ""},
        // Blanks.
        {CCharsetSelector::kISO_8859_15, "ISO-8859-15", "80-9F", "ISO-8859-15", "80-9F", "80-9F"},
        {CCharsetSelector::kCP1252, "CP1252", "81 8D 8F-90 9D", "windows-1252", "81 8D 8F-90 9D",
         "81 8D 8F-90 9D"},
        // The currency sign; and iconv's older edition.
        {CCharsetSelector::kMac_roman, "MACINTOSH", "C6 DB F0", "macintosh", "DB", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mIconvName);
        CCharsetConverter const converter(c.mCharset);
        EXPECT_EQ(BytesThat([&](std::string const& byte) {
                      return Decode(converter, byte) != DecodeByIconv(c.mIconvName, byte);
                  }),
                  c.mOtherThanIconv);
        EXPECT_EQ(BytesThat([&](std::string const& byte) {
                      return Decode(converter, byte) != DecodeByICU(c.mICUName, byte);
                  }),
                  c.mOtherThanICU);
        EXPECT_EQ(BytesThat([&](std::string const& byte) {
                      return Encode(converter, Decode(converter, byte)) != byte;
                  }),
                  c.mNotTheWayBack);
    }
}

TEST(CCharsetPlatformLinux, KeepsTheTestOfBytesToBuffers)
{
    CCharsetConverter converter;
    converter.SetCharset("ISO-8859-2"s);
    char16_t unit = 0;
    unsigned long written = 0;
    EXPECT_EQ(FailureOf([&] { converter.mImp->ToUnicode(1, "\x85", 2, &written, &unit); }),
              Refused());
    converter.mImp->ToUnicode(1, "\xA1", 2, &written, &unit);
    EXPECT_EQ(written, 2U);
    EXPECT_EQ(unit, u'\u0104');
    EXPECT_EQ(Decode(converter, "\x85\xA1"), u"\u0085\u0104");
}

TEST(CCharsetPlatformLinux, TakesEveryCharacterOfTwoBytesBack)
{
    struct
    {
        char const* mName;
        int mCharacters;
        int mOthers;  // which become other bytes, since they are there twice
    } const cases[] = {
        {"x-mac-japanese", 7192, 0},
        {"x-mac-korean", 9361, 0},
        {"x-mac-chinesetrad", 13461, 0},
        {"x-mac-chinesesimp", 7480, 0},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        unsigned int const encoding = EncodingOf(c.mName);
        int characters = 0;
        int others = 0;
        int strays = 0;
        for (int lead = 0x80; lead < 0x100; ++lead) {
            std::string bytes(1, static_cast<char>(lead));
            if (!DecodeByNumber(encoding, bytes).empty()) continue;
            for (int second = 0; second < 0x100; ++second) {
                bytes = {static_cast<char>(lead), static_cast<char>(second)};
                std::u16string const text = DecodeByNumber(encoding, bytes);
                if (text.empty()) continue;
                ++characters;
                std::string const back = Encode(converter, text);
                others += back != bytes;
                strays += DecodeByNumber(encoding, back) != text;
            }
        }
        EXPECT_EQ(characters, c.mCharacters);
        EXPECT_EQ(others, c.mOthers);
        EXPECT_EQ(strays, 0);
    }
}

TEST(CCharsetPlatformLinux, PutsAVariantsMarkToItsCharacter)
{
    CCharsetConverter converter;
    converter.SetCharset("x-mac-japanese"s);
    EXPECT_EQ(Decode(converter, "\x5C\x80\xFF"), u"\u00A5\\\u2026\uF87F");
    EXPECT_EQ(Encode(converter, u"\u2026\uF87F\u2026x\uF87F"), "\xFF\x81\x63x?");
    converter.SetCharset("x-mac-hebrew"s);
    EXPECT_EQ(Decode(converter, "\x81\xC0"), u"\u05F2\u05B7\uF86A\u05DC\u05B9");
    EXPECT_EQ(Encode(converter, u"\u05F2\u05B7\uF86A\u05DC\u05B9\u05DC\u05B9"), "\x81\xC0\xEC\xDD");
}

TEST(CCharsetPlatformLinux, ReadsByteOrderMarks)
{
    struct
    {
        char const* mName;
        std::string mBytes;
        std::u16string mText;
    } const cases[] = {
        {"UTF-8",
         "\xEF\xBB\xBF"
         "a",
         u"a"},
        {"UTF-8", "\xEF\xBB\xBF\xEF\xBB\xBF", u"\uFEFF"},
        {"UTF-8", "a\xEF\xBB\xBF", u"a\uFEFF"},
        {"UTF-16", "\xFE\xFF\x4E\x00"s, u"\u4E00"},
        {"UTF-16", "\xFF\xFE\x00\x4E"s, u"\u4E00"},
        {"UTF-16", "\x4E\x00"s, u"\u4E00"},
        {"UTF-16", "\xFE\xFF\xFE\xFF", u"\uFEFF"},
        {"UTF-16", "\xFE\xFF", u""},
        {"UTF-16", "\x4E\x00z"s, u"\u4E00"},
        {"UTF-16BE", "\xFE\xFF\x4E\x00"s, u"\uFEFF\u4E00"},
        {"UTF-16BE", "\xFF\xFE"s, u"\uFFFE"},
        {"UTF-16LE", "\xFF\xFE\x00\x4E"s, u"\uFEFF\u4E00"},
        {"UTF-32", "\x00\x00\xFE\xFF\x00\x01\xF6\x42"s, u"\U0001F642"},
        {"UTF-32", "\xFF\xFE\x00\x00\x42\xF6\x01\x00"s, u"\U0001F642"},
        {"UTF-32", "\x00\x01\xF6\x42"s, u"\U0001F642"},
        {"UTF-32", "\x00\x00\x00\x61zzz"s, u"a"},
        {"UTF-32BE", "\x00\x00\xFE\xFF"s, u"\uFEFF"},
        {"UTF-32LE", "\xFF\xFE\x00\x00"s, u"\uFEFF"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        EXPECT_EQ(Decode(converter, c.mBytes), c.mText);
        std::u16string text(c.mText.size(), 0);
        unsigned long written = 0;
        converter.mImp->ToUnicode(c.mBytes.size(), c.mBytes.data(), text.size() * 2, &written,
                                  text.data());
        EXPECT_EQ(written, text.size() * 2);
        EXPECT_EQ(text, c.mText);
    }
}

TEST(CCharsetPlatformLinux, RefusesMalformedUnicode)
{
    struct
    {
        char const* mName;
        std::string mBytes;
    } const cases[] = {
        {"UTF-8", "a\xFF"},
        {"UTF-8", "\xC3"},
        {"UTF-8", "\xC0\x80"},
        {"UTF-8", "\xED\xA0\x80"},
        {"UTF-8", "\xF4\x90\x80\x80"},
        {"UTF-8", "\x80"},
        {"UTF-16", "a"},
        {"UTF-16BE", "a"},
        {"UTF-16LE", "a"},
        {"UTF-32", "abc"},
        {"UTF-32BE", "\x00\x11\x00\x00"s},
        {"UTF-32LE", "\xFF\xFF\xFF\xFF"},
        {"EUC-JP", "\xA4"},
        {"Shift_JIS", "\x81"},
        {"Shift_JIS", "\x85\xFF"},
        {"ISO-2022-JP", "\x1B$B\xFF"},
        {"x-mac-japanese", "\x81"},
        {"x-mac-japanese", "\x81\x20"},
        {"x-mac-korean", "a\xC9\xA1"},
        {"UTF-7", "+\xFF"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mName);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        EXPECT_EQ(FailureOf([&] { Decode(converter, c.mBytes); }), Refused());
        // The bytes come first, even if there is no room for the text in front of them.
        unsigned long written = 0;
        EXPECT_EQ(FailureOf([&] {
                      converter.mImp->ToUnicode(c.mBytes.size(), c.mBytes.data(), 0, &written,
                                                nullptr);
                  }),
                  Refused());
    }
    CCharsetConverter converter;
    converter.SetCharset("UTF-8"s);
    EXPECT_EQ(Decode(converter, "a\xA9z"), u"a\uFFFDz");
}

TEST(CCharsetPlatformLinux, TakesLoneSurrogatesAsTheDesktopDoes)
{
    std::u16string const high = std::u16string(u"a\xD83D") + u"z";
    std::u16string const low = std::u16string(u"a\xDE42") + u"z";
    CCharsetConverter converter;
    // Nothing can stand for them in UTF-8, where the text ends.
    converter.SetCharset("UTF-8"s);
    EXPECT_EQ(Encode(converter, high), "a");
    EXPECT_EQ(Encode(converter, low), "a");
    EXPECT_EQ(Encode(converter, u"a\xD83D"), "a");
    char bytes[16];
    unsigned long written = 0;
    EXPECT_EQ(FailureOf([&] {
                  converter.mImp->FromUnicode(high.size() * 2, high.data(), 16, &written, bytes);
              }),
              (Failure{kCharsetDomain, kCharsetBufferTooSmall, kCharsetFromUnicode, 0}));
    EXPECT_EQ(written, 1U);
    for (char const* const name : {"UTF-16BE", "UTF-16LE", "UTF-32BE", "UTF-32LE"}) {
        SCOPED_TRACE(name);
        converter.SetCharset(std::string(name));
        EXPECT_EQ(Decode(converter, Encode(converter, high)), high);
        EXPECT_EQ(Decode(converter, Encode(converter, low)), low);
    }
    for (char const* const name : {"ISO-8859-2", "Shift_JIS", "EUC-KR", "x-mac-korean"}) {
        SCOPED_TRACE(name);
        converter.SetCharset(std::string(name));
        EXPECT_EQ(Encode(converter, high), "a?z");
        EXPECT_EQ(Encode(converter, low), "a?z");
        EXPECT_EQ(Encode(converter, u"a\U0001F642z"), "a?z");
    }
    // A "?" for each half, where the desktop doesn't use ICU.
    for (char const* const name : {"ISO-8859-1", "cp1252", "US-ASCII", "x-mac-roman"}) {
        SCOPED_TRACE(name);
        converter.SetCharset(std::string(name));
        EXPECT_EQ(Encode(converter, high), "a?z");
        EXPECT_EQ(Encode(converter, u"a\U0001F642z"), "a??z");
    }
}

TEST(CCharsetPlatformLinux, ComposesLettersAndMarksWhereTheDesktopDoes)
{
    struct
    {
        char const* mWhat;
        char const* mName;
        std::u16string mText;
        std::string mBytes;
    } const cases[] = {
        {"Latin-1", "ISO-8859-1", u"cafe\u0301 A\u030A", "caf\xE9 \xC5"},
        {"code page 1252", "cp1252", u"s\u030Ce\u0301Y\u0308", "\x9A\xE9\x9F"},
        {"MacRoman", "x-mac-roman", u"c\u0327a",
         "\x8D"
         "a"},
        {"ASCII, which has none", "US-ASCII", u"e\u0301", "e?"},
        {"a letter that the charset lacks", "ISO-8859-1", u"s\u030C", "s?"},
        {"nothing that they make", "ISO-8859-1", u"q\u0301", "q?"},
        {"a mark at the head", "ISO-8859-1", u"\u0301e", "?e"},
        {"two marks, of which one fits", "ISO-8859-1", u"e\u0302\u0301z", "\xEA?z"},
        {"two marks, of which the first doesn't", "ISO-8859-1", u"e\u0323\u0301",
         "e?"
         "?"},
        {"a mark behind a pair", "ISO-8859-1", u"\U0001F642\u0301", "???"},
        {"ICU doesn't", "ISO-8859-2", u"e\u0301", "e?"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        EXPECT_EQ(Encode(converter, c.mText), c.mBytes);
        // At every place of what is encoded at once, and behind question marks.
        for (std::size_t offset = 1; offset < 140; ++offset) {
            EXPECT_EQ(Encode(converter, std::u16string(offset, u'?') + c.mText),
                      std::string(offset, '?') + c.mBytes);
        }
        // Into a buffer that has room for the bytes and no more.
        std::string bytes(c.mBytes.size() + 1, '~');
        unsigned long written = 0;
        converter.mImp->FromUnicode(c.mText.size() * 2, c.mText.data(), c.mBytes.size(), &written,
                                    bytes.data());
        EXPECT_EQ(bytes, c.mBytes + "~");
        EXPECT_EQ(written, c.mBytes.size());
        EXPECT_EQ(FailureOf([&] {
                      converter.mImp->FromUnicode(c.mText.size() * 2, c.mText.data(),
                                                  c.mBytes.size() - 1, &written, bytes.data());
                  }),
                  (Failure{kCharsetDomain, kCharsetBufferTooSmall, kCharsetFromUnicode, 0}));
    }
}

TEST(CCharsetPlatformLinux, EncodesWholeCharactersIntoAnyRoom)
{
    for (Sample const& c : kSamples) {
        SCOPED_TRACE(c.mName);
        unsigned int const encoding = EncodingOf(c.mName);
        // Twice, so that converters are met that were given back in the middle of a text.
        std::u16string const text = c.mText + c.mText;
        std::string whole(text.size() * 8, '~');
        std::size_t count = 0;
        std::size_t written = 0;
        ASSERT_TRUE(CharsetPlatform().Encode(encoding, text.data(), text.size(), whole.data(),
                                             whole.size(), &count, &written));
        ASSERT_EQ(count, text.size());
        whole.resize(written);
        std::size_t before = 0;
        for (std::size_t room = 0; room <= whole.size(); ++room) {
            SCOPED_TRACE(room);
            std::string bytes(room + 1, '~');
            ASSERT_TRUE(CharsetPlatform().Encode(encoding, text.data(), text.size(), bytes.data(),
                                                 room, &count, &written));
            ASSERT_LE(written, room);
            ASSERT_EQ(bytes[room], '~');
            // What fits is the head of the whole, and never less than into less room.
            ASSERT_EQ(bytes.substr(0, written), whole.substr(0, written));
            ASSERT_GE(count, before);
            before = count;
            std::string exact(whole.size(), '~');
            std::size_t exactCount = 0;
            std::size_t exactWritten = 0;
            ASSERT_TRUE(CharsetPlatform().Encode(encoding, text.data(), count, exact.data(),
                                                 exact.size(), &exactCount, &exactWritten));
            ASSERT_EQ(exactCount, count);
            ASSERT_EQ(exactWritten, written);
        }
        EXPECT_EQ(before, text.size());
    }
}

TEST(CCharsetPlatformLinux, TakesNullForNothing)
{
    for (Sample const& c : kSamples) {
        SCOPED_TRACE(c.mName);
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        unsigned long written = 4711;
        converter.mImp->ToUnicode(0, nullptr, 0, &written, nullptr);
        EXPECT_EQ(written, 0U);
        written = 4711;
        converter.mImp->FromUnicode(0, nullptr, 0, &written, nullptr);
        EXPECT_EQ(written, 0U);
        // Nor is anything written where there is no room.
        EXPECT_EQ(FailureOf([&] {
                      converter.mImp->FromUnicode(2, c.mText.data(), 0, &written, nullptr);
                  }),
                  (Failure{kCharsetDomain, kCharsetBufferTooSmall, kCharsetFromUnicode, 0}));
        EXPECT_EQ(written, 0U);
    }
}

TEST(CCharsetPlatformLinux, TellsTheWholeLengthWhereThereIsNoRoom)
{
    for (Sample const& c : kSamples) {
        SCOPED_TRACE(c.mName);
        unsigned int const encoding = EncodingOf(c.mName);
        if (encoding == kUTF32) continue;
        std::u16string text(c.mBytes.size(), u'~');
        std::size_t length = 0;
        ASSERT_EQ(CharsetPlatform().Decode(encoding, c.mBytes.data(), c.mBytes.size(), text.data(),
                                           text.size(), &length),
                  kDecoded);
        for (std::size_t room = 0; room < length; ++room) {
            std::u16string part(room + 1, u'~');
            std::size_t told = 0;
            ASSERT_EQ(CharsetPlatform().Decode(encoding, c.mBytes.data(), c.mBytes.size(),
                                               part.data(), room, &told),
                      kDecodeNoRoom);
            ASSERT_EQ(told, length);
            ASSERT_EQ(part[room], u'~');
        }
    }
}

TEST(CCharsetPlatformLinux, SurvivesAnyBytes)
{
    unsigned int random = 1;
    auto const next = [&] { return (random = random * 1664525 + 1013904223) >> 16; };
    int decoded = 0;
    for (Sample const& c : kSamples) {
        CCharsetConverter converter;
        converter.SetCharset(std::string(c.mName));
        for (int i = 0; i < 200; ++i) {
            std::string bytes(next() % 40, 0);
            for (char& byte : bytes)
                byte = static_cast<char>(next());
            std::u16string units(next() % 40, 0);
            for (char16_t& unit : units)
                unit = static_cast<char16_t>(next());
            decoded += !DecodeOrNothing(converter, bytes).empty();
            Encode(converter, units);
        }
    }
    EXPECT_GT(decoded, 0);
}

TEST(CCharsetPlatformLinux, ServesManyThreadsWithOneHandle)
{
    for (char const* const name : {"Shift_JIS", "ISO-2022-JP", "x-mac-japanese", "KOI8-R"}) {
        SCOPED_TRACE(name);
        auto const* const sample =
            std::find_if(std::begin(kSamples), std::end(kSamples),
                         [&](Sample const& c) { return std::string(name) == c.mName; });
        CCharsetConverter converter;
        converter.SetCharset(std::string(name));
        std::array<bool, 6> isGood{};
        std::vector<std::thread> threads;
        threads.reserve(isGood.size());
        for (bool& good : isGood) {
            threads.emplace_back([&] {
                good = true;
                for (int i = 0; i < 50; ++i) {
                    good = good && Encode(converter, sample->mText) == sample->mBytes &&
                           Decode(converter, sample->mBytes) == sample->mText;
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(std::all_of(isGood.begin(), isGood.end(), [](bool good) { return good; }));
    }
}
