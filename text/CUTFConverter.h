// Conversion between UTF-8 and UTF-16 into buffers that grow by themselves.
//
// Everything in the library that crosses between the UTF-8 of the operating system and its own UTF-16 text goes
// through this class. No state; any thread may call.
#pragma once

#include <string>

#include "foundation/LoamExport.h"

class LOAM_EXPORT CUTFConverter
{
public:
    enum ConversionMode {
        kStrictMode = 0,   ///< a lone surrogate fails the conversion
        kLenientMode = 1,  ///< a lone surrogate becomes U+FFFD
    };

    static bool ConvertUTF8toUTF16(std::string const& source, std::u16string& target, ConversionMode mode);
    static bool ConvertUTF8toUTF16(char const* source, int length, std::u16string& target, ConversionMode mode);
    static bool ConvertUTF16toUTF8(std::u16string const& source, std::string& target, ConversionMode mode);
    static bool ConvertUTF16toUTF8(char16_t const* source, int length, std::string& target, ConversionMode mode);
    static int ConvertUTF8toUTF16(
        unsigned char const* source, int length, char16_t** buffer, int* capacity, ConversionMode mode);
    static int ConvertUTF16toUTF8(
        char16_t const* source, int length, unsigned char** buffer, int* capacity, ConversionMode mode);
};
