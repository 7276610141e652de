#include "text/CLanguageServicesBase.h"

#include "text/CUTFConverter.h"

#include <algorithm>
#include <climits>

namespace {

// What is beyond the reach of a length is not looked at.
template <class Text>
int LengthOf(Text const& text)
{
    return static_cast<int>(std::min<size_t>(text.size(), INT_MAX));
}

}  // namespace

CLanguageServicesBase::~CLanguageServicesBase() = default;

void CLanguageServicesBase::IdentifyLanguage(std::string const& text,
                                             std::string& language,
                                             float& confidence)
{
    IdentifyLanguage(text.data(), LengthOf(text), language, confidence);
}

// Malformed text arrives as an empty one.
void CLanguageServicesBase::IdentifyLanguage(char const* text,
                                             int length,
                                             std::string& language,
                                             float& confidence)
{
    std::u16string units;
    CUTFConverter::ConvertUTF8toUTF16(text, length, units, CUTFConverter::kLenientMode);
    IdentifyLanguage(units.data(), LengthOf(units), language, confidence);
}

void CLanguageServicesBase::IdentifyLanguage(std::u16string const& text,
                                             std::string& language,
                                             float& confidence)
{
    IdentifyLanguage(text.data(), LengthOf(text), language, confidence);
}
