// Conversion between the bytes of a charset and UTF-16, and tests of what bytes can be.
//
//     CCharsetConverter converter;
//     converter.SetCharset("Shift_JIS");
//     std::u16string text;
//     converter.mImp->ToUnicode(bytes, &text);
//
// A charset is set by number or by name. By number there are six, converted by the library itself:
// `kUTF_8`, `kUS_ASCII`, `kISO_8859_1`, `kCP1252`, `kMac_roman`, `kISO_8859_15`. A name reaches all
// that the platform knows, which is stricter: bytes that are not of the charset are refused. A name
// that the platform doesn't know leaves the conversion to the charset's number.
//
// What hosts rely on in the conversions by number, and what to mind there:
// - UTF-8 that is malformed gives an empty text. The forms with a buffer cut the text to what fits,
//   `FromUnicode` in the middle of a character if need be.
// - `FromUnicode` into a buffer writes half of `size` bytes for a single-byte charset, whatever
//   `capacity` says.
// - For `kISO_8859_1` and `kUS_ASCII`, `ToUnicode` into a buffer makes U+FF80..U+FFFF of the bytes
//   0x80..0xFF, into a string U+0080..U+00FF; `FromUnicode` keeps the low byte of each unit.
// - Bytes without a character become blanks: 0x80..0x9F of `kISO_8859_15`, five of `kCP1252`.
//
// And in those by name:
// - `ToUnicode` into a buffer first asks `CanConvertFrom...`. Into a string it doesn't, so that
//   what the platform keeps comes through, such as C1 in the ISO charsets.
// - A byte-order mark is taken off UTF-8, UTF-16 and UTF-32, unless the name tells the byte order.
//   None is written: "UTF-16" becomes the processor's byte order, and is read as big-endian.
// - Of "x-mac-latin1", whose table was never published, Linux knows the characters that Latin-1 and
//   Mac OS Roman both have, and refuses the other 47 bytes.
// - A surrogate without its partner has no place in UTF-8: into a string the text ends in front of
//   it without a failure, into a buffer that is one for want of room.
//
// Conversions may run in parallel on one handle. Setting the charset needs it for itself. The tests
// of raw data and of UTF-16 allocate nothing.
#pragma once

#include "foundation/LoamExport.h"
#include "text/CBasicCharsetConverter.h"
#include "text/CCharsetSelector.h"

#include <string>

class memblock;

class LOAM_EXPORT CCharsetConverter
{
public:
    typedef CCharsetSelector::CharsetEnum CharsetEnum;
    typedef CCharsetSelector::LangEnum LangEnum;

    /// Without a charset: conversions fail with `kCharsetNotSupported` until one is set.
    CCharsetConverter();
    explicit CCharsetConverter(CharsetEnum charset);
    CCharsetConverter(CCharsetConverter const&) = delete;
    CCharsetConverter& operator=(CCharsetConverter const&) = delete;
    ~CCharsetConverter();

    /// Converts by number from now on. A name set earlier is forgotten.
    void SetCharset(CharsetEnum charset);
    /// Makes `mImp` anew for the charset that was set by number.
    void CreateConverter();
    /// Converts by the platform's means from now on, for the charset of an Internet name in ASCII,
    /// in any case ("ISO-8859-2", "x-mac-greek"). Always true. A name that the platform doesn't
    /// know leaves the charset that was set by number in force.
    bool SetCharset(std::string const& name);

    /// The name of a charset, as mail and documents have it; "" for what isn't a charset's number.
    static char const* GetCharsetName(CharsetEnum charset);
    /// The charset of a name found in a document, in any case, if it is one of those converted by
    /// number; the four that have another name for one of those are answered as that one
    /// ("UNICODE-1-1-UTF-8" as `kUTF_8`). Otherwise `kUS_ASCII` with `asciiFallback`, or
    /// `kCharsetNone`. Any thread may call.
    ///
    /// Kept on purpose: what a name gave once it gives for ever, whatever `asciiFallback` says in
    /// later calls. Every name asked for is remembered until the process ends.
    CharsetEnum GetCharsetFromInetName(std::string const& name, bool asciiFallback) const;

    /// Always `kCharsetNone`: a host puts its own sequence together from the tests below.
    static CharsetEnum SniffCharset(LangEnum lang, unsigned long size, char const* data);
    static CharsetEnum SniffCharset(LangEnum lang, std::string const& data);

    /// True if there is an escape sequence of ISO-2022 in the data; `charset` becomes
    /// `kISO_2022_JP`, `kISO_2022_CN` or `kISO_2022_KR` by the first one, and is left alone
    /// otherwise.
    static bool SniffISO2022(std::string const& data, CharsetEnum& charset);
    /// Sets at most one of the three results: the data looks like UTF-16 in one byte order, or
    /// can't be UTF-16. None is set where nothing speaks for either. `size` is in bytes; an odd
    /// last one is ignored.
    static void SniffUTF16(
        char const* data, long long size, bool* bigEndian, bool* littleEndian, bool* notUTF16);

    /// True if each unit is of the charset, as for an empty text. A block holds UTF-16 in the
    /// processor's byte order, and an odd last byte of it is ignored.
    static bool CanConvertLosslesslyToUSASCII(std::u16string const& text);
    static bool CanConvertLosslesslyToUSASCII(memblock const& text);
    static bool CanConvertLosslesslyToISO_8859_1(std::u16string const& text);
    static bool CanConvertLosslesslyToISO_8859_1(memblock const& text);

    /// True if the table of 256 flags allows each byte. With `size` below 1 the answer is true and
    /// neither pointer is looked at; that holds for the family below too.
    static bool CanConvertFromCharsetTable(char const* data, long long size, bool const* allowed);

    /// True if the data has no byte that a charset gives no character. The bytes 0x80..0x9F of the
    /// ISO charsets count as such.
    static bool CanConvertFromISO_8859_1(char const* data, long long size);
    static bool CanConvertFromISO_8859_2(char const* data, long long size);
    static bool CanConvertFromISO_8859_3(char const* data, long long size);
    static bool CanConvertFromISO_8859_4(char const* data, long long size);
    static bool CanConvertFromISO_8859_5(char const* data, long long size);
    static bool CanConvertFromISO_8859_6(char const* data, long long size);
    static bool CanConvertFromISO_8859_7(char const* data, long long size);
    static bool CanConvertFromISO_8859_8(char const* data, long long size);
    static bool CanConvertFromISO_8859_9(char const* data, long long size);
    static bool CanConvertFromISO_8859_10(char const* data, long long size);
    static bool CanConvertFromISO_8859_11(char const* data, long long size);
    static bool CanConvertFromISO_8859_13(char const* data, long long size);
    static bool CanConvertFromISO_8859_14(char const* data, long long size);
    static bool CanConvertFromISO_8859_15(char const* data, long long size);
    static bool CanConvertFromISO_8859_16(char const* data, long long size);
    static bool CanConvertFromCP_1250(char const* data, long long size);
    static bool CanConvertFromCP_1251(char const* data, long long size);
    static bool CanConvertFromCP_1252(char const* data, long long size);
    static bool CanConvertFromCP_1253(char const* data, long long size);
    static bool CanConvertFromCP_1254(char const* data, long long size);
    static bool CanConvertFromCP_1255(char const* data, long long size);
    static bool CanConvertFromCP_1256(char const* data, long long size);
    static bool CanConvertFromCP_1257(char const* data, long long size);
    static bool CanConvertFromCP_1258(char const* data, long long size);
    static bool CanConvertFromCP_1361(char const* data, long long size);

private:
    CharsetEnum mCharset;

public:
    CBasicCharsetConverter* mImp;  // owned; another one whenever the charset is set
};
