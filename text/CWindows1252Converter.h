// Windows code page 1252, by a table.
//
// `size` is in bytes, `count` in units, and a buffer has room for as many. Nothing fails: a unit
// that the charset lacks becomes "?". A string is replaced. No state: any number of threads may
// share one.
#pragma once

#include <string>

class CWindows1252Converter
{
public:
    CWindows1252Converter() = default;
    CWindows1252Converter(CWindows1252Converter const&) = delete;
    CWindows1252Converter& operator=(CWindows1252Converter const&) = delete;
    virtual ~CWindows1252Converter() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual void ToUnicode(unsigned long size, char const* source, char16_t* target) const;
    virtual void ToUnicode(unsigned long size, char const* source, std::u16string* target) const;
    virtual void FromUnicode(unsigned long count, char16_t const* source, char* target) const;
    virtual void
    FromUnicode(unsigned long count, char16_t const* source, std::string* target) const;

    char UTF16ToWindows1252(char16_t unit) const;
};
