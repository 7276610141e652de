// The conversion behind every `CCharsetConverter`: once a name is set that the platform knows, by
// the platform's converters, otherwise by the library's own.
//
// Portable: what is CoreFoundation's on the desktop is asked through `CBasicCharsetPlatform`.
#pragma once

#include "text/CCharsetConverterImp.h"
#include "text/platform/CBasicCharsetPlatform.h"

#include <string>

class CCharsetConverterCoreFoundation final : public CCharsetConverterImp
{
public:
    explicit CCharsetConverterCoreFoundation(CharsetEnum charset);

    void ToUnicode(unsigned long size,
                   char const* source,
                   unsigned long capacity,
                   unsigned long* written,
                   char16_t* target) const override;
    void ToUnicode(unsigned long size, char const* source, std::u16string* target) const override;
    void ToUnicode(std::string const& source, std::u16string* target) const override;
    void FromUnicode(unsigned long size,
                     char16_t const* source,
                     unsigned long capacity,
                     unsigned long* written,
                     char* target) const override;
    void
    FromUnicode(unsigned long count, char16_t const* source, std::string* target) const override;
    void FromUnicode(std::u16string const& source, std::string* target) const override;

    /// A name that the platform doesn't know leaves the conversion to the charset's number.
    void SetCharset(std::string const& name);

private:
    bool HasEncoding() const { return mEncoding != CBasicCharsetPlatform::kInvalidEncoding; }

    unsigned int mEncoding = CBasicCharsetPlatform::kInvalidEncoding;
};
