// Paths that can't be converted. Only one of more than 2^31 units is such, so the converter is told
// to fail.
#include "foundation/CFileExceptionHandler.h"

#include "testing/FailureOf.h"
#include "text/CUTFConverter.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

// The linker hands over calls of CUTFConverter::ConvertUTF16toUTF8 under this name.
bool FailToConvert(
    std::u16string const& source,
    std::string& target,
    CUTFConverter::ConversionMode
        mode) __asm__("__wrap__ZN13CUTFConverter18ConvertUTF16toUTF8ERKNSt7__cxx1112basic_stringIDs"
                      "St11char_traitsIDsESaIDsEEERNS1_IcS2_IcESaIcEEENS_14ConversionModeE");

bool FailToConvert(std::u16string const&, std::string&, CUTFConverter::ConversionMode)
{
    return false;
}

TEST(CFileExceptionHandler, HasNoTextForAPathThatCannotBeConverted)
{
    CFileExceptionHandler const handler;
    auto const action = [&] { handler.ThrowFileException(ENOENT, 5, std::u16string(u"/a/b")); };
    EXPECT_EQ(FailureOf(action), FileFailure(2, 5, ENOENT));
    EXPECT_EQ(FailureTextOf(action), "");
}
