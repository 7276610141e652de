// What a charset's converter does.
//
// Mind the units, which differ from one overload to the next: `size` is in bytes of the source,
// also where the source is UTF-16, so that half of it is the number of units; `count` is in units;
// `capacity` and `written` are in bytes of the target, also where the target is UTF-16. An odd last
// byte of UTF-16 is ignored. Buffers need no alignment beyond that of their type and don't overlap.
//
// Failures are `HierarchicalException` of `kCharsetDomain`, with the context `kCharsetToUnicode` or
// `kCharsetFromUnicode`: `kCharsetNotSupported` where there is no converter for the charset or the
// bytes can't be of it, `kCharsetBufferTooSmall` where the target is too small. Characters that the
// charset lacks are no failure: they become "?". After a failure a buffer may hold anything, a
// string is empty or holds the text that came before.
//
// Operations are const and serve any number of threads at once. Those into a string hold at most 2
// bytes for each byte that becomes UTF-16, three times that in the rare charset with more units
// than bytes, and 6 for each unit that is converted from it; the result is among them.
#pragma once

#include "foundation/LoamExport.h"
#include "text/CCharsetSelector.h"

#include <string>

class LOAM_EXPORT CBasicCharsetConverter
{
public:
    typedef CCharsetSelector::CharsetEnum CharsetEnum;
    typedef CCharsetSelector::LangEnum LangEnum;

    /// A run of text in one language. Nothing finds runs yet: it is only cleared.
    struct LangRunStruct
    {
        unsigned long start = 0;
        unsigned long length = 0;
        LangEnum lang = CCharsetSelector::kLangNone;
    };

    CBasicCharsetConverter() = default;
    CBasicCharsetConverter(CBasicCharsetConverter const&) = delete;
    CBasicCharsetConverter& operator=(CBasicCharsetConverter const&) = delete;
    virtual ~CBasicCharsetConverter() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Converts `size` bytes into UTF-16 in the processor's byte order. The first form fails if the
    /// text needs more than `capacity` bytes (but see `CCharsetConverter` on UTF-8), the other two
    /// replace `target`.
    virtual void ToUnicode(unsigned long size,
                           char const* source,
                           unsigned long capacity,
                           unsigned long* written,
                           char16_t* target) const = 0;
    virtual void
    ToUnicode(unsigned long size, char const* source, std::u16string* target) const = 0;
    virtual void ToUnicode(std::string const& source, std::u16string* target) const = 0;

    /// Converts nothing and sets `written` to 0.
    virtual void ToCharset(unsigned long size,
                           char const* source,
                           unsigned long capacity,
                           unsigned long* written,
                           char* target,
                           CharsetEnum charset) const = 0;

    /// Converts into the platform's classic charset, one byte for a unit. The first form clears
    /// `run` unless it is null, sets `consumed` to the number of units, writes as many bytes
    /// whatever `capacity` says, and leaves `written` alone. The second one replaces `target`.
    virtual void UnicodeToPatform(unsigned long size,
                                  char16_t const* source,
                                  unsigned long capacity,
                                  unsigned long* consumed,
                                  char* target,
                                  unsigned long* written,
                                  LangRunStruct* run) const = 0;
    virtual void UnicodeToPatform(std::u16string const& source, std::string* target) const = 0;

    /// Converts from UTF-16 in the processor's byte order. The first form takes `size` bytes and
    /// writes what fits into `capacity`; whether more is a failure depends on the converter, and
    /// `CCharsetConverter` says what the target of a single-byte charset must have room for. The
    /// second form takes `count` units. The last two replace `target`.
    virtual void FromUnicode(unsigned long size,
                             char16_t const* source,
                             unsigned long capacity,
                             unsigned long* written,
                             char* target) const = 0;
    virtual void
    FromUnicode(unsigned long count, char16_t const* source, std::string* target) const = 0;
    virtual void FromUnicode(std::u16string const& source, std::string* target) const = 0;

    /// Sets `result` to `limit`, looking neither at the text nor at its length.
    virtual void TruncateUnicodeText(unsigned long size,
                                     char16_t const* text,
                                     unsigned long limit,
                                     unsigned long* result) const = 0;
    virtual void TruncateUnicodeText(std::u16string const& text,
                                     unsigned long limit,
                                     unsigned long* result) const = 0;

    /// `kLangWestern` if the text has a unit of 0x80 or above, otherwise `kLangNone`. `size` is in
    /// bytes; `hint` is not used.
    virtual LangEnum
    GetLangFromUnicode(unsigned long size, char16_t const* text, LangEnum hint) const = 0;
    virtual LangEnum GetLangFromUnicode(std::u16string const& text, LangEnum hint) const = 0;

    /// `kMac_roman`.
    virtual CharsetEnum GetPlatformCharset() const = 0;

    /// True for the charsets that are converted by number: `kUTF_8`, `kUS_ASCII`, `kISO_8859_1`,
    /// `kCP1252`, `kMac_roman` and `kISO_8859_15`. Others need `SetCharset` with a name.
    virtual bool IsCharsetSupportedForDecoding(CharsetEnum charset) const = 0;
    virtual bool IsCharsetSupportedForEncoding(CharsetEnum charset) const = 0;
};
