// The numbers of charsets and of the languages that they are for, and what a reader of mail and
// documents asks about a charset.
//
//     std::vector<CCharsetSelector::CharsetEnum> standard, other;
//     CCharsetSelector::GetCharsetList(CCharsetSelector::kLangGreek, &standard, &other);
//
// Names are the business of `CCharsetConverter`. Nothing here fails, and any thread may call at any
// time: the lists are constant.
#pragma once

#include "foundation/LoamExport.h"

#include <vector>

class LOAM_EXPORT CCharsetSelector
{
public:
    /// The values are fixed.
    enum CharsetEnum : unsigned int
    {
        kCharsetNone = 0,
        kUTF_16 = 1,
        kUTF_8 = 2,
        kUTF_7 = 3,
        kUNICODE_1_1 = 4,
        kUNICODE_1_1_UTF_8 = 5,
        kUNICODE_1_1_UTF_7 = 6,
        kUS_ASCII = 7,
        kISO_8859_1 = 8,
        kCP1252 = 9,
        kCP437 = 10,
        kMac_roman = 11,
        kMac_icelandic = 12,
        kMac_latin1 = 13,
        kCP037 = 14,
        kISO_8859_6 = 15,
        kCP1256 = 16,
        kCP864 = 17,
        kMac_arabic = 18,
        kMac_farsi = 19,
        kISO_8859_2 = 20,
        kCP1250 = 21,
        kMac_centraleurroman = 22,
        kMac_croatian = 23,
        kMac_romanian = 24,
        kGB2312 = 25,
        kISO_2022_CN = 26,
        kHZ_GB_2312 = 27,
        kEUC_TW = 28,
        kBig5 = 29,
        kMac_chinesetrad = 30,
        kMac_chinesesimp = 31,
        kISO_8859_5 = 32,
        kKOI8_R = 33,
        kCP1251 = 34,
        kMac_cyrillic = 35,
        kMac_ukrainian = 36,
        kISO_8859_7 = 37,
        kCP1253 = 38,
        kMac_greek = 39,
        kISO_8859_8 = 40,
        kCP1255 = 41,
        kMac_hebrew = 42,
        kEUC_JP = 43,
        kISO_2022_JP = 44,
        kShift_JIS = 45,
        kMac_japanese = 46,
        kEUC_KR = 47,
        kISO_2022_KR = 48,
        kMac_korean = 49,
        kISO_8859_9 = 50,
        kCP1254 = 51,
        kMac_turkish = 52,
        kCP1257 = 53,
        kISO_8859_3 = 54,
        kISO_8859_4 = 55,
        kISO_8859_10 = 56,
        kISO_8859_13 = 57,
        kISO_8859_14 = 58,
        kISO_8859_15 = 59,
    };

    /// Groups of languages with one script, the unit that a user chooses by where a text isn't
    /// labelled. The values are fixed.
    enum LangEnum : unsigned int
    {
        kLangNone = 0,
        kLangWestern = 1,
        kLangReserved2 = 2,  ///< these four have no charsets of their own
        kLangReserved3 = 3,
        kLangReserved4 = 4,
        kLangReserved5 = 5,
        kLangJapanese = 6,
        kLangChineseTraditional = 7,
        kLangChineseSimplified = 8,
        kLangKorean = 9,
        kLangArabic = 10,
        kLangHebrew = 11,
        kLangGreek = 12,
        kLangCyrillic = 13,
        kLangCentralEuropean = 14,
        kLangUnicode = 15,  ///< no charsets of its own either
        kLangNorthernEuropean = 16,
        kLangTurkish = 17,
    };

    /// Replaces `list` by all languages but `kLangNone`, in rising order, the reserved ones too.
    static void GetLangList(std::vector<LangEnum>* list);
    /// Replaces `first` by the charsets that are standard on the Internet for a language, and
    /// `second` by those that belong to one vendor or are secondary otherwise, each followed by the
    /// forms of Unicode that are so for every language. What `CCharsetConverter` doesn't encode by
    /// itself is left out. A language of no such number has the forms of Unicode only.
    static void GetCharsetList(LangEnum lang,
                               std::vector<CharsetEnum>* first,
                               std::vector<CharsetEnum>* second);

    /// True if text in the charset has no byte of 0x80 and above. False for `kCharsetNone`.
    static bool Is7bits(CharsetEnum charset);
    /// True if most characters of text in the charset are ASCII letters, so that it stays readable
    /// in quoted-printable. True for `kCharsetNone` and for what isn't a charset's number.
    static bool IsQPprefered(CharsetEnum charset);
    /// The language that a charset is for; `kLangWestern` for `kCharsetNone` and for what isn't a
    /// charset's number. Kept on purpose: simplified Chinese charsets count as traditional ones.
    static LangEnum GetLangFromCharset(CharsetEnum charset);
};
