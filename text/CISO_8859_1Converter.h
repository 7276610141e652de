// ISO 8859-1 and ASCII, without a table.
//
// `size` is in bytes, `count` in units, and a buffer has room for as many. Nothing fails; a string
// is replaced. No state: any number of threads may share one.
#pragma once

#include <string>

class CISO_8859_1Converter
{
public:
    CISO_8859_1Converter() = default;
    CISO_8859_1Converter(CISO_8859_1Converter const&) = delete;
    CISO_8859_1Converter& operator=(CISO_8859_1Converter const&) = delete;
    virtual ~CISO_8859_1Converter() = default;

    // Virtual operations keep their order for ever; new ones go last.

    /// Kept on purpose: 0x80..0xFF become U+FF80..U+FFFF in a buffer, U+0080..U+00FF in a string.
    virtual void ToUnicode(unsigned long size, char const* source, char16_t* target) const;
    virtual void ToUnicode(unsigned long size, char const* source, std::u16string* target) const;
    /// Kept on purpose: each unit's low byte, whatever the unit.
    virtual void FromUnicode(unsigned long count, char16_t const* source, char* target) const;
    virtual void
    FromUnicode(unsigned long count, char16_t const* source, std::string* target) const;
};
